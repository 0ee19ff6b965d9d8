#pragma once
#include <optional>

#include "zbm/ZScanRect.h"

namespace zbm {

/// A tile of the box's size that keeps its memory from box to box of the same size. New memory is zero, and its mask
/// opaque.
inline ZScanRect& FitTile(std::optional<ZScanRect>& tile, const RECT& box, shr::ColorFormat format) {
    const int width = static_cast<int>(box.right - box.left), height = static_cast<int>(box.bottom - box.top);
    if (!tile || tile->GetWidth() != width || tile->GetHeight() != height || tile->GetColorFormat() != format)
        tile.emplace(width, height, format);
    return *tile;
}

}  // namespace zbm
