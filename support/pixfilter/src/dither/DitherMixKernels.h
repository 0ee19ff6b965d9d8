#pragma once
// The search for the mixture of palette entries that shows a colour, compiled once per instruction-set level.
#include <cstddef>
#include <cstdint>

namespace zpixf {

/// Entries, no colour twice, of which mixtures are made.
struct MixEntries {
    static constexpr unsigned kMost = 256;
    static constexpr unsigned kLanes = 16;  ///< up to a multiple of which the channels can be read
    const float *blue, *green, *red;
    unsigned count;  ///< at least 1
};

struct MixWeights {
    float spread;      ///< what the distances of the entries count beside the miss of the mean
    float alongGreys;  ///< what they count less along the greys: the square of B + G + R times this
    float reach;       ///< squared: no entry is used that is so many times as far as the fourth-nearest; 0: no limit
};

/// Shares of entries, which are all positive and add up to 1.
struct Shares {
    static constexpr unsigned kMost = 6;  ///< there are at most four; while searching, two more
    unsigned count;
    unsigned entries[kMost];
    double shares[kMost];
};

/// The entry nearest to a colour, of several the first, and the square of the distance of the fourth-nearest; without
/// a fourth, of the farthest.
struct Surroundings {
    unsigned nearest;
    std::uint32_t fourth;
};

struct DitherMixKernels {
    /// Gives the numbers of the entries, room for kMost, that can have a share in mixtures of colours between `lowest`
    /// and `extent` levels above it in each channel, and how many they are.
    unsigned (*findNear)(const MixEntries& entries, const MixWeights& weights, std::uint32_t lowest, unsigned extent,
                         std::uint8_t* numbers);
    Surroundings (*lookAround)(const MixEntries& entries, std::uint32_t color);
    /// Gives the mixture that best weighs how far its mean misses the colour against how far its entries lie from it.
    /// There must be all entries that are within reach of the colour.
    void (*mix)(const MixEntries& entries, const MixWeights& weights, std::uint32_t color, Shares& shares);
};

extern const DitherMixKernels kBaseDitherMixKernels;
extern const DitherMixKernels kAvx2DitherMixKernels;
extern const DitherMixKernels kAvx512DitherMixKernels;

/// The kernels in use, of the level that DitherKernels have.
const DitherMixKernels& ActiveDitherMixKernels() noexcept;

}  // namespace zpixf
