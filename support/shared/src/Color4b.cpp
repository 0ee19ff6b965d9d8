#include "shr/Color4b.h"

namespace shr {

void CopyRGBQUADToColor4b(Color4b* destination, const RGBQUAD* source, unsigned count, bool takeAlpha) {
    for (unsigned i = 0; i < count; ++i) {
        const RGBQUAD& entry = source[i];
        const std::uint8_t alpha = takeAlpha ? entry.rgbReserved : ALPHA_MAX;
        destination[i] = Color4b(entry.rgbRed, entry.rgbGreen, entry.rgbBlue, alpha);
    }
}

void CopyColor4bToRGBQUAD(RGBQUAD* destination, const Color4b* source, unsigned count, bool giveAlpha) {
    for (unsigned i = 0; i < count; ++i) {
        const Color4b& color = source[i];
        const std::uint8_t reserved = giveAlpha ? color.alpha : std::uint8_t{0};
        destination[i] = RGBQUAD{color.blue, color.green, color.red, reserved};
    }
}

}  // namespace shr
