#include "filter/HalvingRun.h"

#include <algorithm>

namespace zbm {

namespace {

/// A block of the result is made of one of the input that is four times as large. What need not be converted need not
/// stay in the first cache either.
constexpr int kHalvedPixels = kMostBlockPixels / 4, kHalvedInPlace = 1 << 20;

/// Whether the filter makes just this bitmap of that one.
bool Halves(const CPixFilterContext& stage, const ZBitmap& input, const ZBitmap& output) {
    const auto isOf = [](const zpixf::ZPixFormat& format, const ZBitmap& bitmap) {
        return format.GetWidth() == static_cast<unsigned>(bitmap.GetPixelWidth()) &&
               format.GetHeight() == static_cast<unsigned>(bitmap.GetPixelHeight());
    };
    return stage.filter->AsHalving() != nullptr && isOf(stage.filter->GetInputFormat(), input) &&
           isOf(stage.filter->GetOutputFormat(), output);
}

/// In a cache of the second level.
bool LiesInCaches(const ZBitmap& bitmap) {
    constexpr double kCacheBytes = 1 << 20;
    return 4.0 * bitmap.GetPixelWidth() * bitmap.GetPixelHeight() <= kCacheBytes;
}

/// What tiles of both have in common begins at whole bytes of masks, and a tile that must be read is needed by one
/// only.
bool FitTogether(const ZBitmap& input, const ZBitmap& output) {
    const int width = input.GetScanRectWidth(), height = input.GetScanRectHeight();
    if (width % 16 != 0 || height % 2 != 0 || output.GetScanRectWidth() % 8 != 0) return false;
    return StayInMemory(input) ||
           (output.GetScanRectWidth() % (width / 2) == 0 && output.GetScanRectHeight() % (height / 2) == 0);
}

}  // namespace

bool HalvingRun::Suits(const FilterTask& task) {
    const auto& [input, inputRect, output, stages, quantizer, sink] = task;
    return stages.size() == 1 && ReachesTiles(input, sink) && IsWhole(inputRect, input) &&
           Halves(stages[0], input, output) && FitTogether(input, output) &&
           shr::ColorFmtToTblSize[output.GetColorFormat()] == 0;
}

HalvingRun::HalvingRun(const FilterTask& task, CPixFilterPipeline& pipeline)
    : BlockRun(task),
      filter(*pipeline.stages[0].filter->AsHalving()),
      tiles(input),
      isFarAway(isReadInPlace && !LiesInCaches(input)) {}

void HalvingRun::Change(ZScanRect& tile, int row, int col, int first, int end) {
    const RECT box = output.GetScanRectBBox(row, col);
    const LONG top = box.top + first, bottom = box.top + end;
    const RECT needed{2 * box.left, 2 * top, 2 * box.right, 2 * bottom};
    const int width = input.GetScanRectWidth(), height = input.GetScanRectHeight();
    for (int r = static_cast<int>(needed.bottom - 1) / height; r >= static_cast<int>(needed.top) / height; --r)
        for (int c = static_cast<int>(needed.left) / width; c <= static_cast<int>(needed.right - 1) / width; ++c) {
            const RECT from = input.GetScanRectBBox(r, c);
            RECT part;
            if (IntersectRect(&part, &from, &needed)) HalvePart(tiles.At(r, c), from, tile, box, part);
        }
}

/// From the last rows to the first, as memory goes on.
void HalvingRun::HalvePart(const ZScanRect& from, const RECT& fromBox, ZScanRect& to, const RECT& toBox,
                           const RECT& part) {
    const int left = static_cast<int>(part.left / 2), width = static_cast<int>(part.right / 2) - left;
    const int top = static_cast<int>(part.top / 2), bottom = static_cast<int>(part.bottom / 2);
    const int mostPixels = isReadInPlace && isWrittenInPlace ? kHalvedInPlace : kHalvedPixels;
    const int mostRows = std::max(1, mostPixels / width);
    for (int y = bottom; y > top;) {
        const int rows = std::min(mostRows, y - top);
        y -= rows;
        for (int x = left; x < left + width; x += mostPixels) {
            const int columns = std::min(left + width - x, mostPixels);
            HalveBlock({from, 2 * x - static_cast<int>(fromBox.left), 2 * y - static_cast<int>(fromBox.top),
                        2 * columns, 2 * rows},
                       {to, x - static_cast<int>(toBox.left), y - static_cast<int>(toBox.top), columns, rows}, {x, y});
        }
    }
}

/// `place` is that of the block in the result.
void HalvingRun::HalveBlock(const TileBlock<const ZScanRect>& from, const TileBlock<ZScanRect>& to, POINT place) {
    const Rows rows = Read(from);
    Write(to, [&](std::uint8_t* out, std::ptrdiff_t outStride) { HalveRows(to, place, rows, out, outStride); });
}

void HalvingRun::HalveRows(const TileBlock<ZScanRect>& to, POINT place, const Rows& from, std::uint8_t* out,
                           std::ptrdiff_t outStride) const {
    const auto [last, stride] = from;
    const std::ptrdiff_t rows = to.height;
    filter.Halve({static_cast<unsigned>(place.x), static_cast<unsigned>(place.y), static_cast<unsigned>(to.width),
                  static_cast<unsigned>(rows), last + (2 * rows - 1) * stride, -stride, out + (rows - 1) * outStride,
                  -outStride, isFarAway});
}

}  // namespace zbm
