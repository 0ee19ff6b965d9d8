#include "palette/GreyPalette.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>

namespace zpixf {
namespace {

using Levels = std::vector<ColorPoint>;  ///< from dark to light

/// The weights of levels times their squared distances to the mean of the interval, rounded.
double ErrorOf(const Levels& levels, std::size_t first, std::size_t last, const ColorPoint& total) {
    ColorPoint entry = total;
    SetMean(entry);
    double sum = 0;
    for (std::size_t i = first; i <= last; ++i) {
        const int apart = levels[i].mean[0] - entry.mean[0];
        const double error = static_cast<double>(levels[i].weight) * (apart * apart);
        sum += error;
    }
    return sum;
}

/// Of all intervals of levels, by their first and their last ones.
std::vector<std::vector<double>> Errors(const Levels& levels) {
    std::vector<std::vector<double>> errors(levels.size(), std::vector<double>(levels.size()));
    for (std::size_t first = 0; first < levels.size(); ++first) {
        ColorPoint total;
        for (std::size_t last = first; last < levels.size(); ++last) {
            Add(total, levels[last]);
            errors[first][last] = ErrorOf(levels, first, last, total);
        }
    }
    return errors;
}

/// For the levels up to each, in each number of intervals: where the last interval begins so that the error is least.
std::vector<std::vector<std::size_t>> BestStarts(const Levels& levels, std::size_t count) {
    const std::vector<std::vector<double>> errors = Errors(levels);
    std::vector<double> least = errors[0];
    std::vector<std::vector<std::size_t>> starts(count, std::vector<std::size_t>(levels.size()));
    for (std::size_t k = 1; k < count; ++k)
        for (std::size_t last = levels.size(); last-- > k;) {
            double best = std::numeric_limits<double>::infinity();
            for (std::size_t start = k; start <= last; ++start) {
                const double error = least[start - 1] + errors[start][last];
                if (!(error < best)) continue;
                best = error;
                starts[k][last] = start;
            }
            least[last] = best;
        }
    return starts;
}

}  // namespace

bool AreGreys(const std::vector<ColorPoint>& points) noexcept {
    return std::all_of(points.begin(), points.end(), [](const ColorPoint& point) {
        return point.sum[0] == point.sum[1] && point.sum[1] == point.sum[2];
    });
}

std::vector<ColorPoint> BestGreys(const std::vector<ColorPoint>& points, std::size_t count) {
    Levels levels = points;
    std::sort(levels.begin(), levels.end(),
              [](const ColorPoint& a, const ColorPoint& b) { return a.mean[0] < b.mean[0]; });
    const std::vector<std::vector<std::size_t>> starts = BestStarts(levels, count);
    std::vector<ColorPoint> entries(count);
    std::size_t end = levels.size();
    for (std::size_t k = count; k-- > 0;) {
        const std::size_t start = starts[k][end - 1];
        for (std::size_t i = start; i < end; ++i) Add(entries[k], levels[i]);
        SetMean(entries[k]);
        end = start;
    }
    return entries;
}

}  // namespace zpixf
