#pragma once
// The work per pixel of the ditherers, compiled once per instruction-set level. Every level gives the same bytes.
#include <cstddef>
#include <cstdint>

namespace zpixf {

/// The lattice of colours that have mixtures is told apart in 4 thresholds, the entries of a mixture in 1024.
constexpr unsigned kLatticeThresholds = 4;
constexpr unsigned kMixtureThresholds = 1024;
constexpr unsigned kPatternSide = 64;
/// Pixels that the ordered kernel handles at once.
constexpr unsigned kRun = 64;

/// One line of the pattern, repeated so that a run can begin at any column of it.
struct PatternLine {
    std::uint32_t raise[kPatternSide + kRun];      ///< by how many quarters of a lattice step colours are raised, 0..3
    std::uint32_t threshold[kPatternSide + kRun];  ///< among the entries of a mixture
};

/// Up to four palette entries, from dark to light. The entry for a threshold is that numbered by how many of the three
/// limits are below it.
struct Mixture {
    static constexpr unsigned kEntries = 4;
    static constexpr unsigned kLimitBits = 10;
    static constexpr std::uint32_t kMostLimit = (1u << kLimitBits) - 1;
    static constexpr std::uint32_t kKnown = 1u << 31;
    std::uint32_t entries;  ///< a byte each, the darkest in the lowest
    std::uint32_t limits;   ///< kLimitBits each, the least in the lowest; with kKnown
};

/// The colour cube in cells of 8 levels a side. In each, colours have mixtures that lie 1, 2 or 4 levels apart, with
/// the upper faces, where steps are larger than 1; the first ones stand for a cell of which nothing is known.
static constexpr unsigned kCellLevels = 8;
static constexpr unsigned kMixtureCells = 32 * 32 * 32;
static constexpr unsigned kUnknownMixtures = kCellLevels * kCellLevels * kCellLevels;
static constexpr std::uint32_t CellOf(std::uint32_t color) {
    return (color >> 19 & 31) << 10 | (color >> 11 & 31) << 5 | (color >> 3 & 31);
}

/// What the ordered kernel looks up.
struct MixtureTables {
    /// Of each cell the binary logarithm of its step in the two lowest bits, above them the number of its first
    /// mixture; 0 if nothing is known.
    const std::uint32_t* cells;
    const Mixture* mixtures;
    /// A table of the palette's own colours, found at (B + 256 G + 65536 R) * factor >> shift: the colour in the low 24
    /// bits and its index above.
    const std::uint32_t* exact;
    std::uint32_t exactFactor;
    unsigned exactShift;
};

struct DitherKernels {
    /// Sets B, G and R of each pixel to their luma, (7471 B + 38470 G + 19595 R + 32768) / 65536.
    void (*toGrey)(std::uint8_t* pixels, std::size_t count);

    /// Gives the indices of pixels from column `x` on, run by run of kRun pixels, as far as their mixtures are known:
    /// returns where a run begins that lacks one, `count` if none does.
    std::size_t (*ordered)(const MixtureTables& tables, const PatternLine& pattern, const std::uint8_t* pixels,
                           std::size_t x, std::size_t count, std::uint8_t* indices);
};

extern const DitherKernels kBaseDitherKernels;
extern const DitherKernels kAvx2DitherKernels;
extern const DitherKernels kAvx512DitherKernels;

/// The kernels in use, chosen once per process.
const DitherKernels& ActiveDitherKernels() noexcept;

// (static: a copy compiled for a wide level must not be taken for all.)

/// The mixtures along an edge of a cell.
static constexpr std::uint32_t LatticeSide(std::uint32_t cell) {
    const std::uint32_t shift = cell & 3;
    return (kCellLevels >> shift) + (shift + 3) / 4;
}

/// How many steps into its cell a channel is taken: to the lattice's level below it or, as the raise has it, above.
/// Where there are steps, 255 counts as 256, so that it is a level of the lattice.
static constexpr std::uint32_t LatticeLevel(std::uint32_t channel, std::uint32_t cell, std::uint32_t raise) {
    const std::uint32_t shift = cell & 3;
    const std::uint32_t level = channel % kCellLevels + ((channel + 1) >> 8 & (shift + 3) >> 2);
    return (level + (raise << shift >> 2)) >> shift;
}

/// The number of the mixture for a pixel.
static constexpr std::uint32_t MixtureOf(std::uint32_t pixel, std::uint32_t cell, std::uint32_t raise) {
    const std::uint32_t side = LatticeSide(cell);
    const std::uint32_t red = LatticeLevel(pixel >> 16 & 255, cell, raise),
                        green = LatticeLevel(pixel >> 8 & 255, cell, raise),
                        blue = LatticeLevel(pixel & 255, cell, raise);
    return (cell >> 2) + (red * side + green) * side + blue;
}

}  // namespace zpixf
