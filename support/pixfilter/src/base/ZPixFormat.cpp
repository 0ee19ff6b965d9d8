#include "zpixf/ZPixFormat.h"

#include <algorithm>

namespace zpixf {

ZPixFormat::ZPixFormat(unsigned newWidth, unsigned newHeight, unsigned newChannels, unsigned newBitsPerChannel,
                       unsigned newColors) noexcept
    : width(newWidth), height(newHeight), channels(newChannels), bitsPerChannel(newBitsPerChannel) {
    SetNumColors(newColors);
}

void ZPixFormat::SetNumColors(unsigned value) noexcept {
    numColors = std::min(value, kMaxColors);
    hasPalette = hasPalette && numColors != 0;
    std::fill(colors + numColors, colors + kMaxColors, RGBQUAD{});
}

void ZPixFormat::FillColorTable(unsigned count, const RGBQUAD* entries) noexcept {
    SetNumColors(count);
    hasPalette = numColors != 0;
    std::copy_n(entries, numColors, colors);
}

}  // namespace zpixf
