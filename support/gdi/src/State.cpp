// What is set in a context: the mapping of logical units, the rectangle that confines drawing, the mode of stretching.
#include <utility>

#include "DeviceContext.h"
#include "gdi/gdi_device.h"

namespace gdi {
namespace {

struct Pair {
    LONG x, y;
};
using AxisField = std::int32_t AxisMapping::*;

Pair Read(const DeviceContext& context, AxisField field) noexcept {
    return {context.now.x.*field, context.now.y.*field};
}

void Give(POINT* point, Pair value) noexcept {
    if (point != nullptr) *point = {value.x, value.y};
}
void Give(SIZE* size, Pair value) noexcept {
    if (size != nullptr) *size = {value.x, value.y};
}

template <class Out>
BOOL GetField(HDC dc, AxisField field, Out* out) noexcept {
    if (out == nullptr) return FALSE;
    return WithContext(dc, FALSE, [&](const DeviceContext& context) {
        Give(out, Read(context, field));
        return TRUE;
    });
}

void Write(DeviceContext& context, AxisField field, Pair value) noexcept {
    context.now.x.*field = value.x;
    context.now.y.*field = value.y;
}

BOOL SetOrigin(HDC dc, AxisField field, Pair origin, POINT* old) noexcept {
    return WithContext(dc, FALSE, [&](DeviceContext& context) {
        Give(old, Read(context, field));
        Write(context, field, origin);
        return TRUE;
    });
}

BOOL SetExtent(HDC dc, AxisField field, Pair extent, SIZE* old) noexcept {
    return WithContext(dc, FALSE, [&](DeviceContext& context) {
        Give(old, Read(context, field));
        if (context.now.mapMode == MM_TEXT) return TRUE;
        if (extent.x == 0 || extent.y == 0) return FALSE;
        Write(context, field, extent);
        return TRUE;
    });
}

template <class MapPoint>
BOOL MapPoints(HDC dc, POINT* points, int count, MapPoint map) noexcept {
    return WithContext(dc, FALSE, [&](const DeviceContext& context) {
        if (points == nullptr && count > 0) return FALSE;
        for (int i = 0; i < count; ++i) points[i] = map(context, points[i]);
        return TRUE;
    });
}

int KindOf(const RECT& rect) noexcept { return IsRectEmpty(&rect) ? NULLREGION : SIMPLEREGION; }

RECT Ordered(POINT a, POINT b) noexcept {
    return {std::min(a.x, b.x), std::min(a.y, b.y), std::max(a.x, b.x), std::max(a.y, b.y)};
}

}  // namespace

int GetClipBox(HDC dc, RECT* box) noexcept {
    if (box == nullptr) return ERROR;
    return WithContext(dc, ERROR, [&](const DeviceContext& context) {
        const RECT visible = context.VisibleRect();
        *box = RECT{};
        if (IsRectEmpty(&visible)) return NULLREGION;
        const POINT first = context.ToLogical({visible.left, visible.top});
        const POINT last = context.ToLogical({visible.right, visible.bottom});
        *box = {first.x, first.y, last.x, last.y};
        return SIMPLEREGION;
    });
}

int IntersectClipRect(HDC dc, int left, int top, int right, int bottom) noexcept {
    return WithContext(dc, ERROR, [&](DeviceContext& context) {
        DeviceContext::State& now = context.now;
        const RECT rect = Ordered(context.ToDevice({left, top}), context.ToDevice({right, bottom}));
        if (now.isClipped)
            IntersectRect(&now.clip, &now.clip, &rect);
        else
            now.clip = rect;
        now.isClipped = true;
        return KindOf(context.VisibleRect());
    });
}

int SelectClipRgn(HDC dc, HRGN region) noexcept {
    if (region != nullptr) return ERROR;
    return WithContext(dc, ERROR, [](DeviceContext& context) {
        context.now.isClipped = false;
        return SIMPLEREGION;
    });
}

int SetMapMode(HDC dc, int mode) noexcept {
    if (mode != MM_TEXT && mode != MM_ANISOTROPIC) return 0;
    return WithContext(dc, 0, [&](DeviceContext& context) {
        if (mode == MM_TEXT) {
            Write(context, &AxisMapping::windowExt, {1, 1});
            Write(context, &AxisMapping::viewportExt, {1, 1});
        }
        return std::exchange(context.now.mapMode, mode);
    });
}

int GetMapMode(HDC dc) noexcept {
    return WithContext(dc, 0, [](const DeviceContext& context) { return context.now.mapMode; });
}

BOOL SetWindowOrgEx(HDC dc, int x, int y, POINT* old) noexcept {
    return SetOrigin(dc, &AxisMapping::windowOrg, {x, y}, old);
}
BOOL SetViewportOrgEx(HDC dc, int x, int y, POINT* old) noexcept {
    return SetOrigin(dc, &AxisMapping::viewportOrg, {x, y}, old);
}
BOOL GetWindowOrgEx(HDC dc, POINT* origin) noexcept { return GetField(dc, &AxisMapping::windowOrg, origin); }
BOOL GetViewportOrgEx(HDC dc, POINT* origin) noexcept { return GetField(dc, &AxisMapping::viewportOrg, origin); }

BOOL SetWindowExtEx(HDC dc, int x, int y, SIZE* old) noexcept {
    return SetExtent(dc, &AxisMapping::windowExt, {x, y}, old);
}
BOOL SetViewportExtEx(HDC dc, int x, int y, SIZE* old) noexcept {
    return SetExtent(dc, &AxisMapping::viewportExt, {x, y}, old);
}
BOOL GetWindowExtEx(HDC dc, SIZE* extent) noexcept { return GetField(dc, &AxisMapping::windowExt, extent); }
BOOL GetViewportExtEx(HDC dc, SIZE* extent) noexcept { return GetField(dc, &AxisMapping::viewportExt, extent); }

BOOL LPtoDP(HDC dc, POINT* points, int count) noexcept {
    return MapPoints(dc, points, count,
                     [](const DeviceContext& context, POINT point) { return context.ToDevice(point); });
}
BOOL DPtoLP(HDC dc, POINT* points, int count) noexcept {
    return MapPoints(dc, points, count,
                     [](const DeviceContext& context, POINT point) { return context.ToLogical(point); });
}

int SetStretchBltMode(HDC dc, int mode) noexcept {
    if (mode < BLACKONWHITE || mode > HALFTONE) return 0;
    return WithContext(dc, 0, [&](DeviceContext& context) { return std::exchange(context.now.stretchMode, mode); });
}

int GetStretchBltMode(HDC dc) noexcept {
    return WithContext(dc, 0, [](const DeviceContext& context) { return context.now.stretchMode; });
}

}  // namespace gdi
