// A bitmap is drawn onto a device context, tile by tile: each is made a DIB under its lock and drawn without it.
#include <algorithm>
#include <cstdint>
#include <limits>

#include "core/LockedTile.h"
#include "device/DeviceFunctions.h"
#include "shr/Dib.h"
#include "shr/ZMapMode.h"
#include "zbm/ZBitmap.h"

namespace zbm {
namespace {

constexpr std::int64_t kLast = std::numeric_limits<std::int32_t>::max();

/// A number that ends where a LONG does.
LONG Limited(std::int64_t value) { return static_cast<LONG>(std::clamp(value, -kLast - 1, kLast)); }

LONG Width(const RECT& rect) { return Limited(std::int64_t{rect.right} - rect.left); }
LONG Height(const RECT& rect) { return Limited(std::int64_t{rect.bottom} - rect.top); }

shr::CDib ContentsOf(const ZBitmap& bitmap, int row, int col) {
    const LockedTile tile(bitmap, row, col);
    shr::CDib dib;
    tile->GetContents(dib, bitmap.GetXResolution(), bitmap.GetYResolution(), bitmap.GetConstColorTablePtr(),
                      bitmap.GetNumColorTableItems());
    return dib;
}

/// Calls use(box, row, col) for each tile, row by row from the top.
template <class Use>
void ForEachTile(const ZBitmap& bitmap, Use use) {
    for (int row = 0; row < bitmap.GetNumScanRectRows(); ++row)
        for (int col = 0; col < bitmap.GetNumScanRects(row); ++col) use(bitmap.GetScanRectBBox(row, col), row, col);
}

/// The rectangle through a mapping of points: map(points, count).
template <class Map>
RECT Mapped(const RECT& rect, Map map) {
    POINT corners[] = {{rect.left, rect.top}, {rect.right, rect.bottom}};
    map(corners, 2);
    return {corners[0].x, corners[0].y, corners[1].x, corners[1].y};
}

/// Keeps a context's state, and gives it back in the end.
class SavedContext {
public:
    SavedContext(const DeviceFunctions& functions, HDC context)
        : device(functions), dc(context), isSaved(functions.saveDc(context) != 0) {}
    ~SavedContext() {
        if (isSaved) device.restoreDc(dc, -1);
    }
    SavedContext(const SavedContext&) = delete;
    SavedContext& operator=(const SavedContext&) = delete;

    explicit operator bool() const { return isSaved; }

private:
    const DeviceFunctions& device;
    const HDC dc;
    const bool isSaved;
};

/// From pixels of the bitmap to those of the device.
shr::ZMapMode MapOnto(const RECT& destination, const ZBitmap& bitmap) {
    shr::ZMapMode mapping(nullptr);
    mapping.SetMapMode(MM_ANISOTROPIC, 254, 254, 10000, 10000);
    mapping.SetWindowOrgEx(0, 0);
    mapping.SetWindowExtEx(bitmap.GetPixelWidth(), bitmap.GetPixelHeight());
    mapping.SetViewportOrgEx(static_cast<int>(destination.left), static_cast<int>(destination.top));
    mapping.SetViewportExtEx(static_cast<int>(Width(destination)), static_cast<int>(Height(destination)));
    return mapping;
}

}  // namespace

void ZBitmap::SetPixelsOnDevice(HDC dc, int x, int y) {
    const DeviceFunctions& device = ActiveDevice();
    RECT clip;
    if (device.getClipBox(dc, &clip) == 0) return;
    ForEachTile(*this, [&](const RECT& box, int row, int col) {
        const std::int64_t left = std::int64_t{box.left} + x, top = std::int64_t{box.top} + y;
        if (left > kLast || top > kLast) return;
        const RECT place{Limited(left), Limited(top), Limited(std::int64_t{box.right} + x),
                         Limited(std::int64_t{box.bottom} + y)};
        RECT shown;
        if (!device.intersectRect(&shown, &place, &clip)) return;
        const shr::CDib dib = ContentsOf(*this, row, col);
        const auto height = static_cast<DWORD>(dib.GetHeight());
        device.setDiBitsToDevice(dc, static_cast<int>(place.left), static_cast<int>(place.top),
                                 static_cast<DWORD>(dib.GetWidth()), height, 0, 0, 0, height, dib.GetBits(),
                                 dib.GetDib(), DIB_RGB_COLORS);
    });
}

void ZBitmap::StretchToLogRect(HDC dc, RECT& logicalRect) {
    const DeviceFunctions& device = ActiveDevice();
    RECT clip;
    if (device.getClipBox(dc, &clip) == 0) return;
    const auto toDevice = [&](POINT* points, int count) { device.lpToDp(dc, points, count); };
    clip = Mapped(clip, toDevice);
    const RECT destination = Mapped(logicalRect, toDevice);
    const shr::ZMapMode mapping = MapOnto(destination, *this);

    const SavedContext saved(device, dc);
    if (!saved) return;
    device.setMapMode(dc, MM_TEXT);
    device.setViewportOrgEx(dc, 0, 0, nullptr);
    device.setViewportExtEx(dc, 1, 1, nullptr);
    ForEachTile(*this, [&](const RECT& box, int row, int col) {
        const RECT place = Mapped(box, [&](POINT* points, int count) { mapping.LPtoDP(points, count); });
        RECT shown;
        if (!device.intersectRect(&shown, &destination, &clip)) return;
        const shr::CDib dib = ContentsOf(*this, row, col);
        device.setStretchBltMode(dc, COLORONCOLOR);
        device.stretchDiBits(dc, static_cast<int>(place.left), static_cast<int>(place.top),
                             static_cast<int>(Width(place)), static_cast<int>(Height(place)), 0, 0, dib.GetWidth(),
                             dib.GetHeight(), dib.GetBits(), dib.GetDib(), DIB_RGB_COLORS, SRCCOPY);
    });
}

}  // namespace zbm
