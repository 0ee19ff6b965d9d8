#include "convert/ZBMColorFormat.h"

#include <algorithm>

#include "convert/ConvertRows.h"
#include "convert/Quantize.h"
#include "core/checks/ColorFormatChecks.h"

namespace zbm {
namespace {

using shr::Color4b;
using shr::ColorFormat;

bool IsGrey(ColorFormat format) { return shr::TraitsOf(format).IsGrey(); }
bool IsIndexed(ColorFormat format) { return shr::TraitsOf(format).IsIndexed(); }

int TableSize(ColorFormat format) { return shr::IsColorFormat(format) ? shr::ColorFmtToTblSize[format] : 0; }

struct Ramp {
    const Color4b* colors;
    int size;
};

/// The greys that both formats tell apart.
Ramp RampFor(ColorFormat indexed, ColorFormat grey) {
    switch (std::min(shr::ColorFmtToBPP[indexed], shr::ColorFmtToBPP[grey])) {
        case 1: return {shr::GRAYSCALE_1_Color4bTable, 2};
        case 4: return {shr::GRAYSCALE_4_Color4bTable, 16};
        default: return {shr::GRAYSCALE_8_Color4bTable, 256};
    }
}

void CopyEqualFormats(const PixelRows& dst, const ConstPixelRows& src, std::uint32_t width, std::uint32_t height) {
    if (!shr::IsColorFormat(dst.format)) return;
    CopyRows(dst, src, width, height);
    std::copy_n(src.colorTable, TableSize(dst.format), dst.colorTable);
}

/// From greys, and from indices that are no wider.
void ConvertToIndexed(const PixelRows& dst, const ConstPixelRows& src, std::uint32_t width, std::uint32_t height) {
    const Ramp table =
        IsGrey(src.format) ? RampFor(dst.format, src.format) : Ramp{src.colorTable, TableSize(src.format)};
    std::copy_n(table.colors, table.size, dst.colorTable);
    ConvertRows(dst, src, width, height);
}

}  // namespace

void ConvertPixels(const PixelRows& dst, const ConstPixelRows& src, std::uint32_t width, std::uint32_t height,
                   zpixf::ZPixfType quantizer) {
    const int tableSize = TableSize(dst.format);
    require(tableSize == 0 || dst.colorTable != nullptr, ColorFormatCheck::colorTable);
    if (dst.format == src.format) return CopyEqualFormats(dst, src, width, height);

    std::fill_n(dst.colorTable, tableSize, Color4b::Black);
    if (!shr::IsColorFormat(dst.format) || !shr::IsColorFormat(src.format)) return;
    if (src.format == shr::RGBA_32 && dst.format == shr::BGRX_32) return;
    if (!IsIndexed(dst.format)) return ConvertRows(dst, src, width, height);
    if (IsGrey(src.format) || (IsIndexed(src.format) && src.format < dst.format))
        return ConvertToIndexed(dst, src, width, height);
    Quantize(dst, src, width, height, quantizer);
}

}  // namespace zbm
