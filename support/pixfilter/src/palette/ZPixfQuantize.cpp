#include "zpixf/ZPixfQuantize.h"

#include <cstring>
#include <new>
#include <utility>

#include "palette/ColorHistogram.h"
#include "palette/PaletteMap.h"

namespace zpixf {
namespace {

constexpr std::size_t kPixelBytes = 4;
constexpr unsigned kByteBits = 8;

bool IsColors(const ZPixFormat& format) { return format.GetChannels() == 4 && format.GetBitsPerChannel() == 8; }

/// Bits of an index; 0 if the lines are neither indices nor colours.
unsigned IndexBits(const ZPixFormat& format) {
    if (IsColors(format)) return 8;
    const unsigned bits = format.GetBitsPerChannel();
    return format.GetChannels() == 1 && (bits == 1 || bits == 4 || bits == 8) ? bits : 0;
}

std::unique_ptr<std::uint8_t[]> MakeBytes(std::uint64_t count) {
    const auto size = static_cast<std::size_t>(count);
    if (size != count) throw std::bad_alloc();
    return std::unique_ptr<std::uint8_t[]>(new std::uint8_t[size]);
}

/// Packs indices, the first one highest. The bits of the last byte that hold none stay.
void PackIndices(const std::uint8_t* indices, std::size_t count, unsigned bits, std::uint8_t* packed) {
    const std::size_t perByte = kByteBits / bits;
    for (; count >= perByte; count -= perByte) {
        unsigned byte = 0;
        for (std::size_t i = 0; i < perByte; ++i) byte = byte << bits | *indices++;
        *packed++ = static_cast<std::uint8_t>(byte);
    }
    if (count == 0) return;
    unsigned byte = 0;
    for (std::size_t i = 0; i < count; ++i) byte = byte << bits | indices[i];
    const unsigned free = kByteBits - bits * static_cast<unsigned>(count);
    *packed = static_cast<std::uint8_t>(byte << free | (*packed & ((1u << free) - 1)));
}

/// Gives each pixel the entry of its index, and the alpha that it has.
void GiveColors(const std::uint8_t* indices, std::size_t count, const RGBQUAD* palette, const std::uint8_t* pixels,
                std::uint8_t* colors) {
    for (std::size_t x = 0; x < count; ++x) {
        RGBQUAD color = palette[indices[x]];
        color.rgbReserved = pixels[kPixelBytes * x + 3];
        std::memcpy(colors + kPixelBytes * x, &color, sizeof color);
    }
}

}  // namespace

struct ZPixfQuantize::State {
    State(unsigned newWidth, const ZPixFormat& output)
        : width(newWidth),
          givesColors(IsColors(output)),
          indexBits(IndexBits(output)),
          line(MakeBytes(std::uint64_t{kPixelBytes} * newWidth)),
          indices(MakeBytes(newWidth)) {}

    std::size_t width;
    bool givesColors;
    unsigned indexBits;
    std::unique_ptr<std::uint8_t[]> line;  ///< of the input
    std::unique_ptr<std::uint8_t[]> indices;
    RGBQUAD palette[ZPixFormat::kMaxColors] = {};
    PaletteMap map;
};

ZPixfQuantize::ZPixfQuantize() = default;
ZPixfQuantize::~ZPixfQuantize() = default;

void ZPixfQuantize::SetDesiredColors(unsigned count) { desiredColors = count; }

void ZPixfQuantize::Stop() {
    state.reset();
    ZPixFilterBase::Stop();
}

bool ZPixfQuantize::OnStart() {
    if (!SuitsFormats()) return false;
    const unsigned width = inputFormat.GetWidth(), height = inputFormat.GetHeight();
    // A picture without lines needs no room for one, however wide it is.
    auto fresh = std::make_unique<State>(height == 0 ? 0 : width, outputFormat);
    ColorHistogram histogram;
    for (unsigned y = 0; y < height; ++y) {
        if (!PullLine(y, fresh->line.get())) return false;
        histogram.AddRow(fresh->line.get(), width);
    }
    std::vector<ColorPoint> colors = histogram.Points();
    if (colors.size() > desiredColors) ChooseColors(colors);
    if (colors.empty()) colors.emplace_back();
    const auto count = static_cast<unsigned>(colors.size());
    for (unsigned i = 0; i < count; ++i)
        fresh->palette[i] = {colors[i].mean[0], colors[i].mean[1], colors[i].mean[2], 0};
    fresh->map.Build(fresh->palette, count);
    outputFormat.FillColorTable(count, fresh->palette);
    state = std::move(fresh);
    return true;
}

bool ZPixfQuantize::SuitsFormats() {
    if (!IsColors(inputFormat))
        return Fail("ZPixfQuantize", __LINE__, L"Colours are reduced from 4 channels of 8 bits only.");
    if (inputFormat.GetWidth() != outputFormat.GetWidth() || inputFormat.GetHeight() != outputFormat.GetHeight())
        return Fail("ZPixfQuantize", __LINE__, L"Input and output of the filter differ in size.");
    const unsigned bits = IndexBits(outputFormat);
    if (bits == 0)
        return Fail("ZPixfQuantize", __LINE__,
                    L"Colours are reduced to indices of 1, 4 or 8 bits or to 4 channels of 8 bits only.");
    if (desiredColors == 0 || desiredColors > ZPixFormat::kMaxColors)
        return Fail("ZPixfQuantize", __LINE__, L"Colours can be reduced to 1 to 256.");
    if (desiredColors > 1u << bits)
        return Fail("ZPixfQuantize", __LINE__, L"The output's indices cannot tell so many colours apart.");
    return true;
}

bool ZPixfQuantize::FilterScanline(unsigned line, void* buffer) {
    if (!IsReadyFor(line) || !PullLine(line, state->line.get())) return false;
    const std::uint8_t* pixels = state->line.get();
    auto* indices = static_cast<std::uint8_t*>(buffer);
    const bool givesIndexBytes = !state->givesColors && state->indexBits == kByteBits;
    if (!givesIndexBytes) indices = state->indices.get();
    try {
        state->map.MapRow(pixels, state->width, indices);
    } catch (const std::bad_alloc&) { return Fail("ZPixfQuantize", __LINE__, L"Not enough memory for the filter."); }
    if (state->givesColors)
        GiveColors(indices, state->width, state->palette, pixels, static_cast<std::uint8_t*>(buffer));
    else if (!givesIndexBytes)
        PackIndices(indices, state->width, state->indexBits, static_cast<std::uint8_t*>(buffer));
    return true;
}

}  // namespace zpixf
