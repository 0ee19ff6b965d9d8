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

/// How much less the sum of the squared distances to the mean is for two parts than for the whole.
double Gain(const ColorPoint& a, const ColorPoint& b);

/// Puts those two points together, again and again, whose union adds least to the squared distances, until at most
/// `count` are left (J. H. Ward, Hierarchical Grouping to Optimize an Objective Function, 1963).
std::vector<ColorPoint> MergeInPairs(const std::vector<ColorPoint>& points, std::size_t count);

}  // namespace zpixf
