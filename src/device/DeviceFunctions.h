#pragma once
#include "gdi/gdi.h"

namespace zbm {

/// All that drawing asks of the system's device contexts. Tests put a table of their own in its place and see the
/// calls.
struct DeviceFunctions {
    int (*getClipBox)(HDC dc, RECT* box);
    BOOL (*intersectRect)(RECT* result, const RECT* a, const RECT* b);
    BOOL (*lpToDp)(HDC dc, POINT* points, int count);
    int (*saveDc)(HDC dc);
    BOOL (*restoreDc)(HDC dc, int saved);
    int (*setMapMode)(HDC dc, int mode);
    BOOL (*setViewportOrgEx)(HDC dc, int x, int y, POINT* old);
    BOOL (*setViewportExtEx)(HDC dc, int width, int height, SIZE* old);
    int (*setStretchBltMode)(HDC dc, int mode);
    int (*stretchDiBits)(HDC dc, int x, int y, int width, int height, int sourceX, int sourceY, int sourceWidth,
                         int sourceHeight, const void* bits, const BITMAPINFO* info, UINT usage, DWORD operation);
    int (*setDiBitsToDevice)(HDC dc, int x, int y, DWORD width, DWORD height, int sourceX, int sourceY, UINT firstLine,
                             UINT lines, const void* bits, const BITMAPINFO* info, UINT usage);
};

const DeviceFunctions& ActiveDevice() noexcept;

/// While it lives, drawing goes to these functions. One at a time; they must live as long.
class ScopedDevice {
public:
    explicit ScopedDevice(const DeviceFunctions& functions) noexcept;
    ~ScopedDevice();
    ScopedDevice(const ScopedDevice&) = delete;
    ScopedDevice& operator=(const ScopedDevice&) = delete;
};

}  // namespace zbm
