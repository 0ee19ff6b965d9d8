#pragma once
// What those who take part in a contest of filters get: where the pixels are, and what is to be computed of them.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace contest::filters {

/// A square picture in memory and the place of its result: bytes B, G, R, A, rows without padding.
struct Canvas {
    const std::uint8_t* source;
    int from;  ///< the source's side in pixels
    std::uint8_t* result;
    int to;  ///< the result's side in pixels

    int SourceStride() const { return 4 * from; }
    int ResultStride() const { return 4 * to; }
    std::size_t SourceBytes() const { return Bytes(from); }
    std::size_t ResultBytes() const { return Bytes(to); }
    static std::size_t Bytes(int side) {
        return std::size_t{4} * static_cast<std::size_t>(side) * static_cast<std::size_t>(side);
    }
};

/// What a contestant does once for a result. It is made beforehand, with all that it needs.
using Job = std::function<void()>;
using Enter = std::function<Job(const Canvas&)>;

/// A straight line of levels.
struct Line {
    double slope, offset;

    std::array<std::uint8_t, 256> Levels() const {
        std::array<std::uint8_t, 256> levels{};
        for (int level = 0; level < 256; ++level)
            levels[static_cast<std::size_t>(level)] = Clamped(std::floor(slope * level + offset + kHalf));
        return levels;
    }
    /// A decimal fraction that falls on a half goes up, although in binary it may lie a little below.
    static constexpr double kHalf = 0.5 + 1.0 / 4294967296;
    static std::uint8_t Clamped(double level) { return static_cast<std::uint8_t>(std::clamp(level, 0.0, 255.0)); }
};

/// What each of B, G, R, A becomes of all four, row by row.
using ColorMatrix = std::array<double, 16>;

/// Factors of a square neighbourhood, row by row; their sum is 1.
struct Kernel {
    int side;
    std::vector<double> factors;

    bool IsWhole() const {
        return std::all_of(factors.begin(), factors.end(), [](double factor) { return factor == std::round(factor); });
    }
};

}  // namespace contest::filters
