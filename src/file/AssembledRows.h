#pragma once
// Tiles of any size, which come row by row, put together to rows of tiles of a file, so that each of these is written
// once.
#include <memory>
#include <vector>

#include "core/TileGrid.h"
#include "zbm/ZScanRect.h"

namespace zbm {

/// Copies what two tiles with these boxes have in common, pixels and masks.
void CopyCommonPart(ZScanRect& to, const RECT& toBox, const ZScanRect& from, const RECT& fromBox);

/// The rows that were begun and not given yet. A tile is made when the first that it is made of comes.
class AssembledRows {
public:
    AssembledRows(const TileGrid& fileGrid, shr::ColorFormat fileFormat) noexcept
        : grid(fileGrid), format(fileFormat) {}

    void Take(const ZScanRect& tile, const RECT& box);
    /// `give` (tile, row, column) for each tile of the rows that end at line `y` or above it.
    template <class Give>
    void GiveAbove(int y, const Give& give) {
        for (; !rows.empty() && grid.down.End(firstRow) <= y; ++firstRow) {
            for (std::size_t col = 0; col < rows.front().size(); ++col)
                give(*rows.front()[col], firstRow, static_cast<int>(col));
            spare.swap(rows.front());
            rows.erase(rows.begin());
        }
    }

private:
    using Row = std::vector<std::unique_ptr<ZScanRect>>;

    ZScanRect& TileAt(int row, int col);

    const TileGrid grid;
    const shr::ColorFormat format;
    std::vector<Row> rows;
    int firstRow = 0;
    Row spare;  ///< the row that was given last, whose memory the next one takes
};

}  // namespace zbm
