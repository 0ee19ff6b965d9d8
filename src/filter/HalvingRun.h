#pragma once
// A half is made tile by tile: each quarter of its tiles is one tile of the input, read where it lies.
#include <cstdint>

#include "filter/BlockRun.h"
#include "filter/InputTiles.h"
#include "zpixf/ZPixfResize.h"

namespace zbm {

/// The tile by tile way of a run of one filter that halves, between bitmaps whose classes tell how their tiles are
/// reached. Gives the bits that the lines of the same run give.
class HalvingRun final : public BlockRun {
public:
    static bool Suits(const FilterTask& task);
    HalvingRun(const FilterTask& task, CPixFilterPipeline& pipeline);

    void Change(ZScanRect& tile, int row, int col, int first, int end) override;

private:
    void HalvePart(const ZScanRect& from, const RECT& fromBox, ZScanRect& to, const RECT& toBox, const RECT& part);
    void HalveBlock(const TileBlock<const ZScanRect>& from, const TileBlock<ZScanRect>& to, POINT place);
    void HalveRows(const TileBlock<ZScanRect>& to, POINT place, const Rows& from, std::uint8_t* out,
                   std::ptrdiff_t outStride) const;

    const zpixf::ZPixfHalving& filter;
    InputTiles tiles;
    const bool isFarAway;
};

}  // namespace zbm
