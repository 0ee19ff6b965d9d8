#pragma once
// Palettes by cutting up the colours: one box holds all of them at first, and the box whose cut is of the most use is
// cut in two until there are as many boxes as entries wanted.
#include <cstddef>
#include <vector>

#include "palette/ColorHistogram.h"

namespace zpixf {

enum class CutRule {
    median,    ///< the most populous and widest box, at the median of its widest channel
    variance,  ///< where the sum of the squared distances to the boxes' means falls the most
};

/// Cuts points, no two of them with the same mean, into at most `count` boxes, and exactly so many if there are as many
/// points. Gives what each box holds, put together; no two of these have the same mean either. Reorders `points`.
std::vector<ColorPoint> CutIntoBoxes(std::vector<ColorPoint>& points, std::size_t count, CutRule rule);

/// Points that a cut by variance leaves on its sides, put together; without their means.
struct TwoParts {
    double gain = 0;  ///< by which the squared distances fall; 0 if there is nothing to cut
    ColorPoint lower, upper;
};
/// Cuts the points from `first` on, up to `last` without it, and reorders them.
TwoParts CutInTwo(ColorPoint* first, ColorPoint* last);

}  // namespace zpixf
