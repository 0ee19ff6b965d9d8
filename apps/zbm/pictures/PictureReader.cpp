#include "pictures/PictureReader.h"

#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>

#include "InputFile.h"

namespace tool {

namespace {

struct FileType {
    const char* signature;
    std::size_t length;
    const char* name;
    std::unique_ptr<PictureReader> (*open)(PictureSource&, Notes&);
};

constexpr FileType kFileTypes[] = {
    {"\x89PNG\r\n\x1A\n", 8, "PNG", &OpenPng},
    {"\xFF\xD8\xFF", 3, "JPEG", &OpenJpeg},
    {"II*\0", 4, "TIFF", &OpenTiff},
    {"MM\0*", 4, "TIFF", &OpenTiff},
    {"II+\0\x08\0\0\0", 8, "TIFF", &OpenTiff},
    {"MM\0+\0\x08\0\0", 8, "TIFF", &OpenTiff},
    {"BM", 2, "BMP", &OpenBmp},
};

/// The type of the file by its first bytes; null if it is none.
const FileType* TypeOf(PictureSource& source) {
    char start[8] = {};
    const std::size_t length = source.Read(start, sizeof start);
    source.Seek(0);
    for (const FileType& type : kFileTypes) {
        if (length >= type.length && std::memcmp(start, type.signature, type.length) == 0) return &type;
    }
    return nullptr;
}

}  // namespace

PictureInfo Upright(PictureInfo info) {
    if (Orientation(info.metadata.orientation).transposed) {
        std::swap(info.width, info.height);
        std::swap(info.xPixelsPerMeter, info.yPixelsPerMeter);
        std::swap(info.metadata.xAspect, info.metadata.yAspect);
    }
    info.metadata.orientation = 1;
    return info;
}

const char* PictureTypeOf(PictureSource& source) {
    const FileType* const type = TypeOf(source);
    return type == nullptr ? nullptr : type->name;
}

std::unique_ptr<PictureReader> OpenPicture(PictureSource& source, Notes& notes) {
    const FileType* type = TypeOf(source);
    if (source.Length() == 0) throw std::runtime_error(kFileIsEmpty);
    if (type == nullptr) throw std::runtime_error("is no PNG, JPEG, TIFF or BMP picture");
    return type->open(source, notes);
}

void NotePlainConversion(PictureInfo& info, Notes& notes) {
    const char* profile = info.metadata.colorProfile.empty() ? "" : "; its colour profile is neither used nor kept";
    notes.Add(std::string("its CMYK colours are converted to RGB by a plain formula") + profile);
    info.metadata.colorProfile.clear();
}

void NoteReducedDepth(Notes& notes) {
    notes.Add("16 bits a sample are reduced to 8: bitmaps have deeper samples in grey only, without alpha");
}

}  // namespace tool
