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

/// The picture file as a bitmap in the closest format. Raises ToolError; shr::AbortException when cancelled.
BitmapPtr ReadPicture(const ZString& name, TileSize tiles, Console& console, ConsoleProgress& progress);

/// The bitmap that a file holds: a picture if it begins like one, else an archive. Raises likewise.
BitmapPtr ReadPictureOrArchive(const ZString& name, Console& console, ConsoleProgress& progress);

/// Examines the bitmap and writes it as a picture of the type that the output's name tells.
void WritePicture(zbm::ZBitmap& bitmap, OutputFile& output, int jpegQuality, Console& console,
                  ConsoleProgress& progress);
/// Writes it as a picture if the output's name has a known extension, else as an archive.
void WriteBitmap(zbm::ZBitmap& bitmap, OutputFile& output, Console& console, ConsoleProgress& progress);

}  // namespace tool
