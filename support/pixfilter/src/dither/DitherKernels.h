#pragma once
// The work per pixel of the ditherers, compiled once per instruction-set level. Every level gives the same bytes.
#include <cstddef>
#include <cstdint>

namespace zpixf {

/// Colours of the mixing lattice along one channel: 0, 8, 16, ..., 248 and 255.
constexpr unsigned kLatticeSide = 33;
constexpr unsigned kLatticeStep = 8;
constexpr unsigned kLatticeColors = kLatticeSide * kLatticeSide * kLatticeSide;
/// A step of the lattice is told apart in 64 thresholds, the entries of a mixture in 512.
constexpr unsigned kLatticeThresholds = 64;
constexpr unsigned kMixtureThresholds = 512;
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
    std::uint16_t ends[kEntries];  ///< ascending, the last kMixtureThresholds; 0 while the mixture is not known
    std::uint8_t entries[kEntries];
    std::uint32_t unused;  // 16 bytes, so that finding one takes a shift
};

/// What the ordered kernel looks up.
struct MixtureTables {
    const Mixture* mixtures;  ///< of every lattice colour
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

    /// Gives the indices of pixels from column `x` on, as far as mixtures are known: returns the first column whose
    /// pixel has none, `count` if all have.
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

/// The lattice coordinate of a channel: that below it, or the next above if it is more than `threshold` 64ths of the
/// way there. (The last step is 7 levels only, 248 to 255; its 64ths are rounded.)
static constexpr std::uint32_t LatticeCoordinate(std::uint32_t channel, std::uint32_t threshold) {
    const std::uint32_t levels = channel & 7;
    const std::uint32_t more = channel >= 248 ? levels + (levels >> 2) : 0;
    return (channel >> 3) + (8 * levels + more > threshold ? 1u : 0u);
}
static constexpr std::int32_t LatticeLevel(std::uint32_t coordinate) {
    return coordinate == kLatticeSide - 1 ? 255 : static_cast<std::int32_t>(coordinate * kLatticeStep);
}
static constexpr std::uint32_t LatticeColor(std::uint32_t pixel, std::uint32_t threshold) {
    const std::uint32_t blue = LatticeCoordinate(pixel & 255, threshold);
    const std::uint32_t green = LatticeCoordinate(pixel >> 8 & 255, threshold);
    const std::uint32_t red = LatticeCoordinate(pixel >> 16 & 255, threshold);
    return blue + kLatticeSide * (green + kLatticeSide * red);
}

}  // namespace zpixf
