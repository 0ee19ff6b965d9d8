#pragma once
// The work per byte of the plane transform, compiled once per instruction-set level. Every level gives the same bytes.
#include <cstddef>
#include <cstdint>

namespace zcdl {

/// How a sample is predicted from its left neighbour L, the one above U and the one above left C; all are 0 outside the
/// plane. `median` is the median of L, U and L + U - C.
enum class Predictor : std::uint8_t { none = 0, left = 1, up = 2, median = 3 };

/// Samples that may be read and written on either side of a row that the kernels work on.
constexpr std::size_t kRowMargin = 32;
/// Rows of bytes (words) that `restoreMedianBand` (`...WordBand`) restores at once.
constexpr std::size_t kByteBandRows = 16;
constexpr std::size_t kWordBandRows = 8;

/// A pixel's bytes go to one plane each. With `color`, which needs 3 or 4 planes, B and R become their differences to
/// G, and G their weighted mean, which is less noisy than G alone.
struct PixelShape {
    int step = 1;  ///< bytes a pixel, 1 to 4
    bool color = false;
};

struct PlaneKernels {
    void (*split)(const std::uint8_t* pixels, std::size_t count, PixelShape shape, std::uint8_t* const* planes);
    void (*join)(std::uint8_t* pixels, std::size_t count, PixelShape shape, const std::uint8_t* const* planes);
    /// Whether all `count` bytes are `value`.
    bool (*isConstant)(const std::uint8_t* bytes, std::size_t count, std::uint8_t value);

    /// residual = row - prediction. `row` and `above` have kRowMargin zeros on their left.
    void (*predict)(Predictor predictor, const std::uint8_t* row, const std::uint8_t* above, std::uint8_t* residual,
                    std::size_t count);
    /// The same of 16-bit samples; the residual, folded so that small magnitudes are small numbers, goes out as a plane
    /// of low and one of high bytes.
    void (*predictWords)(Predictor predictor, const std::uint16_t* row, const std::uint16_t* above, std::uint8_t* low,
                         std::uint8_t* high, std::size_t count);
    void (*mergeWords)(const std::uint8_t* low, const std::uint8_t* high, std::uint16_t* residual, std::size_t count);

    /// Undoes `predict` in place: `row` holds the residual. For `median` this is the slow way, for odd rows.
    void (*restore)(Predictor predictor, std::uint8_t* row, const std::uint8_t* above, std::size_t count);
    void (*restoreWords)(Predictor predictor, std::uint16_t* row, const std::uint16_t* above, std::size_t count);
    /// Undoes `median` in place in kByteBandRows rows, the row before them being `above`. `stride` samples lie between
    /// rows, among them kRowMargin zeros left and kRowMargin samples of no matter right of every row.
    void (*restoreMedianBand)(std::uint8_t* above, std::size_t stride, std::size_t count);
    void (*restoreMedianWordBand)(std::uint16_t* above, std::size_t stride, std::size_t count);

    /// Two residuals a byte. -7..7 become 0..14; 15 stands for any other, which is appended to `escapes`. The first of
    /// a byte's two is its high half. Gives the end of the escapes.
    std::uint8_t* (*packPairs)(const std::uint8_t* residual, std::size_t count, std::uint8_t* packed,
                               std::uint8_t* escapes);
    std::uint8_t* (*packJoint)(const std::uint8_t* high, const std::uint8_t* low, std::size_t count,
                               std::uint8_t* packed, std::uint8_t* escapes);
    /// Undo these. Give the end of the escapes used; null if they run out, or if the half byte behind an odd row's last
    /// residual is not that of a 0.
    const std::uint8_t* (*unpackPairs)(const std::uint8_t* packed, std::size_t count, std::uint8_t* residual,
                                       const std::uint8_t* escapes, const std::uint8_t* escapesEnd);
    const std::uint8_t* (*unpackJoint)(const std::uint8_t* packed, std::size_t count, std::uint8_t* high,
                                       std::uint8_t* low, const std::uint8_t* escapes, const std::uint8_t* escapesEnd);

    /// Whether each of `count` residuals is one that packing lets escape.
    bool (*areEscapes)(const std::uint8_t* residuals, std::size_t count);

    /// Sum of the magnitudes of the differences of `count` bytes, at most 2048, as numbers from -128 to 127.
    std::uint32_t (*distance)(const std::uint8_t* a, const std::uint8_t* b, std::size_t count);
    std::uint32_t (*checksum)(const std::uint8_t* bytes, std::size_t count);
};

extern const PlaneKernels kBaseKernels;
extern const PlaneKernels kAvx2Kernels;

/// The kernels in use, chosen once per process.
const PlaneKernels& ActiveKernels() noexcept;

}  // namespace zcdl
