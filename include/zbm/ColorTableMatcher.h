#pragma once
#include <cstdint>
#include <memory>
#include <vector>

#include "shr/Color4b.h"
#include "zbm/Export.h"

namespace zbm {

struct MatcherMaps;

/// Finds the entry of a fixed colour table (up to 256 entries) for any colour, fast enough to be asked once a pixel.
/// Alpha plays no part.
///
/// Exact matches come from a map of all 2^24 colours; of equal entries the later one is answered. All other colours are
/// answered approximately, from an inverse colour map of 32 x 32 x 32 cells of 8 x 8 x 8 colours (S. W. Thomas,
/// Efficient Inverse Color Map Computation, Graphics Gems II, 1991): the entry nearest to the centre of the colour's
/// cell, the first among equals, which near a cell's border need not be the nearest to the colour.
///
/// Takes 16 MiB and, while it is being built, 96 KiB more. It does not change once it is built.
class ZBM_API ColorTableMatcher {
public:
    /// Copies `count` entries, 1 to 256. Raises an internal error of source file "ZBMColorTableMatcher" for any other
    /// count or a null table.
    ColorTableMatcher(const shr::Color4b* table, unsigned count);
    ~ColorTableMatcher();
    ColorTableMatcher(const ColorTableMatcher&) = delete;
    ColorTableMatcher& operator=(const ColorTableMatcher&) = delete;

    std::uint8_t MatchExactOrApproximate(shr::Color4b color) const;
    /// The entry at the smallest distance (squares of the differences in red, green and blue, summed), the first among
    /// equals; for an exact match the last entry of that colour.
    std::uint8_t MatchNearest(shr::Color4b color) const;

private:
    friend struct MatcherMaps;  // for the converter, which matches whole rows at a time
    void InitInverseColorMap();
    void InitRGBToColorTabMap();

    std::vector<shr::Color4b> table;
    std::vector<std::uint8_t> exactMap;          ///< by red | green << 8 | blue << 16; 0 also where there is no entry
    std::unique_ptr<std::uint8_t[]> inverseMap;  ///< by (red >> 3) << 10 | (green >> 3) << 5 | blue >> 3
};

}  // namespace zbm
