#pragma once
#include <memory>

#include "Console.h"
#include "OutputFile.h"
#include "Progress.h"
#include "pictures/PictureWriter.h"
#include "zbm/ZBasicMemBitmap.h"
#include "zcdl/Codec.h"

namespace tool {

using BitmapPtr = std::unique_ptr<zbm::ZBasicMemBitmap>;

/// A file to read.
struct Input {
    ZString name;
    ReadOptions reading;
};

/// A file to write, and as what.
struct Output {
    ZString name;
    PictureWriter writer = nullptr;  ///< null: an archive
    WriteOptions writing;            ///< of pictures
    zcdl::CodecMethod method = zcdl::CodecMethod::balanced;
};

struct TileSize {
    int width = 512, height = 512;
};

/// A bitmap, and what its file told beside it; an archive tells nothing.
struct Picture {
    BitmapPtr bitmap;
    Metadata metadata;
};

/// The picture file as a bitmap in the closest format. Raises ToolError; shr::AbortException when cancelled.
Picture ReadPicture(const Input& input, TileSize tiles, Console& console, ConsoleProgress& progress);
/// The bitmap of an archive file. Raises likewise.
Picture ReadArchive(const Input& input, Console& console, ConsoleProgress& progress);
/// The bitmap that a file holds: a picture if it begins like one, else an archive. Raises likewise.
Picture ReadPictureOrArchive(const Input& input, Console& console, ConsoleProgress& progress);

/// Writes the picture as what the output is to be, and commits the file. Raises likewise.
void WritePicture(const Picture& picture, const Output& output, OutputFile& file, Console& console,
                  ConsoleProgress& progress);

}  // namespace tool
