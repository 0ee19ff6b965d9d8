#pragma once
// What can be said of figures and of pictures of bytes B, G, R, A.
#include <vector>

#include "harness/Pictures.h"

namespace bench {

double Median(std::vector<double> values);

/// In decibels, of B, G and R; infinite for equal pictures.
double PeakSignalToNoise(const Pixels& a, const Pixels& b);
double CountColors(const Pixels& bgra);

/// The root of the mean squared difference in B, G and R: the noise of a dither.
double Noise(const Pixels& a, const Pixels& b);
/// How far the means of boxes of 8 x 8 pixels of a square are apart in B, G and R, in the mean.
double ToneError(const Pixels& a, const Pixels& b, int side);
/// The mean distance in CIE L*a*b* (CIE 1976) of pixels of sRGB under D65.
double ColorDifference(const Pixels& a, const Pixels& b);

/// Of the means of B, G and R, how far the one goes that moves most.
double Drift(const Pixels& from, const Pixels& to);

/// How far two square results are from each other in B, G and R.
struct Difference {
    int max = 0;
    double mean = 0;
};
/// But for `border` pixels on each side.
Difference DifferenceWithin(const Pixels& a, const Pixels& b, int side, int border);

}  // namespace bench
