#pragma once
// Pieces of tiles as the pixels that filters work on.
#include <cstdint>
#include <vector>

#include "filter/TileRows.h"
#include "shr/CopyPixelRows.h"
#include "zbm/ZScanRect.h"

namespace zbm {

/// As many pixels as are worked on at a time: 16 KiB of colours, half a cache of the first level.
inline constexpr int kMostBlockPixels = 4096;

/// Pixels of one place in a tile: whole rows, or part of one. All rows are taken as tiles have them in memory, the last
/// one first.
template <class Tile>
struct TileBlock {
    Tile& tile;
    int x, y, width, height;  ///< x is a multiple of 8

    std::size_t Pixels() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
    auto* First() const {
        return RowOf(tile, y + height - 1) + std::ptrdiff_t{x} * shr::ColorFmtToBPP[tile.GetColorFormat()] / 8;
    }
    /// From one row to the next.
    int Stride() const { return -tile.GetStride(); }
};

/// Fills `bgra` with the block's pixels, without gaps. With `takesMasks` the tile's mask becomes their alpha.
void ReadBlock(const TileBlock<const ZScanRect>& block, const shr::Color4b* colorTable, bool takesMasks,
               std::uint8_t* bgra);

/// Converts a block into another of its size, where one of both has the pixels that filters work on and the other does
/// not. What is the one's alpha becomes the other's mask, or the other way round.
void ConvertBlock(const TileBlock<const ZScanRect>& from, const TileBlock<ZScanRect>& to,
                  const shr::Color4b* colorTable, shr::CopyWrites writes);

/// The alpha of `bgra`, rows `stride` bytes apart, becomes the block's mask.
void MakeMasks(const TileBlock<ZScanRect>& block, const std::uint8_t* bgra, std::ptrdiff_t stride);

/// Writes blocks of one bitmap.
class BlockWriter {
public:
    explicit BlockWriter(shr::CopyWrites howToWrite) noexcept : writes(howToWrite) {}
    /// With `makesMasks` alpha becomes the tile's mask.
    void Write(const TileBlock<ZScanRect>& block, const std::uint8_t* bgra, bool makesMasks);

private:
    const shr::CopyWrites writes;
    std::vector<std::uint8_t> converted;
};

}  // namespace zbm
