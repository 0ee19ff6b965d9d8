#include "zpixf/ZPixfDither.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>
#include <vector>

#include "dither/DitherKernels.h"
#include "dither/ZPixfDitherLines.h"
#include "dither/ZPixfDitherTables.h"
#include "palette/FixedPalettes.h"
#include "palette/IndexedLines.h"
#include "palette/PaletteShape.h"

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

std::unique_ptr<std::uint8_t[]> Bytes(std::size_t count, std::size_t each) {
    if (count > std::numeric_limits<std::size_t>::max() / each) throw std::bad_alloc();
    return std::make_unique_for_overwrite<std::uint8_t[]>(count * each);
}

}  // namespace

struct ZPixfDither::State {
    State(const FixedPalette& palette, std::size_t newWidth, const IndexedLines& newOutput);
    void Store(const std::uint8_t* lineIndices, const std::uint8_t* linePixels, std::uint8_t* line) const;

    std::size_t width;
    IndexedLines output;
    bool isGrey;  ///< of a palette of greys only the pixels' luma counts
    std::unique_ptr<LineDitherer> ditherer;
    std::unique_ptr<std::uint8_t[]> pixels;   ///< a line of the input, unless the output's own buffer holds it
    std::unique_ptr<std::uint8_t[]> indices;  ///< of a line, unless they are the output
    unsigned nextLine = 0;                    ///< after the one given last

    /// Lines after the one given that were made with it.
    struct LineAhead {
        std::unique_ptr<std::uint8_t[]> pixels, indices;
    };
    std::vector<LineAhead> ahead;
    std::vector<DitheredLine> lines;           ///< room for those that are made at once
    std::size_t firstAhead = 0, numAhead = 0;  ///< of those that are to be given yet
};

ZPixfDither::State::State(const FixedPalette& palette, std::size_t newWidth, const IndexedLines& newOutput)
    : width(newWidth), output(newOutput), isGrey(AreGreys(palette.entries.data(), palette.count)) {
    output.SetPalette(palette.entries.data(), palette.count);
    if (!output.AreColors()) pixels = Bytes(width, 4);
    if (!output.AreIndexBytes()) indices = Bytes(width, 1);
}

void ZPixfDither::State::Store(const std::uint8_t* lineIndices, const std::uint8_t* linePixels,
                               std::uint8_t* line) const {
    if (!output.AreIndexBytes())
        output.Store(lineIndices, linePixels, width, line);
    else if (lineIndices != line)
        std::copy_n(lineIndices, width, line);
}

ZPixfDither::ZPixfDither() = default;
ZPixfDither::~ZPixfDither() = default;

void ZPixfDither::SetStrength(double newStrength) { strength = newStrength; }

void ZPixfDither::SetPullsAhead(bool ahead) { pullsAhead = ahead; }

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
    if (pullsAhead) newState->ahead.resize(newState->ditherer->LinesAtOnce() - 1);
    newState->lines.resize(1 + newState->ahead.size());
    for (auto& line : newState->ahead) line = {Bytes(newState->width, 4), Bytes(newState->width, 1)};
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
    const bool follows = line != 0 && line == state->nextLine;
    if (!follows) state->numAhead = 0;
    if (state->numAhead > 0) {
        const State::LineAhead& next = state->ahead[state->firstAhead++];
        --state->numAhead;
        state->Store(next.indices.get(), next.pixels.get(), result);
    } else if (!DitherFrom(line, follows, result)) {
        return false;
    }
    state->nextLine = line + 1;
    return true;
}

bool ZPixfDither::DitherFrom(unsigned line, bool follows, std::uint8_t* result) {
    std::uint8_t* const pixels = state->pixels ? state->pixels.get() : result;
    std::uint8_t* const indices = state->indices ? state->indices.get() : result;
    if (!PullPixels(line, pixels)) return false;
    state->lines[0] = {pixels, indices};
    unsigned count = 1;
    for (; count < state->lines.size() && line + count < outputFormat.GetHeight(); ++count) {
        const State::LineAhead& next = state->ahead[count - 1];
        // One that cannot be had now is asked for again when its turn comes.
        if ((line + count) % state->lines.size() == 0 || !PullPixels(line + count, next.pixels.get())) break;
        state->lines[count] = {next.pixels.get(), next.indices.get()};
    }
    state->ditherer->Dither(line, state->lines.data(), count, follows);
    state->Store(indices, pixels, result);
    state->firstAhead = 0;
    state->numAhead = count - 1;
    return true;
}

void ZPixfDither::Stop() {
    state.reset();
    ZPixFilterBase::Stop();
}

}  // namespace zpixf
