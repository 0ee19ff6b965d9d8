#include "filter/PointwiseRun.h"

#include <algorithm>

#include "convert/ZBMColorFormat.h"
#include "core/FitTile.h"
#include "core/MaskRows.h"
#include "filter/TileRows.h"

namespace zbm {

namespace {

constexpr int kBlockPixels = 4096;  // 16 KiB of colours: half a cache of the first level

bool AreAlikeInTiles(const ZBitmap& a, const ZBitmap& b) {
    return a.GetPixelWidth() == b.GetPixelWidth() && a.GetPixelHeight() == b.GetPixelHeight() &&
           a.GetScanRectWidth() == b.GetScanRectWidth() && a.GetScanRectHeight() == b.GetScanRectHeight();
}

bool IsWhole(const RECT& rect, const ZBitmap& bitmap) {
    return rect.left == 0 && rect.top == 0 && rect.right == bitmap.GetPixelWidth() &&
           rect.bottom == bitmap.GetPixelHeight();
}

/// Alpha is taken behind the last stage that changes it, which for more than one may be in the middle.
bool AreOfSinglePixels(std::span<const CPixFilterContext> stages) {
    return std::all_of(stages.begin(), stages.end(), [&](const CPixFilterContext& stage) {
        return stage.filter->AsPointwise() != nullptr && (stages.size() == 1 || !stage.changesAlpha);
    });
}

/// A tile of the input is read as often as one of the output is changed.
bool ReachesTiles(const ZBitmap& input, const LineSink& sink) {
    const TileReading* const reading = FindTileReading(input);
    if (reading == nullptr) return false;
    return sink.TakenTiles() == LineSink::Tiles::whole ||
           (sink.TakenTiles() == LineSink::Tiles::inBands && reading->resident != nullptr);
}

bool HasMask(const ZBitmap& bitmap) { return !shr::ColorFmtHasAlphaChannel[bitmap.GetColorFormat()]; }

bool IsOpaque(shr::ColorFormat format) {
    return shr::ColorFmtToTblSize[format] == 0 && !shr::ColorFmtHasAlphaChannel[format];
}

std::ptrdiff_t OffsetOf(int x, shr::ColorFormat format) { return std::ptrdiff_t{x} * shr::ColorFmtToBPP[format] / 8; }

}  // namespace

/// Pixels of one place in a tile of the input and in one of the output: whole rows, or part of one. All rows are taken
/// as tiles have them in memory, the last one first.
struct PointwiseRun::Block {
    const ZScanRect& from;
    ZScanRect& to;
    int x, y, width, height;  ///< x is a multiple of 8

