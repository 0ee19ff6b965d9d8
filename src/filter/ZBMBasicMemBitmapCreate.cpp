// Bitmaps in memory made from bitmaps of any class.
#include "core/LockedTile.h"
#include "core/checks/BasicMemBitmapChecks.h"
#include "filter/MakeResizeFilter.h"
#include "shr/ScopeExit.h"
#include "zbm/CPixFilterPipeline.h"
#include "zbm/ZBasicMemBitmap.h"
#include "zpixf/ZPixfNull.h"

namespace zbm {

namespace {

constexpr int kTileSide = 512;
constexpr const wchar_t* kTaskText = L"Creating image...";

zpixf::ZPixFormat TrueColor(int width, int height) {
    return zpixf::ZPixFormat(static_cast<unsigned>(width), static_cast<unsigned>(height), 4, 8, 0);
}

}  // namespace

bool ZBasicMemBitmap::Create(ZBitmap& source, shr::IProgress* progress) {
    if (&source == this) return true;
    shr::ScopeExit leaveEmpty([this] { CreateCleanup(); });
    Renew(source.GetPixelWidth(), source.GetPixelHeight(), source.GetColorFormat(), source.GetScanRectWidth(),
          source.GetScanRectHeight(), ZScanRect::Content::overwritten);
    const shr::CScopedIProgressTask task(progress, kTaskText);
    if (!CopyTiles(source, progress)) return false;
    CopyColorTable(source);
    SetXResolution(source.GetXResolution());
    SetYResolution(source.GetYResolution());
    leaveEmpty.Release();
    return true;
}

bool ZBasicMemBitmap::CopyTiles(ZBitmap& source, shr::IProgress* progress) {
    for (int row = 0; row < GetNumScanRectRows(); ++row)
        for (int col = 0; col < GetNumScanRects(row); ++col) {
            {
                const LockedTile from(source, row, col);
                const LockedTile to(*this, row, col);
                *to = *from;
                CommitScanRect(row, col);
            }
            if (!SRProgress(progress, row, col, GetNumScanRectRows(), GetNumScanRects(row))) return false;
        }
    return true;
}

bool ZBasicMemBitmap::Create(shr::ColorFormat format, ZBitmap& source, shr::IProgress* progress) {
    require(&source != this, BasicMemBitmapCheck::convertedSelf);
    require(shr::IsColorFormat(format), BasicMemBitmapCheck::convertedFormat);
    if (format == source.GetColorFormat()) return ZBasicMemBitmap::Create(source, progress);

    const int width = source.GetPixelWidth(), height = source.GetPixelHeight();
    shr::ScopeExit leaveEmpty([this] { CreateCleanup(); });
    Renew(width, height, format, kTileSide, kTileSide, ZScanRect::Content::overwritten);
    const shr::CScopedIProgressTask task(progress, kTaskText);
    zpixf::ZPixfNull handThrough;
    if (!FilterFrom(source, {0, 0, width, height}, handThrough, progress)) return false;
    leaveEmpty.Release();
    return true;
}

bool ZBasicMemBitmap::Create(int width, int height, ZBitmap& source, RECT rect, ResizeMethod method,
                             shr::IProgress* progress) {
    require(&source != this, BasicMemBitmapCheck::resizedSelf);
    require(rect.left >= 0 && rect.left <= source.GetPixelWidth(), BasicMemBitmapCheck::resizedLeft);
    require(rect.right >= 0 && rect.right <= source.GetPixelWidth(), BasicMemBitmapCheck::resizedRight);
    require(rect.top >= 0 && rect.top <= source.GetPixelHeight(), BasicMemBitmapCheck::resizedTop);
    require(rect.bottom >= 0 && rect.bottom <= source.GetPixelHeight(), BasicMemBitmapCheck::resizedBottom);
    require(rect.right > rect.left, BasicMemBitmapCheck::resizedWidth);
    require(rect.bottom > rect.top, BasicMemBitmapCheck::resizedHeight);

    shr::ScopeExit leaveEmpty([this] { CreateCleanup(); });
    Renew(width, height, source.GetColorFormat(), kTileSide, kTileSide, ZScanRect::Content::overwritten);
    const shr::CScopedIProgressTask task(progress, kTaskText);
    const std::unique_ptr<zpixf::ZPixFilterBase> filter = MakeResizeFilter(method);
    require(filter != nullptr, BasicMemBitmapCheck::resizeMethod);
    if (!FilterFrom(source, rect, *filter, progress)) return false;
    leaveEmpty.Release();
    return true;
}

bool ZBasicMemBitmap::FilterFrom(ZBitmap& source, const RECT& rect, zpixf::ZPixFilterBase& filter,
                                 shr::IProgress* progress) {
    inputRect = rect;
    filter.SetInputFormat(
        TrueColor(static_cast<int>(rect.right - rect.left), static_cast<int>(rect.bottom - rect.top)));
    filter.SetOutputFormat(TrueColor(pixelWidth, pixelHeight));
    const CPixFilterContext stage(&filter, &ZBasicMemBitmap::ReadScanLine, this);
    if (!FilterScanLines(&stage, &source, progress)) return false;
    SetXResolution(source.GetXResolution());
    SetYResolution(source.GetYResolution());
    return true;
}

}  // namespace zbm
