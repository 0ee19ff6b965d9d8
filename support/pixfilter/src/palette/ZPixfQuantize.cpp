#include "zpixf/ZPixfQuantize.h"

#include <new>
#include <utility>

#include "palette/ColorHistogram.h"
#include "palette/IndexedLines.h"
#include "palette/PaletteMap.h"

namespace zpixf {
namespace {

constexpr std::size_t kPixelBytes = 4;

std::unique_ptr<std::uint8_t[]> MakeBytes(std::uint64_t count) {
    const auto size = static_cast<std::size_t>(count);
    if (size != count) throw std::bad_alloc();
    return std::unique_ptr<std::uint8_t[]>(new std::uint8_t[size]);
}

}  // namespace

struct ZPixfQuantize::State {
    State(unsigned newWidth, const IndexedLines& newOutput)
        : width(newWidth),
          output(newOutput),
          line(MakeBytes(std::uint64_t{kPixelBytes} * newWidth)),
          indices(newWidth) {}

    std::size_t width;
    IndexedLines output;
    std::unique_ptr<std::uint8_t[]> line;  ///< of the input
    std::vector<std::uint8_t> indices;
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
    auto fresh = std::make_unique<State>(height == 0 ? 0 : width, *IndexedLines::Of(outputFormat));
    ColorHistogram histogram;
    for (unsigned y = 0; y < height; ++y) {
        if (!PullLine(y, fresh->line.get())) return false;
        histogram.AddRow(fresh->line.get(), width);
    }
    const bool isExact = histogram.HasAtMost(desiredColors);
    std::vector<ColorPoint> colors = isExact ? histogram.Points() : ChooseColors(histogram);
    if (colors.empty()) colors.emplace_back();
    std::vector<RGBQUAD> palette;
    for (const auto& [weight, sum, mean] : colors) palette.push_back({mean[0], mean[1], mean[2], 0});
    const auto count = static_cast<unsigned>(palette.size());
    fresh->map.Build(palette.data(), count);
    fresh->output.SetPalette(palette.data(), count);
    outputFormat.FillColorTable(count, palette.data());
    state = std::move(fresh);
    return true;
}

bool ZPixfQuantize::SuitsFormats() {
    if (inputFormat.GetChannels() != 4 || inputFormat.GetBitsPerChannel() != 8)
        return Fail("ZPixfQuantize", __LINE__, L"Colours are reduced from 4 channels of 8 bits only.");
    if (inputFormat.GetWidth() != outputFormat.GetWidth() || inputFormat.GetHeight() != outputFormat.GetHeight())
        return Fail("ZPixfQuantize", __LINE__, L"Input and output of the filter differ in size.");
    const std::optional<IndexedLines> output = IndexedLines::Of(outputFormat);
    if (!output)
        return Fail("ZPixfQuantize", __LINE__,
                    L"Colours are reduced to indices of 1, 4 or 8 bits or to 4 channels of 8 bits only.");
    if (desiredColors == 0 || desiredColors > ZPixFormat::kMaxColors)
        return Fail("ZPixfQuantize", __LINE__, L"Colours can be reduced to 1 to 256.");
    if (desiredColors > output->MostColors())
        return Fail("ZPixfQuantize", __LINE__, L"The output's indices cannot tell so many colours apart.");
    return true;
}

bool ZPixfQuantize::FilterScanline(unsigned line, void* buffer) {
    if (!IsReadyFor(line) || !PullLine(line, state->line.get())) return false;
    return MapPixels(state->line.get(), state->width, static_cast<std::uint8_t*>(buffer));
}

bool ZPixfQuantize::MapPixels(const std::uint8_t* pixels, std::size_t count, std::uint8_t* result) {
    try {
        if (!state->output.AreIndexBytes() && state->indices.size() < count) state->indices.resize(count);
        std::uint8_t* const indices = state->output.AreIndexBytes() ? result : state->indices.data();
        state->map.MapRow(pixels, count, indices);
        state->output.Store(indices, pixels, count, result);
    } catch (const std::bad_alloc&) { return FailForMemory("ZPixfQuantize", __LINE__); }
    return true;
}

}  // namespace zpixf
