#include "zpixf/ZPixfDither.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

#include "dither/DitherKernels.h"
#include "dither/ZPixfDitherLines.h"
#include "dither/ZPixfDitherTables.h"
#include "palette/FixedPalettes.h"
#include "palette/IndexedLines.h"

namespace zpixf {
namespace {

/// The palette of the format; the fixed one that `room` entries hold if it has only a count or nothing.
FixedPalette PaletteFor(const ZPixFormat& format, unsigned room) {
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
    State(const FixedPalette& palette, std::size_t newWidth, const IndexedLines& newOutput);

    std::size_t width;
    IndexedLines output;
    bool isGrey;  ///< of a palette of greys only the pixels' luma counts
    std::unique_ptr<LineDitherer> ditherer;
    std::unique_ptr<std::uint8_t[]> pixels;   ///< a line of the input, unless the output's own buffer holds it
    std::unique_ptr<std::uint8_t[]> indices;  ///< of a line, unless they are the output

    /// The line after the one given, where they are made in pairs.
    std::unique_ptr<std::uint8_t[]> nextPixels, nextIndices;
    std::optional<unsigned> nextLine;  ///< which one is there
};

ZPixfDither::State::State(const FixedPalette& palette, std::size_t newWidth, const IndexedLines& newOutput)
    : width(newWidth), output(newOutput), isGrey(IsGrey(palette)) {
    output.SetPalette(palette.entries.data(), palette.count);
    if (!output.AreColors()) pixels = Bytes(width, 4);
    if (!output.AreIndexBytes()) indices = Bytes(width, 1);
}

ZPixfDither::ZPixfDither() = default;
ZPixfDither::~ZPixfDither() = default;

void ZPixfDither::SetStrength(double newStrength) { strength = newStrength; }

void ZPixfDither::FreeKeptTables() noexcept { zpixf::FreeKeptTables(); }

bool ZPixfDither::StartWith(MakeDitherer makeDitherer) {
    if (inputFormat.GetChannels() != 4 || inputFormat.GetBitsPerChannel() != 8)
        return Fail("ZPixfDither", __LINE__, L"A ditherer takes pixels of 4 channels of 8 bits.");
    if (!(strength >= 0 && strength <= 1))  // NaN is neither
        return Fail("ZPixfDither", __LINE__, L"The strength of the ditherer is not between 0 and 1.");
    if (inputFormat.GetWidth() != outputFormat.GetWidth() || inputFormat.GetHeight() != outputFormat.GetHeight())
        return Fail("ZPixfDither", __LINE__, L"Input and output of the ditherer differ in size.");
    const std::optional<IndexedLines> lines = IndexedLines::Of(outputFormat);
    if (!lines)
        return Fail("ZPixfDither", __LINE__,
                    L"A ditherer gives indices of 1, 4 or 8 bits, or pixels of 4 channels of 8 bits.");
    const FixedPalette palette = PaletteFor(outputFormat, lines->MostColors());
    if (palette.count == 0)
        return Fail("ZPixfDither", __LINE__,
                    L"The palette of the ditherer has more colors than the index can tell "
                    L"apart, or one color that is not given.");
    auto newState = std::make_unique<State>(palette, outputFormat.GetWidth(), *lines);
    newState->ditherer = makeDitherer(palette.entries.data(), palette.count, newState->width, strength);
    if (newState->ditherer->LikesPairs()) {
        newState->nextPixels = Bytes(newState->width, 4);
        newState->nextIndices = Bytes(newState->width, 1);
    }
    state = std::move(newState);
    outputFormat.FillColorTable(palette.count, palette.entries.data());
    return true;
}

bool ZPixfDither::PullPixels(unsigned line, std::uint8_t* pixels) {
    if (!PullLine(line, pixels)) return false;
    if (state->isGrey) ActiveDitherKernels().toGrey(pixels, state->width);
    return true;
}

bool ZPixfDither::FilterScanline(unsigned line, void* buffer) {
    if (!IsReadyFor(line)) return false;
    auto* const result = static_cast<std::uint8_t*>(buffer);
    if (std::exchange(state->nextLine, std::nullopt) == line && line != 0) {
        if (!state->output.AreIndexBytes())
            state->output.Store(state->nextIndices.get(), state->nextPixels.get(), state->width, result);
        else
            std::copy_n(state->nextIndices.get(), state->width, result);
        return true;
    }
    std::uint8_t* const pixels = state->pixels ? state->pixels.get() : result;
    std::uint8_t* const indices = state->indices ? state->indices.get() : result;
    if (!PullPixels(line, pixels)) return false;
    // A next line that cannot be had now is asked for again when its turn comes.
    const bool isPair = state->nextPixels && line % 2 == 0 && line + 1 < outputFormat.GetHeight() &&
                        PullPixels(line + 1, state->nextPixels.get());
    if (isPair) {
        state->ditherer->DitherPair(line, {pixels, indices}, {state->nextPixels.get(), state->nextIndices.get()});
        state->nextLine = line + 1;
    } else {
        state->ditherer->Dither(line, pixels, indices);
    }
    state->output.Store(indices, pixels, state->width, result);
    return true;
}

void ZPixfDither::Stop() {
    state.reset();
    ZPixFilterBase::Stop();
}

}  // namespace zpixf
