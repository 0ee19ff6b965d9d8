// Taking rectangles of device-independent bitmaps into a tile.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

#include "core/checks/ScanRectChecks.h"
#include "shr/Color4b.h"
#include "support_code/ExpectError.h"
#include "support_code/Pixels.h"
#include "zbm/ZScanRect.h"

namespace {

using shr::ColorFormat;
using testkit::RaisesInternalError;
using testkit::RaisesNamedError;
using zbm::ScanRectCheck;
using zbm::ZScanRect;

/// A DIB whose header (with the masks behind it) and bits have buffers of their exact size, so that reading outside
/// of either shows.
struct TestDib {
    std::vector<std::uint8_t> headerBytes;
    std::vector<std::uint8_t> bits;

    TestDib(int width, int height, int bitCount, DWORD compression = BI_RGB, std::vector<std::uint32_t> masks = {})
        : headerBytes(sizeof(BITMAPINFOHEADER)) {
        BITMAPINFOHEADER header{};
        header.biSize = sizeof header;
        header.biWidth = width;
        header.biHeight = height;
        header.biPlanes = 1;
        header.biBitCount = static_cast<WORD>(bitCount);
        header.biCompression = compression;
        std::memcpy(headerBytes.data(), &header, sizeof header);
        const auto* const maskBytes = reinterpret_cast<const std::uint8_t*>(masks.data());
        headerBytes.insert(headerBytes.end(), maskBytes, maskBytes + 4 * masks.size());
        headerBytes.shrink_to_fit();
        if (height < 0) return;
        bits.resize(RowBytes() * static_cast<std::size_t>(height));
        for (std::size_t i = 0; i < bits.size(); ++i) bits[i] = static_cast<std::uint8_t>(i * 29 + i / 7 * 3 + 11);
    }

