#pragma once
// The work per pixel of palettes, compiled once per instruction-set level. Every level gives the same bytes.
#include <cstddef>
#include <cstdint>

namespace zpixf {

/// Colours are looked up in cells of 8 x 8 x 8: the upper 5 bits of each channel.
constexpr unsigned kCellBits = 5;
constexpr unsigned kCells = 1u << (3 * kCellBits);

/// Eight candidates for the nearest entry. The squared distance of a colour x to an entry p is |x|^2 - 2 x.p + |p|^2;
/// |x|^2 is the same for all, so that 256 (|p|^2 - 2 x.p) + index finds the nearest, and of several the one with the
/// lowest index. Where there are fewer than eight, the first is repeated.
struct alignas(32) CandidateGroup {
    static constexpr unsigned kSize = 8;
    std::int32_t base[kSize];     ///< 256 |p|^2 + index
    std::int16_t bg[2 * kSize];   ///< pairs of B and G
    std::int16_t red[2 * kSize];  ///< pairs of R and 0
};

/// What a cell holds: the number of its first group, times 32, plus how many more groups follow. 0 while it has not
/// been built: group 0 gives every colour kNotBuilt, which is below what any entry gives.
constexpr unsigned kMoreGroupsBits = 5;
constexpr std::uint32_t kMoreGroupsMask = (1u << kMoreGroupsBits) - 1;
constexpr std::int32_t kNotBuilt = -0x7FFFFFFF;
constexpr std::int32_t kNoKeyBelow = -256 * 3 * 255 * 255;

struct PaletteMapKernels {
    /// Gives the index of the entry nearest to each of `count` pixels (B, G, R, and a byte of no matter), until one
    /// lies in a cell that has not been built. Returns how many it did.
    std::size_t (*mapRow)(const std::uint32_t* cells, const CandidateGroup* groups, const std::uint8_t* pixels,
                          std::size_t count, std::uint8_t* indices);

    /// Gives pixels the colours of their palette entries (0x00RRGGBB) and the alpha of `pixels`, which may be where the
    /// colours go.
    void (*colorize)(std::uint8_t* colors, const std::uint8_t* pixels, const std::uint8_t* indices, std::size_t count,
                     const std::uint32_t* palette);
    /// Packs indices of 1 or 4 bits. What lies beyond the last pixel of the last byte stays.
    void (*pack1)(std::uint8_t* packed, const std::uint8_t* indices, std::size_t count);
    void (*pack4)(std::uint8_t* packed, const std::uint8_t* indices, std::size_t count);
};

extern const PaletteMapKernels kBasePaletteMapKernels;
extern const PaletteMapKernels kAvx2PaletteMapKernels;

/// The kernels in use, chosen once per process.
const PaletteMapKernels& ActivePaletteMapKernels() noexcept;

}  // namespace zpixf
