#include "convert/ConvertEveryPair.h"
#include "core/checks/ColorFormatChecks.h"
#include "zbm/PixelRows.h"

namespace zbm {

void ConvertPixelRows(const PixelRows& dst, const ConstPixelRows& src, std::uint32_t width, std::uint32_t height,
                      zpixf::ZPixfType quantizer) {
    require(shr::IsColorFormat(dst.format) && shr::IsColorFormat(src.format), ColorFormatCheck::rowFormats);
    const auto hasNoTable = [](shr::ColorFormat format, const shr::Color4b* table) {
        return shr::ColorFmtToTblSize[format] != 0 && table == nullptr;
    };
    require(!hasNoTable(dst.format, dst.colorTable), ColorFormatCheck::colorTable);
    require(!hasNoTable(src.format, src.colorTable), ColorFormatCheck::sourceTable);
    ConvertEveryPair(dst, src, width, height, quantizer);
}

}  // namespace zbm
