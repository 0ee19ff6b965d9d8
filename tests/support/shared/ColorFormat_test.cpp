#include "shr/ColorFormat.h"

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

namespace shr {
namespace {

TEST(ColorFormat, HasTheValuesThatFilesHold) {
    EXPECT_EQ(sizeof(ColorFormat), 4u);
    const ColorFormat formats[] = {FORMAT_NONE,  GRAYSCALE_1, GRAYSCALE_4, GRAYSCALE_8, GRAYSCALE_16,
                                   GRAYSCALE_32, INDEXED_1,   INDEXED_4,   INDEXED_8,   BGR_24,
                                   BGRA_32,      RGBA_32,     BGRX_32,     PBGRA_32};
    EXPECT_EQ(std::size(formats), static_cast<std::size_t>(kColorFormats));
    for (int value = 0; value < kColorFormats; ++value) EXPECT_EQ(static_cast<int>(formats[value]), value);
}

TEST(ColorFormat, IsOneFrom1To13) {
    for (int value = -3; value < 20; ++value)
        EXPECT_EQ(IsColorFormat(static_cast<ColorFormat>(value)), value >= 1 && value <= 13) << value;
}

struct FormatFacts {
    int value, bitsPerPixel, tableSize, dibBitsPerPixel;
    bool hasAlpha;
};
constexpr FormatFacts kFacts[] = {
    {0, 0, 0, 0, false},   {1, 1, 0, 1, false},   {2, 4, 0, 4, false},    {3, 8, 0, 8, false},   {4, 16, 0, 8, false},
    {5, 32, 0, 8, false},  {6, 1, 2, 1, false},   {7, 4, 16, 4, false},   {8, 8, 256, 8, false}, {9, 24, 0, 24, false},
    {10, 32, 0, 32, true}, {11, 32, 0, 32, true}, {12, 32, 0, 32, false}, {13, 32, 0, 32, true},
};

TEST(ColorFormat, TablesHoldTheFactsOfEachFormat) {
    ASSERT_EQ(std::size(kFacts), std::size(ColorFmtToBPP));
    for (const FormatFacts& facts : kFacts) {
        SCOPED_TRACE(facts.value);
        EXPECT_EQ(ColorFmtToBPP[facts.value], facts.bitsPerPixel);
        EXPECT_EQ(ColorFmtToTblSize[facts.value], facts.tableSize);
        EXPECT_EQ(ColorFmtToDibBPP[facts.value], facts.dibBitsPerPixel);
        EXPECT_EQ(ColorFmtHasAlphaChannel[facts.value], facts.hasAlpha);
    }
    EXPECT_TRUE((std::is_same_v<decltype(ColorFmtToBPP[0]), const std::int32_t&>));
    EXPECT_TRUE((std::is_same_v<decltype(ColorFmtToTblSize[0]), const std::int32_t&>));
}

TEST(ColorFormat, IsFoundByKindAndDepth) {
    EXPECT_EQ(FormatOf(FormatKind::grey, 1), GRAYSCALE_1);
    EXPECT_EQ(FormatOf(FormatKind::grey, 32), GRAYSCALE_32);
    EXPECT_EQ(FormatOf(FormatKind::indexed, 4), INDEXED_4);
    EXPECT_EQ(FormatOf(FormatKind::color, 24), BGR_24);
    EXPECT_EQ(FormatOf(FormatKind::color, 32), BGRA_32);
    EXPECT_EQ(FormatOf(FormatKind::indexed, 16), FORMAT_NONE);
    EXPECT_EQ(FormatOf(FormatKind::none, 0), FORMAT_NONE);
}

TEST(ColorFormat, HasTheNameOfItsValue) {
    EXPECT_STREQ(TraitsOf(FORMAT_NONE).name, "none");
    EXPECT_STREQ(TraitsOf(GRAYSCALE_16).name, "GRAYSCALE_16");
    EXPECT_STREQ(TraitsOf(INDEXED_8).name, "INDEXED_8");
    EXPECT_STREQ(TraitsOf(PBGRA_32).name, "PBGRA_32");
}

TEST(RowBytes, AreWholeWordsThatHoldThePixels) {
    for (const FormatFacts& facts : kFacts) {
        const auto format = static_cast<ColorFormat>(facts.value);
        for (std::uint64_t width = 0; width <= 70; ++width) {
            const std::uint64_t bits = width * static_cast<std::uint64_t>(facts.bitsPerPixel);
            EXPECT_EQ(PixelBytes(width, format), bits / 8 + (bits % 8 != 0 ? 1 : 0));
            EXPECT_EQ(RowBytes(width, format), (bits / 32 + (bits % 32 != 0 ? 1 : 0)) * 4);
            EXPECT_EQ(RowBytes(width, format), ((bits + 31) >> 3) & ~std::uint64_t{3});
        }
    }
}

TEST(RowBytes, OfKnownRows) {
    EXPECT_EQ(RowBytes(3, GRAYSCALE_1), 4u);
    EXPECT_EQ(RowBytes(3, BGR_24), 12u);
    EXPECT_EQ(RowBytes(5, BGR_24), 16u);
    EXPECT_EQ(RowBytes(2147483647, BGRA_32), 8589934588u);
}

TEST(ColorFormat, WideGreysAreLittleEndian) {
    // Sharedu keeps pixels as the processor keeps integers, which is little-endian on every system it runs on.
    const std::uint16_t gray16 = 0x1234;
    const std::uint32_t gray32 = 0x12345678;
    std::uint8_t bytes[4];
    std::memcpy(bytes, &gray16, sizeof gray16);
    EXPECT_TRUE(bytes[0] == 0x34 && bytes[1] == 0x12);
    std::memcpy(bytes, &gray32, sizeof gray32);
    EXPECT_TRUE(bytes[0] == 0x78 && bytes[1] == 0x56 && bytes[2] == 0x34 && bytes[3] == 0x12);
}

TEST(ColorFormatClosestToDIB, FollowsTheBitCount) {
    for (int bitCount = 0; bitCount < 70; ++bitCount) {
        BITMAPINFOHEADER header{};
        header.biBitCount = static_cast<WORD>(bitCount);
        ColorFormat expected = FORMAT_NONE;
        if (bitCount == 1) expected = INDEXED_1;
        if (bitCount == 4) expected = INDEXED_4;
        if (bitCount == 8) expected = INDEXED_8;
        if (bitCount == 16 || bitCount == 24) expected = BGR_24;
        if (bitCount == 32) expected = BGRA_32;
        EXPECT_EQ(ColorFormatClosestToDIB(header), expected) << bitCount;
    }
}

}  // namespace
}  // namespace shr
