#pragma once
// The work per pixel of resampling, compiled once per instruction-set level. Every level gives the same bytes: sums are
// whole numbers that are never rounded, in doubles where 32 bits do not hold them; only the result is.
//
// With 255 for the largest byte, 2^18 for the largest sum of weights each way and a cubic's weights summing, with their
// signs off, to at most 1.3 times that, a sum of bytes down the picture stays below 2^27, and a sum of products of two
// bytes both ways below 2^53, up to which doubles hold every whole number.
#include <cstddef>
#include <cstdint>

namespace zpixf {

/// A line of BGRA pixels and its weight, which fits 16 bits.
struct ResampleTap {
    const std::uint8_t* line;
    std::int32_t weight;
};

/// Where an output pixel's weights begin, and the pixel to which the first of them belongs.
struct ResampleColumn {
    std::uint32_t first, weights;
};

/// Some columns of the output, all with `taps` weights, which are scaled so that the results are bytes.
struct ResampleColumns {
    const ResampleColumn* columns;
    std::size_t count;
    const double* weights;
    std::size_t taps;
    /// Which way the first column's halves go when a result is rounded; the others go up and down in turns.
    bool roundsUp;
};

/// What makes halves go one way: less than any result, in whole parts of 2^-36, may lie from a half.
constexpr double kTieBreaker = 1.0 / (std::uint64_t{1} << 37);

/// Pixels that are made of four each, in lines of two parts; the lines of both by their distances in bytes.
struct HalvedLines {
    const std::uint8_t* from;
    std::ptrdiff_t fromStride;
    std::uint8_t* to;
    std::ptrdiff_t toStride;
    std::size_t height;
    struct Part {
        std::size_t width;
        bool roundsUp;  ///< the halves of its first pixel in the first line
    } left, right;
    bool fetchesNext;  ///< lines of the input that follow, also those behind the last
};

struct ResampleKernels {
    /// Pixels that the sums down the picture come by, whatever the width. Sums are made of a multiple of kMostAtOnce:
    /// lines can be read as far, and there is room for as many.
    static constexpr std::size_t kGroup = 8, kMostAtOnce = 16;

    bool (*isOpaque)(const std::uint8_t* pixels, std::size_t count);

    /// `out[x] = pixels[columns[x] - origin]`.
    void (*pick)(const std::uint8_t* pixels, std::int32_t origin, const std::uint32_t* columns, std::size_t count,
                 std::uint8_t* out);

    /// The means of 2 x 2 pixels, colours weighed by their alpha, or evenly where nothing is seen of the four; to
    /// nearest, halves up in every other pixel as on a chequered board.
    void (*halve)(const HalvedLines& lines);

    /// Sums down the picture of pixels `first` .. `first + count` of the lines, a double a channel. The number of taps
    /// is even, and `count` a multiple of kGroup.
    void (*sumPlain)(const ResampleTap* taps, std::size_t tapCount, std::size_t first, std::size_t count, double* sums);
    /// The same with each colour times its alpha.
    void (*sumWeighted)(const ResampleTap* taps, std::size_t tapCount, std::size_t first, std::size_t count,
                        double* sums);

    /// Output pixels, to nearest, from sums down the picture, the first of which is that of input pixel `origin`.
    void (*mixPlain)(const ResampleColumns& columns, const double* sums, std::size_t origin, std::uint8_t* out);
    /// From sums of colours times alpha, which are multiplied by the reciprocal of the sum of alpha, as a double: its
    /// error is far less than the tie breaker. Where that sum is not above 0 the pixel comes out as 0; `isClear` says
    /// which do, and the result whether any.
    bool (*mixWeighted)(const ResampleColumns& columns, const double* sums, std::size_t origin, std::uint8_t* out,
                        bool* isClear);
};

extern const ResampleKernels kBaseResampleKernels;
extern const ResampleKernels kAvx2ResampleKernels;
extern const ResampleKernels kAvx512ResampleKernels;

/// The kernels in use, chosen once per process.
const ResampleKernels& ActiveResampleKernels() noexcept;

}  // namespace zpixf
