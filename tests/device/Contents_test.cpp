// A tile as a DIB, and its mask as one.
#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>

#include "core/checks/ScanRectChecks.h"
#include "device/DibPixels.h"
#include "zbm/ZScanRect.h"

namespace {

using shr::CDib;
using shr::ColorFormat;
using testkit::FormulaPixel;
using testkit::kFormats;
using zbm::ZScanRect;

ZScanRect FormulaTile(int width, int height, ColorFormat format) {
    ZScanRect tile(width, height, format);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            testkit::SetPixelAt(tile.GetRowPtr(y), x, format, FormulaPixel(format, x, y));
            if (testkit::HasMask(format)) testkit::SetMaskAt(tile.GetAlphaRowPtr(y), x, testkit::FormulaMask(x, y));
        }
    return tile;
}

CDib ContentsOf(ZScanRect& tile) {
    shr::Color4b colors[256];
    for (int i = 0; i < 256; ++i) colors[i] = testkit::FormulaColor(i);
    CDib dib;
    tile.GetContents(dib, 1234, 5678, colors, static_cast<unsigned>(testkit::TableSize(tile.GetColorFormat())));
    return dib;
}

class GetContents : public testing::TestWithParam<ColorFormat> {};
INSTANTIATE_TEST_SUITE_P(Formats, GetContents, testing::ValuesIn(kFormats),
                         [](const auto& tested) { return testkit::FormatName(tested.param); });

TEST_P(GetContents, HasTheHeaderAndTableOfTheFormat) {
    ZScanRect tile = FormulaTile(13, 5, GetParam());
    const CDib dib = ContentsOf(tile);
    EXPECT_TRUE(
        testkit::HasHeader(dib, GetParam(), 13, 5, 1234, 5678, static_cast<unsigned>(testkit::TableSize(GetParam()))));
    EXPECT_TRUE(testkit::HasTable(dib, GetParam()));
}

/// The pixel at (x, y), from the top, of the order that programs rely upon.
std::uint32_t Expected(ColorFormat format, int x, int y, int height) {
    const std::uint32_t upsideDown = FormulaPixel(format, x, height - 1 - y);
    switch (format) {
        case shr::GRAYSCALE_16:
        case shr::GRAYSCALE_32:
            return y == height - 1 ? testkit::FetchedPixel(format, FormulaPixel(format, x, height - 1)) : 0;
        case shr::BGRA_32:
        case shr::PBGRA_32: return testkit::FetchedPixel(format, upsideDown);
        case shr::RGBA_32: return testkit::SwappedRedAndBlue(upsideDown);
        default: return FormulaPixel(format, x, y);
    }
}

TEST_P(GetContents, HasThePixelsInTheOrderThatProgramsRelyUpon) {
    for (const int width : {1, 4, 13, 67}) {
        ZScanRect tile = FormulaTile(width, 3, GetParam());
        const CDib dib = ContentsOf(tile);
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < width; ++x)
                ASSERT_EQ(testkit::DibPixel(dib, x, y), Expected(GetParam(), x, y, 3)) << x << ", " << y;
    }
}

TEST_P(GetContents, LeavesTheTileAsItWas) {
    ZScanRect tile = FormulaTile(13, 5, GetParam());
    ContentsOf(tile);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 13; ++x)
            ASSERT_EQ(testkit::PixelAt(tile.GetRowPtr(y), x, GetParam()), FormulaPixel(GetParam(), x, y));
}

TEST(GetContentsOf, ADirectFormatIsTheBufferAsStored) {
    for (const ColorFormat format : {shr::GRAYSCALE_1, shr::GRAYSCALE_4, shr::GRAYSCALE_8, shr::INDEXED_1,
                                     shr::INDEXED_4, shr::INDEXED_8, shr::BGR_24, shr::BGRX_32}) {
        ZScanRect tile(13, 5, format);
        const auto bytes = static_cast<std::size_t>(-tile.GetStride()) * 5;
        for (std::size_t i = 0; i < bytes; ++i) tile.GetRowPtr(4)[i] = static_cast<std::uint8_t>(37 * i + 11);
        const CDib dib = ContentsOf(tile);
        EXPECT_EQ(std::memcmp(dib.GetBits(), tile.GetRowPtr(4), bytes), 0) << format;
    }
}

TEST(GetContentsOf, StatesTheNumberOfColorsPassedInForGreysToo) {
    for (const ColorFormat format : {shr::GRAYSCALE_4, shr::GRAYSCALE_8, shr::GRAYSCALE_16, shr::BGR_24}) {
        ZScanRect tile(2, 2, format);
        CDib dib;
        tile.GetContents(dib, 0, 0, nullptr, 3);
        EXPECT_EQ(dib.GetDib()->bmiHeader.biClrUsed, 3u) << format;
    }
}

