#pragma once
// Declarations only: the kernels' files include this, and must bring no code with weak linkage.
#include <cstddef>
#include <cstdint>

namespace zbm {

/// A colour table as bytes: 4 an entry, in the order red, green, blue, alpha.
struct TableBytes {
    const std::uint8_t* bytes;
    unsigned count;
};

/// Integers that buildInverseMap works in.
constexpr std::size_t kInverseMapWork = 3 * 32 * 256;
/// Words of a filter of colours.
constexpr std::size_t kFilterWords = 1024;

/// What it takes to match colours in rows. Most colours of a picture are in no table: the filter, a bit for each hash
/// of a colour, says so without a look into the 16 MiB of the exact map.
struct RowMaps {
    const std::uint8_t* exactMap;
    const std::uint8_t* inverseMap;
    const std::uint64_t* filter;
    std::uint32_t firstKey;  ///< red | green << 8 | blue << 16 of the table's first entry
};

/// Rows of colours, and rows of levels: what a pixel is before it becomes an index.
enum ColorSource { fromBgr24, fromBgra32, fromRgba32, kColorSources };
enum LevelSource { fromBits, fromNibbles, fromBytes, fromWords, fromDoubleWords, kLevelSources };
/// What becomes of the index: a bit that says whether it is not 0, four bits, or a byte.
enum IndexTarget { toBits, toNibbles, toBytes, kIndexTargets };

/// `count` pixels from the start of a row to the start of another. Keeps those bits of the last byte that belong to no
/// pixel.
using MatchColorsFunction = void(const RowMaps& maps, const std::uint8_t* source, std::uint8_t* destination,
                                 std::size_t count);
/// Likewise. `indexOf` has 256 entries. Of a word or double word the level is the highest byte.
using MapLevelsFunction = void(const std::uint8_t* indexOf, const std::uint8_t* source, std::uint8_t* destination,
                               std::size_t count);

struct MatcherKernels {
    /// For each of the 32,768 cells (the red axis is the slowest, the blue one the fastest) the entry that is nearest
    /// to the cell's centre, the first among equals. `work` has kInverseMapWork elements.
    void (*buildInverseMap)(TableBytes table, std::int32_t* work, std::uint8_t* inverseMap);
    /// The entry that is nearest to the colour, whose bytes are as those of an entry; the first among equals.
    unsigned (*nearest)(TableBytes table, const std::uint8_t* color);
    /// `filter` has kFilterWords elements.
    void (*buildFilter)(TableBytes table, std::uint64_t* filter);
    MatchColorsFunction* matchColors[kColorSources][kIndexTargets];
    MapLevelsFunction* mapLevels[kLevelSources][kIndexTargets];
};

extern const MatcherKernels kBaseMatcherKernels, kAvx2MatcherKernels, kAvx512MatcherKernels;

/// The kernels in use, chosen once per process.
const MatcherKernels& ActiveMatcherKernels() noexcept;

}  // namespace zbm
