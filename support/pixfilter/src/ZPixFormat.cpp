#include "zpixf/ZPixFormat.h"

#include <algorithm>

namespace zpixf {

ZPixFormat::ZPixFormat(unsigned newWidth, unsigned newHeight, unsigned newChannels, unsigned newBitsPerChannel,
                       unsigned newColors) noexcept
    : width(newWidth), height(newHeight), channels(newChannels), bitsPerChannel(newBitsPerChannel) {
    SetNumColors(newColors);
}

void ZPixFormat::SetNumColors(unsigned value) noexcept {
    const unsigned count = std::min(value, kMaxColors);
    if (count > numColors) std::fill(colors + numColors, colors + count, RGBQUAD{});
    numColors = count;
}

void ZPixFormat::FillColorTable(unsigned count, const RGBQUAD* entries) noexcept {
    numColors = std::min(count, kMaxColors);
    std::copy_n(entries, numColors, colors);
}

}  // namespace zpixf
