#pragma once
// The work per pixel of the convolutions, compiled once per instruction-set level. What a convolution gives is defined
// by `plain`; the other kernels give the same bytes for the forms that they are made for, on every level.
#include <cstddef>
#include <cstdint>

namespace zpixf {

constexpr unsigned kMaxConvolutionSide = 5;
constexpr unsigned kMaxTaps = kMaxConvolutionSide * kMaxConvolutionSide;
/// Kernels take two taps at a time; a single last one has a partner of factor 0.
constexpr unsigned kMaxPairedTaps = kMaxTaps + 1;
/// Pixels beyond both ends of a line that can be read: those that a tap reaches and, behind, what fills a vector.
constexpr unsigned kConvolutionMargin = 20;

/// Levels in a plane beyond those of the pixels, and of these so many before the first.
constexpr std::size_t kPlaneMargin = 40, kPlaneMarginBefore = 16;

constexpr unsigned kColors = 3;

/// What is added before rounding down: a half, and so much more that a half which rounding has made a little less of
/// goes up as well.
constexpr double kConvolutionHalf = 0.5 + 0x1p-32;

struct Tap {
    std::uint8_t row;    ///< from the top of the kernel
    std::int8_t column;  ///< in pixels from the centre
};

/// Whole numbers in 16 bits: (sum of factor * level + start) / divisor, rounded down.
struct WholeForm {
    std::int16_t factors[kMaxPairedTaps];
    /// The sum begins with `start`, which holds `lift` to keep it from going below 0. Then saturating arithmetic adds
    /// `toTop` and subtracts `fromTop`.
    std::uint16_t start, toTop, fromTop;
    /// quotient = n * reciprocal >> (16 + shift), or with reciprocal 0 just n.
    std::uint32_t reciprocal;
    unsigned shift;
};

/// The kernel as the product of a column and a row, for two passes in 16 bits.
struct SeparableForm {
    std::uint8_t rows[kMaxConvolutionSide + 1];  ///< which lines
    std::int16_t rowFactors[kMaxConvolutionSide + 1];
    unsigned numRows;
    std::int8_t columns[kMaxConvolutionSide];
    std::int16_t columnFactors[kMaxConvolutionSide];
    unsigned numColumns;
};

/// Sums in floats, of the factors times the levels and `start`.
struct FloatForm {
    float factors[kMaxTaps];
    float start;
    /// Whole numbers: the level is the exact sum times `scale`, rounded down.
    float scale;
    /// Others: sums are in units of 2^-bits, so much too great that they are so with all errors as well, and by less
    /// than `margin`.
    unsigned bits;
    std::uint32_t margin;
};

/// All that the kernels of one convolution are given. Taps of factor 0 are left out.
struct ConvolutionForm {
    unsigned side, numTaps;
    Tap taps[kMaxPairedTaps];
    double factors[kMaxTaps];
    double divisor, bias;
    WholeForm whole;
    SeparableForm separable;
    FloatForm floats;
};

/// A line of pixels as floats, each colour by itself: green and red lie `stride` and twice that after blue. Planes
/// hold kPlaneMargin levels more than the line has pixels.
struct ColorPlanes {
    float* blue;
    std::size_t stride;
};

struct ConvolutionLines {
    const std::uint8_t* rows[kMaxConvolutionSide];  ///< the first pixel of each line, from the top
    const float* blues[kMaxConvolutionSide];        ///< the planes of each line, if the kernel wants them
    std::size_t planeStride;
    std::uint8_t* result;
    std::size_t count;
};

using Convolve = void (*)(const ConvolutionForm& form, const ConvolutionLines& lines);

struct ConvolutionKernels {
    /// Lays out a line and its margins for the last two kernels and `plain`; null if these do without.
    void (*layOut)(const std::uint8_t* pixels, std::size_t count, const ColorPlanes& planes);
    /// floor((sum of factor * level) / divisor + bias + kConvolutionHalf) in double, taps in the order of the form;
    /// clamped.
    Convolve plain;
    Convolve narrow;     ///< `whole` in 16 bits
    Convolve separable;  ///< `whole` in 16 bits, by `separable`
    Convolve wide;       ///< `floats`, in whole numbers
    Convolve fraction;   ///< `floats`, and as `plain` where sums are too near to a step to tell
};

extern const ConvolutionKernels kBaseConvolutionKernels;
extern const ConvolutionKernels kAvx2ConvolutionKernels;
extern const ConvolutionKernels kAvx512ConvolutionKernels;

/// The kernels in use, chosen once per process.
const ConvolutionKernels& ActiveConvolutionKernels() noexcept;

}  // namespace zpixf
