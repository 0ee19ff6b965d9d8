#pragma once
#include "shr/ColorFormat.h"
#include "shr/CopyPixelRows.h"

namespace zbm {

/// How to write so many pixels: past the caches if none would hold them.
inline shr::CopyWrites WritesFor(double width, double height, shr::ColorFormat format) {
    constexpr double kCacheBytes = 32 << 20;
    const double bytes = width * height * shr::ColorFmtToBPP[format] / 8;
    return bytes > kCacheBytes ? shr::CopyWrites::streamed : shr::CopyWrites::cached;
}

}  // namespace zbm
