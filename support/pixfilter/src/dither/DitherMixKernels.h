#pragma once
// The search for the mixture of palette entries that shows a colour, compiled once per instruction-set level.
#include <cstddef>
#include <cstdint>

namespace zpixf {

/// A palette as the search wants it. Entries beyond the count repeat the first.
struct MixPalette {
    static constexpr unsigned kStep = 8;  ///< the count is rounded up to a multiple of it
    unsigned count;
    double blue[256], green[256], red[256];
    double squares[256];  ///< blue^2 + green^2 + red^2 + bias
    double bias[256];     ///< kMostBias for repeated entries, else less: decides between mixtures equally good
    static constexpr double kMostBias = 2;
};

/// Shares of palette entries, which are all positive and add up to 1.
struct Shares {
    static constexpr unsigned kMost = 6;  ///< there are at most four; while searching, two more
    unsigned count;
    unsigned entries[kMost];
    double shares[kMost];
};

struct DitherMixKernels {
    /// Gives the mixture whose mean is the colour or, outside the palette's convex hull, the hull's nearest; of all
    /// such the one whose entries are nearest to the colour: the sum of squared distances times shares is least.
    /// The search begins with the mixture given, which may have no entries; the nearer it is, the quicker.
    void (*mix)(const MixPalette& palette, double blue, double green, double red, Shares& shares);
};

extern const DitherMixKernels kBaseDitherMixKernels;
extern const DitherMixKernels kAvx2DitherMixKernels;

/// The kernels in use, of the level that DitherKernels have.
const DitherMixKernels& ActiveDitherMixKernels() noexcept;

}  // namespace zpixf
