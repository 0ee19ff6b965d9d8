#include "resample/ResampleTable.h"

#include <algorithm>
#include <limits>
#include <new>

namespace zpixf {
namespace {

// Their sums fill a quarter of a common first cache.
constexpr std::uint64_t kBlockPixels = 256;
constexpr std::uint64_t kGroup = ResampleKernels::kGroup;

}  // namespace

void ResampleTable::Prepare(const ResampleWeights& across, unsigned bitsDown) {
    const double scale = 1.0 / static_cast<double>(std::uint64_t{1} << (across.Bits() + bitsDown));
    const std::uint32_t period = across.Period();
    taps = across.MaxCount();
    weights.clear();
    columns.assign(across.Output(), {});
    std::vector<bool> isCut(across.Output());
    for (std::uint32_t x = 0; x < across.Output(); ++x) {
        const ResampleWeights::Span span = across.SpanOf(x);
        // Columns have the same number of weights. Those that need fewer begin earlier if the picture ends too soon.
        const std::uint32_t first = std::min(span.first, across.Input() - taps);
        isCut[x] = span.isCut || first != span.first;
        const bool isRepeated = x >= period && !isCut[x] && !isCut[x - period];
        if (!isRepeated && weights.size() > std::numeric_limits<std::uint32_t>::max()) throw std::bad_alloc();
        columns[x] = {first, isRepeated ? columns[x - period].weights : static_cast<std::uint32_t>(weights.size())};
        if (!isRepeated) AddWeights(across, span, first, scale);
    }
    CutIntoBlocks();
}

void ResampleTable::AddWeights(const ResampleWeights& across, const ResampleWeights::Span& span, std::uint32_t first,
                               double scale) {
    const std::size_t begin = weights.size();
    weights.resize(begin + taps);
    ResampleWeights::Walk walk(across, span);
    for (std::size_t i = begin + (span.first - first), end = i + span.Count(); i < end; ++i)
        weights[i] = walk.Next() * scale;
}

void ResampleTable::CutIntoBlocks() {
    blocks.clear();
    mostPixels = 0;
    const auto count = static_cast<std::uint32_t>(columns.size());
    const std::uint32_t middle = count / 2;  // where the turns of rounding change in a line of even length
    for (std::uint32_t x = 0; x < count;) {
        const auto pixel = static_cast<std::uint32_t>(columns[x].first / kGroup * kGroup);
        const auto reach = [&](std::uint32_t column) { return std::uint64_t{columns[column].first} + taps - pixel; };
        std::uint32_t next = x + 1;
        while (next < count && next != middle && next - x < kMostColumns && reach(next) <= kBlockPixels) ++next;
        const auto pixels = static_cast<std::uint32_t>((reach(next - 1) + kGroup - 1) / kGroup * kGroup);
        blocks.push_back({x, next - x, pixel, pixels, DropZeros(x, next), IsEven(x, count)});
        mostPixels = std::max(mostPixels, pixels);
        x = next;
    }
}

/// Of columns that all have zeros at either end; returns how many weights are left. Where a picture is nearly halved,
/// of 4097 pixels say, only few columns have five weights, and the others four.
std::uint32_t ResampleTable::DropZeros(std::uint32_t begin, std::uint32_t end) {
    const auto zeros = [this](auto first) {
        return static_cast<std::uint32_t>(std::find_if(first, first + taps, [](double w) { return w != 0; }) - first);
    };
    const auto leading = [&](std::uint32_t x) { return zeros(weights.begin() + columns[x].weights); };
    std::uint32_t most = 1;
    for (std::uint32_t x = begin; x < end; ++x) {
        const auto trailing = zeros(std::reverse_iterator(weights.begin() + columns[x].weights + taps));
        most = std::max(most, taps - leading(x) - trailing);
    }
    for (std::uint32_t x = begin; x < end; ++x) {
        const std::uint32_t dropped = std::min(leading(x), taps - most);
        columns[x].first += dropped;
        columns[x].weights += dropped;
    }
    return most;
}

}  // namespace zpixf
