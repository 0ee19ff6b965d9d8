#pragma once
#include <cstddef>
#include <cstdint>

#include "gdi/gdi.h"
#include "shr/Color4b.h"
#include "shr/Export.h"

namespace shr {

/// How the pixels of a row lie in memory. Packed formats have the leftmost pixel in the most significant bits.
enum ColorFormat : std::int32_t {
    FORMAT_NONE = 0,   ///< no format is set
    GRAYSCALE_1 = 1,   ///< 1 bit: 0 black, 1 white
    GRAYSCALE_4 = 2,   ///< 4 bits, grey 0 .. 15
    GRAYSCALE_8 = 3,   ///< 8 bits
    GRAYSCALE_16 = 4,  ///< 16 bits, little-endian
    GRAYSCALE_32 = 5,  ///< 32 bits, little-endian
    INDEXED_1 = 6,     ///< 1-bit index into a colour table
    INDEXED_4 = 7,     ///< 4-bit index
    INDEXED_8 = 8,     ///< 8-bit index
    BGR_24 = 9,        ///< bytes B, G, R
    BGRA_32 = 10,      ///< bytes B, G, R, A; straight alpha
    RGBA_32 = 11,      ///< bytes R, G, B, A; straight alpha
    BGRX_32 = 12,      ///< bytes B, G, R and one that is always written as 0
    PBGRA_32 = 13,     ///< bytes B, G, R, A; premultiplied alpha
};
inline constexpr int kColorFormats = 14;  ///< entries of the tables below, FORMAT_NONE included

constexpr bool IsColorFormat(ColorFormat format) noexcept { return format >= GRAYSCALE_1 && format <= PBGRA_32; }

/// Facts of each format, indexed by its value. All are 0 or false for FORMAT_NONE.
inline constexpr std::int32_t ColorFmtToBPP[kColorFormats] = {0, 1, 4, 8, 16, 32, 1, 4, 8, 24, 32, 32, 32, 32};
inline constexpr std::int32_t ColorFmtToTblSize[kColorFormats] = {0, 0, 0, 0, 0, 0, 2, 16, 256, 0, 0, 0, 0, 0};
inline constexpr bool ColorFmtHasAlphaChannel[kColorFormats] = {false, false, false, false, false, false, false,
                                                                false, false, false, true,  true,  false, true};
/// Bits per pixel of the DIB as which a picture of the format is exported.
inline constexpr std::int32_t ColorFmtToDibBPP[kColorFormats] = {0, 1, 4, 8, 8, 8, 1, 4, 8, 24, 32, 32, 32, 32};

/// Grey ramps: entry i is the grey of level i, the first black and the last white.
SHR_API extern const Color4b GRAYSCALE_1_Color4bTable[2];
SHR_API extern const Color4b GRAYSCALE_4_Color4bTable[16];
SHR_API extern const Color4b GRAYSCALE_8_Color4bTable[256];
SHR_API extern const RGBQUAD GRAYSCALE_1_RGBQUADTable[2];
SHR_API extern const RGBQUAD GRAYSCALE_4_RGBQUADTable[16];
SHR_API extern const RGBQUAD GRAYSCALE_8_RGBQUADTable[256];

/// Widening of grey levels; full scale becomes full scale.
SHR_API extern const std::uint8_t GRAYSCALE_4_To_GRAYSCALE_8_Table[16];
SHR_API extern const std::uint16_t GRAYSCALE_4_To_GRAYSCALE_16_Table[16];
SHR_API extern const std::uint16_t GRAYSCALE_8_To_GRAYSCALE_16_Table[256];
SHR_API extern const std::uint32_t GRAYSCALE_4_To_GRAYSCALE_32_Table[16];
SHR_API extern const std::uint32_t GRAYSCALE_8_To_GRAYSCALE_32_Table[256];

/// Bytes of a row of `width` pixels: a whole number of 32-bit words, as in a DIB. In 64 bits, so it never overflows for
/// any 32-bit width.
constexpr std::uint64_t RowBytes(std::uint64_t width, ColorFormat format) noexcept {
    return ((static_cast<std::uint64_t>(ColorFmtToBPP[format]) * width + 31) >> 3) & ~std::uint64_t{3};
}
/// Bytes that the pixels of a row take without the padding.
constexpr std::uint64_t PixelBytes(std::uint64_t width, ColorFormat format) noexcept {
    return (static_cast<std::uint64_t>(ColorFmtToBPP[format]) * width + 7) >> 3;
}

/// Copies `count` pixels of `format` from pixel `sourceX` of one row to pixel `destinationX` of another.
///
/// Of packed formats only the bits of these pixels change. Reads no byte that holds none of the source's pixels, writes
/// none that holds none of the destination's. The rows must not overlap. A count of 0 or less, a negative position or a
/// value that is no format copies nothing.
SHR_API void CopyPixels(void* destinationRow, int destinationX, const void* sourceRow, int sourceX, int count,
                        ColorFormat format) noexcept;

/// The format in which a DIB of that header is taken in: 6, 7, 8 for 1, 4, 8 bits, 9 for 16 and 24, 10 for 32;
/// FORMAT_NONE for any other depth.
SHR_API ColorFormat ColorFormatClosestToDIB(const BITMAPINFOHEADER& header) noexcept;

}  // namespace shr
