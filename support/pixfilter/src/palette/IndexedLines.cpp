#include "palette/IndexedLines.h"

#include <algorithm>
#include <bit>

#include "palette/PackedColor.h"
#include "palette/PaletteMapKernels.h"

namespace zpixf {

static_assert(std::endian::native == std::endian::little, "the kernels take a pixel's blue from its low byte");

std::optional<IndexedLines> IndexedLines::Of(const ZPixFormat& format) {
    const unsigned channels = format.GetChannels(), bits = format.GetBitsPerChannel();
    if (channels == 4 && bits == 8) return IndexedLines(true, 8);
    if (channels == 1 && (bits == 1 || bits == 4 || bits == 8)) return IndexedLines(false, bits);
    return std::nullopt;
}

void IndexedLines::SetPalette(const RGBQUAD* entries, unsigned count) {
    std::transform(entries, entries + count, colors.begin(), PackedColor);
}

void IndexedLines::Store(const std::uint8_t* indices, const std::uint8_t* pixels, std::size_t count,
                         std::uint8_t* line) const {
    const PaletteMapKernels& kernels = ActivePaletteMapKernels();
    if (areColors) return kernels.colorize(line, pixels, indices, count, colors.data());
    if (bits == 1) return kernels.pack1(line, indices, count);
    if (bits == 4) return kernels.pack4(line, indices, count);
}

}  // namespace zpixf
