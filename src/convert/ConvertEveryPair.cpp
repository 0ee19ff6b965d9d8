#include "convert/ConvertEveryPair.h"

#include <algorithm>

namespace zbm {

namespace {

/// Pixels in between that are made at once: few enough to stay in the nearest cache, and whole bytes of any format.
constexpr std::uint32_t kPiece = 2048;

template <class Rows>
Rows PartOf(const Rows& rows, std::uint32_t x, std::uint32_t y) {
    Rows part = rows;
    part.first += static_cast<std::ptrdiff_t>(rows.stride) * static_cast<std::ptrdiff_t>(y) +
                  static_cast<std::ptrdiff_t>(shr::PixelBytes(x, rows.format));
    return part;
}

/// Converts by way of BGRA_32, a piece of a row at a time. `convert` takes a piece of the destination, the BGRA_32
/// pixels for it, and how many they are.
template <class Convert>
void ByWayOfBgra(const PixelRows& dst, const ConstPixelRows& src, std::uint32_t width, std::uint32_t height,
                 Convert convert) {
    std::uint8_t between[4 * kPiece];
    for (std::uint32_t y = 0; y < height; ++y)
        for (std::uint32_t x = 0; x < width;) {
            const std::uint32_t count = std::min(width - x, kPiece);
            ConvertPixels({between, shr::BGRA_32, 0}, PartOf(src, x, y), count, 1);
            convert(PartOf(dst, x, y), ConstPixelRows{between, shr::BGRA_32, 0}, count);
            x += count;
        }
}

}  // namespace

void ConvertEveryPair(const PixelRows& dst, const ConstPixelRows& src, std::uint32_t width, std::uint32_t height,
                      zpixf::ZPixfType quantizer) {
    if (src.format != shr::RGBA_32 || dst.format != shr::BGRX_32)
        return ConvertPixels(dst, src, width, height, quantizer);
    ByWayOfBgra(dst, src, width, height, [](const PixelRows& to, const ConstPixelRows& bgra, std::uint32_t count) {
        ConvertPixels(to, bgra, count, 1);
    });
}

void ConvertEveryPairToColorTable(const PixelRows& dst, std::uint32_t dstColors, const ConstPixelRows& src,
                                  std::uint32_t srcColors, std::uint32_t width, std::uint32_t height,
                                  const ColorTableMatcher& matcher) {
    // Few greys are as good as indices into their ramp, which are matched once each.
    ConstPixelRows source = src;
    if (src.format == shr::GRAYSCALE_1) {
        source.format = shr::INDEXED_1;
        source.colorTable = shr::GRAYSCALE_1_Color4bTable;
        srcColors = 2;
    } else if (src.format == shr::GRAYSCALE_4) {
        source.format = shr::INDEXED_4;
        source.colorTable = shr::GRAYSCALE_4_Color4bTable;
        srcColors = 16;
    } else if (src.format == shr::PBGRA_32) {
        return ByWayOfBgra(dst, src, width, height,
                           [&](const PixelRows& to, const ConstPixelRows& bgra, std::uint32_t count) {
                               ConvertPixelsToColorTable(to, dstColors, bgra, 0, count, 1, matcher);
                           });
    }
    ConvertPixelsToColorTable(dst, dstColors, source, srcColors, width, height, matcher);
}

}  // namespace zbm
