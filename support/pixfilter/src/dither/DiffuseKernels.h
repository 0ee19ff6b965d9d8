#pragma once
// The work per pixel of error diffusion, compiled once per instruction-set level. Every level gives the same bytes.
// Colours and errors are in sixteenths of a level.
#include <cstddef>
#include <cstdint>

namespace zpixf {

constexpr int kSixteenths = 16;

/// Entries that can be nearest to a colour of one cell, by rising index. The last are repeated where there are fewer.
struct DiffuseCandidates {
    static constexpr unsigned kCount = 8;
    std::int16_t colors[kCount][4];  ///< blue, green, red and 0
    std::uint8_t entries[kCount];
    std::uint8_t more;  ///< so many groups of the same cell follow
    std::uint8_t unused[7];
};

/// Values in cells of 8 levels a side: of the cube, and of what lies around it as far as values reach. A cell has the
/// number of its first candidates, 0 while nobody has asked for them.
struct DiffuseCells {
    static constexpr unsigned kShift = 7;
    const std::uint16_t* cells;
    const DiffuseCandidates* candidates;
    std::int32_t origin;  ///< what makes the least value 0: values lie so far beyond the cube
    unsigned bits;        ///< of a cell's number along a channel; that of blue is in the lowest, then green
};

struct DiffuseColor {
    std::int32_t channels[4];  ///< the last is 0
};

/// A line in the making. What falls below the line is kept where what came from above has been read: `sums` serves
/// both. When the line is done they are complete.
struct DiffuseLine {
    const std::uint8_t* pixels;
    std::uint8_t* indices;
    std::size_t count;
    std::ptrdiff_t first, step;  ///< the place of the first pixel, and from one to the next: 1 or -1
    DiffuseColor* sums;

    std::size_t done;           ///< pixels
    DiffuseColor ahead;         ///< for the next pixel of this line
    DiffuseColor behind, here;  ///< for the pixels of the line below: that behind and that under the pixel, so far
};

/// How errors are passed on.
struct DiffuseRule {
    std::int32_t most;      ///< by which errors may move a colour, as far as values reach
    std::int32_t strength;  ///< of 256
};

struct DiffuseKernels {
    static constexpr unsigned kAllKnown = ~0u;
    static constexpr unsigned kMostLines = 4;
    /// Goes on with 1 to kMostLines lines, each the next of the one before, which run the same way and have the same
    /// sums, as far as candidates are known: gives the cell whose are missing.
    unsigned (*diffuse)(const DiffuseCells& cells, const DiffuseRule& rule, DiffuseLine* lines, unsigned count);
};

extern const DiffuseKernels kBaseDiffuseKernels;
extern const DiffuseKernels kAvx2DiffuseKernels;

/// The kernels in use, chosen once per process.
const DiffuseKernels& ActiveDiffuseKernels() noexcept;

}  // namespace zpixf
