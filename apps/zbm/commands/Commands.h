#pragma once
#include <optional>
#include <ostream>

#include "Console.h"
#include "commands/BitmapConversion.h"
#include "commands/BitmapFile.h"
#include "pictures/PictureWriter.h"
#include "zcdl/Codec.h"

namespace tool {

struct PackOptions {
    ZString picture, archive;
    TileSize tiles;
    zcdl::CodecMethod method = zcdl::CodecMethod::balanced;
    ReadOptions reading;
};

struct UnpackOptions {
    ZString archive, picture;
    WriteOptions writing;
};

struct ConvertOptions {
    ZString input, output;
    shr::ColorFormat format = shr::FORMAT_NONE;
    std::optional<zpixf::ZPixfType> quantizer;
    ReadOptions reading;
    WriteOptions writing;
};

struct InfoOptions {
    ZString archive;
};

// The commands raise ToolError for what goes wrong, and shr::AbortException when cancelled; then they leave nothing
// behind.

/// Picture file to archive file.
void Pack(const PackOptions& options, Console& console);
/// Archive file to picture file. The picture's name has one of the known extensions.
void Unpack(const UnpackOptions& options, Console& console);
/// Picture or archive file to one in another pixel format: a picture if the output's name has a known extension, else
/// an archive.
void Convert(const ConvertOptions& options, Console& console);
/// Writes what is known of an archive file, a line "key: value" each.
void Info(const InfoOptions& options, std::ostream& out, Console& console);

}  // namespace tool
