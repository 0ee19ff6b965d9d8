#pragma once
// What conversions are to give, in plain loops: the rules of our converter, and beside them the rounded results that
// most other libraries aim at.
#include <algorithm>

#include "harness/Pictures.h"

namespace contest::rules {

using bench::Square;
using Rule = void (*)(const Square& source, Square& result);

constexpr std::uint8_t Byte(unsigned value) { return static_cast<std::uint8_t>(value); }
constexpr unsigned WeighedSum(const std::uint8_t* bgr) { return 114u * bgr[0] + 587u * bgr[1] + 299u * bgr[2]; }

/// Gives `make` each pixel of the source, of kFrom bytes, with its place in the result, of kTo bytes.
template <std::size_t kFrom, std::size_t kTo, class Make>
void ForEachPixel(const Square& source, Square& result, const Make& make) {
    for (std::size_t i = 0; i < source.PixelCount(); ++i) make(&source.pixels[kFrom * i], &result.pixels[kTo * i]);
}

inline void SwapRedAndBlue(const Square& source, Square& result) {
    ForEachPixel<4, 4>(source, result, [](const auto* from, auto* to) {
        for (int c = 0; c < 3; ++c) to[c] = from[2 - c];
        to[3] = from[3];
    });
}

inline void AddAlpha(const Square& source, Square& result) {
    ForEachPixel<3, 4>(source, result, [](const auto* from, auto* to) { *std::copy_n(from, 3, to) = 255; });
}

inline void DropAlpha(const Square& source, Square& result) {
    ForEachPixel<4, 3>(source, result, [](const auto* from, auto* to) { std::copy_n(from, 3, to); });
}

inline void Premultiply(const Square& source, Square& result) {
    ForEachPixel<4, 4>(source, result, [](const auto* from, auto* to) {
        for (int c = 0; c < 3; ++c) to[c] = Byte((from[c] * unsigned{from[3]} + 127) / 255);
        to[3] = from[3];
    });
}

/// Half of alpha is added before the division for results to the nearest, nothing for truncated ones.
template <bool kNearest>
void Unpremultiply(const Square& source, Square& result) {
    ForEachPixel<4, 4>(source, result, [](const auto* from, auto* to) {
        const unsigned alpha = from[3];
        for (int c = 0; c < 3; ++c)
            to[c] = alpha == 0 ? from[c] : Byte((from[c] * 255u + (kNearest ? alpha / 2 : 0)) / alpha);
        to[3] = from[3];
    });
}

template <bool kNearest>
void Grey(const Square& source, Square& result) {
    ForEachPixel<4, 1>(source, result, [](const auto* from, auto* to) {
        *to = Byte((WeighedSum(from) + (kNearest ? 500 : 0)) / 1000);
    });
}

inline void GreyToColor(const Square& source, Square& result) {
    ForEachPixel<1, 4>(source, result, [](const auto* from, auto* to) { *std::fill_n(to, 3, *from) = 255; });
}

inline void Grey16TopByte(const Square& source, Square& result) {
    ForEachPixel<2, 1>(source, result, [](const auto* from, auto* to) { *to = from[1]; });
}
inline void Grey16Nearest(const Square& source, Square& result) {
    ForEachPixel<2, 1>(source, result,
                       [](const auto* from, auto* to) { *to = Byte((from[0] + 256u * from[1] + 128) / 257); });
}

inline void BitsToGrey(const Square& source, Square& result) {
    for (std::size_t i = 0; i < source.PixelCount(); ++i)
        result.pixels[i] = (source.pixels[i / 8] << i % 8 & 0x80) != 0 ? 255 : 0;
}

inline void LookUp(const Square& source, Square& result) {
    ForEachPixel<1, 4>(source, result, [&](const auto* from, auto* to) {
        const shr::Color4b color = source.table[*from];
        to[0] = color.blue, to[1] = color.green, to[2] = color.red, to[3] = color.alpha;
    });
}

inline void Threshold(const Square& source, Square& result) {
    std::fill(result.pixels.begin(), result.pixels.end(), std::uint8_t{0});
    for (std::size_t i = 0; i < source.PixelCount(); ++i)
        if (WeighedSum(&source.pixels[4 * i]) >= 127500) result.pixels[i / 8] |= Byte(0x80u >> i % 8);
}

}  // namespace contest::rules
