#include "zpixf/ZPixFormat.h"

#include <gtest/gtest.h>

namespace zpixf {
namespace {

TEST(ZPixFormat, HoldsItsShape) {
    const ZPixFormat format(640, 480, 3, 16, 0);
    EXPECT_EQ(format.GetWidth(), 640u);
    EXPECT_EQ(format.GetHeight(), 480u);
    EXPECT_EQ(format.GetChannels(), 3u);
    EXPECT_EQ(format.GetBitsPerChannel(), 16u);
    EXPECT_EQ(format.GetNumColors(), 0u);
    EXPECT_EQ(format.GetColors(), nullptr);
}

TEST(ZPixFormat, TakesAPaletteByValue) {
    RGBQUAD entries[2] = {{1, 2, 3, 0}, {4, 5, 6, 0}};
    ZPixFormat format(8, 8, 1, 1);
    format.FillColorTable(2, entries);
    entries[1].rgbRed = 99;
    ASSERT_EQ(format.GetNumColors(), 2u);
    EXPECT_EQ(format.GetColors()[1].rgbRed, 6);
}

TEST(ZPixFormat, NewEntriesAreBlackEvenWhereAnOldPaletteLay) {
    const RGBQUAD entries[2] = {{1, 2, 3, 0}, {4, 5, 6, 0}};
    ZPixFormat format;
    format.FillColorTable(2, entries);
    format.SetNumColors(1);
    format.SetNumColors(3);
    EXPECT_EQ(format.GetColors()[0].rgbRed, 3);
    EXPECT_EQ(format.GetColors()[1].rgbRed, 0);
    EXPECT_EQ(format.GetColors()[2].rgbBlue, 0);
}

TEST(ZPixFormat, ACountAloneIsNoPalette) {
    const RGBQUAD entries[2] = {{1, 2, 3, 0}, {4, 5, 6, 0}};
    ZPixFormat format(8, 8, 1, 8, 256);
    EXPECT_EQ(format.GetNumColors(), 256u);
    EXPECT_EQ(format.GetColors(), nullptr);
    format.FillColorTable(2, entries);
    EXPECT_NE(format.GetColors(), nullptr);
    format.SetNumColors(0);
    format.SetNumColors(2);
    EXPECT_EQ(format.GetColors(), nullptr);
}

TEST(ZPixFormat, EntriesBeyondTheOnesInUseAreBlack) {
    const RGBQUAD entries[3] = {{1, 2, 3, 0}, {4, 5, 6, 0}, {7, 8, 9, 0}};
    ZPixFormat format;
    format.FillColorTable(3, entries);
    format.FillColorTable(1, entries);
    EXPECT_EQ(format.GetColors()[0].rgbGreen, 2);
    for (unsigned i = 1; i < ZPixFormat::kMaxColors; ++i) EXPECT_EQ(format.GetColors()[i].rgbRed, 0) << i;
}

TEST(ZPixFormat, NeverHoldsMoreThan256Colors) {
    ZPixFormat format(8, 8, 1, 8, 1000);
    EXPECT_EQ(format.GetNumColors(), 256u);
    const RGBQUAD entries[300] = {};
    format.FillColorTable(300, entries);
    EXPECT_EQ(format.GetNumColors(), 256u);
}

}  // namespace
}  // namespace zpixf
