// A rectangle of a bitmap as a DIB.
//
// Formats that a DIB has come by FetchRegion into its rows. For all others a class of ours, whose FetchRegion is known,
// converts them from tile to DIB in one go; of a host's class they are fetched first and converted where they are.
#include <cstring>
#include <limits>
#include <new>

#include "core/LockedTile.h"
#include "core/RectAt.h"
#include "core/TileParts.h"
#include "core/TileReading.h"
#include "core/WritesFor.h"
#include "core/checks/BitmapChecks.h"
#include "device/DibExport.h"
#include "shr/ByteBuffer.h"
#include "shr/Dib.h"
#include "shr/ScopeExit.h"
#include "zbm/ZBitmap.h"

namespace zbm {
namespace {

/// A DIB's rows from the top one on.
PixelRows RowsOf(shr::CDib& dib, shr::ColorFormat format) {
    return {dib.GetWritableBits() + dib.GetPixelOffset(0, dib.GetHeight() - 1), format, -dib.GetStride()};
}

std::uint8_t* RowOf(const PixelRows& rows, std::int64_t y) {
    return rows.first + static_cast<std::ptrdiff_t>(rows.stride) * static_cast<std::ptrdiff_t>(y);
}

/// The last word of each row, which holds more than pixels where these do not end with it.
void ClearPadding(shr::CDib& dib) {
    if (static_cast<std::int64_t>(dib.GetWidth()) * dib.GetBitCount() % 32 == 0) return;
    for (int row = 1; row <= dib.GetHeight(); ++row)
        std::memset(dib.GetWritableBits() + dib.GetPixelOffset(0, row) - 4, 0, 4);
}

/// Fetches pixels of 32 bits into the DIB's rows, and converts them there.
void FetchInPlace(const ZBitmap& bitmap, const PixelRows& rows, const RECT& rect, int width, int height) {
    bitmap.FetchRegion(rows.first, rows.stride, rect);
    const auto rowBytes = static_cast<std::size_t>(shr::RowBytes(static_cast<unsigned>(width), shr::BGRA_32));
    shr::ByteBuffer fetched = shr::ByteBuffer::Uninitialized(rowBytes);
    for (int y = 0; y < height; ++y) {
        std::memcpy(fetched.Data(), RowOf(rows, y), rowBytes);
        ExportPixels({RowOf(rows, y), rows.format, 0}, {fetched.Data(), bitmap.GetColorFormat(), 0}, width, 1,
                     shr::CopyWrites::cached);
    }
}

/// Fetches wider pixels than the DIB's into rows of their own.
void FetchAside(const ZBitmap& bitmap, const PixelRows& rows, const RECT& rect, int width, int height) {
    const std::uint64_t stride = shr::RowBytes(static_cast<unsigned>(width), bitmap.GetColorFormat());
    if (stride > std::numeric_limits<std::int32_t>::max()) throw std::bad_alloc();
    shr::ByteBuffer fetched = shr::ByteBuffer::Zeroed(stride * static_cast<unsigned>(height));
    bitmap.FetchRegion(fetched.Data(), static_cast<int>(stride), rect);
    ExportPixels(rows, {fetched.Data(), bitmap.GetColorFormat(), static_cast<std::int32_t>(stride)}, width, height,
                 shr::CopyWrites::cached);
}

}  // namespace

void ZBitmap::FetchDib(shr::CDib& dib, const RECT& rect) const {
    require(rect.left >= 0 && rect.top >= 0 && rect.right >= 0 && rect.bottom >= 0, BitmapCheck::dibCorners);
    require(rect.right - rect.left >= 1, BitmapCheck::dibWidth);
    require(rect.bottom - rect.top >= 1, BitmapCheck::dibHeight);
    require(shr::IsColorFormat(colorFormat), BitmapCheck::dibFormat);
    const int width = static_cast<int>(rect.right - rect.left), height = static_cast<int>(rect.bottom - rect.top);
    const BITMAPINFOHEADER header = DibHeader(colorFormat, width, height, xResolution, yResolution, numColorTableItems);
    const DibTable table(colorFormat, colorTable, numColorTableItems);
    const bool isOurs = FindTileReading(*this) != nullptr;
    if (isOurs && rect.right <= pixelWidth && rect.bottom <= pixelHeight) {
        dib.CreateForOverwrite(header, table.Entries());
        ClearPadding(dib);
    } else {
        dib.Create(header, table.Entries(), nullptr);
    }

    shr::ScopeExit emptyTheDib([&] { dib.Destroy(); });
    const PixelRows rows = RowsOf(dib, DibRowFormat(colorFormat));
    if (rows.format == colorFormat) {
        FetchRegion(rows.first, rows.stride, rect);
    } else if (isOurs) {
        const shr::CopyWrites writes = WritesFor(width, height, rows.format);
        const std::ptrdiff_t pixelBytes = shr::ColorFmtToBPP[rows.format] / 8;
        ForEachPart(scanRectRows, rect, BitmapCheck::fetchedPart, [&](const TilePart& part) {
            const LockedTile tile(*this, part.row, part.col);
            const std::ptrdiff_t offset = std::ptrdiff_t{part.tileX} * shr::ColorFmtToBPP[colorFormat] / 8;
            ExportPixels({RowOf(rows, part.rectY) + pixelBytes * part.rectX, rows.format, rows.stride},
                         {tile->GetRowPtr(part.tileY) + offset, colorFormat, tile->GetStride()}, part.width,
                         part.height, writes);
        });
        shr::FinishCopyWrites();
    } else if (shr::ColorFmtToBPP[colorFormat] == shr::ColorFmtToBPP[rows.format]) {
        FetchInPlace(*this, rows, rect, width, height);
    } else {
        FetchAside(*this, rows, rect, width, height);
    }
    emptyTheDib.Release();
}

void ZBitmap::FetchDib(shr::CDib& dib, int x, int y, int w, int h) const { FetchDib(dib, RectAt(x, y, w, h)); }

}  // namespace zbm
