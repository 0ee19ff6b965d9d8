#pragma once
// What the filters of the contest compute, said once for ours, for the plain loops and for the rivals.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace contest {

/// A straight line of levels.
struct Line {
    const char* operation;
    double amount, slope, offset;

    std::array<std::uint8_t, 256> Levels() const;
};
/// A decimal fraction that falls on a half goes up, although in binary it may lie a little below.
inline constexpr double kHalf = 0.5 + 1.0 / 4294967296;
std::uint8_t Clamped(double level);

Line Brightness();
Line Contrast();

/// What each of B, G, R, A becomes of all four, row by row.
using ColorMatrix = std::array<double, 16>;
inline constexpr double kSaturation = 0.5;
/// Each colour keeps `amount` of its distance from the luma.
ColorMatrix SaturationMatrix(double amount);

/// Factors of a square neighbourhood, row by row; their sum is 1.
struct Kernel {
    const char* operation;
    int side;
    std::vector<double> factors;

    bool IsWhole() const;
};
const std::vector<Kernel>& Kernels();

inline constexpr int kMedianSpans[] = {3, 5, 15};
std::string MedianOf(int span);

}  // namespace contest
