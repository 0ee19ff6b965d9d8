#pragma once
#include <optional>
#include <ostream>

#include "Console.h"
#include "commands/BitmapFile.h"
#include "commands/ColorChoice.h"

namespace tool {

/// Where a command's results and messages go. Borrowed.
struct Streams {
    std::ostream& out;
    Console& console;
};

struct PackOptions {
    Input input;
    Output output;
    TileSize tiles;
};

struct UnpackOptions {
    Input input;
    Output output;
};

struct ConvertOptions {
    Input input;
    Output output;
    std::optional<shr::ColorFormat> format;  ///< stays what it is if not given
    ColorChoice colors;                      ///< of an indexed format
    std::optional<ZString> paletteOutput;    ///< a file for the result's colours
};

struct InfoOptions {
    ZString file;
};

// The commands raise ToolError for what goes wrong, and shr::AbortException when cancelled; then they leave nothing
// behind.

/// Picture file to archive file.
void Pack(const PackOptions& options, const Streams& streams);
/// Archive file, or a bitmap's file, to picture file.
void Unpack(const UnpackOptions& options, const Streams& streams);
/// File of any type to one of another type, in another pixel format, or both.
void Convert(const ConvertOptions& options, const Streams& streams);
/// Writes what is known of a file, a line "key: value" each.
void Info(const InfoOptions& options, const Streams& streams);

}  // namespace tool
