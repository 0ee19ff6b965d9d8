#pragma once
#include <cstdint>

#include "shr/ColorFormat.h"

namespace zbm {

/// The bytes of a tile's two planes: its pixels, and its mask if the format has no alpha channel (else 0). For sizes of
/// 1 and more.
struct TilePlanes {
    std::uint64_t stride, pixelBytes, alphaStride, alphaBytes;

    TilePlanes(int width, int height, shr::ColorFormat format)
        : stride(shr::RowBytes(static_cast<std::uint64_t>(width), format)),
          pixelBytes(stride * static_cast<std::uint64_t>(height)),
          alphaStride(
              shr::TraitsOf(format).HasMask() ? shr::RowBytes(static_cast<std::uint64_t>(width), shr::GRAYSCALE_1) : 0),
          alphaBytes(alphaStride * static_cast<std::uint64_t>(height)) {}
};

}  // namespace zbm
