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

enum class FormatKind : std::uint8_t { none, grey, indexed, color };

/// What there is to know of a format but how its bits lie.
struct ColorFormatTraits {
    const char* name;
    FormatKind kind;
    std::int32_t bitsPerPixel;
    bool hasAlphaChannel;          ///< a format without one has a mask of 1 bit a pixel beside its pixels
    std::int32_t dibBitsPerPixel;  ///< of the DIB as which a picture of the format is exported

    constexpr bool IsGrey() const noexcept { return kind == FormatKind::grey; }
    constexpr bool IsIndexed() const noexcept { return kind == FormatKind::indexed; }
    constexpr bool IsColor() const noexcept { return kind == FormatKind::color; }
    constexpr bool HasMask() const noexcept { return !hasAlphaChannel; }
    constexpr std::int32_t TableSize() const noexcept { return IsIndexed() ? 1 << bitsPerPixel : 0; }
};
inline constexpr ColorFormatTraits kColorFormatTraits[kColorFormats] = {
    {"none", FormatKind::none, 0, false, 0},          {"GRAYSCALE_1", FormatKind::grey, 1, false, 1},
    {"GRAYSCALE_4", FormatKind::grey, 4, false, 4},   {"GRAYSCALE_8", FormatKind::grey, 8, false, 8},
    {"GRAYSCALE_16", FormatKind::grey, 16, false, 8}, {"GRAYSCALE_32", FormatKind::grey, 32, false, 8},
    {"INDEXED_1", FormatKind::indexed, 1, false, 1},  {"INDEXED_4", FormatKind::indexed, 4, false, 4},
    {"INDEXED_8", FormatKind::indexed, 8, false, 8},  {"BGR_24", FormatKind::color, 24, false, 24},
    {"BGRA_32", FormatKind::color, 32, true, 32},     {"RGBA_32", FormatKind::color, 32, true, 32},
    {"BGRX_32", FormatKind::color, 32, false, 32},    {"PBGRA_32", FormatKind::color, 32, true, 32},
};

constexpr bool IsColorFormat(ColorFormat format) noexcept { return format > FORMAT_NONE && format < kColorFormats; }

/// Of a format or of FORMAT_NONE.
constexpr const ColorFormatTraits& TraitsOf(ColorFormat format) noexcept { return kColorFormatTraits[format]; }

/// The first format of that kind and depth; FORMAT_NONE if there is none.
constexpr ColorFormat FormatOf(FormatKind kind, std::int32_t bitsPerPixel) noexcept {
    for (int i = 1; i < kColorFormats; ++i)
        if (kColorFormatTraits[i].kind == kind && kColorFormatTraits[i].bitsPerPixel == bitsPerPixel)
            return static_cast<ColorFormat>(i);
    return FORMAT_NONE;
}

/// The traits by columns, made from the rows above.
struct ColorFormatColumns {
    std::int32_t bitsPerPixel[kColorFormats] = {};
    std::int32_t tableSize[kColorFormats] = {};
    bool hasAlphaChannel[kColorFormats] = {};
    std::int32_t dibBitsPerPixel[kColorFormats] = {};

    constexpr ColorFormatColumns() noexcept {
        for (int i = 0; i < kColorFormats; ++i) {
            const ColorFormatTraits& traits = kColorFormatTraits[i];
            bitsPerPixel[i] = traits.bitsPerPixel;
            tableSize[i] = traits.TableSize();
            hasAlphaChannel[i] = traits.hasAlphaChannel;
            dibBitsPerPixel[i] = traits.dibBitsPerPixel;
        }
    }
};
inline constexpr ColorFormatColumns kColorFormatColumns;

/// Facts of each format, indexed by its value. All are 0 or false for FORMAT_NONE.
inline constexpr const std::int32_t (&ColorFmtToBPP)[kColorFormats] = kColorFormatColumns.bitsPerPixel;
inline constexpr const std::int32_t (&ColorFmtToTblSize)[kColorFormats] = kColorFormatColumns.tableSize;
inline constexpr const bool (&ColorFmtHasAlphaChannel)[kColorFormats] = kColorFormatColumns.hasAlphaChannel;
/// Bits per pixel of the DIB as which a picture of the format is exported.
inline constexpr const std::int32_t (&ColorFmtToDibBPP)[kColorFormats] = kColorFormatColumns.dibBitsPerPixel;

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
