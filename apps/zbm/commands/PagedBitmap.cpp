#include "commands/PagedBitmap.h"

#include <algorithm>

#include "shr/Exception.h"
#include "zbm/RunFilters.h"
#include "zpixf/ZPixfResize.h"

namespace tool {

namespace {

constexpr int kTileWidth = 512, kMostTileHeight = 512, kLeastTileHeight = 16;

int TileHeightFor(int width, shr::ColorFormat format) {
    constexpr double kMostRowBytes = 16 << 20;
    int height = kMostTileHeight;
    while (height > kLeastTileHeight && BytesOf({width, height, format, kTileWidth, height}) > kMostRowBytes)
        height /= 2;
    return height;
}

std::unique_ptr<zpixf::ZPixFilterBase> MakeResizer(zbm::ResizeMethod method) {
    if (method == zbm::ResizePlain) return std::make_unique<zpixf::ZPixfResize>();
    if (method == zbm::ResizeBilinear) return std::make_unique<zpixf::ZPixfResizeBilinear>();
    auto bicubic = std::make_unique<zpixf::ZPixfResizeBicubic>();
    bicubic->SetMode(method - zbm::ResizeBicubic0);
    return bicubic;
}

}  // namespace

void PagedBitmap::LayOut(const BitmapShape& shape) {
    archivedTiles = {shape.tileWidth, shape.tileHeight};
    const int tileHeight = TileHeightFor(shape.width, shape.format);
    RefuseBeyondMemoryOfARow({shape.width, shape.height, shape.format, kTileWidth, tileHeight}, 0);
    CreateSkeleton(name, shape.height, shape.width, shape.format, tileHeight, kTileWidth);
    currentTempFilename = name.Wide();  // so that nothing is written any more when it is closed
}

void PagedBitmap::Make(const Blank& blank) {
    LayOut(blank.shape);
    if (!blank.colors.empty()) FillColorTable(blank.colors.data(), static_cast<unsigned>(blank.colors.size()));
    ForgetResolution();
    SetXResolution(blank.xPixelsPerMeter);
    SetYResolution(blank.yPixelsPerMeter);
}

void PagedBitmap::MakeResized(zbm::ZBitmap& source, PixelSize size, zbm::ResizeMethod method,
                              shr::IProgress& progress) {
    Make({.shape = {size.width, size.height, source.GetColorFormat(), kTileSide, kTileSide},
          .xPixelsPerMeter = source.GetXResolution(),
          .yPixelsPerMeter = source.GetYResolution(),
          .colors = {}});
    const shr::CScopedIProgressTask task(&progress, L"Resizing picture...");
    const RECT whole{0, 0, source.GetPixelWidth(), source.GetPixelHeight()};
    if (!FilterFrom(source, whole, *MakeResizer(method), &progress)) throw shr::AbortException();
}

/// As for bitmaps in memory, where the choice of an indexed bitmap's new colours is another than in files.
bool PagedBitmap::FilterScanLines(zpixf::ZPixFilterBase& filter, shr::IProgress* progress) {
    return zbm::RunFilters(*this, {&filter}, progress);
}

void PagedBitmap::CommitScanRect(int row, int col) {
    if (reductionsKept) reductionsKept->areCurrent = false;
    ZCachedBitmap::CommitScanRect(row, col);
}

TileSize ArchivedTilesOf(const zbm::ZBitmap& bitmap) {
    const auto* const paged = dynamic_cast<const PagedBitmap*>(&bitmap);
    return paged != nullptr ? paged->ArchivedTiles() : TileSize{bitmap.GetScanRectWidth(), bitmap.GetScanRectHeight()};
}

}  // namespace tool
