// Pixels from one context to another, as they are.
#include <cstring>

#include "DeviceContext.h"
#include "gdi/gdi_device.h"

namespace gdi {
namespace {

bool IsUnscaled(const AxisMapping& axis) noexcept { return axis.windowExt == axis.viewportExt; }
bool IsUnscaled(const DeviceContext& context) noexcept {
    return IsUnscaled(context.now.x) && IsUnscaled(context.now.y);
}

/// A run of one axis: `length` pixels from `from` on go to `to`.
struct Run {
    std::int64_t to, from, length;

    /// Without what lies outside of either.
    Run Within(LONG toBegin, LONG toEnd, LONG fromEnd) const noexcept {
        const std::int64_t cut = std::max({std::int64_t{0}, toBegin - to, -from});
        return {to + cut, from + cut, std::min({length, toEnd - to, fromEnd - from}) - cut};
    }
};

/// Rows that overlap are taken in the order in which none is written before it was read.
void Copy(const Bitmap& to, const Bitmap& from, const Run& across, const Run& down) noexcept {
    const bool isUpwards = down.to <= down.from;
    for (std::int64_t i = 0; i < down.length; ++i) {
        const std::int64_t row = isUpwards ? i : down.length - 1 - i;
        std::memmove(to.PixelAt(static_cast<LONG>(across.to), static_cast<LONG>(down.to + row)),
                     from.PixelAt(static_cast<LONG>(across.from), static_cast<LONG>(down.from + row)),
                     4 * static_cast<std::size_t>(across.length));
    }
}

}  // namespace

BOOL BitBlt(HDC dc, int x, int y, int width, int height, HDC source, int sourceX, int sourceY,
            DWORD operation) noexcept {
    if (operation != SRCCOPY) return FALSE;
    return WithContext(dc, FALSE, [&](const DeviceContext& to) {
        return WithContext(source, FALSE, [&](const DeviceContext& from) {
            if (!IsUnscaled(to) || !IsUnscaled(from)) return FALSE;
            const POINT corner = to.ToDevice({x, y}), sourceCorner = from.ToDevice({sourceX, sourceY});
            const RECT visible = to.VisibleRect();
            const Bitmap& picture = *from.now.selected.bitmap;
            const Run across = Run{corner.x, sourceCorner.x, width}.Within(visible.left, visible.right, picture.width);
            const Run down = Run{corner.y, sourceCorner.y, height}.Within(visible.top, visible.bottom, picture.height);
            if (across.length > 0 && down.length > 0) Copy(*to.now.selected.bitmap, picture, across, down);
            return TRUE;
        });
    });
}

}  // namespace gdi
