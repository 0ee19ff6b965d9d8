#pragma once
#include <algorithm>
#include <cstdint>
#include <limits>

#include "gdi/gdi.h"

namespace zbm {

/// The rectangle of that corner and size. A side beyond all numbers lies at the last one, which is beyond every bitmap;
/// a rectangle that begins there keeps a pixel's width or height, outside of every bitmap too.
inline RECT RectAt(int x, int y, int w, int h) noexcept {
    const auto sum = [](int a, int b) {
        return static_cast<LONG>(std::clamp<std::int64_t>(std::int64_t{a} + b, std::numeric_limits<std::int32_t>::min(),
                                                          std::numeric_limits<std::int32_t>::max()));
    };
    const LONG right = sum(x, w), bottom = sum(y, h);
    return RECT{w > 0 ? std::min<LONG>(x, right - 1) : x, h > 0 ? std::min<LONG>(y, bottom - 1) : y, right, bottom};
}

}  // namespace zbm
