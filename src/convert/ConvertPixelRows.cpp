#include "convert/ConvertEveryPair.h"
#include "core/checks/ColorFormatChecks.h"
#include "zbm/PixelRows.h"

namespace zbm {

void ConvertPixelRows(const PixelRows& dst, const ConstPixelRows& src, std::uint32_t width, std::uint32_t height,
                      zpixf::ZPixfType quantizer) {
    const bool hasTable = shr::IsColorFormat(src.format) && shr::ColorFmtToTblSize[src.format] != 0;
    require(!hasTable || src.colorTable != nullptr, ColorFormatCheck::sourceTable);
    ConvertEveryPair(dst, src, width, height, quantizer);
}

}  // namespace zbm
