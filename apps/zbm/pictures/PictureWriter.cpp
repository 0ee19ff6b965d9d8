#include "pictures/PictureWriter.h"

#include <string>
#include <string_view>

#include "shr/Path.h"

namespace tool {

namespace {

struct Extension {
    std::string_view name;
    PictureWriter writer;
};

constexpr Extension kExtensions[] = {
    {".png", &WritePng},  {".jpg", &WriteJpeg},  {".jpeg", &WriteJpeg},
    {".tif", &WriteTiff}, {".tiff", &WriteTiff}, {".bmp", &WriteBmp},
};

std::string LowerCase(std::string text) {
    for (char& letter : text) {
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    }
    return text;
}

}  // namespace

PictureWriter WriterFor(const ZString& fileName) {
    const std::string extension = LowerCase(shr::CPath(fileName).GetExtension().ToUtf8());
    for (const Extension& known : kExtensions) {
        if (extension == known.name) return known.writer;
    }
    return nullptr;
}

void NoteReducedGrey(PictureJob& job, int bits) {
    job.notes.Add("grey levels are reduced to " + std::to_string(bits) + " bits: the file type holds no more");
}

}  // namespace tool
