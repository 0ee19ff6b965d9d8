#include <gtest/gtest.h>

#include "shr/ColorFormat.h"

namespace shr {
namespace {

void ExpectRamp(const Color4b* colors, const RGBQUAD* quads, int levels) {
    for (int level = 0; level < levels; ++level) {
        SCOPED_TRACE(level);
        const auto gray = static_cast<std::uint8_t>(level * 255 / (levels - 1));
        EXPECT_EQ(colors[level], Color4b(gray, gray, gray, 255));
        EXPECT_EQ(quads[level].rgbRed, gray);
        EXPECT_EQ(quads[level].rgbGreen, gray);
        EXPECT_EQ(quads[level].rgbBlue, gray);
        EXPECT_EQ(quads[level].rgbReserved, 0);
    }
    EXPECT_EQ(colors[0], Color4b::Black);
    EXPECT_EQ(colors[levels - 1], Color4b::White);
}

TEST(GrayRamps, GoFromBlackToWhiteInEvenSteps) {
    ExpectRamp(GRAYSCALE_1_Color4bTable, GRAYSCALE_1_RGBQUADTable, 2);
    ExpectRamp(GRAYSCALE_4_Color4bTable, GRAYSCALE_4_RGBQUADTable, 16);
    ExpectRamp(GRAYSCALE_8_Color4bTable, GRAYSCALE_8_RGBQUADTable, 256);
}

TEST(GrayRamps, Of4BitsHaveStepsOf17) {
    for (int level = 0; level < 16; ++level) EXPECT_EQ(GRAYSCALE_4_Color4bTable[level].red, 17 * level);
}

TEST(GrayWidening, RepeatsTheDigitsOfALevel) {
    for (unsigned level = 0; level < 16; ++level) {
        EXPECT_EQ(GRAYSCALE_4_To_GRAYSCALE_8_Table[level], level * 0x11);
        EXPECT_EQ(GRAYSCALE_4_To_GRAYSCALE_16_Table[level], level * 0x1111);
        EXPECT_EQ(GRAYSCALE_4_To_GRAYSCALE_32_Table[level], level * 0x11111111u);
    }
    for (unsigned level = 0; level < 256; ++level) {
        EXPECT_EQ(GRAYSCALE_8_To_GRAYSCALE_16_Table[level], level * 0x0101);
        EXPECT_EQ(GRAYSCALE_8_To_GRAYSCALE_32_Table[level], level * 0x01010101u);
    }
}

TEST(GrayWidening, MakesFullScaleOfFullScale) {
    EXPECT_EQ(GRAYSCALE_4_To_GRAYSCALE_8_Table[15], 255u);
    EXPECT_EQ(GRAYSCALE_4_To_GRAYSCALE_16_Table[15], 65535u);
    EXPECT_EQ(GRAYSCALE_8_To_GRAYSCALE_16_Table[255], 65535u);
    EXPECT_EQ(GRAYSCALE_4_To_GRAYSCALE_32_Table[15], 0xFFFFFFFFu);
    EXPECT_EQ(GRAYSCALE_8_To_GRAYSCALE_32_Table[255], 0xFFFFFFFFu);
}

}  // namespace
}  // namespace shr
