#pragma once
#include <cstddef>
#include <vector>

#include "palette/ColorHistogram.h"

namespace zpixf {

/// Whether every point is of one grey.
bool AreGreys(const std::vector<ColorPoint>& points) noexcept;

/// Of all palettes of `count` entries the one of the least squared error, from dark to light: along a line, what is
/// nearest to an entry is an interval, and the best intervals up to a value go on from the best ones up to an earlier
/// one (X. Wu, Optimal Quantization by Matrix Searching, 1991). There must be at least `count` points, all greys.
std::vector<ColorPoint> BestGreys(const std::vector<ColorPoint>& points, std::size_t count);

}  // namespace zpixf
