// Rectangles of pixels and masks in and out, tile by tile through the lock interface.
#include "core/MaskRows.h"
#include "core/RectAt.h"
#include "core/TileParts.h"
#include "core/TileReading.h"
#include "core/WritesFor.h"
#include "core/checks/BitmapChecks.h"
#include "shr/CopyPixelRows.h"
#include "shr/Fetch.h"
#include "zbm/ZBitmap.h"

namespace zbm {

namespace {

bool IsWholeTile(const TilePart& part, const RECT& box) {
    return part.width == box.right - box.left && part.height == box.bottom - box.top;
}

/// The caller's rows from pixel (x, y) of the rectangle on. A run starts at the byte at which a group of eight pixels
/// starts: eight pixels take as many bytes as one takes bits, whatever the format.
template <class Byte>
shr::PixelRuns<Byte> RunsAt(Byte* first, int stride, std::int64_t x, std::int64_t y, shr::ColorFormat format) {
    Byte* row = first + static_cast<std::ptrdiff_t>(stride) * static_cast<std::ptrdiff_t>(y);
    return {row + static_cast<std::ptrdiff_t>((x >> 3) * shr::ColorFmtToBPP[format]), stride, static_cast<int>(x & 7)};
}

shr::CopyWrites WritesForRect(const RECT& rect, shr::ColorFormat format) {
    const double width = static_cast<double>(rect.right) - rect.left;
    const double height = static_cast<double>(rect.bottom) - rect.top;
    return WritesFor(width, height, format);
}

template <class Byte>
Byte* RowOf(Byte* first, int stride, std::int64_t row) {
    return first + static_cast<std::ptrdiff_t>(stride) * static_cast<std::ptrdiff_t>(row);
}

}  // namespace

void ZBitmap::FetchRegion(unsigned char* dst, int dstStride, const RECT& rect) const {
    require(rect.left >= 0 && rect.top >= 0 && rect.right >= 0 && rect.bottom >= 0, BitmapCheck::fetchedCorners);
    require(rect.right - rect.left >= 1, BitmapCheck::fetchedWidth);
    require(rect.bottom - rect.top >= 1, BitmapCheck::fetchedHeight);
    const shr::CopyWrites writes = WritesForRect(rect, colorFormat);
    ForEachPart(scanRectRows, rect, BitmapCheck::fetchedPart, [&](const TilePart& part) {
        const ZScanRect& tile = LockScanRect(part.row, part.col);
        shr::CopyPixelRows(RunsAt(dst, dstStride, part.rectX, part.rectY, colorFormat),
                           {tile.GetRowPtr(part.tileY), tile.GetStride(), part.tileX}, part.width, part.height,
                           colorFormat, writes);
        UnlockScanRect(part.row, part.col);
    });
}

void ZBitmap::FetchRegion(unsigned char* dst, int dstStride, int x, int y, int w, int h) const {
    FetchRegion(dst, dstStride, RectAt(x, y, w, h));
}

void ZBitmap::StoreRegion(const unsigned char* src, int srcStride, const RECT& rect) {
    const TileReading* const reading = FindTileReading(*this);
    const auto lockUnread =
        reading == nullptr || !shr::ColorFmtHasAlphaChannel[colorFormat] ? nullptr : reading->lockUnread;
    // A tile that is not in memory to stay goes on from the caches.
    const bool passesOn = reading != nullptr && reading->load != nullptr;
    const shr::CopyWrites writes = passesOn ? shr::CopyWrites::cached : WritesForRect(rect, colorFormat);
    ForEachPart(scanRectRows, rect, BitmapCheck::storedPart, [&](const TilePart& part) {
        const bool isUnread = lockUnread != nullptr && IsWholeTile(part, GetScanRectBBox(part.row, part.col));
        ZScanRect& tile = isUnread ? lockUnread(*this, part.row, part.col) : LockScanRect(part.row, part.col);
        shr::CopyPixelRows({tile.GetRowPtr(part.tileY), tile.GetStride(), part.tileX},
                           RunsAt(src, srcStride, part.rectX, part.rectY, colorFormat), part.width, part.height,
                           colorFormat, writes);
        CommitScanRect(part.row, part.col);
        UnlockScanRect(part.row, part.col);
    });
}

void ZBitmap::StoreRegion(const unsigned char* src, int srcStride, int x, int y, int w, int h) {
    StoreRegion(src, srcStride, RectAt(x, y, w, h));
}

void ZBitmap::GetAlphaFromMask(unsigned char* dst, int dstStride, const RECT& rect, unsigned pixelStep) const {
    require(!shr::ColorFmtHasAlphaChannel[colorFormat], BitmapCheck::alphaFetchedFormat);
    require(pixelStep >= 1, BitmapCheck::alphaFetchedStep);
    ForEachPart(scanRectRows, rect, BitmapCheck::alphaFetchedPart, [&](const TilePart& part) {
        const ZScanRect& tile = LockScanRect(part.row, part.col);
        for (int k = 0; k < part.height; ++k) {
            unsigned char* first = RowOf(dst, dstStride, part.rectY + k) + part.rectX * pixelStep + (pixelStep - 1);
            if (k + 1 < part.height)
                shr::FetchForWriting(first + dstStride, static_cast<std::size_t>(part.width) * pixelStep);
            ExpandMaskRow(first, pixelStep, tile.GetAlphaRowPtr(part.tileY + k), static_cast<std::size_t>(part.tileX),
                          static_cast<std::size_t>(part.width));
        }
        UnlockScanRect(part.row, part.col);
    });
}

void ZBitmap::SetMaskFromAlpha(unsigned char* src, int srcStride, const RECT& rect) {
    require(!shr::ColorFmtHasAlphaChannel[colorFormat], BitmapCheck::alphaStoredFormat);
    ForEachPart(scanRectRows, rect, BitmapCheck::alphaStoredPart, [&](const TilePart& part) {
        ZScanRect& tile = LockScanRect(part.row, part.col);
        for (int k = 0; k < part.height; ++k) {
            const unsigned char* pixels = RowOf(src, srcStride, part.rectY + k) + 4 * part.rectX;
            if (k + 1 < part.height)
                shr::FetchForReading(pixels + srcStride, std::size_t{4} * static_cast<unsigned>(part.width));
            PackMaskRow(tile.GetAlphaRowPtr(part.tileY + k), static_cast<std::size_t>(part.tileX), pixels,
                        static_cast<std::size_t>(part.width));
        }
        CommitScanRect(part.row, part.col);
        UnlockScanRect(part.row, part.col);
    });
}

}  // namespace zbm
