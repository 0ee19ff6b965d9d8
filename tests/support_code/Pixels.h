#pragma once
// Pixels one by one, in the plainest words: the judge of everything that moves many of them at once.
#include <cstdint>
#include <string>

#include "shr/ColorFormat.h"
#include "zbm/ZBitmap.h"
#include "zbm/ZScanRect.h"

namespace testkit {

using shr::ColorFormat;

inline constexpr ColorFormat kFormats[] = {shr::GRAYSCALE_1,  shr::GRAYSCALE_4, shr::GRAYSCALE_8, shr::GRAYSCALE_16,
                                           shr::GRAYSCALE_32, shr::INDEXED_1,   shr::INDEXED_4,   shr::INDEXED_8,
                                           shr::BGR_24,       shr::BGRA_32,     shr::RGBA_32,     shr::BGRX_32,
                                           shr::PBGRA_32};

inline std::string FormatName(ColorFormat format) {
    constexpr const char* kNames[] = {"NONE",         "GRAYSCALE_1", "GRAYSCALE_4", "GRAYSCALE_8", "GRAYSCALE_16",
                                      "GRAYSCALE_32", "INDEXED_1",   "INDEXED_4",   "INDEXED_8",   "BGR_24",
                                      "BGRA_32",      "RGBA_32",     "BGRX_32",     "PBGRA_32"};
    return kNames[format];
}

constexpr bool HasMask(ColorFormat format) {
    return format != shr::BGRA_32 && format != shr::RGBA_32 && format != shr::PBGRA_32;
}

constexpr int BitsPerPixel(ColorFormat format) {
    constexpr int kBits[] = {0, 1, 4, 8, 16, 32, 1, 4, 8, 24, 32, 32, 32, 32};
    return kBits[format];
}

constexpr int TableSize(ColorFormat format) {
    return format == shr::INDEXED_1 ? 2 : format == shr::INDEXED_4 ? 16 : format == shr::INDEXED_8 ? 256 : 0;
}

/// Bytes of a row, padded to 32 bits.
constexpr int PaddedRowBytes(int width, int bitsPerPixel) { return (bitsPerPixel * width + 31) / 32 * 4; }

/// The pixel as a number: the bits of a packed one, or its bytes read little-endian.
inline std::uint32_t PixelAt(const std::uint8_t* row, int x, ColorFormat format) {
    const int bits = BitsPerPixel(format);
    if (bits == 1) return (row[x / 8] >> (7 - x % 8)) & 1u;
    if (bits == 4) return (row[x / 2] >> (x % 2 == 0 ? 4 : 0)) & 15u;
    std::uint32_t value = 0;
    for (int k = bits / 8; k-- > 0;) value = value << 8 | row[x * (bits / 8) + k];
    return value;
}

inline void SetPixelAt(std::uint8_t* row, int x, ColorFormat format, std::uint32_t value) {
    const int bits = BitsPerPixel(format);
    if (bits < 8) {
        const int perByte = 8 / bits, shift = (perByte - 1 - x % perByte) * bits, ones = (1 << bits) - 1;
        std::uint8_t& byte = row[x / perByte];
        byte = static_cast<std::uint8_t>((byte & ~(ones << shift)) | static_cast<int>(value) << shift);
        return;
    }
    for (int k = 0; k < bits / 8; ++k) row[x * (bits / 8) + k] = static_cast<std::uint8_t>(value >> (8 * k));
}

inline bool MaskAt(const std::uint8_t* row, int x) { return ((row[x / 8] >> (7 - x % 8)) & 1) != 0; }

inline void SetMaskAt(std::uint8_t* row, int x, bool opaque) { SetPixelAt(row, x, shr::GRAYSCALE_1, opaque ? 1 : 0); }

/// The locked tile under a pixel of a bitmap, and the pixel's place in it.
class TileAt {
public:
    TileAt(const zbm::ZBitmap& picture, int pictureX, int pictureY)
        : x(pictureX % picture.GetScanRectWidth()),
          y(pictureY % picture.GetScanRectHeight()),
          bitmap(picture),
          row(pictureY / picture.GetScanRectHeight()),
          col(pictureX / picture.GetScanRectWidth()),
          tile(picture.LockScanRect(row, col)) {}
    ~TileAt() { bitmap.UnlockScanRect(row, col); }
    TileAt(const TileAt&) = delete;
    TileAt& operator=(const TileAt&) = delete;

    std::uint8_t* Pixels() const { return tile.GetRowPtr(y); }
    std::uint8_t* Mask() const { return tile.GetAlphaRowPtr(y); }

    const int x, y;

private:
    const zbm::ZBitmap& bitmap;
    const int row, col;
    zbm::ZScanRect& tile;
};

inline std::uint32_t GetPixel(const zbm::ZBitmap& bitmap, int x, int y) {
    const TileAt at(bitmap, x, y);
    return PixelAt(at.Pixels(), at.x, bitmap.GetColorFormat());
}

inline void SetPixel(zbm::ZBitmap& bitmap, int x, int y, std::uint32_t value) {
    const TileAt at(bitmap, x, y);
    SetPixelAt(at.Pixels(), at.x, bitmap.GetColorFormat(), value);
}

inline bool GetMask(const zbm::ZBitmap& bitmap, int x, int y) {
    const TileAt at(bitmap, x, y);
    return MaskAt(at.Mask(), at.x);
}

inline void SetMask(zbm::ZBitmap& bitmap, int x, int y, bool opaque) {
    const TileAt at(bitmap, x, y);
    SetMaskAt(at.Mask(), at.x, opaque);
}

}  // namespace testkit
