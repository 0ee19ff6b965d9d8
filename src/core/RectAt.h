#pragma once
#include <cstdint>

#include "gdi/gdi.h"

namespace zbm {

/// The rectangle of that corner and size. Sums wrap around, so that an absurd size meets the checks of rectangles
/// instead of undefined behaviour.
inline RECT RectAt(int x, int y, int w, int h) noexcept {
    const auto sum = [](int a, int b) {
        return static_cast<LONG>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
    };
    return RECT{x, y, sum(x, w), sum(y, h)};
}

}  // namespace zbm
