#pragma once
#include <memory>

#include "Console.h"
#include "OutputFile.h"
#include "Progress.h"
#include "pictures/PictureWriter.h"
#include "zbm/ZBasicMemBitmap.h"

namespace tool {

using BitmapPtr = std::unique_ptr<zbm::ZBasicMemBitmap>;

struct TileSize {
    int width = 512, height = 512;
};

/// A bitmap, and what its file told beside it; an archive tells nothing.
struct Picture {
    BitmapPtr bitmap;
    Metadata metadata;
};

/// The picture file as a bitmap in the closest format. Raises ToolError; shr::AbortException when cancelled.
Picture ReadPicture(const ZString& name, TileSize tiles, const ReadOptions& options, Console& console,
                    ConsoleProgress& progress);

/// The bitmap that a file holds: a picture if it begins like one, else an archive. Raises likewise.
Picture ReadPictureOrArchive(const ZString& name, const ReadOptions& options, Console& console,
                             ConsoleProgress& progress);

/// Examines the bitmap and writes it as a picture of the type that the output's name tells.
void WritePicture(const Picture& picture, OutputFile& output, const WriteOptions& options, Console& console,
                  ConsoleProgress& progress);
/// Writes it as a picture if the output's name has a known extension, else as an archive.
void WriteBitmap(const Picture& picture, OutputFile& output, const WriteOptions& options, Console& console,
                 ConsoleProgress& progress);

}  // namespace tool
