#pragma once
#include <cstddef>
#include <cstdint>

namespace tool {

/// Pixels on a straight line through rows in memory, in any direction: from pixel `x` of the row at `row`, each `xStep`
/// pixels and `rowStep` bytes further.
struct PixelLine {
    std::uint8_t* row;
    std::ptrdiff_t rowStep;
    std::ptrdiff_t x, xStep;
};

/// Rows of pixels one below the other, `rowBytes` apart. Pixels of less than 8 bits are packed, most significant bits
/// first.
struct PixelRun {
    const std::uint8_t* rows;
    std::size_t rowBytes;
    int rowCount;
};

/// Copies `count` pixels, from pixel `first` of the run on, of 1, 4, 8, 16, 24 or 32 bits each: those of the run's
/// first row to the line, those of the n-th to the line n * `across` pixels beside it.
void PutPixels(const PixelLine& line, int across, const PixelRun& run, int first, int count, int bitsPerPixel);
/// Copies the line's first `count` pixels to a row, from its pixel `first` on.
void GetPixels(const PixelLine& line, std::uint8_t* row, int first, int count, int bitsPerPixel);

}  // namespace tool
