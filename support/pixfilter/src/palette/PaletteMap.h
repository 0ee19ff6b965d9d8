#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "gdi/gdi.h"
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
    using Entries = std::array<std::uint8_t, 256>;  ///< indices of entries, as many as an accompanying count
    struct Box;
    struct CoarseCell {
        unsigned count;  ///< 0 while it has not been built
        Entries candidates;
    };

    void BuildCell(unsigned cell);
    const CoarseCell& CoarseCellAround(unsigned blue, unsigned green, unsigned red);
    unsigned Prune(const Box& box, const std::uint8_t* from, unsigned count, std::uint8_t* to) const;

    std::array<std::array<int, 3>, 256> colors{};  ///< of the entries
    Entries distinct{};                            ///< the entries without those that repeat an earlier one
    unsigned numDistinct = 0;
    std::vector<CoarseCell> coarseCells;
    std::vector<std::uint32_t> cells;  ///< see kMoreGroupsBits
    std::vector<CandidateGroup> groups;
};

}  // namespace zpixf
