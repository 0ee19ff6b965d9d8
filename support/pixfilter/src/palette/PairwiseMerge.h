#pragma once
#include <cstddef>
#include <vector>

#include "palette/ColorHistogram.h"

namespace zpixf {

/// Puts those two points together, again and again, whose union adds least to the sum of the squared distances to the
/// means, until at most `count` are left (J. H. Ward, Hierarchical Grouping to Optimize an Objective Function, 1963).
/// Takes time by the square of their number, more or less.
std::vector<ColorPoint> MergeInPairs(const std::vector<ColorPoint>& points, std::size_t count);

}  // namespace zpixf
