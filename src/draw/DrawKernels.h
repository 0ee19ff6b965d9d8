#pragma once
// The work per pixel of drawing, compiled once per instruction-set level. Every level gives the same bytes.
//
// Wide pixels are blue, green, red and alpha in 16 bits each: colours multiplied by alpha, all in units of 1/255, so
// that an opaque white is four times 65025. No colour and alpha of 8 bits loses anything by becoming one.
//
// Declarations only: the kernels' files include this, and must bring no code with weak linkage.
#include <cstddef>
#include <cstdint>

namespace zbm {

/// The pixels of a bitmap along one axis that a pixel of the surface shows: `count` of them from `first` on, the first
/// and the last with weights of their own, those between with the axis's unit. A single one has the first weight.
struct Tap {
    std::int32_t first, count;
    std::uint32_t firstWeight, lastWeight;
    std::uint32_t reciprocal;  ///< of the sum of weights: 2^32 over it, to nearest, or the greatest number there is
};

/// A row of wide pixels and what it counts in a sum: at most 2^14.
struct WeightedRow {
    const std::uint16_t* wide;
    std::uint32_t weight;
};

/// Sums of wide pixels fit in 32 bits up to this sum of weights, and a reciprocal gives back what all of them were.
constexpr std::uint32_t kMaxWeights = 66051;

/// The sum of the weights of two pixels between which one is drawn. Of a single one, the last weight is 0.
constexpr std::uint32_t kBlendUnit = 1 << 14;

/// How pixels are summed: as wide pixels, or, where more come together than that allows, as whole levels.
enum class Sums { wide, levels };

/// What is copied next, which is brought near meanwhile; the same again if nothing is.
struct CopyAhead {
    const std::uint8_t* src;
    const std::uint8_t* dst;
};

struct DrawKernels {
    /// Copies up to `count` pixels of 4 bytes, with the bits of `alpha` set in each, until some are not opaque. Gives
    /// how many, from the first on, are copied; behind them nothing is written.
    std::size_t (*copyOpaque)(std::uint8_t* dst, const std::uint8_t* src, std::uint32_t alpha, std::size_t count,
                              CopyAhead ahead);
    /// Whether the fourth byte of each of `count` pixels is 255.
    bool (*isOpaque)(const std::uint8_t* pixels, std::size_t count);
    /// The pixels of 4 bytes of a line that `index` names in rising order; the line starts at the bitmap's pixel
    /// `origin`.
    void (*gather)(std::uint8_t* dst, const std::uint8_t* line, std::int32_t origin, const std::int32_t* index,
                   std::size_t count);
    /// BGRA, straight or premultiplied, as wide pixels.
    void (*widen)(std::uint16_t* wide, const std::uint8_t* pixels, std::size_t count);
    void (*widenPremultiplied)(std::uint16_t* wide, const std::uint8_t* pixels, std::size_t count);
    /// Adds the pixels of two rows, times their weights, to sums of 4 channels each.
    void (*accumulate)(std::uint32_t* sums, WeightedRow a, WeightedRow b, Sums as, std::size_t count);
    /// Sums over their weights, as wide pixels.
    void (*divide)(std::uint16_t* wide, const std::uint32_t* sums, std::uint32_t reciprocal, Sums as,
                   std::size_t count);
    /// Each of `count` wide pixels from those of a line that its tap names; the line starts at the bitmap's pixel
    /// `origin`. The pixel behind the last may be read.
    void (*average)(std::uint16_t* wide, const std::uint16_t* line, std::int32_t origin, const Tap* taps,
                    std::uint32_t unit, Sums as, std::size_t count);
    // The same for sums of kBlendUnit, to the bit.
    void (*blendRows)(std::uint16_t* wide, WeightedRow a, WeightedRow b, std::size_t count);
    void (*blendColumns)(std::uint16_t* wide, const std::uint16_t* line, std::int32_t origin, const Tap* taps,
                         std::size_t count);
    bool (*isOpaqueWide)(const std::uint16_t* wide, std::size_t count);
    /// Opaque wide pixels, rounded to nearest.
    void (*narrow)(std::uint8_t* surface, const std::uint16_t* wide, std::size_t count);
    /// Draws wide pixels over those of a surface: each channel is the exact sum, rounded to nearest.
    void (*drawOverBgrx)(std::uint8_t* surface, const std::uint16_t* wide, std::size_t count);
    void (*drawOverBgra)(std::uint8_t* surface, const std::uint16_t* wide, std::size_t count);
    void (*drawOverPbgra)(std::uint8_t* surface, const std::uint16_t* wide, std::size_t count);
};

extern const DrawKernels kBaseDrawKernels, kAvx2DrawKernels, kAvx512DrawKernels;

/// The kernels in use, chosen once per process.
const DrawKernels& ActiveDrawKernels() noexcept;

}  // namespace zbm
