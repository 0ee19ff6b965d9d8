#pragma once
// A result each of whose pixels is one of the input's is made tile by tile, of the input's pixels where they lie.
#include <cstdint>
#include <vector>

#include "filter/BlockRun.h"
#include "filter/InputTiles.h"
#include "zpixf/ZPixfResize.h"

namespace zbm {

/// The tile by tile way of a run of one filter that picks pixels, from a bitmap in memory whose class tells how its
/// tiles are reached.
class PickingRun final : public BlockRun {
public:
    static bool Suits(const FilterTask& task);
    PickingRun(const FilterTask& task, CPixFilterPipeline& pipeline);

    void Change(ZScanRect& tile, int row, int col, int first, int end) override;

private:
    /// Columns of the result that are picked of one column of the input's tiles.
    struct Part {
        int col, first, end;
    };

    void FindParts(int first, int end);
    void PickLines(const TileBlock<ZScanRect>& to, POINT place, std::uint8_t* out, std::ptrdiff_t stride);
    void StreamLines(const TileBlock<ZScanRect>& to, POINT place);
    void PickLine(LONG inputLine, LONG nextLine, std::uint8_t* out);
    void PickPart(const Part& part, LONG inputLine, LONG nextLine, std::uint8_t* out);
    LONG LineUnder(LONG line) const { return top + static_cast<LONG>(filter.LineUnder(static_cast<unsigned>(line))); }
    LONG ColumnUnder(int column) const { return left + static_cast<LONG>(filter.Columns()[column]); }

    const LONG left, top;  ///< of what is filtered of the input
    const zpixf::ZPixfPicking& filter;
    const bool isStreamed;  ///< and what is picked has the result's format
    InputTiles tiles;
    std::vector<Part> parts;           ///< of the block in hand
    std::vector<std::uint8_t> picked;  ///< a line of it
};

}  // namespace zbm
