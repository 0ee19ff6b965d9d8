#pragma once
#include <cstdint>
#include <vector>

#include "dither/DiffuseKernels.h"
#include "gdi/gdi.h"
#include "palette/EntriesInCubes.h"

namespace zpixf {

/// The palette entries that can be nearest to the values of each cell, found when they are asked for. Memory stays
/// below 10 MB whatever the palette.
class CandidateCells {
public:
    /// Takes 1 to 256 entries. Values lie up to `margin` levels, at most 256, beyond the cube. May raise
    /// std::bad_alloc; nothing else asks for memory.
    CandidateCells(const RGBQUAD* entries, unsigned numEntries, int margin);
    void Find(unsigned cell);

    /// Until the next is found.
    DiffuseCells Cells() const { return {cells.data(), candidates.data(), origin, bits}; }

private:
    ColorCube CubeOf(unsigned cell) const;
    const EntriesInCubes::List& CoarseCellAround(unsigned cell);

    EntriesInCubes palette;
    int origin;
    unsigned bits, coarseBits;
    std::vector<EntriesInCubes::List> coarseCells;  ///< with a count of 0 while they are not known
    std::vector<std::uint16_t> cells;
    std::vector<DiffuseCandidates> candidates;  ///< the first are of no cell
};

}  // namespace zpixf
