#include "filter/PointwiseRun.h"

#include <algorithm>

namespace zbm {

namespace {

bool HasIndices(const ZBitmap& bitmap) { return shr::ColorFmtToTblSize[bitmap.GetColorFormat()] != 0; }

bool AreAlikeInTiles(const ZBitmap& a, const ZBitmap& b) {
    return a.GetPixelWidth() == b.GetPixelWidth() && a.GetPixelHeight() == b.GetPixelHeight() &&
           a.GetScanRectWidth() == b.GetScanRectWidth() && a.GetScanRectHeight() == b.GetScanRectHeight();
}

/// Alpha is taken behind the last stage that changes it, which for more than one may be in the middle.
bool AreOfSinglePixels(std::span<const CPixFilterContext> stages) {
    return std::all_of(stages.begin(), stages.end(), [&](const CPixFilterContext& stage) {
        return stage.filter->AsPointwise() != nullptr && (stages.size() == 1 || !stage.changesAlpha);
    });
}

/// All, but for a quantiser at the end that gives colours.
std::span<const CPixFilterContext> StagesToMap(const FilterTask& task) {
    zpixf::ZPixFilterBase& last = *task.stages.back().filter;
    const bool isMapped = last.AsQuantize() != nullptr && last.GetOutputFormat().GetChannels() == 4;
    return task.stages.first(task.stages.size() - (isMapped ? 1 : 0));
}

/// Colours and alpha.
bool HandsThrough(const CPixFilterContext& stage) {
    return stage.filter->AsPointwise()->ChangesNothing() && stage.usesInputAlpha && stage.changesAlpha;
}

}  // namespace

bool PointwiseRun::Suits(const FilterTask& task) {
    const auto& [input, inputRect, output, stages, quantizer, sink] = task;
    const bool isMapped = quantizer != nullptr && quantizer->AsQuantize() != nullptr;
    return ReachesTiles(input, sink) && AreAlikeInTiles(input, output) && IsWhole(inputRect, input) &&
           isMapped == HasIndices(output) && AreOfSinglePixels(isMapped ? stages : StagesToMap(task));
}

PointwiseRun::PointwiseRun(const FilterTask& task, CPixFilterPipeline& startedPipeline)
    : input(task.input),
      pipeline(startedPipeline),
      tiles(input),
      writes(task.sink.Writes()),
      writer(writes),
      isInPlace(&input == &task.output),
      hasMask(HasMask(task.output)),
      makesMask(hasMask && pipeline.stages[0].changesAlpha),
      maps(pipeline.stages[pipeline.numStages - 1].filter->AsQuantize() != nullptr),
      isOneStage(!maps && pipeline.numStages == 1),
      isConversion(isOneStage && !isInPlace && HandsThrough(pipeline.stages[0]) &&
                   (input.GetColorFormat() == shr::BGRA_32) != (task.output.GetColorFormat() == shr::BGRA_32)),
      isOneCopy(isOneStage && !isInPlace && input.GetColorFormat() == shr::BGRA_32 &&
                task.output.GetColorFormat() == shr::BGRA_32) {}

/// From the last rows to the first, as memory goes on.
void PointwiseRun::Change(ZScanRect& tile, int row, int col, int first, int end) {
    const ZScanRect& from = isInPlace ? tile : tiles.At(row, col);
    if (isConversion) return ConvertLines(from, tile, first, end);
    if (isOneCopy && CopyLines(from, tile, first, end)) return;
    const int width = tile.GetWidth(), mostRows = std::max(1, kMostBlockPixels / width);
    for (int rest = end; rest > first;) {
        const int rows = std::min(mostRows, rest - first);
        rest -= rows;
        for (int x = 0; x < width; x += kMostBlockPixels) {
            const int part = std::min(width - x, kMostBlockPixels);
            ChangeBlock({from, x, rest, part, rows}, {tile, x, rest, part, rows});
        }
    }
}

/// In blocks that are still in the first cache when masks are made or taken, with what is fetched meanwhile.
void PointwiseRun::ConvertLines(const ZScanRect& from, ZScanRect& to, int first, int end) {
    constexpr int kConvertedPixels = kMostBlockPixels / 4;
    const int width = to.GetWidth(), mostRows = std::max(1, kConvertedPixels / width);
    for (int rest = end; rest > first;) {
        const int rows = std::min(mostRows, rest - first);
        rest -= rows;
        ConvertBlock({from, 0, rest, width, rows}, {to, 0, rest, width, rows}, input.GetConstColorTablePtr(), writes);
    }
}

/// False if the filter does not offer it.
bool PointwiseRun::CopyLines(const ZScanRect& from, ZScanRect& to, int first, int end) {
    const TileBlock<const ZScanRect> pixels{from, 0, first, from.GetWidth(), end - first};
    const TileBlock<ZScanRect> changed{to, 0, first, to.GetWidth(), end - first};  // (rows of 4 bytes a pixel: no gaps)
    return pipeline.stages[0].filter->AsPointwise()->CopyChanged(pixels.First(), changed.First(), pixels.Pixels(),
                                                                 writes);
}

/// Where one stage of several fails, pixels that are between two of them must not be left in a tile.
void PointwiseRun::ChangeBlock(const TileBlock<const ZScanRect>& from, const TileBlock<ZScanRect>& to) {
    const bool isThere = isInPlace && isOneStage && to.tile.GetColorFormat() == shr::BGRA_32;
    if (isThere) return pipeline.ChangePixels(to.First(), to.Pixels());
    colors.resize(4 * to.Pixels());
    ReadBlock(from, input.GetConstColorTablePtr(), pipeline.stages[0].usesInputAlpha, colors.data());
    pipeline.ChangePixels(colors.data(), to.Pixels());
    if (shr::ColorFmtToTblSize[to.tile.GetColorFormat()] != 0) return MapBlock(to);
    if (maps) pipeline.MapPixels(colors.data(), to.Pixels(), colors.data());
    writer.Write(to, colors.data(), makesMask);
}

void PointwiseRun::MapBlock(const TileBlock<ZScanRect>& block) {
    const shr::ColorFormat format = block.tile.GetColorFormat();
    const auto width = static_cast<std::size_t>(block.width);
    indices.resize(static_cast<std::size_t>(shr::RowBytes(static_cast<std::uint32_t>(width), format)));
    std::uint8_t* row = block.First();
    for (std::size_t pixel = 0; pixel < block.Pixels(); pixel += width, row += block.Stride()) {
        pipeline.MapPixels(colors.data() + 4 * pixel, width, indices.data());
        shr::CopyPixelLine({row, 0, 0}, {indices.data(), 0, 0}, block.width, format, writes);
    }
    if (makesMask) MakeMasks(block, colors.data(), std::ptrdiff_t{4} * block.width);
}

}  // namespace zbm
