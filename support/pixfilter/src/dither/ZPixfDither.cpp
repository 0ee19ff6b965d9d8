#include "zpixf/ZPixfDither.h"

#include <algorithm>
#include <array>
#include <limits>
#include <new>

#include "dither/DitherKernels.h"
#include "dither/ZPixfDitherExact.h"
#include "dither/ZPixfDitherLines.h"
#include "palette/FixedPalettes.h"

namespace zpixf {
namespace {

constexpr unsigned kNoIndex = 0;  // the output is colours

/// The bits of an index of the output, kNoIndex for colours; -1 for an output that no ditherer makes.
int IndexBits(const ZPixFormat& format) {
    const unsigned channels = format.GetChannels(), bits = format.GetBitsPerChannel();
    if (channels == 4 && bits == 8) return kNoIndex;
    if (channels == 1 && (bits == 1 || bits == 4 || bits == 8)) return static_cast<int>(bits);
    return -1;
}

/// The palette of the format; the fixed one that it leaves room for if it has only a count or nothing.
FixedPalette PaletteFor(const ZPixFormat& format, unsigned indexBits) {
    const unsigned room = indexBits == kNoIndex ? ZPixFormat::kMaxColors : 1u << indexBits;
    const unsigned count = format.GetNumColors();
    if (count > room) return {};
    if (format.GetColors() == nullptr) return FixedPaletteOf(count == 0 ? room : count);
    FixedPalette palette;
    palette.count = count;
    std::copy_n(format.GetColors(), count, palette.entries.begin());
    return palette;
}

bool IsGrey(const FixedPalette& palette) {
    return std::all_of(palette.entries.begin(), palette.entries.begin() + palette.count, [](const RGBQUAD& color) {
        return color.rgbBlue == color.rgbGreen && color.rgbGreen == color.rgbRed;
    });
}

std::unique_ptr<std::uint8_t[]> Bytes(std::size_t count, std::size_t each) {
    if (count > std::numeric_limits<std::size_t>::max() / each) throw std::bad_alloc();
    return std::make_unique_for_overwrite<std::uint8_t[]>(count * each);
}

}  // namespace

struct ZPixfDither::State {
    State(const FixedPalette& palette, std::size_t newWidth, unsigned newIndexBits);
    void Store(std::uint8_t* buffer) const;

    const DitherKernels& kernels = ActiveDitherKernels();
    std::size_t width;
    unsigned indexBits;
    bool isGrey;  ///< of a palette of greys only the pixels' luma counts
    std::array<std::uint32_t, ZPixFormat::kMaxColors> colors{};
    std::unique_ptr<LineDitherer> ditherer;
    std::unique_ptr<std::uint8_t[]> pixels;   ///< a line of the input, unless the output's own buffer holds it
    std::unique_ptr<std::uint8_t[]> indices;  ///< of a line, unless they are the output
};

ZPixfDither::State::State(const FixedPalette& palette, std::size_t newWidth, unsigned newIndexBits)
    : width(newWidth), indexBits(newIndexBits), isGrey(IsGrey(palette)) {
    std::transform(palette.entries.begin(), palette.entries.begin() + palette.count, colors.begin(), PackedColor);
    if (indexBits != kNoIndex) pixels = Bytes(width, 4);
    if (indexBits != 8) indices = Bytes(width, 1);
}

ZPixfDither::ZPixfDither() = default;
ZPixfDither::~ZPixfDither() = default;

bool ZPixfDither::StartWith(MakeDitherer makeDitherer) {
    if (inputFormat.GetChannels() != 4 || inputFormat.GetBitsPerChannel() != 8)
        return Fail("ZPixfDither", __LINE__, L"A ditherer takes pixels of 4 channels of 8 bits.");
    if (inputFormat.GetWidth() != outputFormat.GetWidth() || inputFormat.GetHeight() != outputFormat.GetHeight())
        return Fail("ZPixfDither", __LINE__, L"Input and output of the ditherer differ in size.");
    const int indexBits = IndexBits(outputFormat);
    if (indexBits < 0)
        return Fail("ZPixfDither", __LINE__,
                    L"A ditherer gives indices of 1, 4 or 8 bits, or pixels of 4 channels of 8 bits.");
    const FixedPalette palette = PaletteFor(outputFormat, static_cast<unsigned>(indexBits));
    if (palette.count == 0)
        return Fail("ZPixfDither", __LINE__,
                    L"The palette of the ditherer has more colors than the index can tell "
                    L"apart, or one color that is not given.");
    auto newState = std::make_unique<State>(palette, outputFormat.GetWidth(), static_cast<unsigned>(indexBits));
    newState->ditherer = makeDitherer(palette.entries.data(), palette.count, newState->width);
    state = std::move(newState);
    outputFormat.FillColorTable(palette.count, palette.entries.data());
    return true;
}

bool ZPixfDither::FilterScanline(unsigned line, void* buffer) {
    if (!IsReadyFor(line)) return false;
    auto* const output = static_cast<std::uint8_t*>(buffer);
    std::uint8_t* const pixels = state->pixels ? state->pixels.get() : output;
    std::uint8_t* const indices = state->indices ? state->indices.get() : output;
    if (!PullLine(line, pixels)) return false;
    if (state->isGrey) state->kernels.toGrey(pixels, state->width);
    state->ditherer->Dither(line, pixels, indices);
    state->Store(output);
    return true;
}

void ZPixfDither::State::Store(std::uint8_t* buffer) const {
    switch (indexBits) {
        case kNoIndex: kernels.colorize(buffer, indices.get(), width, colors.data()); break;
        case 1: kernels.pack1(buffer, indices.get(), width); break;
        case 4: kernels.pack4(buffer, indices.get(), width); break;
        default: break;  // the ditherer wrote there
    }
}

void ZPixfDither::Stop() {
    state.reset();
    ZPixFilterBase::Stop();
}

}  // namespace zpixf
