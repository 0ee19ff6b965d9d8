#pragma once
#include <algorithm>
#include <cstdint>
#include <limits>

#include "gdi/gdi.h"

namespace zbm {

/// The rectangle of that corner and size. A side beyond all numbers lies at the last one, which is beyond every bitmap.
inline RECT RectAt(int x, int y, int w, int h) noexcept {
    const auto sum = [](int a, int b) {
        return static_cast<LONG>(std::clamp<std::int64_t>(std::int64_t{a} + b, std::numeric_limits<std::int32_t>::min(),
                                                          std::numeric_limits<std::int32_t>::max()));
    };
    return RECT{x, y, sum(x, w), sum(y, h)};
}

}  // namespace zbm
