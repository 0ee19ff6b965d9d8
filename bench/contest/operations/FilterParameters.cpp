#include "operations/FilterParameters.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>

namespace contest {

namespace {

Kernel WithSumOne(Kernel kernel) {
    const double sum = std::accumulate(kernel.factors.begin(), kernel.factors.end(), 0.0);
    for (double& factor : kernel.factors) factor /= sum;
    return kernel;
}

/// No factors of this one have a common denominator.
Kernel General(const char* operation, int side) {
    Kernel kernel{operation, side, {}};
    for (int i = 0; i < side * side; ++i) kernel.factors.push_back(0.6 + std::sin(1.7 * i));
    return WithSumOne(kernel);
}

Kernel Fractions(const char* operation) {
    Kernel kernel{operation, 5, {}};
    for (int i = 0; i < 25; ++i) kernel.factors.push_back(i == 3 ? -1 : 3 + i * 7 % 11);
    return WithSumOne(kernel);
}

}  // namespace

std::uint8_t Clamped(double level) { return static_cast<std::uint8_t>(std::clamp(level, 0.0, 255.0)); }

std::array<std::uint8_t, 256> Line::Levels() const {
    std::array<std::uint8_t, 256> levels{};
    for (std::size_t level = 0; level < levels.size(); ++level)
        levels[level] = Clamped(std::floor(slope * static_cast<double>(level) + offset + kHalf));
    return levels;
}

Line Brightness() { return {"brightness", 0.3, 1 - 0.3, 255 * 0.3}; }

Line Contrast() {
    const double amount = 0.2, slope = std::tan((amount + 1) * std::numbers::pi / 4);
    return {"contrast", amount, slope, 127.5 * (1 - slope)};
}

ColorMatrix SaturationMatrix(double amount) {
    constexpr double kLuma[3] = {0.114, 0.587, 0.299};
    ColorMatrix matrix{};
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t column = 0; column < 3; ++column)
            matrix[row * 4 + column] = (1 - amount) * kLuma[column] + (row == column ? amount : 0);
    matrix[15] = 1;
    return matrix;
}

bool Kernel::IsWhole() const {
    return std::all_of(factors.begin(), factors.end(), [](double factor) { return factor == std::round(factor); });
}

const std::vector<Kernel>& Kernels() {
    static const std::vector<Kernel> kernels = {
        General("convolve 3x3", 3),
        {"convolve 3x3 hundredths", 3, {0.07, 0.11, -0.03, 0.13, 0.45, 0.09, 0.02, 0.05, 0.11}},
        {"sharpen 3x3", 3, {0, -1, 0, -1, 5, -1, 0, -1, 0}},
        General("convolve 5x5", 5),
        Fractions("convolve 5x5 fractions"),
    };
    return kernels;
}

std::string MedianOf(int span) { return "median " + std::to_string(span); }

}  // namespace contest
