#pragma once
// What conversions are to give, in plain loops: the rules of our converter, and beside them the rounded results that
// most other libraries aim at.
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "shr/Color4b.h"

namespace contest {

/// Pixels lie one after the other, without padding; a count of packed pixels fills whole bytes.
using Rule = void (*)(const std::uint8_t* src, std::uint8_t* dst, std::size_t pixels, const shr::Color4b* table);

namespace rules {

constexpr std::uint8_t Byte(unsigned value) { return static_cast<std::uint8_t>(value); }
constexpr unsigned WeighedSum(const std::uint8_t* bgr) { return 114u * bgr[0] + 587u * bgr[1] + 299u * bgr[2]; }

inline void SwapRedAndBlue(const std::uint8_t* src, std::uint8_t* dst, std::size_t pixels, const shr::Color4b*) {
    for (; pixels != 0; --pixels, src += 4, dst += 4) {
        dst[0] = src[2];
        dst[1] = src[1];
        dst[2] = src[0];
        dst[3] = src[3];
    }
}

inline void AddAlpha(const std::uint8_t* src, std::uint8_t* dst, std::size_t pixels, const shr::Color4b*) {
    for (; pixels != 0; --pixels, src += 3, dst += 4) {
        std::copy_n(src, 3, dst);
        dst[3] = 255;
    }
}

inline void DropAlpha(const std::uint8_t* src, std::uint8_t* dst, std::size_t pixels, const shr::Color4b*) {
    for (; pixels != 0; --pixels, src += 4, dst += 3) std::copy_n(src, 3, dst);
}

inline void Premultiply(const std::uint8_t* src, std::uint8_t* dst, std::size_t pixels, const shr::Color4b*) {
    for (; pixels != 0; --pixels, src += 4, dst += 4) {
        const unsigned alpha = src[3];
        for (int c = 0; c < 3; ++c) dst[c] = Byte((src[c] * alpha + 127) / 255);
        dst[3] = src[3];
    }
}

/// Half of alpha is added before the division for results to the nearest, nothing for truncated ones.
inline void Unpremultiply(const std::uint8_t* src, std::uint8_t* dst, std::size_t pixels, bool nearest) {
    for (; pixels != 0; --pixels, src += 4, dst += 4) {
        const unsigned alpha = src[3];
        for (int c = 0; c < 3; ++c)
            dst[c] = alpha == 0 ? src[c] : Byte((src[c] * 255u + (nearest ? alpha / 2 : 0)) / alpha);
        dst[3] = src[3];
    }
}
inline void UnpremultiplyTruncated(const std::uint8_t* src, std::uint8_t* dst, std::size_t pixels,
                                   const shr::Color4b*) {
    Unpremultiply(src, dst, pixels, false);
}
inline void UnpremultiplyNearest(const std::uint8_t* src, std::uint8_t* dst, std::size_t pixels, const shr::Color4b*) {
    Unpremultiply(src, dst, pixels, true);
}

inline void GreyTruncated(const std::uint8_t* src, std::uint8_t* dst, std::size_t pixels, const shr::Color4b*) {
    for (std::size_t i = 0; i < pixels; ++i) dst[i] = Byte(WeighedSum(src + 4 * i) / 1000);
}
inline void GreyNearest(const std::uint8_t* src, std::uint8_t* dst, std::size_t pixels, const shr::Color4b*) {
    for (std::size_t i = 0; i < pixels; ++i) dst[i] = Byte((WeighedSum(src + 4 * i) + 500) / 1000);
}

inline void GreyToColor(const std::uint8_t* src, std::uint8_t* dst, std::size_t pixels, const shr::Color4b*) {
    for (; pixels != 0; --pixels, ++src, dst += 4) {
        std::fill_n(dst, 3, *src);
        dst[3] = 255;
    }
}

inline void Grey16TopByte(const std::uint8_t* src, std::uint8_t* dst, std::size_t pixels, const shr::Color4b*) {
    for (std::size_t i = 0; i < pixels; ++i) dst[i] = src[2 * i + 1];
}
inline void Grey16Nearest(const std::uint8_t* src, std::uint8_t* dst, std::size_t pixels, const shr::Color4b*) {
    for (std::size_t i = 0; i < pixels; ++i) dst[i] = Byte((src[2 * i] + 256u * src[2 * i + 1] + 128) / 257);
}

inline void BitsToGrey(const std::uint8_t* src, std::uint8_t* dst, std::size_t pixels, const shr::Color4b*) {
    for (std::size_t i = 0; i < pixels; ++i) dst[i] = (src[i / 8] << i % 8 & 0x80) != 0 ? 255 : 0;
}

inline void LookUp(const std::uint8_t* src, std::uint8_t* dst, std::size_t pixels, const shr::Color4b* table) {
    for (; pixels != 0; --pixels, ++src, dst += 4) {
        const shr::Color4b color = table[*src];
        dst[0] = color.blue;
        dst[1] = color.green;
        dst[2] = color.red;
        dst[3] = color.alpha;
    }
}

inline void Threshold(const std::uint8_t* src, std::uint8_t* dst, std::size_t pixels, const shr::Color4b*) {
    for (std::size_t i = 0; i < pixels; i += 8) {
        unsigned bits = 0;
        for (std::size_t k = i; k < i + 8; ++k) bits = bits << 1 | (WeighedSum(src + 4 * k) >= 127500 ? 1u : 0u);
        dst[i / 8] = Byte(bits);
    }
}

}  // namespace rules

}  // namespace contest
