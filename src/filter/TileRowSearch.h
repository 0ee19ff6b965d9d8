#pragma once
#include "zbm/ZBitmap.h"

namespace zbm {

/// The row of tiles that holds line `y`; -1 if none does. `guess`, any number, is tried first: lines are mostly asked
/// for one after the other.
inline int FindTileRow(const ZBitmap& bitmap, std::int64_t y, int guess = -1) {
    const auto holdsLine = [&](int row) {
        if (row < 0 || row >= bitmap.GetNumScanRectRows() || bitmap.GetNumScanRects(row) == 0) return false;
        const RECT box = bitmap.GetScanRectBBox(row, 0);
        return box.top <= y && y < box.bottom;
    };
    if (holdsLine(guess)) return guess;
    for (int row = 0; row < bitmap.GetNumScanRectRows(); ++row)
        if (holdsLine(row)) return row;
    return -1;
}

}  // namespace zbm