TEST(GetContentsOf, TakesTablesThatAreShortOrMissing) {
    ZScanRect tile = FormulaTile(13, 5, shr::INDEXED_8);
    const std::vector<shr::Color4b> three = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
    CDib dib;
    tile.GetContents(dib, 0, 0, three.data(), 3);
    ASSERT_EQ(dib.GetNumColors(), 3u);
    EXPECT_EQ(dib.GetColors()[2].rgbRed, 7);
    tile.GetContents(dib, 0, 0, three.data(), 0);  // a full table, black
    ASSERT_EQ(dib.GetNumColors(), 256u);
    EXPECT_EQ(dib.GetColors()[0].rgbRed, 0);
    tile.GetContents(dib, 0, 0, nullptr, 16);
    ASSERT_EQ(dib.GetNumColors(), 16u);
    EXPECT_EQ(dib.GetColors()[15].rgbRed, 0);
}

TEST(GetContentsOf, RefusesMoreColorsThanTheDepthHasAndKeepsTheDib) {
    CDib dib;
    dib.Create(7, 7, 8, 0, nullptr, nullptr, 0, 0);
    const shr::Color4b colors[256] = {};
    for (const ColorFormat format : {shr::GRAYSCALE_1, shr::INDEXED_4, shr::INDEXED_8, shr::GRAYSCALE_32}) {
        ZScanRect tile(2, 2, format);
        EXPECT_THROW(tile.GetContents(dib, 0, 0, colors, 257), std::invalid_argument);
        EXPECT_THROW(tile.GetContents(dib, 0, 0, colors, 0xFFFFFFFF), std::invalid_argument);
    }
    EXPECT_EQ(dib.GetWidth(), 7);
}

TEST(GetContentsOf, PremultipliedPixelsCutsOffAt255AndKeepsThoseWithoutAlpha) {
    ZScanRect tile(256, 256, shr::PBGRA_32);
    for (int alpha = 0; alpha < 256; ++alpha)
        for (int value = 0; value < 256; ++value) {
            const auto pixel = static_cast<std::uint32_t>(alpha << 24 | (255 - value) << 16 | value << 8 | value / 2);
            testkit::SetPixelAt(tile.GetRowPtr(alpha), value, shr::PBGRA_32, pixel);
        }
    const CDib dib = ContentsOf(tile);
    for (int alpha = 0; alpha < 256; ++alpha)
        for (int value = 0; value < 256; ++value)
            ASSERT_EQ(testkit::DibPixel(dib, value, 255 - alpha),
                      testkit::Straight(testkit::PixelAt(tile.GetRowPtr(alpha), value, shr::PBGRA_32)))
                << value << " of " << alpha;
}

TEST(CreateMonoAlphaMask, OfAFormatWithMaskIsThatMask) {
    for (const ColorFormat format : kFormats) {
        if (!testkit::HasMask(format)) continue;
        const ZScanRect tile = FormulaTile(13, 5, format);
        CDib dib;
        tile.CreateMonoAlphaMask(dib);
        EXPECT_EQ(dib.GetStride(), -tile.GetAlphaStride());
        EXPECT_EQ(std::memcmp(dib.GetBits(), tile.GetAlphaRowPtr(4), 4 * 5), 0) << format;
    }
}

TEST(CreateMonoAlphaMask, OfAFormatWithAlphaIsSetFrom128On) {
    for (const ColorFormat format : {shr::BGRA_32, shr::RGBA_32, shr::PBGRA_32}) {
        ZScanRect tile(13, 2, format);
        const int alphas[] = {0, 127, 128, 255, 129, 1, 200, 126, 254, 0, 255, 128, 127};
        for (int x = 0; x < 13; ++x) {
            tile.GetRowPtr(0)[4 * x + 3] = static_cast<std::uint8_t>(alphas[x]);
            tile.GetRowPtr(1)[4 * x + 3] = static_cast<std::uint8_t>(255 - alphas[x]);
        }
        CDib dib;
        dib.Create(64, 64, 32, 0, nullptr, nullptr, 0, 0);
        tile.CreateMonoAlphaMask(dib);
        // The lower row first; of the second byte 5 bits are pixels.
        const std::uint8_t expected[] = {0xC5, 0x48, 0, 0, 0x3A, 0xB0, 0, 0};
        EXPECT_EQ(std::memcmp(dib.GetBits(), expected, sizeof expected), 0) << format;
    }
}

TEST(CreateMonoAlphaMask, IsBlackAndWhiteWithoutResolution) {
    for (const ColorFormat format : {shr::BGR_24, shr::BGRA_32}) {
        const ZScanRect tile(13, 5, format);
        CDib dib;
        tile.CreateMonoAlphaMask(dib);
        EXPECT_TRUE(testkit::HasHeader(dib, shr::GRAYSCALE_1, 13, 5, 0, 0, 2));
        EXPECT_TRUE(testkit::HasTable(dib, shr::GRAYSCALE_1));
    }
}

}  // namespace
