#pragma once
#include <cstdint>
#include <optional>

#include "core/TileGrid.h"
#include "core/TileRecord.h"

namespace zbm {

/// What is known of the grid that an archive claims, before any of its tiles has come.
enum class GridClaim {
    impossible,  ///< no archive backs it
    unproven,    ///< perhaps: it is large, and the archive does not tell how much is left to read
    backed,      ///< what is left can hold all of its tiles, or it is small anyway
};

/// A grid of so many tiles costs little enough to be believed in any case.
constexpr double kSmallGridTiles = 1 << 16;
/// The most rows of tiles that a picture without pixels may have: no tile backs them.
constexpr double kMostRowsWithoutTiles = 1 << 20;

/// Of each archive, between the claim and the tiles: the resolutions and the number of colours.
constexpr std::uint64_t kBytesBeforeTiles = 3 * sizeof(std::uint32_t);

/// `remaining` is what is left to read, where the archive tells.
inline GridClaim Judge(const TileGrid& grid, shr::ColorFormat format, std::optional<std::uint64_t> remaining) {
    if (grid.across.Count() == 0 && grid.down.Count() > kMostRowsWithoutTiles) return GridClaim::impossible;
    if (!remaining) return grid.Tiles() <= kSmallGridTiles ? GridClaim::backed : GridClaim::unproven;
    const double needed =
        grid.Sum([&](int width, int height) { return MinRecordBytes(TilePlanes(width, height, format)); });
    return needed + kBytesBeforeTiles <= static_cast<double>(*remaining) ? GridClaim::backed : GridClaim::impossible;
}

}  // namespace zbm
