#include <algorithm>

#include "palette/ColorHistogram.h"
#include "palette/ColorRefinement.h"
#include "zpixf/ZPixfQuantize.h"

namespace zpixf {
namespace {

// What counts as one colour: a point of the histogram, or a cell of so many bits a channel. Points are the very colours
// of a drawing; in a photograph all entries would go to the shades of its largest surface. So a coarser colour is taken
// where that at least halves the error.
constexpr unsigned kBitsOfCells[] = {6, 5, 4, 3, 2, 1};
constexpr double kWorthwhile = 0.5;

std::vector<ColorPoint> MostFrequent(std::vector<ColorPoint> colors, std::size_t count) {
    const auto isMoreFrequent = [](const ColorPoint& a, const ColorPoint& b) { return a.weight > b.weight; };
    std::stable_sort(colors.begin(), colors.end(), isMoreFrequent);
    colors.resize(count);
    return colors;
}

}  // namespace

ZPixfQuantizePopularity::ZPixfQuantizePopularity() = default;
ZPixfQuantizePopularity::~ZPixfQuantizePopularity() = default;

ZPixfType ZPixfQuantizePopularity::FilterType() const { return ZPixfType::QuantizePopularity; }

std::vector<ColorPoint> ZPixfQuantizePopularity::ChooseColors(const ColorHistogram& histogram) const {
    const std::vector<ColorPoint> colors = histogram.Points();
    PointMap map(colors);
    std::vector<ColorPoint> best = MostFrequent(colors, desiredColors);
    map.Map(best);
    double leastError = map.TotalError();
    for (const unsigned bits : kBitsOfCells) {
        const std::vector<ColorPoint> merged = Merge(colors, bits);
        if (merged.size() < desiredColors) break;
        if (merged.size() == colors.size()) continue;
        std::vector<ColorPoint> palette = MostFrequent(merged, desiredColors);
        map.Map(palette);
        const double error = map.TotalError();
        if (!(error <= kWorthwhile * leastError)) continue;
        leastError = error;
        best.swap(palette);
    }
    return best;
}

}  // namespace zpixf
