#pragma once
// Chunks of PNG files that the library does not know.
#include <png.h>

namespace tool {

/// How colours are coded, in the code points of ITU-T H.273: primaries, transfer, matrix, range.
inline constexpr png_byte kCodingPointsChunk[] = {'c', 'I', 'C', 'P', 0};

}  // namespace tool
