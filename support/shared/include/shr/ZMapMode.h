#pragma once
#include "gdi/gdi.h"
#include "gdi/gdi_mapping.h"
#include "shr/Export.h"

namespace shr {

/// A mapping of logical units onto those of a device, like a device context's and without one: it is computed in 64
/// bits, on every system alike. Extents are kept as they are; one of 0 maps everything to the other side's origin.
///
///     ZMapMode pixelsToDevice(nullptr);
///     pixelsToDevice.SetMapMode(MM_ANISOTROPIC, width, height, rect.right - rect.left, rect.bottom - rect.top);
///     pixelsToDevice.LPtoDP(corners, 2);
class SHR_API ZMapMode {
public:
    /// The mapping that a context has now; that of MM_TEXT, where both units are the same, for null and for what is no
    /// context.
    explicit ZMapMode(HDC dc) noexcept;

    /// Origins become 0. In MM_TEXT all extents become 1, whatever is given.
    void SetMapMode(int mode, int windowWidth, int windowHeight, int viewportWidth, int viewportHeight) noexcept;
    void SetWindowOrgEx(int x, int y) noexcept;
    void SetWindowExtEx(int width, int height) noexcept;
    void SetViewportOrgEx(int x, int y) noexcept;
    void SetViewportExtEx(int width, int height) noexcept;
    int GetMapMode() const noexcept { return mapMode; }

    /// Rounded to the nearest, halves up (towards larger numbers); what no LONG holds becomes the nearest that one
    /// does.
    void LPtoDP(POINT* points, int count) const noexcept;
    void DPtoLP(POINT* points, int count) const noexcept;

private:
    int mapMode = MM_TEXT;
    gdi::AxisMapping across, down;
};

}  // namespace shr
