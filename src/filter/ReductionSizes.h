#pragma once
// Which reductions a picture has, in memory and in files: each half as large as the one before, down to 17 pixels.
#include <algorithm>
#include <optional>

#include "zbm/ZBitmap.h"

namespace zbm {

/// The size of the reduction that is made from such a picture; none if a side would be too short, or of no picture.
inline std::optional<SIZE> ReducedSize(const ZBitmap& bitmap) {
    constexpr LONG kShortestSide = 17;
    const SIZE half{bitmap.GetPixelWidth() / 2, bitmap.GetPixelHeight() / 2};
    if (bitmap.IsEmpty() || std::min(half.cx, half.cy) < kShortestSide) return std::nullopt;
    return half;
}

/// A picture so small shows itself at every level.
inline bool IsItsOwnReduction(const ZBitmap& bitmap) {
    constexpr int kShortestSide = 16;
    return std::min(bitmap.GetPixelWidth(), bitmap.GetPixelHeight()) < kShortestSide;
}

/// Colours are averaged, which indices cannot be: reductions of an indexed picture are made from one in true colours.
inline bool IsReducedInTrueColors(const ZBitmap& bitmap) { return shr::ColorFmtToTblSize[bitmap.GetColorFormat()] > 0; }
inline shr::ColorFormat FormatOfReductions(shr::ColorFormat format) {
    return shr::ColorFmtToTblSize[format] > 0 ? shr::BGRA_32 : format;
}

}  // namespace zbm
