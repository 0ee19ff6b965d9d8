#pragma once
#include <array>
#include <cstddef>
#include <cstdint>

namespace tool {

/// What the tool takes from a block of EXIF data.
struct Exif {
    int orientation = 1;                           // 1 .. 8; 1 is upright
    int xPixelsPerMeter = 0, yPixelsPerMeter = 0;  // 0 is not known
};

/// `data` begins with the byte-order mark. Data that is damaged gives the default for what cannot be read.
Exif ReadExif(const std::uint8_t* data, std::size_t byteCount);

/// A block that holds the orientation alone.
using OrientationExif = std::array<std::uint8_t, 26>;
OrientationExif ExifOf(int orientation);

}  // namespace tool
