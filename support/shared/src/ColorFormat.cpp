#include "shr/ColorFormat.h"

namespace shr {

ColorFormat ColorFormatClosestToDIB(const BITMAPINFOHEADER& header) noexcept {
    const int bits = header.biBitCount == 16 ? 24 : header.biBitCount;  // 5 or 6 bits a channel become 8
    for (int i = 1; i < kColorFormats; ++i) {
        const auto format = static_cast<ColorFormat>(i);
        if (!TraitsOf(format).IsGrey() && TraitsOf(format).dibBitsPerPixel == bits) return format;
    }
    return FORMAT_NONE;
}

}  // namespace shr
