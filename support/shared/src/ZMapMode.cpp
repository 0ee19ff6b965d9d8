#include "shr/ZMapMode.h"

namespace shr {

ZMapMode::ZMapMode(HDC dc) noexcept {
    if (dc == nullptr) return;
    POINT windowOrg, viewportOrg;
    SIZE windowExt, viewportExt;
    if (!::GetWindowOrgEx(dc, &windowOrg) || !::GetViewportOrgEx(dc, &viewportOrg) ||
        !::GetWindowExtEx(dc, &windowExt) || !::GetViewportExtEx(dc, &viewportExt))
        return;
    mapMode = ::GetMapMode(dc);
    across = {static_cast<std::int32_t>(windowOrg.x), static_cast<std::int32_t>(windowExt.cx),
              static_cast<std::int32_t>(viewportOrg.x), static_cast<std::int32_t>(viewportExt.cx)};
    down = {static_cast<std::int32_t>(windowOrg.y), static_cast<std::int32_t>(windowExt.cy),
            static_cast<std::int32_t>(viewportOrg.y), static_cast<std::int32_t>(viewportExt.cy)};
}

void ZMapMode::SetMapMode(int mode, int windowWidth, int windowHeight, int viewportWidth, int viewportHeight) noexcept {
    mapMode = mode;
    across = down = {};
    if (mode == MM_TEXT) return;
    SetWindowExtEx(windowWidth, windowHeight);
    SetViewportExtEx(viewportWidth, viewportHeight);
}

void ZMapMode::SetWindowOrgEx(int x, int y) noexcept {
    across.windowOrg = x;
    down.windowOrg = y;
}

void ZMapMode::SetWindowExtEx(int width, int height) noexcept {
    across.windowExt = width;
    down.windowExt = height;
}

void ZMapMode::SetViewportOrgEx(int x, int y) noexcept {
    across.viewportOrg = x;
    down.viewportOrg = y;
}

void ZMapMode::SetViewportExtEx(int width, int height) noexcept {
    across.viewportExt = width;
    down.viewportExt = height;
}

void ZMapMode::LPtoDP(POINT* points, int count) const noexcept {
    for (int i = 0; i < count; ++i)
        points[i] = {across.ToDevice(static_cast<std::int32_t>(points[i].x)),
                     down.ToDevice(static_cast<std::int32_t>(points[i].y))};
}

void ZMapMode::DPtoLP(POINT* points, int count) const noexcept {
    for (int i = 0; i < count; ++i)
        points[i] = {across.ToLogical(static_cast<std::int32_t>(points[i].x)),
                     down.ToLogical(static_cast<std::int32_t>(points[i].y))};
}

}  // namespace shr
