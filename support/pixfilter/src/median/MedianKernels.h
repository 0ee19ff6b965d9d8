#pragma once
// The work per pixel of the median filter, compiled once per instruction-set level. Every level gives the same bytes.
#include <cstddef>
#include <cstdint>

namespace zpixf {

/// Counts of values, for each column of the picture one histogram over the lines of the window, of one channel. It has
/// two tiers of 16 bins: a coarse one by the values' high four bits, and within each coarse bin a fine one by their low
/// four bits. Every tier is cumulative: a bin counts its own values and those of the bins before it in the tier, so
/// that the bin of a given rank shows in a comparison, with no summing up. Windows have at most 255 lines: a byte
/// counts them.
struct ColumnHistograms {
    static constexpr std::size_t kBins = 16;

    std::uint8_t* coarse;   ///< kBins bytes a column
    std::uint8_t* fine;     ///< kBins bytes a column, for the columns of the first coarse bin, then of the second, ...
    std::size_t binStride;  ///< from the fine bins of a coarse bin to those of the next, in bytes
};

/// What a line brings to the columns and what it takes from them: the first pixel's value of the channel, each next one
/// 4 bytes on.
struct LineExchange {
    const std::uint8_t* entering;  ///< null if the columns are to stay as they are
    const std::uint8_t* leaving;
};

struct MedianKernels {
    /// Medians of 3 x 3: pixels of three lines, which go on for kReach3 pixels before the first and after the last.
    void (*median3)(const std::uint8_t* const* lines, std::size_t width, std::uint8_t* medians);

    /// Sorts the pixels of a line by turns into even and odd ones.
    void (*split)(const std::uint8_t* pixels, std::size_t pairs, std::uint8_t* even, std::uint8_t* odd);
    /// Medians of 5 x 5, from the even and the odd pixels of five lines, both from two pixels before the first on, and
    /// for as long as SplitPairs says.
    void (*median5)(const std::uint8_t* const* evenLines, const std::uint8_t* const* oddLines, std::size_t width,
                    std::uint8_t* medians);
};

struct MedianHistogramKernels {
    /// Counts the values of a line (4 bytes apart) `times` more in the columns; 255 times is once less.
    void (*count)(const ColumnHistograms& columns, const std::uint8_t* values, std::size_t width, unsigned times);
    /// Medians over 2 `radius` + 1 columns each, 4 bytes apart, after the columns have exchanged a line for another.
    void (*medians)(const ColumnHistograms& columns, const LineExchange& exchange, std::size_t width, unsigned radius,
                    std::uint8_t* medians);
};

/// How many pixels beyond either end of a line median3 may read; only those next to the line matter.
constexpr unsigned kReach3 = 32;

/// How many pairs of pixels median5 may read of a line whose pixels begin with the second pair. (static: a copy
/// compiled for a wide level must not be taken for all.)
static constexpr std::size_t SplitPairs(std::size_t width) { return (width + 1) / 2 + 2 + 16; }

extern const MedianKernels kBaseMedianKernels;
extern const MedianKernels kAvx2MedianKernels;
extern const MedianKernels kAvx512MedianKernels;

extern const MedianHistogramKernels kBaseMedianHistogramKernels;
extern const MedianHistogramKernels kAvx2MedianHistogramKernels;

/// The kernels in use, chosen once per process.
const MedianKernels& ActiveMedianKernels() noexcept;
const MedianHistogramKernels& ActiveMedianHistogramKernels() noexcept;

}  // namespace zpixf
