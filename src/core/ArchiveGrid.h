#pragma once
#include <algorithm>
#include <cstdint>
#include <optional>

#include "core/TileGrid.h"
#include "core/TileRecord.h"
#include "zbm/ZBMLib2.h"

namespace zbm {

/// What is known of the grid that an archive claims, before any of its tiles has come.
enum class GridClaim {
    impossible,  ///< no archive backs it
    unproven,    ///< perhaps: it is large, and the archive does not tell how much is left to read
    backed,      ///< what is left can hold all of its tiles, or it is small anyway
};

/// A grid of so many tiles costs little enough to be believed in any case.
constexpr double kSmallGridTiles = 1 << 16;
/// What a bitmap of any class is believed to have tiles for, where the archive does not tell how much is left.
constexpr double kBelievedTiles = 1 << 20;
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

/// Whether the archive can be believed to hold a picture that is laid out in tiles of another size: these are made, a
/// row of them at least, when the first record comes, and no record tells of them.
inline bool IsBelievedInOtherTiles(const TileGrid& grid, shr::ColorFormat format,
                                   std::optional<std::uint64_t> remaining) {
    constexpr double kBelievedRowBytes = 2.0 * (1 << 30), kMostBytesOfOne = 1024;
    if (grid.across.Count() == 0 || grid.down.Count() == 0) return grid.down.Count() <= kMostRowsWithoutTiles;
    const double left = static_cast<double>(remaining.value_or(0));
    const TilePlanes row(grid.across.End(grid.across.Count() - 1), grid.down.Length(0), format);
    const double rowBytes = static_cast<double>(row.pixelBytes + row.alphaBytes);
    return grid.Tiles() <= std::max(kBelievedTiles, left) &&
           rowBytes <= std::max(kBelievedRowBytes, kMostBytesOfOne * left);
}

/// `act` (row, column) for each tile in the order of the archive, with a report after each row. False when cancelled.
template <class Act>
bool WalkArchivedTiles(const TileGrid& grid, shr::IProgress* progress, const Act& act) {
    const int rows = grid.down.Count(), tiles = grid.across.Count();
    for (int row = 0; row < rows; ++row) {
        for (int col = 0; col < tiles; ++col) act(row, col);
        // The number of tiles stands for the column on purpose: hosts see more than 1 at the end, up to 2.0.
        if (!SRProgress(progress, row, tiles, rows, tiles)) return false;
    }
    return true;
}

}  // namespace zbm
