#include "filter/TileRows.h"

#include "core/TileReading.h"

namespace zbm {

int FindTileRow(const ZBitmap& bitmap, std::int64_t y, int guess) {
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

std::unique_ptr<ZBasicMemBitmap> MakeTileRowCopy(const ZBitmap& bitmap, int row) {
    const RECT box = bitmap.GetScanRectBBox(row, 0);
    return std::make_unique<ZBasicMemBitmap>(bitmap.GetPixelWidth(), static_cast<int>(box.bottom - box.top),
                                             bitmap.GetColorFormat(), bitmap.GetScanRectWidth(),
                                             bitmap.GetScanRectHeight());
}

void LoadTileRow(const ZBitmap& bitmap, int row, ZBasicMemBitmap& copy) {
    for (int col = 0; col < bitmap.GetNumScanRects(row); ++col) LoadTile(bitmap, row, col, copy.LockScanRect(0, col));
}

}  // namespace zbm
