#pragma once
#include <cstdint>

#include "core/Checks.h"
#include "gdi/gdi.h"

namespace zbm {

/// A rectangle's part in one tile.
struct TilePart {
    int row, col;
    int tileX, tileY;           // its top-left corner in the tile
    std::int64_t rectX, rectY;  // and in the rectangle
    int width, height;
};

/// Calls `use` for the part of `rect` in each tile that it meets, in the order of the tiles. `partCheck` is that
/// a part is not empty.
template <class Rows, class Use>
void ForEachPart(const Rows& rows, const RECT& rect, Check partCheck, Use use) {
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const auto& boxes = rows[i].boxes;
        if (boxes.empty() || boxes.front().top >= rect.bottom || boxes.front().bottom <= rect.top) continue;
        for (std::size_t j = 0; j < boxes.size(); ++j) {
            const RECT& box = boxes[j];
            RECT part;
            if (!IntersectRect(&part, &box, &rect)) continue;
            const TilePart tilePart{static_cast<int>(i),
                                    static_cast<int>(j),
                                    static_cast<int>(part.left - box.left),
                                    static_cast<int>(part.top - box.top),
                                    std::int64_t{part.left} - rect.left,
                                    std::int64_t{part.top} - rect.top,
                                    static_cast<int>(part.right - part.left),
                                    static_cast<int>(part.bottom - part.top)};
            require(tilePart.width > 0 && tilePart.height > 0, partCheck);
            use(tilePart);
        }
    }
}

}  // namespace zbm
