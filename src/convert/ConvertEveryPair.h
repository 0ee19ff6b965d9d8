#pragma once
#include "convert/ZBMColorFormat.h"

namespace zbm {

/// ConvertPixels for callers who must not lose pixels: RGBA_32 to BGRX_32, which that leaves unwritten, goes through a
/// row of BGRA_32.
void ConvertEveryPair(const PixelRows& dst, const ConstPixelRows& src, std::uint32_t width, std::uint32_t height,
                      zpixf::ZPixfType quantizer = zpixf::ZPixfType::QuantizeMedian5);

/// ConvertPixelsToColorTable likewise: GRAYSCALE_1, GRAYSCALE_4 and PBGRA_32 go through a row of BGRA_32.
void ConvertEveryPairToColorTable(const PixelRows& dst, std::uint32_t dstColors, const ConstPixelRows& src,
                                  std::uint32_t srcColors, std::uint32_t width, std::uint32_t height,
                                  const ColorTableMatcher& matcher);

}  // namespace zbm
