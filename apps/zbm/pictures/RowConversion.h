#pragma once
// Rows of pixels between the layouts of picture files and those of bitmaps. All loops are over one row of `count`
// pixels; source and destination must not overlap unless it says so. Packed pixels are most significant bits first.
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "shr/Color4b.h"
#include "shr/ColorFormat.h"

namespace tool {

// Wide samples are handled as they lie in memory.
static_assert(std::endian::native == std::endian::little);

constexpr bool IsGrey(shr::ColorFormat format) { return shr::TraitsOf(format).IsGrey(); }
constexpr bool IsIndexed(shr::ColorFormat format) { return shr::TraitsOf(format).IsIndexed(); }
constexpr bool HasMask(shr::ColorFormat format) { return shr::TraitsOf(format).HasMask(); }

/// Rounds a 16-bit sample to 8 bits; full scale stays full scale.
constexpr std::uint8_t To8Bits(std::uint16_t sample) {
    return static_cast<std::uint8_t>((sample * 255u + 32895u) >> 16);
}

/// 2-bit values to 4-bit ones, each times `factor`: 1 for indices, 5 for grey levels. And back, for such values.
void Widen2To4(std::uint8_t* destination, const std::uint8_t* source, int count, unsigned factor);
void Narrow4To2(std::uint8_t* destination, const std::uint8_t* source, int count, unsigned factor);

/// The values of a packed row of 1, 4 or 8 bits, one byte each.
void ValuesOf(std::uint8_t* values, const std::uint8_t* row, int bits, int count);

/// Exchanges bytes 0 and 2 of each pixel of 3 or 4 bytes, in place.
void SwapRedAndBlue(std::uint8_t* pixels, int bytesPerPixel, int count);

/// The mask of a row in which some values are transparent: a bit is clear where `transparent` holds the pixel's value.
void MaskOfValues(std::uint8_t* mask, const std::uint8_t* row, int bits, int count,
                  const std::array<bool, 256>& transparent);
void MaskOfValue16(std::uint8_t* mask, const std::uint8_t* row, int count, std::uint16_t transparent);

/// The mask of BGRA pixels: opaque where alpha is 128 or more.
void MaskOfAlpha(std::uint8_t* mask, const std::uint8_t* bgra, int count);
/// BGRA pixels to BGR pixels and such a mask; and back, to alpha 255 or 0.
void SplitAlpha(std::uint8_t* bgr, std::uint8_t* mask, const std::uint8_t* bgra, int count);
void JoinAlpha(std::uint8_t* bgra, const std::uint8_t* bgr, const std::uint8_t* mask, int count);

/// Inks C, M, Y, K, 255 of which is none, to BGR: each colour is what its ink and black let through.
void InksToBgr(std::uint8_t* bgr, const std::uint8_t* clearCmyk, int count);
/// Multiplies the colours of BGR or BGRA pixels by what black lets through: `clearBlack`, 255 of which is all.
void Darken(std::uint8_t* pixels, int bytesPerPixel, const std::uint8_t* clearBlack, int count);

/// A row of any format to BGRA: greys rounded, others as zbm::ConvertPixelRows converts them (premultiplied colours
/// become straight ones). Formats without alpha take theirs from `mask`, or are opaque if it is null.
void ToBgra(std::uint8_t* bgra, const std::uint8_t* row, const std::uint8_t* mask, shr::ColorFormat format,
            const shr::Color4b* colorTable, int count);

/// BGRA, straight or premultiplied, over a colour, to BGR: what is exact is rounded once.
void LayOver(std::uint8_t* bgr, const std::uint8_t* bgra, shr::Color4b background, int count);
void LayPremultipliedOver(std::uint8_t* bgr, const std::uint8_t* pbgra, shr::Color4b background, int count);
/// Gives the pixels whose mask bit is clear a level, in a row of grey of 8 bits or more.
void FillTransparentGrey(std::uint8_t* row, const std::uint8_t* mask, shr::ColorFormat format, std::uint8_t level,
                         int count);

/// A row of any grey format to 8 bits. Wider levels are rounded; full scale stays full scale.
void ToGrey8(std::uint8_t* grey, const std::uint8_t* row, shr::ColorFormat format, int count);
/// 32-bit levels to 16 bits, likewise.
void ToGrey16(std::uint8_t* grey, const std::uint8_t* row, int count);

/// Pairs of a grey level and alpha, full or none as the mask says, from levels of that many bytes.
void AddAlpha(std::uint8_t* greyAlpha, const std::uint8_t* grey, const std::uint8_t* mask, int bytesPerSample,
              int count);

/// Whether the mask has a clear bit among its first `count`.
bool HasClearBit(const std::uint8_t* mask, int count);
inline bool BitAt(const std::uint8_t* mask, int x) { return (mask[x >> 3] & (0x80 >> (x & 7))) != 0; }

}  // namespace tool
