#pragma once
#include <cstddef>
#include <vector>

#include "palette/ColorHistogram.h"

namespace zpixf {

/// A palette of `count` entries, no two alike, whose squared error is as small as a search in bounded time finds it;
/// for greys it is the least of all. There must be more points than entries, no two of them with the same mean.
std::vector<ColorPoint> LeastErrorPalette(const std::vector<ColorPoint>& points, std::size_t count);

}  // namespace zpixf
