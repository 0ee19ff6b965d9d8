#pragma once
#include <cstdint>

#include "gdi/gdi.h"
#include "shr/Export.h"

namespace shr {

inline constexpr std::uint8_t ALPHA_MIN = 0;    ///< fully transparent
inline constexpr std::uint8_t ALPHA_MAX = 255;  ///< fully opaque

/// A colour of four bytes in memory order red, green, blue, alpha; straight alpha, 255 is opaque.
struct Color4b {
    std::uint8_t red = 0, green = 0, blue = 0, alpha = ALPHA_MAX;

    constexpr Color4b() noexcept = default;
    constexpr Color4b(std::uint8_t r, std::uint8_t g, std::uint8_t b, std::uint8_t a = ALPHA_MAX) noexcept
        : red(r), green(g), blue(b), alpha(a) {}

    /// The luminance in 0.0 .. 1.0 (weights of ITU-R BT.601): the only one that the libraries use.
    ///
    /// One double division, so that truncating Intensity() * k equals the integer floor of (299 R + 587 G + 114 B) * k
    /// / 255000 for k = 15, 255, 65535 and 4294967295, and a grey (v, v, v) gives exactly v at 8 bits.
    constexpr double Intensity() const noexcept { return (299 * red + 587 * green + 114 * blue) / 255000.0; }

    friend constexpr bool operator==(const Color4b&, const Color4b&) noexcept = default;

    static const Color4b Black;  ///< opaque black
    static const Color4b White;  ///< opaque white
};
inline constexpr Color4b Color4b::Black{0, 0, 0};
inline constexpr Color4b Color4b::White{255, 255, 255};
static_assert(sizeof(Color4b) == 4);

/// Palette entries of a DIB to colours. Alpha becomes opaque; with `takeAlpha` it is the entry's reserved byte instead.
SHR_API void CopyRGBQUADToColor4b(Color4b* destination, const RGBQUAD* source, unsigned count, bool takeAlpha);
/// Colours to palette entries of a DIB. The reserved byte becomes 0; with `giveAlpha` it is the colour's alpha instead.
SHR_API void CopyColor4bToRGBQUAD(RGBQUAD* destination, const Color4b* source, unsigned count, bool giveAlpha);

}  // namespace shr
