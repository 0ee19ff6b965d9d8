#pragma once
// Records and constants of the graphics device interface for systems that have none. Include gdi/gdi.h instead.
//
// Names, sizes, offsets and values are those of Windows, where a LONG has 32 bits on every processor; so the bitmap
// records can be taken from and put into files and messages of that system.
#include <cstdint>

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using BOOL = int;
using UINT = unsigned int;

// Macros as on Windows, since other libraries' headers define them as well.
#if !defined(FALSE)
#define FALSE 0
#endif
#if !defined(TRUE)
#define TRUE 1
#endif

/// Left and top belong to the rectangle, right and bottom do not.
struct RECT {
    LONG left, top, right, bottom;
};

struct POINT {
    LONG x, y;
};

struct SIZE {
    LONG cx, cy;
};

struct RGBTRIPLE {
    BYTE rgbtBlue, rgbtGreen, rgbtRed;
};

struct RGBQUAD {
    BYTE rgbBlue, rgbGreen, rgbRed, rgbReserved;
};

/// biCompression of a BITMAPINFOHEADER.
inline constexpr DWORD BI_RGB = 0, BI_RLE8 = 1, BI_RLE4 = 2, BI_BITFIELDS = 3, BI_JPEG = 4, BI_PNG = 5;

/// The first record of a .bmp file. It alone is packed to 16 bits: 14 bytes.
#pragma pack(push, 2)
struct BITMAPFILEHEADER {
    WORD bfType;
    DWORD bfSize;
    WORD bfReserved1, bfReserved2;
    DWORD bfOffBits;
};
#pragma pack(pop)

struct BITMAPINFOHEADER {
    DWORD biSize;
    LONG biWidth, biHeight;
    WORD biPlanes, biBitCount;
    DWORD biCompression, biSizeImage;
    LONG biXPelsPerMeter, biYPelsPerMeter;
    DWORD biClrUsed, biClrImportant;
};

/// A header and the first entry of the colour table that follows it.
struct BITMAPINFO {
    BITMAPINFOHEADER bmiHeader;
    RGBQUAD bmiColors[1];
};

static_assert(sizeof(RECT) == 16 && sizeof(RGBTRIPLE) == 3 && sizeof(RGBQUAD) == 4);
static_assert(sizeof(BITMAPFILEHEADER) == 14 && sizeof(BITMAPINFOHEADER) == 40 && sizeof(BITMAPINFO) == 44);

// Handles, whose insides are the interface's own business: of device contexts, bitmaps, regions, of anything that can
// be selected, and of system objects.
struct HDC__;
using HDC = HDC__*;
struct HBITMAP__;
using HBITMAP = HBITMAP__*;
struct HRGN__;
using HRGN = HRGN__*;
using HGDIOBJ = void*;
using HANDLE = void*;

/// What a region is. 0 tells of an error.
inline constexpr int ERROR = 0, NULLREGION = 1, SIMPLEREGION = 2, COMPLEXREGION = 3;
/// Mapping modes.
inline constexpr int MM_TEXT = 1, MM_ANISOTROPIC = 8;
/// How pixels are stretched.
inline constexpr int BLACKONWHITE = 1, WHITEONBLACK = 2, COLORONCOLOR = 3, HALFTONE = 4;
/// What the colour table of a DIB holds.
inline constexpr UINT DIB_RGB_COLORS = 0, DIB_PAL_COLORS = 1;
/// Raster operations.
inline constexpr DWORD SRCCOPY = 0x00CC0020;
