#pragma once
#include <cstdint>

#include "zbm/PixelRows.h"

namespace zbm {

class ColorTableMatcher;

/// Converts `height` rows of `width` pixels, and builds the destination's colour table where it has one.
///
/// Writes the pixels addressed and the destination's table, nothing else: of packed formats only the bits of these
/// pixels. Source and destination must not overlap. Equal formats copy the whole bytes that hold pixels, and the table.
/// A format that is none writes no pixels, and neither does the pair RGBA_32 to BGRX_32: see ConvertEveryPair.h.
/// `quantizer`, a type that zpixf::MakeQuantizer makes, is how colours become indices where the destination is indexed
/// and the source is not, or has the wider index; any other value produces no pixels. For what becomes of premultiplied
/// pixels see ConvertPixelRows.
///
/// Raises an internal error of source file "ZBMColorFormat" (line 43) for an indexed destination without a table, and
/// what a quantizer fails with, as a shr::Exception, once every row was asked for.
void ConvertPixels(const PixelRows& dst, const ConstPixelRows& src, std::uint32_t width, std::uint32_t height,
                   zpixf::ZPixfType quantizer = zpixf::ZPixfType::QuantizeMedian5);

/// Converts rows into an indexed format whose colour table stays as it is: each colour becomes the index that
/// `matcher`, built over that table, answers. `dstColors` and `srcColors` say how many entries the tables hold; an
/// index beyond the source's count is taken for black.
///
/// Destinations without a table and the sources GRAYSCALE_1, GRAYSCALE_4 and PBGRA_32 write nothing: see
/// ConvertEveryPair.h.
void ConvertPixelsToColorTable(const PixelRows& dst, std::uint32_t dstColors, const ConstPixelRows& src,
                               std::uint32_t srcColors, std::uint32_t width, std::uint32_t height,
                               const ColorTableMatcher& matcher);

}  // namespace zbm
