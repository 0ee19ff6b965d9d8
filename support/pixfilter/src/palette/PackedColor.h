#pragma once
#include <cstdint>

#include "gdi/gdi.h"

namespace zpixf {

/// B in the low byte, then G and R, as a pixel's first three bytes read as a number.
constexpr std::uint32_t PackedColor(const RGBQUAD& color) {
    return color.rgbBlue | static_cast<std::uint32_t>(color.rgbGreen) << 8 |
           static_cast<std::uint32_t>(color.rgbRed) << 16;
}

}  // namespace zpixf
