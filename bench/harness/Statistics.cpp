#include "harness/Statistics.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace bench {

namespace {

std::array<double, 3> Means(const Pixels& bgra) {
    std::array<double, 3> sums{};
    for (std::size_t i = 0; i < bgra.size(); i += 4)
        for (std::size_t c = 0; c < 3; ++c) sums[c] += bgra[i + c];
    for (double& sum : sums) sum /= static_cast<double>(bgra.size() / 4);
    return sums;
}

}  // namespace

double Median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

double PeakSignalToNoise(const Pixels& a, const Pixels& b) {
    double squares = 0;
    for (std::size_t i = 0; i < a.size(); i += 4) {
        int sum = 0;
        for (std::size_t c = i; c < i + 3; ++c) sum += (a[c] - b[c]) * (a[c] - b[c]);
        squares += sum;
    }
    if (squares == 0) return std::numeric_limits<double>::infinity();
    return 10 * std::log10(255.0 * 255.0 * 3 * static_cast<double>(a.size() / 4) / squares);
}

double CountColors(const Pixels& bgra) {
    std::vector<bool> seen(std::size_t{1} << 24);
    for (std::size_t i = 0; i < bgra.size(); i += 4)
        seen[bgra[i] | std::size_t{bgra[i + 1]} << 8 | std::size_t{bgra[i + 2]} << 16] = true;
    return static_cast<double>(std::count(seen.begin(), seen.end(), true));
}

double Drift(const Pixels& from, const Pixels& to) {
    const auto before = Means(from), after = Means(to);
    double drift = 0;
    for (std::size_t c = 0; c < 3; ++c)
        if (std::abs(after[c] - before[c]) > std::abs(drift)) drift = after[c] - before[c];
    return drift;
}

Difference DifferenceWithin(const Pixels& a, const Pixels& b, int side, int border) {
    Difference difference;
    const int end = side - border;
    for (int y = border; y < end; ++y) {
        for (int x = border; x < end; ++x) {
            const std::size_t pixel = std::size_t{4} * (unsigned(y) * unsigned(side) + unsigned(x));
            for (std::size_t i = pixel; i < pixel + 3; ++i) {
                const int apart = std::abs(a[i] - b[i]);
                difference.max = std::max(difference.max, apart);
                difference.mean += apart;
            }
        }
    }
    difference.mean /= 3.0 * (end - border) * (end - border);
    return difference;
}

}  // namespace bench