    BITMAPINFOHEADER* Header() { return reinterpret_cast<BITMAPINFOHEADER*>(headerBytes.data()); }
    std::size_t RowBytes() {
        return static_cast<std::size_t>(testkit::PaddedRowBytes(Header()->biWidth, Header()->biBitCount));
    }
    /// Row `y` of the picture, 0 being the top one.
    std::uint8_t* Row(int y) { return bits.data() + RowBytes() * static_cast<std::size_t>(Header()->biHeight - 1 - y); }
};

void CopyInto(ZScanRect& tile, TestDib& dib, int x, int y) { tile.CopyFromDib(dib.Header(), dib.bits.data(), x, y); }

bool IsOpaque(const ZScanRect& tile) {
    for (int row = 0; row < tile.GetHeight(); ++row)
        for (int i = 0; i < -tile.GetAlphaStride(); ++i)
            if (tile.GetAlphaRowPtr(row)[i] != 0xFF) return false;
    return true;
}

struct Depth {
    int bitCount;
    ColorFormat format;
};

class DibDepth : public testing::TestWithParam<Depth> {};

TEST_P(DibDepth, GivesTheMatchingFormatAndThePixelsOfTheRectangleAtEveryPlace) {
    const auto [bitCount, format] = GetParam();
    TestDib dib(21, 9, bitCount);
    for (int y = 0; y <= 9 - 4; ++y)
        for (int x = 0; x <= 21 - 7; ++x) {
            ZScanRect tile(7, 4, shr::PBGRA_32);
            CopyInto(tile, dib, x, y);
            ASSERT_EQ(tile.GetColorFormat(), format);
            ASSERT_EQ(tile.GetWidth(), 7);
            ASSERT_EQ(tile.GetHeight(), 4);
            for (int row = 0; row < 4; ++row)
                for (int col = 0; col < 7; ++col) {
                    std::uint32_t expected = testkit::PixelAt(dib.Row(y + row), x + col, format);
                    if (format == shr::BGRA_32) expected |= 0xFF000000;
                    ASSERT_EQ(testkit::PixelAt(tile.GetRowPtr(row), col, format), expected)
                        << "at (" << x << ", " << y << "), pixel (" << col << ", " << row << ")";
                }
            if (format == shr::BGRA_32) {
                ASSERT_EQ(tile.GetAlphaRowPtr(0), nullptr);
            } else {
                ASSERT_TRUE(IsOpaque(tile));
            }
        }
}

TEST_P(DibDepth, MakesAMaskOfTheSameFormatOpaqueAgainInItsPlace) {
    const auto [bitCount, format] = GetParam();
    TestDib dib(9, 3, bitCount);
    ZScanRect tile(9, 3, format);
    const std::uint8_t* row = tile.GetRowPtr(0);
    for (int y = 0; y < 3 && testkit::HasMask(format); ++y) tile.GetAlphaRowPtr(y)[0] = 0x18;
    CopyInto(tile, dib, 0, 0);
    EXPECT_EQ(tile.GetRowPtr(0), row);
    EXPECT_EQ(testkit::PixelAt(tile.GetRowPtr(0), 8, format),
              testkit::PixelAt(dib.Row(0), 8, format) | (format == shr::BGRA_32 ? 0xFF000000 : 0));
    if (testkit::HasMask(format)) { EXPECT_TRUE(IsOpaque(tile)); }
}

TEST_P(DibDepth, TakesTheWholeDibAndItsLastPixel) {
    const auto [bitCount, format] = GetParam();
    TestDib dib(5, 3, bitCount);
    ZScanRect whole(5, 3, shr::GRAYSCALE_8), last(1, 1, shr::GRAYSCALE_8);
    CopyInto(whole, dib, 0, 0);
    CopyInto(last, dib, 4, 2);
    EXPECT_EQ(testkit::PixelAt(whole.GetRowPtr(2), 4, format), testkit::PixelAt(last.GetRowPtr(0), 0, format));
}

TEST_P(DibDepth, RefusesARectangleThatReachesOutsideAndChangesNothing) {
    TestDib dib(10, 6, GetParam().bitCount);
    constexpr int kMax = std::numeric_limits<int>::max(), kMin = std::numeric_limits<int>::min();
    struct Case {
        int x, y;
        ScanRectCheck check;
    };
    for (const Case& c : {Case{6, 0, ScanRectCheck::dibWidth},
                          {7, 0, ScanRectCheck::dibWidth},
                          {kMax, 0, ScanRectCheck::dibWidth},
                          {-1, 0, ScanRectCheck::dibWidth},
                          {kMin, 0, ScanRectCheck::dibWidth},
                          {0, 4, ScanRectCheck::dibHeight},
                          {0, kMax, ScanRectCheck::dibHeight},
                          {0, -1, ScanRectCheck::dibHeight},
                          {0, kMin, ScanRectCheck::dibHeight},
                          {6, 4, ScanRectCheck::dibWidth},
                          {-1, -1, ScanRectCheck::dibWidth}}) {
        ZScanRect tile(5, 3, shr::GRAYSCALE_16);
        std::memset(tile.GetRowPtr(2), 0x5A, 3 * 12);
        const std::uint8_t* row = tile.GetRowPtr(2);
        EXPECT_TRUE(RaisesInternalError([&] { CopyInto(tile, dib, c.x, c.y); }, c.check))
            << "(" << c.x << ", " << c.y << ")";
        EXPECT_EQ(tile.GetColorFormat(), shr::GRAYSCALE_16);
        EXPECT_EQ(tile.GetRowPtr(2), row);
        EXPECT_EQ(std::vector<std::uint8_t>(row, row + 36), std::vector<std::uint8_t>(36, 0x5A));
    }
}

INSTANTIATE_TEST_SUITE_P(Each, DibDepth,
                         testing::Values(Depth{1, shr::INDEXED_1}, Depth{4, shr::INDEXED_4}, Depth{8, shr::INDEXED_8},
                                         Depth{24, shr::BGR_24}, Depth{32, shr::BGRA_32}),
                         [](const auto& instance) { return std::to_string(instance.param.bitCount) + "Bits"; });

TEST(CopyFromDib, TakesRowsFromTheTopOfABottomUpDib) {
    TestDib dib(2, 2, 8);
    dib.bits = {3, 4, 0, 0,   // the lower row comes first in memory
                1, 2, 0, 0};  // and the upper one last
    ZScanRect tile(2, 2, shr::BGRA_32), corner(1, 1, shr::BGRA_32);
    CopyInto(tile, dib, 0, 0);
    EXPECT_EQ(tile.GetRowPtr(0)[0], 1);
    EXPECT_EQ(tile.GetRowPtr(0)[1], 2);
    EXPECT_EQ(tile.GetRowPtr(1)[0], 3);
    EXPECT_EQ(tile.GetRowPtr(1)[1], 4);
    CopyInto(corner, dib, 1, 1);
    EXPECT_EQ(corner.GetRowPtr(0)[0], 4);
}

TEST(CopyFromDib, AlwaysRefusesATopDownDib) {
    for (const int bitCount : {1, 8, 16, 24, 32}) {
        TestDib dib(10, -10, bitCount);
        ZScanRect tile(3, 3, shr::BGRA_32);
        EXPECT_TRUE(RaisesInternalError([&] { CopyInto(tile, dib, 0, 0); }, ScanRectCheck::dibHeight));
    }
}

TEST(CopyFromDib, RefusesADibOfNegativeWidth) {
    TestDib dib(4, 4, 8);
    dib.Header()->biWidth = -4;
    ZScanRect tile(1, 1, shr::BGRA_32);
    EXPECT_TRUE(RaisesInternalError([&] { CopyInto(tile, dib, 0, 0); }, ScanRectCheck::dibWidth));
}

TEST(CopyFromDib, RefusesOtherDepthsAndChangesNothing) {
    for (const int bitCount : {0, 2, 3, 15, 31, 48, 64, 65535}) {
        TestDib dib(4, 4, 32);
        dib.Header()->biBitCount = static_cast<WORD>(bitCount);
        ZScanRect tile(2, 2, shr::GRAYSCALE_8);
        tile.GetRowPtr(1)[1] = 77;
        EXPECT_TRUE(RaisesInternalError([&] { CopyInto(tile, dib, 0, 0); }, ScanRectCheck::dibDepth)) << bitCount;
        EXPECT_EQ(tile.GetColorFormat(), shr::GRAYSCALE_8);
        EXPECT_EQ(tile.GetRowPtr(1)[1], 77);
    }
}

TEST(CopyFromDib, RefusesCompressionsThatItDoesNotDecode) {
    struct Case {
        int bitCount;
        DWORD compression;
    };
    for (const Case& c : {Case{8, 1}, {4, 2}, {24, 4}, {32, 5}, {16, 1}, {1, 2}, {8, 4}, {8, 5}}) {
        TestDib dib(4, 4, c.bitCount, c.compression);
        ZScanRect tile(2, 2, shr::GRAYSCALE_16);
        EXPECT_TRUE(RaisesNamedError([&] { CopyInto(tile, dib, 0, 0); }, testkit::kUnsupportedDibText,
                                     ScanRectCheck::dibCompression))
            << c.bitCount << " bits, compression " << c.compression;
        EXPECT_EQ(tile.GetColorFormat(), shr::GRAYSCALE_16);
    }
}

TEST(CopyFromDib, MakesEvery32BitPixelOpaque) {
    TestDib dib(3, 1, 32);
    dib.bits = {1, 2, 3, 0, 4, 5, 6, 77, 7, 8, 9, 255};
    ZScanRect tile(3, 1, shr::INDEXED_1);
    CopyInto(tile, dib, 0, 0);
    const std::vector<std::uint8_t> expected = {1, 2, 3, 255, 4, 5, 6, 255, 7, 8, 9, 255};
    EXPECT_EQ(std::vector<std::uint8_t>(tile.GetRowPtr(0), tile.GetRowPtr(0) + 12), expected);
    EXPECT_EQ(dib.bits[3], 0) << "the source stays";
}

struct Sample16 {
    std::uint16_t value;
    std::uint8_t blue, green, red;
};

void ExpectSamples(TestDib dib, const std::vector<Sample16>& samples) {
    ASSERT_EQ(static_cast<std::size_t>(dib.Header()->biWidth), samples.size());
    for (std::size_t i = 0; i < samples.size(); ++i) {
        dib.bits[2 * i] = static_cast<std::uint8_t>(samples[i].value);
        dib.bits[2 * i + 1] = static_cast<std::uint8_t>(samples[i].value >> 8);
    }
    for (int x = 0; x < static_cast<int>(samples.size()); ++x) {
        ZScanRect tile(static_cast<int>(samples.size()) - x, 1, shr::INDEXED_1);
        CopyInto(tile, dib, x, 0);
        ASSERT_EQ(tile.GetColorFormat(), shr::BGR_24);
        ASSERT_TRUE(IsOpaque(tile));
        const Sample16& expected = samples[static_cast<std::size_t>(x)];
        EXPECT_EQ(tile.GetRowPtr(0)[0], expected.blue) << std::hex << expected.value;
        EXPECT_EQ(tile.GetRowPtr(0)[1], expected.green) << std::hex << expected.value;
        EXPECT_EQ(tile.GetRowPtr(0)[2], expected.red) << std::hex << expected.value;
    }
}

// Written by hand: the five or six bits of each channel shifted to the top of a byte, low bits zero.
const std::vector<Sample16> k555 = {{0x7FFF, 0xF8, 0xF8, 0xF8}, {0x0000, 0, 0, 0},         {0x001F, 0xF8, 0, 0},
                                    {0x03E0, 0, 0xF8, 0},       {0x7C00, 0, 0, 0xF8},      {0x8000, 0, 0, 0},
                                    {0x0421, 0x08, 0x08, 0x08}, {0x1234, 0xA0, 0x88, 0x20}};
const std::vector<Sample16> k565 = {{0xFFFF, 0xF8, 0xFC, 0xF8}, {0x0000, 0, 0, 0},         {0x001F, 0xF8, 0, 0},
                                    {0x07E0, 0, 0xFC, 0},       {0xF800, 0, 0, 0xF8},      {0x8000, 0, 0, 0x80},
                                    {0x0821, 0x08, 0x04, 0x08}, {0x1234, 0xA0, 0x44, 0x10}};

TEST(CopyFromDib, Reads16BitsAs555WithoutBitFields) { ExpectSamples(TestDib(8, 1, 16), k555); }

TEST(CopyFromDib, Reads16BitsAs555WithExactlyTheseMasks) {
    ExpectSamples(TestDib(8, 1, 16, BI_BITFIELDS, {0x7C00, 0x03E0, 0x001F}), k555);
}

TEST(CopyFromDib, Reads16BitsAs565WithAnyOtherMasks) {
    for (const std::vector<std::uint32_t>& masks : {std::vector<std::uint32_t>{0xF800, 0x07E0, 0x001F},
                                                    {0, 0, 0},
                                                    {0x001F, 0x03E0, 0x7C00},
                                                    {0x7C00, 0x03E0, 0x001E},
                                                    {0x7C00, 0x07E0, 0x001F},
                                                    {0x107C00, 0x03E0, 0x001F}})
        ExpectSamples(TestDib(8, 1, 16, BI_BITFIELDS, masks), k565);
}

TEST(CopyFromDib, LooksForTheMasksBehindALongerHeader) {
    TestDib dib(8, 1, 16, BI_BITFIELDS, std::vector<std::uint32_t>(20, 0));
    dib.Header()->biSize = 40 + 4 * 10;
    const std::uint32_t masks[] = {0x7C00, 0x03E0, 0x001F};
    std::memcpy(dib.headerBytes.data() + dib.Header()->biSize, masks, sizeof masks);
    ExpectSamples(dib, k555);
}

TEST(CopyFromDib, Takes16BitPixelsAtEveryPlace) {
    TestDib dib(7, 5, 16);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 7; ++x) {
            ZScanRect tile(1, 1, shr::BGR_24);
            CopyInto(tile, dib, x, y);
            const unsigned value = testkit::PixelAt(dib.Row(y), x, shr::GRAYSCALE_16);
            const unsigned expected = ((value & 31) << 3) | ((value >> 5 & 31) << 11) | ((value >> 10 & 31) << 19);
            EXPECT_EQ(testkit::PixelAt(tile.GetRowPtr(0), 0, shr::BGR_24), expected) << x << ", " << y;
        }
}

