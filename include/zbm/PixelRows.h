#pragma once
#include <cstdint>

#include "shr/Color4b.h"
#include "shr/ColorFormat.h"
#include "zbm/Export.h"
#include "zpixf/ZPixFilterBase.h"

namespace zbm {

/// Pixels that the caller owns. Row y starts at first + y * stride; a stride may be negative (rows stored bottom-up) or
/// 0 (a single row). `colorTable` holds as many entries as the format's table; null where the format has none.
struct PixelRows {
    std::uint8_t* first;
    shr::ColorFormat format;
    std::int32_t stride;
    shr::Color4b* colorTable = nullptr;
};
struct ConstPixelRows {
    const std::uint8_t* first;
    shr::ColorFormat format;
    std::int32_t stride;
    const shr::Color4b* colorTable = nullptr;
};

/// Converts `height` rows of `width` pixels between any two formats, as bitmaps do, and fills the destination's colour
/// table where it has one.
///
///     ConvertPixelRows({screen, shr::BGRA_32, 4 * 640}, {gray, shr::GRAYSCALE_8, 640}, 640, 480);
///
/// Writes the pixels addressed and the table, nothing else: of packed formats only the bits of these pixels. Source and
/// destination must not overlap. Alpha is what the format or the source's table has, and full where there is none;
/// masks are no part of rows. `quantizer`, a type that zpixf::MakeQuantizer makes, chooses indices for colours, and for
/// indices wider than the destination's.
///
/// The straight colour of a premultiplied pixel is c * 255 / A for each channel, cut off to a whole number; of what
/// exceeds a byte, which no valid pixel does, the low 8 bits remain. With alpha 0 the channels stay as they are.
///
/// Raises an internal error of source file "ZBMColorFormat" if an indexed destination (line 43) or source (9000) has no
/// table or a format is none (9001), before anything is written, and what a quantizer fails with, as a shr::Exception.
ZBM_API void ConvertPixelRows(const PixelRows& dst, const ConstPixelRows& src, std::uint32_t width,
                              std::uint32_t height, zpixf::ZPixfType quantizer = zpixf::ZPixfType::QuantizeMedian5);

}  // namespace zbm
