#pragma once
// Filters of single pixels need no lines: they change tiles where they lie.
#include <cstdint>
#include <vector>

#include "filter/FilterTask.h"
#include "filter/InputTiles.h"
#include "filter/TileBlock.h"

namespace zbm {

/// The tile by tile way of a run whose stages are all of single pixels, between bitmaps of one size and grid of tiles
/// whose classes tell how their tiles are reached. Behind them may be a quantiser that has chosen its palette. Gives
/// the bits that the lines of the same run give.
class PointwiseRun final : public TileChange {
public:
    static bool Suits(const FilterTask& task);
    PointwiseRun(const FilterTask& task, CPixFilterPipeline& pipeline);

    bool NeedsContent() const override { return isInPlace || (hasMask && !makesMask); }
    void Change(ZScanRect& tile, int row, int col, int first, int end) override;

private:
    void ConvertLines(const ZScanRect& from, ZScanRect& to, int first, int end);
    bool CopyLines(const ZScanRect& from, ZScanRect& to, int first, int end);
    void ChangeBlock(const TileBlock<const ZScanRect>& from, const TileBlock<ZScanRect>& to);
    void MapBlock(const TileBlock<ZScanRect>& block);

    const ZBitmap& input;
    CPixFilterPipeline& pipeline;
    InputTiles tiles;
    const shr::CopyWrites writes;
    BlockWriter writer;
    const bool isInPlace, hasMask, makesMask;
    const bool maps;          ///< the last stage is a quantiser
    const bool isOneStage;    ///< and no quantiser
    const bool isConversion;  ///< of or into pixels as filters have them, and nothing else
    const bool isOneCopy;     ///< of one stage, of such pixels
    std::vector<std::uint8_t> colors, indices;
};

}  // namespace zbm
