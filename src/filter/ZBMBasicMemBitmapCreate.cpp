// Bitmaps in memory made from bitmaps of any class.
#include "core/LockedTile.h"
#include "core/checks/BasicMemBitmapChecks.h"
#include "filter/Creation.h"
#include "filter/FilterRun.h"
#include "filter/MakeResizeFilter.h"
#include "zbm/ZBasicMemBitmap.h"
#include "zpixf/ZPixfNull.h"

namespace zbm {

namespace {

constexpr ResizeChecks kResizeChecks{
    .self = BasicMemBitmapCheck::resizedSelf,
    .left = BasicMemBitmapCheck::resizedLeft,
    .right = BasicMemBitmapCheck::resizedRight,
    .top = BasicMemBitmapCheck::resizedTop,
    .bottom = BasicMemBitmapCheck::resizedBottom,
    .width = BasicMemBitmapCheck::resizedWidth,
    .height = BasicMemBitmapCheck::resizedHeight,
};
constexpr int kTileSide = 512;

}  // namespace

template <class Steps>
bool ZBasicMemBitmap::CreateBy(const Steps& steps) {
    return CreateOrCleanUp(steps, [this] { CreateCleanup(); });
}

bool ZBasicMemBitmap::Create(ZBitmap& source, shr::IProgress* progress) {
    if (&source == this) return true;
    return CreateBy([&] {
        Renew(source.GetPixelWidth(), source.GetPixelHeight(), source.GetColorFormat(), source.GetScanRectWidth(),
              source.GetScanRectHeight(), ZScanRect::Content::overwritten);
        const shr::CScopedIProgressTask task(progress, kCreatingImage);
        if (!CopyTiles(source, progress)) return false;
        TakeDetails(source);
        return true;
    });
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
    return CreateBy([&] {
        Renew(width, height, format, kTileSide, kTileSide, ZScanRect::Content::overwritten);
        const shr::CScopedIProgressTask task(progress, kCreatingImage);
        zpixf::ZPixfNull handThrough;
        return FilterFrom(source, {0, 0, width, height}, handThrough, progress);
    });
}

bool ZBasicMemBitmap::Create(int width, int height, ZBitmap& source, RECT rect, ResizeMethod method,
                             shr::IProgress* progress) {
    CheckResize(kResizeChecks, *this, source, rect);
    return CreateBy([&] {
        Renew(width, height, source.GetColorFormat(), kTileSide, kTileSide, ZScanRect::Content::overwritten);
        const shr::CScopedIProgressTask task(progress, kCreatingImage);
        const std::unique_ptr<zpixf::ZPixFilterBase> filter = MakeResizeFilter(method);
        require(filter != nullptr, BasicMemBitmapCheck::resizeMethod);
        return FilterFrom(source, rect, *filter, progress);
    });
}

bool ZBasicMemBitmap::FilterFrom(ZBitmap& source, const RECT& rect, zpixf::ZPixFilterBase& filter,
                                 shr::IProgress* progress) {
    filterState.inputRect = rect;
    SetTrueColors(filter, {rect.right - rect.left, rect.bottom - rect.top}, {pixelWidth, pixelHeight});
    const CPixFilterContext stage(&filter, &ZBasicMemBitmap::ReadScanLine, this);
    if (!FilterScanLines(&stage, &source, progress)) return false;
    TakeResolution(source);
    return true;
}

}  // namespace zbm
