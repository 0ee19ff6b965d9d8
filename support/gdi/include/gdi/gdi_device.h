#pragma once
// Device contexts in software for systems that have none of their own. Include gdi/gdi.h instead.
//
// They draw device-independent bitmaps into 32-bit pixels (bytes blue, green, red and one more) in memory: those of a
// DIB section, or with CreateSurfaceDC those of the caller. Names, values and pixels are those of Windows' functions as
// far as they are described here; the rest of that interface is not here.
//
// A handle that is null, deleted or of another kind is harmless wherever it is given: the function answers as it does
// for an error, which is 0, FALSE or null. So is lack of memory. A context, and a bitmap with the context that it is
// selected into, are used by one thread at a time.
//
// The functions of global names are inline over those of namespace gdi, which the library exports: another library with
// functions of these names does no harm.
#include "gdi/gdi_export.h"
#include "gdi/gdi_types.h"

namespace gdi {

/// A context that draws into the caller's pixels, which must outlive it. `pixels` is the top row's first byte, at any
/// address, and `stride` the bytes from a row to the one below: negative for memory that holds the lowest row first.
/// Null for a size below 1 or a stride whose rows would overlap.
///
///     HDC dc = gdi::CreateSurfaceDC(image.bits(), image.width(), image.height(), image.bytesPerLine());
///     bitmap.SetPixelsOnDevice(dc, 0, 0);
///     DeleteDC(dc);
GDI_API HDC CreateSurfaceDC(void* pixels, int width, int height, int stride) noexcept;

/// A context without a picture: it has one pixel, until a bitmap is selected. `model` is not looked at.
GDI_API HDC CreateCompatibleDC(HDC model) noexcept;
/// Bitmaps that were selected stay.
GDI_API BOOL DeleteDC(HDC dc) noexcept;

/// A bitmap of 32-bit pixels, all bytes 0, which the caller reads and writes at `*bits`: the lowest row first, or the
/// top row for a negative height. Null for any other depth or compression, a width below 1, a height of 0 and more than
/// 2^31 - 1 bytes, and where `usage` or `section` are not 0. `dc` is not looked at.
GDI_API HBITMAP CreateDIBSection(HDC dc, const BITMAPINFO* info, UINT usage, void** bits, HANDLE section,
                                 DWORD offset) noexcept;
/// Selects a bitmap, which the context then draws into, and gives back the one before. Null if another context has it.
GDI_API HGDIOBJ SelectObject(HDC dc, HGDIOBJ object) noexcept;
/// Ends a bitmap's handle. Its pixels stay while a context has it.
GDI_API BOOL DeleteObject(HGDIOBJ object) noexcept;

/// Puts all that is set and selected onto the context's stack, and gives the new height of that.
GDI_API int SaveDC(HDC dc) noexcept;
/// Takes back what was saved: at height `saved`, or counted from the last for a negative one (-1 is the last). What was
/// saved later is dropped.
GDI_API BOOL RestoreDC(HDC dc, int saved) noexcept;

/// The rectangle within which something may show, in logical units. Tells what it is: SIMPLEREGION, or NULLREGION for
/// (0, 0, 0, 0).
GDI_API int GetClipBox(HDC dc, RECT* box) noexcept;
/// Confines drawing to a rectangle in logical units, and to those before. Tells what remains.
GDI_API int IntersectClipRect(HDC dc, int left, int top, int right, int bottom) noexcept;
/// With null, ends all confining; a region is refused (ERROR), since there are none here.
GDI_API int SelectClipRgn(HDC dc, HRGN region) noexcept;

// Logical units are mapped as gdi::AxisMapping says. MM_TEXT has extents of 1 and keeps them; MM_ANISOTROPIC takes any
// but 0. Setters of origins and extents give the old values where `old` is not null.

/// Gives the former mode; 0, with nothing changed, for any other than these two.
GDI_API int SetMapMode(HDC dc, int mode) noexcept;
GDI_API int GetMapMode(HDC dc) noexcept;
GDI_API BOOL SetWindowOrgEx(HDC dc, int x, int y, POINT* old) noexcept;
GDI_API BOOL SetViewportOrgEx(HDC dc, int x, int y, POINT* old) noexcept;
GDI_API BOOL GetWindowOrgEx(HDC dc, POINT* origin) noexcept;
GDI_API BOOL GetViewportOrgEx(HDC dc, POINT* origin) noexcept;
/// FALSE, with nothing changed, for an extent of 0; TRUE, with nothing changed, in MM_TEXT.
GDI_API BOOL SetWindowExtEx(HDC dc, int x, int y, SIZE* old) noexcept;
GDI_API BOOL SetViewportExtEx(HDC dc, int x, int y, SIZE* old) noexcept;
GDI_API BOOL GetWindowExtEx(HDC dc, SIZE* extent) noexcept;
GDI_API BOOL GetViewportExtEx(HDC dc, SIZE* extent) noexcept;
GDI_API BOOL LPtoDP(HDC dc, POINT* points, int count) noexcept;
GDI_API BOOL DPtoLP(HDC dc, POINT* points, int count) noexcept;

/// The mode is kept and given back; whatever it is, StretchDIBits draws as with COLORONCOLOR. Gives the former mode; 0
/// for a value that is none.
GDI_API int SetStretchBltMode(HDC dc, int mode) noexcept;
GDI_API int GetStretchBltMode(HDC dc) noexcept;

// Sources have 1, 4, 8, 24 or 32 bits a pixel, uncompressed, a BITMAPINFOHEADER (or a longer record that begins like
// it) with one plane and a colour table of RGBQUADs. An index past the table is black. Byte 3 of what is drawn is
// copied from 32-bit sources, and 0 from all others. In both functions a source's y counts upwards from its lowest row,
// whichever row lies first in memory; of a source that reaches out of the DIB the part within is drawn.

/// Draws a rectangle of `width` x `height` pixels, whose lowest left one is (sourceX, sourceY) in the DIB, unscaled
/// with its top-left corner at (x, y), a point in logical units. `bits` holds `lines` rows of the DIB, of which the
/// lowest is row `firstLine`. Gives the number of these that could be of use; 0 where none is.
GDI_API int SetDIBitsToDevice(HDC dc, int x, int y, DWORD width, DWORD height, int sourceX, int sourceY, UINT firstLine,
                              UINT lines, const void* bits, const BITMAPINFO* info, UINT usage) noexcept;
/// Stretches one rectangle onto another, which is in logical units; where it is mirrored, -4 pixels from 10 on are 7 to
/// 10. Enlarging N pixels to M, pixel i shows source pixel ceil((2i + 1) N / 2M) - 1. Reducing, source pixel s goes to
/// ceil((2s + 1) M / 2N) - 1, where of columns that meet there the last shows and of rows the upper. Gives the DIB's
/// height; 0 for a rectangle without a pixel of the DIB, a source of negative size and any `operation` but SRCCOPY.
GDI_API int StretchDIBits(HDC dc, int x, int y, int width, int height, int sourceX, int sourceY, int sourceWidth,
                          int sourceHeight, const void* bits, const BITMAPINFO* info, UINT usage,
                          DWORD operation) noexcept;

/// Copies a rectangle from one context to another, or within one, all four bytes of each pixel. What the source does
/// not have stays as it is. FALSE for any `operation` but SRCCOPY, and where a unit of one of the contexts is not a
/// pixel.
GDI_API BOOL BitBlt(HDC dc, int x, int y, int width, int height, HDC source, int sourceX, int sourceY,
                    DWORD operation) noexcept;

/// Everything is drawn when a function returns; so there is nothing to wait for.
GDI_API BOOL GdiFlush() noexcept;

}  // namespace gdi

