#include "file/AssembledRows.h"

#include "gdi/gdi.h"
#include "shr/ColorFormat.h"

namespace zbm {

void CopyCommonPart(ZScanRect& to, const RECT& toBox, const ZScanRect& from, const RECT& fromBox) {
    RECT part;
    if (!IntersectRect(&part, &toBox, &fromBox)) return;
    const int width = static_cast<int>(part.right - part.left);
    const int toX = static_cast<int>(part.left - toBox.left), fromX = static_cast<int>(part.left - fromBox.left);
    for (LONG y = part.top; y < part.bottom; ++y) {
        const int toY = static_cast<int>(y - toBox.top), fromY = static_cast<int>(y - fromBox.top);
        shr::CopyPixels(to.GetRowPtr(toY), toX, from.GetRowPtr(fromY), fromX, width, to.GetColorFormat());
        if (to.GetAlphaStride() == 0) continue;
        shr::CopyPixels(to.GetAlphaRowPtr(toY), toX, from.GetAlphaRowPtr(fromY), fromX, width, shr::GRAYSCALE_1);
    }
}

void AssembledRows::Take(const ZScanRect& tile, const RECT& box) {
    const auto last = [](LONG end, const TileSide& side) { return static_cast<int>(end - 1) / side.Tile(); };
    for (int row = static_cast<int>(box.top) / grid.down.Tile(); row <= last(box.bottom, grid.down); ++row)
        for (int col = static_cast<int>(box.left) / grid.across.Tile(); col <= last(box.right, grid.across); ++col)
            CopyCommonPart(TileAt(row, col), grid.Box(row, col), tile, box);
}

ZScanRect& AssembledRows::TileAt(int row, int col) {
    const auto index = static_cast<std::size_t>(row - firstRow);
    while (rows.size() <= index) {
        rows.emplace_back();
        rows.back().swap(spare);
        rows.back().resize(static_cast<std::size_t>(grid.across.Count()));
    }
    std::unique_ptr<ZScanRect>& tile = rows[index][static_cast<std::size_t>(col)];
    const int width = grid.across.Length(col), height = grid.down.Length(row);
    if (tile == nullptr || tile->GetHeight() != height) tile = std::make_unique<ZScanRect>(width, height, format);
    return *tile;
}

}  // namespace zbm
