#include "shr/Color4b.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

namespace shr {
namespace {

std::uint32_t Image(const Color4b& color) {
    std::uint32_t image;
    std::memcpy(&image, &color, sizeof image);
    return image;
}

TEST(Color4b, LiesInMemoryAsRedGreenBlueAlpha) {
    EXPECT_EQ(sizeof(Color4b), 4u);
    EXPECT_EQ(offsetof(Color4b, red), 0u);
    EXPECT_EQ(offsetof(Color4b, green), 1u);
    EXPECT_EQ(offsetof(Color4b, blue), 2u);
    EXPECT_EQ(offsetof(Color4b, alpha), 3u);
    EXPECT_EQ(Image(Color4b(0x11, 0x22, 0x33, 0x44)), 0x44332211u);
}

TEST(Color4b, IsOpaqueBlackByDefault) {
    EXPECT_EQ(Image(Color4b()), 0xFF000000u);
    EXPECT_EQ(Image(Color4b::Black), 0xFF000000u);
    EXPECT_EQ(Image(Color4b::White), 0xFFFFFFFFu);
    EXPECT_EQ(Color4b(1, 2, 3).alpha, ALPHA_MAX);
}

TEST(Color4b, AlphaGoesFromTransparent0ToOpaque255) {
    EXPECT_EQ(ALPHA_MIN, 0);
    EXPECT_EQ(ALPHA_MAX, 255);
}

TEST(Color4b, AreEqualIfAllFourBytesAre) {
    const Color4b color(1, 2, 3, 4);
    EXPECT_EQ(color, Color4b(1, 2, 3, 4));
    for (const Color4b& other : {Color4b(0, 2, 3, 4), Color4b(1, 0, 3, 4), Color4b(1, 2, 0, 4), Color4b(1, 2, 3, 0)})
        EXPECT_NE(color, other);
}

constexpr int kWhiteSum = 255000;

TEST(Intensity, IsTheWeightedSumOfEveryColorOverThatOfWhite) {
    int wrong = 0;
    for (int rgb = 0; rgb < 1 << 24; ++rgb) {
        const int r = rgb >> 16, g = rgb >> 8 & 255, b = rgb & 255;
        const Color4b color(static_cast<std::uint8_t>(r), static_cast<std::uint8_t>(g), static_cast<std::uint8_t>(b),
                            7);
        const double expected = static_cast<double>(299 * r + 587 * g + 114 * b) / kWhiteSum;
        if (color.Intensity() != expected) ++wrong;
    }
    EXPECT_EQ(wrong, 0);
}

TEST(Intensity, TruncatesToTheIntegerFloorForEverySumAndDepth) {
    for (const std::uint64_t fullScale : {15ull, 255ull, 65535ull, 4294967295ull}) {
        int wrong = 0;
        for (std::uint64_t sum = 0; sum <= kWhiteSum; ++sum) {
            const double intensity = static_cast<double>(sum) / kWhiteSum;
            if (static_cast<std::uint64_t>(intensity * static_cast<double>(fullScale)) != sum * fullScale / kWhiteSum)
                ++wrong;
        }
        EXPECT_EQ(wrong, 0) << fullScale;
    }
}

TEST(Intensity, ReachesOneHalfExactlyAtHalfTheSum) {
    for (int sum = 0; sum <= kWhiteSum; ++sum)
        ASSERT_EQ(static_cast<double>(sum) / kWhiteSum >= 0.5, sum >= 127500) << sum;
}

TEST(Intensity, OfAGreyIsThatGrey) {
    for (int v = 0; v < 256; ++v) {
        const auto gray = static_cast<std::uint8_t>(v);
        EXPECT_EQ(static_cast<int>(Color4b(gray, gray, gray).Intensity() * 255), v);
    }
    EXPECT_EQ(Color4b::Black.Intensity(), 0.0);
    EXPECT_EQ(Color4b::White.Intensity(), 1.0);
}

TEST(PaletteCopies, SwapRedAndBlueAndMakeColorsOpaque) {
    const RGBQUAD quads[] = {{1, 2, 3, 0}, {4, 5, 6, 77}};
    Color4b colors[3] = {{9, 9, 9, 9}, {9, 9, 9, 9}, {9, 9, 9, 9}};
    CopyRGBQUADToColor4b(colors, quads, 2, false);
    EXPECT_EQ(colors[0], Color4b(3, 2, 1, 255));
    EXPECT_EQ(colors[1], Color4b(6, 5, 4, 255));
    EXPECT_EQ(colors[2], Color4b(9, 9, 9, 9));
    CopyRGBQUADToColor4b(colors, quads, 2, true);
    EXPECT_EQ(colors[0], Color4b(3, 2, 1, 0));
    EXPECT_EQ(colors[1], Color4b(6, 5, 4, 77));
}

bool Holds(const RGBQUAD& quad, int blue, int green, int red, int reserved) {
    return quad.rgbBlue == blue && quad.rgbGreen == green && quad.rgbRed == red && quad.rgbReserved == reserved;
}

TEST(PaletteCopies, LeaveTheReservedByteOfADibZero) {
    const Color4b colors[] = {{1, 2, 3, 255}, {4, 5, 6, 77}};
    RGBQUAD quads[3] = {{9, 9, 9, 9}, {9, 9, 9, 9}, {9, 9, 9, 9}};
    CopyColor4bToRGBQUAD(quads, colors, 2, false);
    EXPECT_TRUE(Holds(quads[0], 3, 2, 1, 0));
    EXPECT_TRUE(Holds(quads[1], 6, 5, 4, 0));
    EXPECT_TRUE(Holds(quads[2], 9, 9, 9, 9));
    CopyColor4bToRGBQUAD(quads, colors, 2, true);
    EXPECT_TRUE(Holds(quads[0], 3, 2, 1, 255));
    EXPECT_TRUE(Holds(quads[1], 6, 5, 4, 77));
}

TEST(PaletteCopies, OfNothingTouchNothing) {
    CopyRGBQUADToColor4b(nullptr, nullptr, 0, false);
    CopyColor4bToRGBQUAD(nullptr, nullptr, 0, true);
}

}  // namespace
}  // namespace shr
