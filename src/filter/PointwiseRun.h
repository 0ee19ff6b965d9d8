#pragma once
// Filters of single pixels need no lines: they change tiles where they lie.
#include <cstdint>
#include <span>
#include <vector>

#include "filter/InputTiles.h"
#include "filter/LineSink.h"
#include "filter/TileBlock.h"
#include "zbm/CPixFilterPipeline.h"

namespace zbm {

/// The tile by tile way of a run whose stages are all of single pixels, between bitmaps of one size and grid of tiles
/// whose classes tell how their tiles are reached. Gives the bits that the lines of the same run give.
class PointwiseRun final : public TileChange {
public:
    /// `inputRect` is the part of the input that is filtered.
    static bool Suits(const ZBitmap& input, const RECT& inputRect, const ZBitmap& output,
                      std::span<const CPixFilterContext> stages, const LineSink& sink);

    /// The stages are those of the pipeline, started; all must outlive this.
    PointwiseRun(const ZBitmap& input, const ZBitmap& output, CPixFilterPipeline& pipeline, shr::CopyWrites writes);

    bool NeedsContent() const override { return isInPlace || (hasMask && !makesMask); }
    void Change(ZScanRect& tile, int row, int col, int first, int end) override;

private:
    void ChangeBlock(const TileBlock<const ZScanRect>& from, const TileBlock<ZScanRect>& to);

    const ZBitmap& input;
    CPixFilterPipeline& pipeline;
    InputTiles tiles;
    BlockWriter writer;
    const bool isInPlace, hasMask, makesMask;
    std::vector<std::uint8_t> colors;
};

}  // namespace zbm
