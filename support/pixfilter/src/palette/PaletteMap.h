#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "gdi/gdi.h"
#include "palette/EntriesInCubes.h"
#include "palette/PaletteMapKernels.h"

namespace zpixf {

/// Finds the palette entry nearest to a colour: that of the least sum of squared differences in B, G and R, and of
/// several the one with the lowest index. Exact for every colour.
///
/// The cube of colours is cut into cells. A cell knows the few entries that can be nearest to some colour in it, which
/// it finds out when the first colour of it is looked up: so a lookup is no const operation, and may raise
/// std::bad_alloc; the map stays usable then. Memory stays below 10 MB whatever the palette.
class PaletteMap {
public:
    PaletteMap();
    ~PaletteMap();
    PaletteMap(const PaletteMap&) = delete;
    PaletteMap& operator=(const PaletteMap&) = delete;

    /// Takes a palette of 1 to 256 entries. Must come before any lookup; may come again with another palette.
    void Build(const RGBQUAD* entries, unsigned count);

    unsigned Nearest(unsigned blue, unsigned green, unsigned red);
    /// Gives the index of each of `count` pixels of 4 bytes: B, G, R and one of no matter.
    void MapRow(const std::uint8_t* pixels, std::size_t count, std::uint8_t* indices);

private:
    void BuildCell(unsigned cell);
    const EntriesInCubes::List& CoarseCellAround(const ColorCube& cell);

    EntriesInCubes palette;
    std::vector<EntriesInCubes::List> coarseCells;  ///< with a count of 0 while they have not been built
    std::vector<std::uint32_t> cells;               ///< see kMoreGroupsBits
    std::vector<CandidateGroup> groups;
};

}  // namespace zpixf
