// The tables of grey levels, filled in by the compiler.
#include "shr/ColorFormat.h"

namespace shr {
namespace {

/// Level `level` of 0 .. `maximum` scaled to 0 .. 255. Exact, as 255 is a multiple of each maximum: 1, 15 and 255.
constexpr std::uint8_t Gray(unsigned level, unsigned maximum) {
    return static_cast<std::uint8_t>(level * (255 / maximum));
}
constexpr Color4b GrayColor(unsigned level, unsigned maximum) {
    const std::uint8_t gray = Gray(level, maximum);
    return {gray, gray, gray};
}
constexpr RGBQUAD GrayQuad(unsigned level, unsigned maximum) {
    const std::uint8_t gray = Gray(level, maximum);
    return {gray, gray, gray, 0};
}

/// Full scale to full scale, exactly as well: 65535 and 4294967295 are multiples of 15 and of 255.
constexpr std::uint16_t To16(unsigned level, unsigned maximum) {
    return static_cast<std::uint16_t>(level * (0xFFFFu / maximum));
}
constexpr std::uint32_t To32(unsigned level, unsigned maximum) { return level * (0xFFFFFFFFu / maximum); }

}  // namespace

// A function cannot return an array of the plain kind that these tables are, so their entries are spelled out, by the
// preprocessor: FUNCTION(level, maximum) for 4, 16 and 256 levels in turn.
#define LEVELS_4(function, first, maximum)                                                    \
    function(first, maximum), function((first) + 1, maximum), function((first) + 2, maximum), \
        function((first) + 3, maximum)
#define LEVELS_16(function, first, maximum)                                       \
    LEVELS_4(function, first, maximum), LEVELS_4(function, (first) + 4, maximum), \
        LEVELS_4(function, (first) + 8, maximum), LEVELS_4(function, (first) + 12, maximum)
#define LEVELS_64(function, first, maximum)                                          \
    LEVELS_16(function, first, maximum), LEVELS_16(function, (first) + 16, maximum), \
        LEVELS_16(function, (first) + 32, maximum), LEVELS_16(function, (first) + 48, maximum)
#define ALL_LEVELS_OF_4_BITS(function) \
    { LEVELS_16(function, 0, 15) }
#define ALL_LEVELS_OF_8_BITS(function)                                                            \
    {                                                                                             \
        LEVELS_64(function, 0, 255), LEVELS_64(function, 64, 255), LEVELS_64(function, 128, 255), \
            LEVELS_64(function, 192, 255)                                                         \
    }

constinit const Color4b GRAYSCALE_1_Color4bTable[2] = {GrayColor(0, 1), GrayColor(1, 1)};
constinit const Color4b GRAYSCALE_4_Color4bTable[16] = ALL_LEVELS_OF_4_BITS(GrayColor);
constinit const Color4b GRAYSCALE_8_Color4bTable[256] = ALL_LEVELS_OF_8_BITS(GrayColor);
constinit const RGBQUAD GRAYSCALE_1_RGBQUADTable[2] = {GrayQuad(0, 1), GrayQuad(1, 1)};
constinit const RGBQUAD GRAYSCALE_4_RGBQUADTable[16] = ALL_LEVELS_OF_4_BITS(GrayQuad);
constinit const RGBQUAD GRAYSCALE_8_RGBQUADTable[256] = ALL_LEVELS_OF_8_BITS(GrayQuad);

constinit const std::uint8_t GRAYSCALE_4_To_GRAYSCALE_8_Table[16] = ALL_LEVELS_OF_4_BITS(Gray);
constinit const std::uint16_t GRAYSCALE_4_To_GRAYSCALE_16_Table[16] = ALL_LEVELS_OF_4_BITS(To16);
constinit const std::uint16_t GRAYSCALE_8_To_GRAYSCALE_16_Table[256] = ALL_LEVELS_OF_8_BITS(To16);
constinit const std::uint32_t GRAYSCALE_4_To_GRAYSCALE_32_Table[16] = ALL_LEVELS_OF_4_BITS(To32);
constinit const std::uint32_t GRAYSCALE_8_To_GRAYSCALE_32_Table[256] = ALL_LEVELS_OF_8_BITS(To32);

}  // namespace shr
