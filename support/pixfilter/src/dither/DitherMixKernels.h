#pragma once
// The search for the mixture of palette entries that shows a colour, compiled once per instruction-set level.
#include <cstddef>
#include <cstdint>

namespace zpixf {

/// A palette as the search wants it: no colour twice.
struct MixPalette {
    static constexpr unsigned kMost = 256;
    unsigned count;  ///< at least 1
    double blue[kMost], green[kMost], red[kMost];
    double spread;      ///< what the distances of the entries count beside the miss of the mean
    double reach;       ///< no entry is used that is so many times as far as the fourth-nearest; 0: all may be
    double alongGreys;  ///< what they count less along the greys: the square of B + G + R times this
};

/// Shares of palette entries, which are all positive and add up to 1.
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
    double fourth;
};

/// The entries that are looked at, by rising number.
struct AmongEntries {
    const std::uint8_t* numbers;
    unsigned count;
};

struct DitherMixKernels {
    Surroundings (*lookAround)(const MixPalette& palette, AmongEntries among, double blue, double green, double red);
    /// Gives the mixture that best weighs how far its mean misses the colour against how far its entries lie from it.
    /// Those looked at must have all that are within the palette's reach.
    void (*mix)(const MixPalette& palette, AmongEntries among, double blue, double green, double red, Shares& shares);
};

extern const DitherMixKernels kBaseDitherMixKernels;
extern const DitherMixKernels kAvx2DitherMixKernels;

/// The kernels in use, of the level that DitherKernels have.
const DitherMixKernels& ActiveDitherMixKernels() noexcept;

}  // namespace zpixf
