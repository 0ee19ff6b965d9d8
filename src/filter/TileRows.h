#pragma once
// Rows of tiles, as lines are read from them and written into them.
#include <cstdint>
#include <memory>

#include "zbm/ZBasicMemBitmap.h"

namespace zbm {

/// The row of tiles that holds line `y`; -1 if none does. `guess`, any number, is tried first: lines are mostly asked
/// for one after the other.
int FindTileRow(const ZBitmap& bitmap, std::int64_t y, int guess = -1);

/// Whether its tiles have masks.
inline bool HasMask(const ZBitmap& bitmap) { return !shr::ColorFmtHasAlphaChannel[bitmap.GetColorFormat()]; }

/// A bitmap in memory of the shape of one row of tiles: tile (row, c) fits its tile (0, c).
std::unique_ptr<ZBasicMemBitmap> MakeTileRowCopy(const ZBitmap& bitmap, int row);
/// Copies the tiles of a row into a bitmap of its shape.
void LoadTileRow(const ZBitmap& bitmap, int row, ZBasicMemBitmap& copy);

// Counted from the first row, which is at hand, as a tile's table of rows would have to be fetched line by line as
// well.
template <class Tile>
auto* RowOf(Tile& tile, int y) {
    return tile.GetRowPtr(0) + std::ptrdiff_t{tile.GetStride()} * y;
}
/// Null without mask.
template <class Tile>
auto* MaskRowOf(Tile& tile, int y) {
    return tile.GetAlphaStride() == 0 ? nullptr : tile.GetAlphaRowPtr(0) + std::ptrdiff_t{tile.GetAlphaStride()} * y;
}

}  // namespace zbm
