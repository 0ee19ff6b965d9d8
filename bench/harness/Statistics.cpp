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

/// Of B, G and R of every pixel.
double SquaresApart(const Pixels& a, const Pixels& b) {
    double squares = 0;
    for (std::size_t i = 0; i < a.size(); i += 4) {
        int sum = 0;
        for (std::size_t c = i; c < i + 3; ++c) sum += (a[c] - b[c]) * (a[c] - b[c]);
        squares += sum;
    }
    return squares;
}

/// Of channel `c` in the box of 8 x 8 pixels that begins at the pixel `first`.
int SumOfBox(const Pixels& bgra, std::size_t first, std::size_t side, std::size_t c) {
    int sum = 0;
    for (std::size_t y = 0; y < 8; ++y)
        for (std::size_t x = 0; x < 8; ++x) sum += bgra[4 * (first + y * side + x) + c];
    return sum;
}

using Lab = std::array<double, 3>;

std::array<double, 256> LinearLevels() {
    std::array<double, 256> levels;
    for (std::size_t i = 0; i < levels.size(); ++i) {
        const double level = static_cast<double>(i) / 255;
        levels[i] = level <= 0.04045 ? level / 12.92 : std::pow((level + 0.055) / 1.055, 2.4);
    }
    return levels;
}

Lab LabOf(const std::uint8_t* bgra) {
    static const std::array<double, 256> linear = LinearLevels();
    const double b = linear[bgra[0]], g = linear[bgra[1]], r = linear[bgra[2]];
    const auto f = [](double t) { return t > 216.0 / 24389 ? std::cbrt(t) : (24389.0 / 27 * t + 16) / 116; };
    const double x = f((0.4124564 * r + 0.3575761 * g + 0.1804375 * b) / 0.95047);
    const double y = f(0.2126729 * r + 0.7151522 * g + 0.0721750 * b);
    const double z = f((0.0193339 * r + 0.1191920 * g + 0.9503041 * b) / 1.08883);
    return {116 * y - 16, 500 * (x - y), 200 * (y - z)};
}

}  // namespace

double Median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

double PeakSignalToNoise(const Pixels& a, const Pixels& b) {
    const double squares = SquaresApart(a, b);
    if (squares == 0) return std::numeric_limits<double>::infinity();
    return 10 * std::log10(255.0 * 255.0 * 3 * static_cast<double>(a.size() / 4) / squares);
}

double Noise(const Pixels& a, const Pixels& b) {
    return std::sqrt(SquaresApart(a, b) / (3 * static_cast<double>(a.size() / 4)));
}

double ToneError(const Pixels& a, const Pixels& b, int side) {
    const auto width = static_cast<std::size_t>(side);
    double apart = 0;
    std::size_t boxes = 0;
    for (std::size_t y = 0; y + 8 <= width; y += 8)
        for (std::size_t x = 0; x + 8 <= width; x += 8, ++boxes)
            for (std::size_t c = 0; c < 3; ++c)
                apart += std::abs(SumOfBox(a, y * width + x, width, c) - SumOfBox(b, y * width + x, width, c));
    return apart / (3.0 * 64 * static_cast<double>(boxes));
}

double ColorDifference(const Pixels& a, const Pixels& b) {
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); i += 4) {
        const Lab p = LabOf(&a[i]), q = LabOf(&b[i]);
        sum += std::hypot(p[0] - q[0], p[1] - q[1], p[2] - q[2]);
    }
    return sum / static_cast<double>(a.size() / 4);
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