TEST(CopyFromDib, ReadsNothingOutsideTheRectanglesRows) {
    // Only the bits of the rectangle's own rows exist; an odd width leaves padding at the end of each.
    for (const int bitCount : {1, 4, 8, 16, 24, 32}) {
        TestDib dib(11, 3, bitCount);
        ZScanRect tile(3, 1, shr::BGRA_32);
        tile.CopyFromDib(dib.Header(), dib.bits.data(), 8, 2);
        EXPECT_EQ(tile.GetWidth(), 3);
    }
}

TEST(CopyRGBQUADToColor4b, ExchangesBlueAndRedAndMakesOpaque) {
    const RGBQUAD palette[] = {{1, 2, 3, 0}, {40, 50, 60, 70}};
    shr::Color4b colors[2];
    shr::CopyRGBQUADToColor4b(colors, palette, 2, false);
    EXPECT_EQ(colors[0], shr::Color4b(3, 2, 1, 255));
    EXPECT_EQ(colors[1], shr::Color4b(60, 50, 40, 255));
    RGBQUAD back[2];
    shr::CopyColor4bToRGBQUAD(back, colors, 2, false);
    EXPECT_EQ(back[1].rgbBlue, 40);
    EXPECT_EQ(back[1].rgbGreen, 50);
    EXPECT_EQ(back[1].rgbRed, 60);
    EXPECT_EQ(back[1].rgbReserved, 0);
}

}  // namespace