inline HDC CreateCompatibleDC(HDC model) noexcept { return gdi::CreateCompatibleDC(model); }
inline BOOL DeleteDC(HDC dc) noexcept { return gdi::DeleteDC(dc); }
inline HBITMAP CreateDIBSection(HDC dc, const BITMAPINFO* info, UINT usage, void** bits, HANDLE section,
                                DWORD offset) noexcept {
    return gdi::CreateDIBSection(dc, info, usage, bits, section, offset);
}
inline HGDIOBJ SelectObject(HDC dc, HGDIOBJ object) noexcept { return gdi::SelectObject(dc, object); }
inline BOOL DeleteObject(HGDIOBJ object) noexcept { return gdi::DeleteObject(object); }
inline int SaveDC(HDC dc) noexcept { return gdi::SaveDC(dc); }
inline BOOL RestoreDC(HDC dc, int saved) noexcept { return gdi::RestoreDC(dc, saved); }
inline int GetClipBox(HDC dc, RECT* box) noexcept { return gdi::GetClipBox(dc, box); }
inline int IntersectClipRect(HDC dc, int left, int top, int right, int bottom) noexcept {
    return gdi::IntersectClipRect(dc, left, top, right, bottom);
}
inline int SelectClipRgn(HDC dc, HRGN region) noexcept { return gdi::SelectClipRgn(dc, region); }
inline int SetMapMode(HDC dc, int mode) noexcept { return gdi::SetMapMode(dc, mode); }
inline int GetMapMode(HDC dc) noexcept { return gdi::GetMapMode(dc); }
inline BOOL SetWindowOrgEx(HDC dc, int x, int y, POINT* old) noexcept { return gdi::SetWindowOrgEx(dc, x, y, old); }
inline BOOL SetViewportOrgEx(HDC dc, int x, int y, POINT* old) noexcept { return gdi::SetViewportOrgEx(dc, x, y, old); }
inline BOOL GetWindowOrgEx(HDC dc, POINT* origin) noexcept { return gdi::GetWindowOrgEx(dc, origin); }
inline BOOL GetViewportOrgEx(HDC dc, POINT* origin) noexcept { return gdi::GetViewportOrgEx(dc, origin); }
inline BOOL SetWindowExtEx(HDC dc, int x, int y, SIZE* old) noexcept { return gdi::SetWindowExtEx(dc, x, y, old); }
inline BOOL SetViewportExtEx(HDC dc, int x, int y, SIZE* old) noexcept { return gdi::SetViewportExtEx(dc, x, y, old); }
inline BOOL GetWindowExtEx(HDC dc, SIZE* extent) noexcept { return gdi::GetWindowExtEx(dc, extent); }
inline BOOL GetViewportExtEx(HDC dc, SIZE* extent) noexcept { return gdi::GetViewportExtEx(dc, extent); }
inline BOOL LPtoDP(HDC dc, POINT* points, int count) noexcept { return gdi::LPtoDP(dc, points, count); }
inline BOOL DPtoLP(HDC dc, POINT* points, int count) noexcept { return gdi::DPtoLP(dc, points, count); }
inline int SetStretchBltMode(HDC dc, int mode) noexcept { return gdi::SetStretchBltMode(dc, mode); }
inline int GetStretchBltMode(HDC dc) noexcept { return gdi::GetStretchBltMode(dc); }
inline int SetDIBitsToDevice(HDC dc, int x, int y, DWORD width, DWORD height, int sourceX, int sourceY, UINT firstLine,
                             UINT lines, const void* bits, const BITMAPINFO* info, UINT usage) noexcept {
    return gdi::SetDIBitsToDevice(dc, x, y, width, height, sourceX, sourceY, firstLine, lines, bits, info, usage);
}
inline int StretchDIBits(HDC dc, int x, int y, int width, int height, int sourceX, int sourceY, int sourceWidth,
                         int sourceHeight, const void* bits, const BITMAPINFO* info, UINT usage,
                         DWORD operation) noexcept {
    return gdi::StretchDIBits(dc, x, y, width, height, sourceX, sourceY, sourceWidth, sourceHeight, bits, info, usage,
                              operation);
}
inline BOOL BitBlt(HDC dc, int x, int y, int width, int height, HDC source, int sourceX, int sourceY,
                   DWORD operation) noexcept {
    return gdi::BitBlt(dc, x, y, width, height, source, sourceX, sourceY, operation);
}
inline BOOL GdiFlush() noexcept { return gdi::GdiFlush(); }
