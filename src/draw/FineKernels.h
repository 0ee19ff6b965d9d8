#pragma once
// The work per pixel of sums, compiled once per instruction-set level. Every level gives the same bytes.
//
// Fine pixels are blue, green, red and alpha in 16 bits each: colours multiplied by alpha, all in 128ths of a level.
// They are numbers with a sign, which is what processors multiply in pairs; and a pixel that is opaque becomes one by a
// shift, to the bit what it becomes by way of its alpha. So nobody sees which of a bitmap's parts are known as opaque.
#include <cstddef>
#include <cstdint>

namespace zbm {

/// A level of 8 bits, and what is opaque, as channels of fine pixels.
constexpr std::uint32_t kFineUnit = 128, kFineFull = 255 * kFineUnit;

/// The pixels of a bitmap along one axis that a pixel of the surface shows: `count` of them from `first` on, the first
/// and the last with weights of their own, those between with the axis's unit. A single one has the first weight.
struct Tap {
    std::int32_t first, count;
    std::uint32_t firstWeight, lastWeight;
    std::uint32_t reciprocal;  ///< of the sum of weights: 2^32 over it, to nearest, or the greatest number there is
};

/// A row of fine pixels and what it counts in a sum: at most 2^14.
struct WeightedRow {
    const std::uint16_t* fine;
    std::uint32_t weight;
};

/// Sums of fine pixels fit in 32 bits up to this sum of weights, and a reciprocal gives back what all of them were.
constexpr std::uint32_t kMaxWeights = 66051;

/// Few pixels are blended by weights that add up to this, so that no sum need be divided. They come in pairs; what
/// fills the last pair up weighs nothing.
constexpr std::uint32_t kBlendUnit = 1 << 14;
constexpr std::size_t kMostPairs = 4;

/// How many pixels are summed: as fine ones, or, where more come together than that allows, as whole levels.
enum class Sums { fine, levels };

struct FineKernels {
    /// BGRA, straight, premultiplied, or with a fourth byte that means nothing, as fine pixels.
    void (*refine)(std::uint16_t* fine, const std::uint8_t* pixels, std::size_t count);
    void (*refinePremultiplied)(std::uint16_t* fine, const std::uint8_t* pixels, std::size_t count);
    void (*refineOpaque)(std::uint16_t* fine, const std::uint8_t* pixels, std::size_t count);
    /// Each of `count` pixels from those of two rows for each pair of weights.
    void (*blendRows)(std::uint16_t* fine, const std::uint16_t* const* rows, const std::int16_t* weights,
                      std::size_t pairs, std::size_t count);
    /// The same from pixels of bytes whose fourth one means nothing: what comes of them once they are refined.
    void (*blendOpaqueRows)(std::uint16_t* fine, const std::uint8_t* const* rows, const std::int16_t* weights,
                            std::size_t pairs, std::size_t count);
    /// Each of `count` pixels from those of a line that its tap begins with, two for each pair of its weights. The line
    /// starts at the bitmap's pixel `origin`. Pixels without weight are read.
    void (*blendColumns)(std::uint16_t* fine, const std::uint16_t* line, std::int32_t origin, const Tap* taps,
                         const std::int16_t* weights, std::size_t pairs, std::size_t count);
    /// The same for two pixels each, of one weight, that follow each other.
    void (*halveColumns)(std::uint16_t* fine, const std::uint16_t* pixels, std::size_t count);
    /// Adds the pixels of two rows, times their weights, to sums of 4 channels each.
    void (*accumulate)(std::uint32_t* sums, WeightedRow a, WeightedRow b, Sums as, std::size_t count);
    /// Sums over their weights.
    void (*divide)(std::uint16_t* fine, const std::uint32_t* sums, std::uint32_t reciprocal, Sums as,
                   std::size_t count);
    /// Each of `count` pixels from those of a line that its tap names, as many as they are. The pixel behind the last
    /// may be read.
    void (*average)(std::uint16_t* fine, const std::uint16_t* line, std::int32_t origin, const Tap* taps,
                    std::uint32_t unit, Sums as, std::size_t count);
    bool (*isOpaque)(const std::uint16_t* fine, std::size_t count);
    /// Opaque pixels, rounded to nearest.
    void (*narrow)(std::uint8_t* surface, const std::uint16_t* fine, std::size_t count);
    /// As wide pixels, in place.
    void (*widen)(std::uint16_t* fine, std::size_t count);
};

}  // namespace zbm
