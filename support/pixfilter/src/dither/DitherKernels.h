#pragma once
// The work per pixel of the ditherers, compiled once per instruction-set level. Every level gives the same bytes.
#include <cstddef>
#include <cstdint>

namespace zpixf {

/// Entries of a mixture are told apart in 4096 thresholds.
constexpr unsigned kThresholds = 4096;
constexpr unsigned kPatternSide = 64;
/// Pixels that the ordered kernel handles at once.
constexpr unsigned kRun = 64;

/// One line of the pattern, repeated so that a run can begin at any column of it: thresholds, 1 to kThresholds.
using PatternLine = std::uint16_t[kPatternSide + kRun];

/// Up to four palette entries, from dark to light, for the colours of a small cube. The first three have an end each,
/// in thresholds: the value of its lane, and of each channel the product of its factor with the colour's distance from
/// the cube's middle in half levels. A threshold gets the first entry whose end is not below it, or else the last.
struct Mixture {
    static constexpr unsigned kEntries = 4, kEnds = 3;
    static constexpr std::uint32_t kKnown = 1u << 24;
    std::int16_t values[4], redFactors[4], blueFactors[4], greenFactors[4];  ///< the fourth lanes are unused
    std::uint8_t entries[kEntries];
    std::uint32_t color;  ///< the least of the cube, with kKnown
};

/// Mixtures stand at the place that a product tells: color * kPlaceFactor >> kPlaceShift.
constexpr unsigned kPlaceBits = 16, kPlaceShift = 32 - kPlaceBits;
constexpr std::uint32_t kPlaceFactor = 0x9E3779B1;  // odd, near 2^32 over the golden ratio: spreads neighbours well

/// The colour cube in cells of 8 levels a side.
static constexpr unsigned kCubeCells = 32 * 32 * 32;
static constexpr std::uint32_t CellOf(std::uint32_t color) {
    return (color >> 19 & 31) << 10 | (color >> 11 & 31) << 5 | (color >> 3 & 31);
}

/// What the ordered kernel looks up.
struct MixtureTables {
    const Mixture* mixtures;    ///< of cubes in use, at the places of their least colours
    const std::uint8_t* sides;  ///< of the cubes in each cell, in levels: 1, 2, 4 or 8; 0 while not known
    /// A table of the palette's own colours, found at (B + 256 G + 65536 R) * factor >> shift: the colour in the low 24
    /// bits and its index above.
    const std::uint32_t* exact;
    std::uint32_t exactFactor;
    unsigned exactShift;
};

/// A palette as the searches want it. Entries beyond the count repeat the first.
struct SearchPalette {
    static constexpr unsigned kStep = 16;  ///< the count is rounded up to a multiple of it
    unsigned count;
    std::int32_t blue[256], green[256], red[256];
    std::int32_t squares[256];  ///< blue^2 + green^2 + red^2
};

struct DitherKernels {
    /// Sets B, G and R of each pixel to their luma, (7471 B + 38470 G + 19595 R + 32768) / 65536.
    void (*toGrey)(std::uint8_t* pixels, std::size_t count);

    /// Gives the indices of pixels from column `x` on, as far as sides and mixtures are known: returns the first column
    /// whose pixel lacks one, `count` if none does.
    std::size_t (*ordered)(const MixtureTables& tables, const PatternLine& pattern, const std::uint8_t* pixels,
                           std::size_t x, std::size_t count, std::uint8_t* indices);

    /// The entry nearest to a colour, which may lie outside the cube (up to 2^17 levels); of several the first.
    unsigned (*nearest)(const SearchPalette& palette, std::int32_t blue, std::int32_t green, std::int32_t red);
};

extern const DitherKernels kBaseDitherKernels;
extern const DitherKernels kAvx2DitherKernels;

/// The kernels in use, chosen once per process.
const DitherKernels& ActiveDitherKernels() noexcept;

// (static: a copy compiled for a wide level must not be taken for all.)

/// The least colour of a pixel's cube.
static constexpr std::uint32_t CubeOf(std::uint32_t pixel, std::uint32_t side) {
    return pixel & 0xFFFFFF & ~((side - 1) * 0x010101);
}

}  // namespace zpixf
