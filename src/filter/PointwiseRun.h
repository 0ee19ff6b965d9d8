#pragma once
// Filters of single pixels need no lines: they change tiles where they lie.
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "core/TileReading.h"
#include "filter/LineSink.h"
#include "zbm/CPixFilterPipeline.h"
#include "zbm/PixelRows.h"

namespace zbm {

/// The tile by tile way of a run whose stages are all of single pixels, between bitmaps of one size and grid of tiles
/// whose classes tell how their tiles are reached. Gives the bits that the lines of the same run give.
class PointwiseRun final : private TileChange {
public:
    /// `inputRect` is the part of the input that is filtered.
    static bool Suits(const ZBitmap& input, const RECT& inputRect, const ZBitmap& output,
                      std::span<const CPixFilterContext> stages, const LineSink& sink);

    /// The stages are those of the pipeline, started; all must outlive this.
    PointwiseRun(const ZBitmap& input, const ZBitmap& output, CPixFilterPipeline& pipeline, LineSink& sink);
    /// Lines `first` to before `end`, in increasing order.
    void FilterLines(int first, int end) { sink.ChangeTiles(first, end, *this); }

private:
    struct Block;

    bool NeedsContent() const override { return isInPlace || (hasMask && !makesMask); }
    void Change(ZScanRect& tile, int row, int col, int first, int end) override;
    const ZScanRect& InputTile(int row, int col);
    void ChangeBlock(const Block& block);
    static void Convert(const Block& block, const PixelRows& to, const ConstPixelRows& from);
    void ExpandMasks(const Block& block, std::uint8_t* pixels) const;
    void PackMasks(const Block& block, const std::uint8_t* pixels) const;
    void WriteBlock(const Block& block, const std::uint8_t* pixels);

    const ZBitmap& input;
    CPixFilterPipeline& pipeline;
    LineSink& sink;
    const bool isInPlace, hasMask, makesMask;
    std::optional<ZScanRect> inputTile;  ///< where the input's tiles are not in memory
    std::vector<std::uint8_t> colors, converted;
};

}  // namespace zbm
