#include "pictures/PictureWriter.h"

#include <string>
#include <string_view>

#include "pictures/RowConversion.h"
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

namespace {

void Flatten(PictureJob& job, shr::Color4b background) {
    job.background = background;
    job.facts.hasTransparentPixels = false;
}

}  // namespace

void FlattenIfAsked(PictureJob& job) {
    const bool hasAlpha = !HasMask(job.bitmap.GetColorFormat());
    if (job.options.background && (hasAlpha || job.facts.hasTransparentPixels)) Flatten(job, *job.options.background);
}

void FlattenOnWhite(PictureJob& job) {
    if (!job.facts.hasTransparentPixels) return;
    job.notes.Add("transparent pixels are laid over white: the file type holds none");
    Flatten(job, shr::Color4b::White);
}

void NoteReducedGrey(PictureJob& job, int bits) {
    job.notes.Add("grey levels are reduced to " + std::to_string(bits) + " bits: the file type holds no more");
}

}  // namespace tool
