#pragma once
#include <array>
#include <cstdint>
#include <vector>

#include "dither/DiffuseKernels.h"
#include "gdi/gdi.h"

namespace zpixf {

/// The palette entries that can be nearest to the colours of each cell, found when they are asked for. Memory stays
/// below 10 MB whatever the palette.
class CandidateCells {
public:
    /// Takes 1 to 256 entries. Colours lie up to `margin` levels, at most 256, beyond the cube. May raise
    /// std::bad_alloc; nothing else asks for memory.
    CandidateCells(const RGBQUAD* entries, unsigned numEntries, int margin);
    void Find(unsigned cell);

    /// Until the next is found.
    DiffuseCells Cells() const { return {cells.data(), candidates.data(), origin, bits}; }

private:
    unsigned Prune(unsigned cell, std::uint8_t* kept) const;

    std::array<std::array<int, 3>, 256> colors{};  ///< in sixteenths of a level
    std::array<std::uint8_t, 256> distinct{};      ///< the first entry of each colour
    unsigned numDistinct = 0;
    int origin;
    unsigned bits;
    std::vector<std::uint16_t> cells;
    std::vector<DiffuseCandidates> candidates;  ///< the first are of no cell
};

}  // namespace zpixf
