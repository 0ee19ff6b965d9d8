#include "zbm/CPixFilterPipeline.h"
#include "zbm/ZBitmap.h"

namespace zbm {

void TakePalette(ZBitmap& bitmap, const zpixf::ZPixFormat& format) {
    if (format.GetColors() == nullptr) return;
    std::vector<shr::Color4b> colors(format.GetNumColors());
    shr::CopyRGBQUADToColor4b(colors.data(), format.GetColors(), format.GetNumColors(), false);
    bitmap.FillColorTable(colors.data(), format.GetNumColors());
}

}  // namespace zbm
