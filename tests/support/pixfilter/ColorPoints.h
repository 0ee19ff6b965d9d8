#pragma once
#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "palette/ColorHistogram.h"

namespace zpixf {

using Color = std::array<std::uint8_t, 3>;  ///< B, G, R

/// So many pixels of one colour.
inline ColorPoint PointOf(const Color& color, std::uint64_t count = 1) {
    ColorPoint point;
    point.weight = count;
    for (unsigned c = 0; c < 3; ++c) point.sum[c] = color[c] * count;
    SetMean(point);
    return point;
}

/// Single pixels along one edge of the cube of colours.
inline std::vector<ColorPoint> BluePoints(const std::vector<std::uint8_t>& levels) {
    std::vector<ColorPoint> points;
    for (const std::uint8_t level : levels) points.push_back(PointOf({level, 0, 0}));
    return points;
}

inline std::vector<std::uint8_t> BluesOf(const std::vector<ColorPoint>& points) {
    std::vector<std::uint8_t> levels;
    for (const ColorPoint& point : points) levels.push_back(point.mean[0]);
    return levels;
}

}  // namespace zpixf
