#pragma once
// Drawing a bitmap, row of tiles by row of tiles.
#include "draw/AxisMap.h"
#include "draw/DrawnSurface.h"
#include "draw/TilePixels.h"
#include "shr/IProgress.h"

namespace zbm {

/// What is drawn where: `bitmap`, which may be a reduction of the one that is asked for, by its columns and rows.
struct Drawing {
    const ZBitmap& bitmap;
    const DrawnSurface& surface;
    const AxisMap& columns;
    const AxisMap& rows;
    shr::IProgress* progress;

    /// Those of the bitmap's pixels that are shown by the places from (columnBegin, rowBegin) up to the others.
    RECT Source(int columnBegin, int columnEnd, int rowBegin, int rowEnd) const {
        return {columns.SourceBegin(columnBegin), rows.SourceBegin(rowBegin), columns.SourceEnd(columnEnd),
                rows.SourceEnd(rowEnd)};
    }
    void Report(double fraction) const {
        if (progress != nullptr) progress->SetProgress(fraction);
    }
};

/// Calls use(row, firstCol, endCol, box of the row) for each row of tiles that meets `source`.
template <class Use>
void ForEachTileRow(const ZBitmap& bitmap, const RECT& source, Use use) {
    const int tileWidth = bitmap.GetScanRectWidth();
    const int firstCol = static_cast<int>(source.left) / tileWidth,
              endCol = static_cast<int>(source.right - 1) / tileWidth + 1;
    const int firstRow = static_cast<int>(source.top) / bitmap.GetScanRectHeight();
    for (int row = firstRow; row < bitmap.GetNumScanRectRows(); ++row) {
        const RECT box = bitmap.GetScanRectBBox(row, 0);
        if (box.top >= source.bottom) break;
        use(row, firstCol, endCol, box);
    }
}

/// Each place shows a single pixel: it is taken as it is.
void DrawSingles(const Drawing& drawing);
/// Places show sums of pixels.
void DrawSums(const Drawing& drawing);

}  // namespace zbm
