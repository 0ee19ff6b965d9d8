#pragma once
// Conversion of pixels in plain words, one pixel and one bit at a time: the judge of the fast code. It shares nothing
// with that but the types and the tables of the support library, and calculates luminance in floating point.
#include <cstddef>
#include <cstdint>
#include <functional>

#include "convert/ZBMColorFormat.h"

namespace zbm::reference {

using shr::Color4b;
using shr::ColorFormat;

inline bool IsGrey(ColorFormat format) { return format >= shr::GRAYSCALE_1 && format <= shr::GRAYSCALE_32; }
inline bool IsIndexed(ColorFormat format) { return format >= shr::INDEXED_1 && format <= shr::INDEXED_8; }
inline int TableSize(ColorFormat format) { return shr::IsColorFormat(format) ? shr::ColorFmtToTblSize[format] : 0; }

/// Whether the pair chooses a palette, which is not done here.
inline bool Quantizes(ColorFormat dst, ColorFormat src) {
    if (!IsIndexed(dst) || !shr::IsColorFormat(src)) return false;
    return src >= shr::BGR_24 || (IsIndexed(src) && src > dst);
}
inline bool IsWritten(ColorFormat dst, ColorFormat src) {
    return shr::IsColorFormat(dst) && shr::IsColorFormat(src) && (src != shr::RGBA_32 || dst != shr::BGRX_32) &&
           !Quantizes(dst, src);
}

/// Pixel `x` of a row as a number: the leftmost pixel of a byte is in its upper bits, of several bytes the first is the
/// low one.
inline std::uint32_t ReadPixel(const std::uint8_t* row, ColorFormat format, std::size_t x) {
    const auto bits = static_cast<unsigned>(shr::ColorFmtToBPP[format]);
    if (bits < 8) {
        const std::size_t perByte = 8 / bits;
        const auto shift = static_cast<unsigned>(8 - bits * (1 + x % perByte));
        return (row[x / perByte] >> shift) & ((1u << bits) - 1);
    }
    std::uint32_t value = 0;
    for (unsigned i = 0; i < bits / 8; ++i) value |= std::uint32_t{row[x * (bits / 8) + i]} << (8 * i);
    return value;
}

inline void WritePixel(std::uint8_t* row, ColorFormat format, std::size_t x, std::uint32_t value) {
    const auto bits = static_cast<unsigned>(shr::ColorFmtToBPP[format]);
    if (bits < 8) {
        const std::size_t perByte = 8 / bits;
        const auto shift = static_cast<unsigned>(8 - bits * (1 + x % perByte));
        const unsigned mask = ((1u << bits) - 1) << shift;
        row[x / perByte] = static_cast<std::uint8_t>((row[x / perByte] & ~mask) | ((value << shift) & mask));
        return;
    }
    for (unsigned i = 0; i < bits / 8; ++i) row[x * (bits / 8) + i] = static_cast<std::uint8_t>(value >> (8 * i));
}

inline std::uint8_t Byte(std::uint32_t value, int index) { return static_cast<std::uint8_t>(value >> (8 * index)); }
inline std::uint32_t Bytes(unsigned b0, unsigned b1, unsigned b2, unsigned b3) {
    return b0 | b1 << 8 | b2 << 16 | b3 << 24;
}

inline std::uint8_t Premultiplied(std::uint8_t c, std::uint8_t a) {
    return static_cast<std::uint8_t>((c * a + 127) / 255);
}
inline std::uint8_t Unpremultiplied(std::uint8_t c, std::uint8_t a) {
    return a == 0 ? c : static_cast<std::uint8_t>(c * 255 / a);
}

/// The colour of a pixel that is `value` in `format`.
inline Color4b ColorOf(std::uint32_t value, ColorFormat format, const Color4b* table) {
    const std::uint8_t b0 = Byte(value, 0), b1 = Byte(value, 1), b2 = Byte(value, 2), b3 = Byte(value, 3);
    switch (format) {
        case shr::GRAYSCALE_1: return shr::GRAYSCALE_1_Color4bTable[value];
        case shr::GRAYSCALE_4: return shr::GRAYSCALE_4_Color4bTable[value];
        case shr::GRAYSCALE_8: return shr::GRAYSCALE_8_Color4bTable[value];
        case shr::GRAYSCALE_16: return Color4b(b1, b1, b1, shr::ALPHA_MAX);
        case shr::GRAYSCALE_32: return Color4b(b3, b3, b3, shr::ALPHA_MAX);
        case shr::INDEXED_1:
        case shr::INDEXED_4:
        case shr::INDEXED_8: return table[value];
        case shr::BGR_24:
        case shr::BGRX_32: return Color4b(b2, b1, b0, shr::ALPHA_MAX);
        case shr::BGRA_32: return Color4b(b2, b1, b0, b3);
        case shr::RGBA_32: return Color4b(b0, b1, b2, b3);
        case shr::PBGRA_32:
            return Color4b(Unpremultiplied(b2, b3), Unpremultiplied(b1, b3), Unpremultiplied(b0, b3), b3);
        default: return Color4b::Black;
    }
}

inline std::uint32_t GreyOfColor(Color4b color, ColorFormat dst) {
    const double i = color.Intensity();
    switch (dst) {
        case shr::GRAYSCALE_1: return i >= 0.5 ? 1 : 0;
        case shr::GRAYSCALE_4: return static_cast<std::uint32_t>(i * 15.0);
        case shr::GRAYSCALE_8: return static_cast<std::uint32_t>(i * 255.0);
        case shr::GRAYSCALE_16: return static_cast<std::uint32_t>(i * 65535.0);
        default: return static_cast<std::uint32_t>(i * 4294967295.0);
    }
}

/// Narrower: the most significant bits. 16 to 32 bits: a shift. Any other widening: full scale becomes full scale.
inline std::uint32_t GreyOfGrey(std::uint32_t value, ColorFormat dst, ColorFormat src) {
    const int to = shr::ColorFmtToBPP[dst], from = shr::ColorFmtToBPP[src];
    if (to <= from) return value >> (from - to);
    switch (src) {
        case shr::GRAYSCALE_1: return value == 0 ? 0 : 0xFFFFFFFFu >> (32 - to);
        case shr::GRAYSCALE_4:
            return dst == shr::GRAYSCALE_8    ? shr::GRAYSCALE_4_To_GRAYSCALE_8_Table[value]
                   : dst == shr::GRAYSCALE_16 ? shr::GRAYSCALE_4_To_GRAYSCALE_16_Table[value]
                                              : shr::GRAYSCALE_4_To_GRAYSCALE_32_Table[value];
        case shr::GRAYSCALE_8:
            return dst == shr::GRAYSCALE_16 ? shr::GRAYSCALE_8_To_GRAYSCALE_16_Table[value]
                                            : shr::GRAYSCALE_8_To_GRAYSCALE_32_Table[value];
        default: return value << 16;
    }
}

/// The index of a grey level in the ramp that the destination gets.
inline std::uint32_t IndexOfGrey(std::uint32_t value, ColorFormat dst, ColorFormat src) {
    const int to = shr::ColorFmtToBPP[dst], from = shr::ColorFmtToBPP[src];
    return to < from ? value >> (from - to) : value;
}

inline std::uint32_t PixelOfColor(Color4b c, ColorFormat dst) {
    switch (dst) {
        case shr::BGR_24: return Bytes(c.blue, c.green, c.red, 0);
        case shr::BGRA_32: return Bytes(c.blue, c.green, c.red, c.alpha);
        case shr::RGBA_32: return Bytes(c.red, c.green, c.blue, c.alpha);
        case shr::BGRX_32: return Bytes(c.blue, c.green, c.red, 0);
        default:
            return Bytes(Premultiplied(c.blue, c.alpha), Premultiplied(c.green, c.alpha), Premultiplied(c.red, c.alpha),
                         c.alpha);
    }
}

/// The destination's number for a source's number, of formats that differ and are written.
inline std::uint32_t ConvertPixel(std::uint32_t value, ColorFormat dst, ColorFormat src, const Color4b* srcTable) {
    if (IsIndexed(dst)) return IsIndexed(src) ? value : IndexOfGrey(value, dst, src);
    if (IsGrey(dst) && IsGrey(src)) return GreyOfGrey(value, dst, src);
    const Color4b color = ColorOf(value, src, srcTable);
    return IsGrey(dst) ? GreyOfColor(color, dst) : PixelOfColor(color, dst);
}

inline std::uint8_t* Row(const PixelRows& rows, std::size_t y) {
    return rows.first + static_cast<std::ptrdiff_t>(y) * rows.stride;
}
inline const std::uint8_t* Row(const ConstPixelRows& rows, std::size_t y) {
    return rows.first + static_cast<std::ptrdiff_t>(y) * rows.stride;
}

/// The table of an indexed destination of another format than the source; black alone where a palette is chosen.
inline void MakeTable(const PixelRows& dst, const ConstPixelRows& src) {
    for (int i = 0; i < TableSize(dst.format); ++i) dst.colorTable[i] = Color4b::Black;
    if (!IsWritten(dst.format, src.format) || !IsIndexed(dst.format)) return;
    if (IsIndexed(src.format)) {
        for (int i = 0; i < TableSize(src.format); ++i) dst.colorTable[i] = src.colorTable[i];
        return;
    }
    const int levels = src.format == shr::GRAYSCALE_1 || dst.format == shr::INDEXED_1   ? 2
                       : src.format == shr::GRAYSCALE_4 || dst.format == shr::INDEXED_4 ? 16
                                                                                        : 256;
    for (int i = 0; i < levels; ++i)
        dst.colorTable[i] = levels == 2    ? shr::GRAYSCALE_1_Color4bTable[i]
                            : levels == 16 ? shr::GRAYSCALE_4_Color4bTable[i]
                                           : shr::GRAYSCALE_8_Color4bTable[i];
}

/// What zbm::ConvertPixels does; where that quantizes, this makes the table black and writes no pixels.
inline void ConvertPixels(const PixelRows& dst, const ConstPixelRows& src, std::uint32_t width, std::uint32_t height) {
    if (dst.format == src.format) {
        if (!shr::IsColorFormat(src.format)) return;
        const std::size_t bytes = shr::PixelBytes(width, src.format);
        for (std::size_t y = 0; y < height; ++y)
            for (std::size_t i = 0; i < bytes; ++i) Row(dst, y)[i] = Row(src, y)[i];
        for (int i = 0; i < TableSize(dst.format); ++i) dst.colorTable[i] = src.colorTable[i];
        return;
    }
    MakeTable(dst, src);
    if (!IsWritten(dst.format, src.format)) return;
    for (std::size_t y = 0; y < height; ++y)
        for (std::size_t x = 0; x < width; ++x) {
            const std::uint32_t value = ReadPixel(Row(src, y), src.format, x);
            WritePixel(Row(dst, y), dst.format, x, ConvertPixel(value, dst.format, src.format, src.colorTable));
        }
}

/// What zbm::ConvertPixelsToColorTable does, `match` giving the index for a colour.
inline void ConvertPixelsToColorTable(const PixelRows& dst, const ConstPixelRows& src, std::uint32_t srcColors,
                                      std::uint32_t width, std::uint32_t height,
                                      const std::function<std::uint8_t(Color4b)>& match) {
    const bool isRead = shr::IsColorFormat(src.format) && src.format != shr::GRAYSCALE_1 &&
                        src.format != shr::GRAYSCALE_4 && src.format != shr::PBGRA_32;
    if (!IsIndexed(dst.format) || !isRead) return;
    for (std::size_t y = 0; y < height; ++y)
        for (std::size_t x = 0; x < width; ++x) {
            const std::uint32_t value = ReadPixel(Row(src, y), src.format, x);
            const bool isBeyond = IsIndexed(src.format) && value >= srcColors;
            Color4b color = isBeyond ? Color4b::Black : ColorOf(value, src.format, src.colorTable);
            if (src.format == shr::BGRA_32) color.alpha = shr::ALPHA_MAX;
            const unsigned index = match(color);
            WritePixel(Row(dst, y), dst.format, x, dst.format == shr::INDEXED_1 ? index != 0 : index);
        }
}

}  // namespace zbm::reference
