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
    std::uint32_t lattice[kPatternSide + kRun];
    std::uint64_t mixture[kPatternSide + kRun];  ///< the threshold with bit 15 set, three times, 16 bits apart
};
static constexpr std::uint64_t kInThreeLanes = 0x0000000100010001;

/// Up to four palette entries, from dark to light. The entry for a threshold is that numbered by how many of `ends`
/// are at most the threshold; entries not in use repeat the last, or have no thresholds.
struct Mixture {
    static constexpr unsigned kEntries = 4;
    static constexpr std::uint32_t kKnown = 1u << 24;
    std::uint16_t ends[kEntries - 1];  ///< ascending, at most kMixtureThresholds
    std::uint16_t unused;              // 16 bytes, so that finding one takes a shift
    std::uint8_t entries[kEntries];
    std::uint32_t color;  ///< whose mixture it is, with kKnown
};

/// Mixtures stand at the place that a product tells: color * kPlaceFactor >> kPlaceShift.
constexpr unsigned kPlaceBits = 16, kPlaceShift = 32 - kPlaceBits;
constexpr std::uint32_t kPlaceFactor = 0x9E3779B1;  // odd, near 2^32 over the golden ratio: spreads neighbours well

/// The colour cube in cells of 8 levels a side.
static constexpr unsigned kStepCells = 32 * 32 * 32;
static constexpr std::uint32_t CellOf(std::uint32_t color) {
    return (color >> 19 & 31) << 10 | (color >> 11 & 31) << 5 | (color >> 3 & 31);
}

/// What the ordered kernel looks up.
struct MixtureTables {
    const Mixture* mixtures;    ///< of colours in use, at their places
    const std::uint8_t* steps;  ///< of each cell the levels between colours that have mixtures: 1, 2 or 4; 0: not known
    /// A table of the palette's own colours, found at (B + 256 G + 65536 R) * factor >> shift: the colour in the low 24
    /// bits and its index above.
    const std::uint32_t* exact;
    std::uint32_t exactFactor;
    unsigned exactShift;
};

struct DitherKernels {
    /// Sets B, G and R of each pixel to their luma, (7471 B + 38470 G + 19595 R + 32768) / 65536.
    void (*toGrey)(std::uint8_t* pixels, std::size_t count);

    /// Gives the indices of pixels from column `x` on, as far as steps and mixtures are known: returns the first column
    /// whose pixel lacks one, `count` if none does.
    std::size_t (*ordered)(const MixtureTables& tables, const PatternLine& pattern, const std::uint8_t* pixels,
                           std::size_t x, std::size_t count, std::uint8_t* indices);
};

extern const DitherKernels kBaseDitherKernels;
extern const DitherKernels kAvx2DitherKernels;

/// The kernels in use, chosen once per process.
const DitherKernels& ActiveDitherKernels() noexcept;

// (static: a copy compiled for a wide level must not be taken for all.)

/// The lattice level of a channel: that below it, or the next above if it is more than `threshold` quarters of the way
/// there. (The last step ends at 255, a level early.)
static constexpr std::uint32_t LatticeLevel(std::uint32_t channel, std::uint32_t step, std::uint32_t threshold) {
    const std::uint32_t above = channel & (step - 1);
    const std::uint32_t length = step - ((channel + step) >> 8);
    return channel - above + (kLatticeThresholds * above > threshold * length ? length : 0u);
}
static constexpr std::uint32_t LatticeColor(std::uint32_t pixel, std::uint32_t step, std::uint32_t threshold) {
    return LatticeLevel(pixel & 255, step, threshold) | LatticeLevel(pixel >> 8 & 255, step, threshold) << 8 |
           LatticeLevel(pixel >> 16 & 255, step, threshold) << 16;
}

}  // namespace zpixf
