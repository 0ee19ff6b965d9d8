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

/// A device context: a handle whose inside is the interface's own business.
struct HDC__;
using HDC = HDC__*;