    std::size_t Pixels() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
    int BgraStride() const { return 4 * width; }
    template <class Tile>
    auto* First(Tile& tile) const {
        return RowOf(tile, y + height - 1) + OffsetOf(x, tile.GetColorFormat());
    }
    /// Rows without gaps are converted as one.
    bool IsOneRun(int stride, shr::ColorFormat format) const {
        return std::int64_t{8} * stride == std::int64_t{width} * shr::ColorFmtToBPP[format];
    }
};

bool PointwiseRun::Suits(const ZBitmap& input, const RECT& inputRect, const ZBitmap& output,
                         std::span<const CPixFilterContext> stages, const LineSink& sink) {
    return ReachesTiles(input, sink) && AreAlikeInTiles(input, output) && IsWhole(inputRect, input) &&
           shr::ColorFmtToTblSize[output.GetColorFormat()] == 0 && AreOfSinglePixels(stages);
}

PointwiseRun::PointwiseRun(const ZBitmap& inputBitmap, const ZBitmap& output, CPixFilterPipeline& stages,
                           LineSink& destination)
    : input(inputBitmap),
      pipeline(stages),
      sink(destination),
      isInPlace(&input == &output),
      hasMask(HasMask(output)),
      makesMask(hasMask && stages.stages[0].changesAlpha) {}

const ZScanRect& PointwiseRun::InputTile(int row, int col) {
    const TileReading& reading = *FindTileReading(input);
    if (reading.resident != nullptr) return reading.resident(input, row, col);
    ZScanRect& tile = FitTile(inputTile, input.GetScanRectBBox(row, col), input.GetColorFormat());
    reading.load(input, row, col, tile);
    return tile;
}

/// From the last rows to the first, as memory goes on.
void PointwiseRun::Change(ZScanRect& tile, int row, int col, int first, int end) {
    const ZScanRect& from = isInPlace ? tile : InputTile(row, col);
    const int width = tile.GetWidth(), mostRows = std::max(1, kBlockPixels / width);
    for (int rest = end; rest > first;) {
        const int rows = std::min(mostRows, rest - first);
        rest -= rows;
        for (int x = 0; x < width; x += kBlockPixels)
            ChangeBlock({from, tile, x, rest, std::min(width - x, kBlockPixels), rows});
    }
}

void PointwiseRun::ChangeBlock(const Block& block) {
    const bool isThere = isInPlace && block.to.GetColorFormat() == shr::BGRA_32;
    std::uint8_t* pixels = block.First(block.to);
    if (!isThere) {
        colors.resize(4 * block.Pixels());
        pixels = colors.data();
        const shr::ColorFormat format = block.from.GetColorFormat();
        Convert(block, {pixels, shr::BGRA_32, block.BgraStride()},
                {block.First(block.from), format, -block.from.GetStride(), input.GetConstColorTablePtr()});
    }
    if (pipeline.stages[0].usesInputAlpha) ExpandMasks(block, pixels);
    pipeline.ChangePixels(pixels, block.Pixels());
    if (makesMask) PackMasks(block, pixels);
    if (!isThere) WriteBlock(block, pixels);
}

void PointwiseRun::Convert(const Block& block, const PixelRows& to, const ConstPixelRows& from) {
    const auto width = static_cast<std::uint32_t>(block.width), height = static_cast<std::uint32_t>(block.height);
    if (block.IsOneRun(to.stride, to.format) && block.IsOneRun(from.stride, from.format))
        return ConvertPixels(to, from, width * height, 1);
    ConvertPixels(to, from, width, height);
}

void PointwiseRun::ExpandMasks(const Block& block, std::uint8_t* pixels) const {
    if (block.from.GetAlphaStride() == 0) return;
    const auto width = static_cast<std::size_t>(block.width);
    for (int y = block.y + block.height - 1; y >= block.y; --y, pixels += block.BgraStride()) {
        const std::uint8_t* const mask = MaskRowOf(block.from, y) + block.x / 8;
        if (IsOpaque(block.from.GetColorFormat()) && IsMaskRowOpaque(mask, width)) continue;  // as the pixels are
        ExpandMaskRow(pixels + 3, 4, mask, 0, width);
    }
}

void PointwiseRun::PackMasks(const Block& block, const std::uint8_t* pixels) const {
    for (int y = block.y + block.height - 1; y >= block.y; --y, pixels += block.BgraStride())
        PackMaskRow(MaskRowOf(block.to, y) + block.x / 8, 0, pixels, static_cast<std::size_t>(block.width));
}

/// What is written past the caches is converted within them first.
void PointwiseRun::WriteBlock(const Block& block, const std::uint8_t* pixels) {
    const shr::ColorFormat format = block.to.GetColorFormat();
    const PixelRows destination{block.First(block.to), format, -block.to.GetStride()};
    const ConstPixelRows bgra{pixels, shr::BGRA_32, block.BgraStride()};
    if (sink.Writes() == shr::CopyWrites::cached) return Convert(block, destination, bgra);
    if (format == shr::BGRA_32)
        return shr::CopyPixelRows({destination.first, destination.stride, 0}, {bgra.first, bgra.stride, 0}, block.width,
                                  block.height, format, sink.Writes());
    const auto stride = static_cast<int>(shr::RowBytes(static_cast<std::uint32_t>(block.width), format));
    converted.resize(static_cast<std::size_t>(stride) * static_cast<std::size_t>(block.height));
    Convert(block, {converted.data(), format, stride}, bgra);
    shr::CopyPixelRows({destination.first, destination.stride, 0}, {converted.data(), stride, 0}, block.width,
                       block.height, format, sink.Writes());
}

}  // namespace zbm
