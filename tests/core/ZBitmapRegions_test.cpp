// Rectangles of pixels and masks in and out, against a judge that goes pixel by pixel. Buffers have their exact size on
// the heap, so that a sanitizer sees every step outside.
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "core/OpenBitmaps.h"
#include "core/checks/BitmapChecks.h"
#include "shr/Dib.h"
#include "support_code/ExpectError.h"
#include "support_code/Pixels.h"

namespace {

using shr::ColorFormat;
using testkit::kFormats;
using testkit::OpenBitmap;
using testkit::RaisesInternalError;
using zbm::BitmapCheck;
using zbm::ZBitmap;

using Random = std::mt19937;

int Below(Random& random, int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); }

/// Rows in a buffer that ends with the last pixel of the row that comes last in memory.
struct Rows {
    std::vector<std::uint8_t> bytes;
    std::size_t firstRow;
    int stride;

    Rows(Random& random, int height, int rowBytes, int gap, bool bottomUp)
        : bytes(static_cast<std::size_t>((height - 1) * (rowBytes + gap) + rowBytes)),
          firstRow(bottomUp ? static_cast<std::size_t>((height - 1) * (rowBytes + gap)) : 0),
          stride(bottomUp ? -(rowBytes + gap) : rowBytes + gap) {
        for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
    }
    std::uint8_t* First() { return bytes.data() + firstRow; }
    std::uint8_t* Row(int row) { return First() + row * stride; }
};

void FillAtRandom(OpenBitmap& bitmap, Random& random) {
    for (auto& row : bitmap.scanRectRows)
        for (auto& tile : row.tiles)
            for (int y = 0; y < tile->GetHeight(); ++y) {
                for (int i = 0; i < -tile->GetStride(); ++i)
                    tile->GetRowPtr(y)[i] = static_cast<std::uint8_t>(random());
                for (int i = 0; i < -tile->GetAlphaStride(); ++i)
                    tile->GetAlphaRowPtr(y)[i] = static_cast<std::uint8_t>(random());
            }
}

bool Contains(const ZBitmap& bitmap, int x, int y) {
    return x >= 0 && y >= 0 && x < bitmap.GetPixelWidth() && y < bitmap.GetPixelHeight();
}

/// All bytes of all tiles, padding included.
std::vector<std::vector<std::uint8_t>> TileBytes(const OpenBitmap& bitmap) {
    std::vector<std::vector<std::uint8_t>> all;
    for (const auto& row : bitmap.scanRectRows)
        for (const auto& tile : row.tiles) {
            const std::uint8_t* pixels = tile->GetRowPtr(tile->GetHeight() - 1);
            all.emplace_back(pixels, pixels - tile->GetHeight() * tile->GetStride());
            const std::uint8_t* mask = tile->GetAlphaRowPtr(tile->GetHeight() - 1);
            all.emplace_back(mask, mask - tile->GetHeight() * tile->GetAlphaStride());
        }
    return all;
}

struct TileSize {
    int width, height;
};
constexpr TileSize kTileSizes[] = {{1, 1}, {3, 5}, {7, 4}, {13, 9}, {33, 17}, {64, 64}};

class Regions : public testing::TestWithParam<ColorFormat> {};

TEST_P(Regions, FetchWritesTheOverlapPixelByPixelAndNothingElse) {
    const ColorFormat format = GetParam();
    Random random(17u + static_cast<unsigned>(format));
    for (const TileSize& size : kTileSizes) {
        OpenBitmap bitmap(50, 31, format, size.width, size.height);
        FillAtRandom(bitmap, random);
        for (int trial = 0; trial < 60; ++trial) {
            const int x = Below(random, 60), y = Below(random, 40), w = 1 + Below(random, 60),
                      h = 1 + Below(random, 40);
            const int rowBytes = (testkit::BitsPerPixel(format) * w + 7) / 8;
            Rows rows(random, h, rowBytes, Below(random, 5), Below(random, 2) == 1);
            Rows expected = rows;
            for (int row = 0; row < h; ++row)
                for (int col = 0; col < w; ++col)
                    if (Contains(bitmap, x + col, y + row))
                        testkit::SetPixelAt(expected.Row(row), col, format,
                                            testkit::GetPixel(bitmap, x + col, y + row));
            bitmap.FetchRegion(rows.First(), rows.stride, RECT{x, y, x + w, y + h});
            ASSERT_EQ(rows.bytes, expected.bytes)
                << x << ", " << y << ", " << w << " x " << h << ", tiles of " << size.width << " x " << size.height;
        }
    }
}

TEST_P(Regions, StoreChangesTheOverlapPixelByPixelAndNothingElse) {
    const ColorFormat format = GetParam();
    Random random(29u + static_cast<unsigned>(format));
    for (const TileSize& size : kTileSizes) {
        OpenBitmap bitmap(50, 31, format, size.width, size.height);
        FillAtRandom(bitmap, random);
        for (int trial = 0; trial < 60; ++trial) {
            const int x = Below(random, 70) - 10, y = Below(random, 50) - 10;
            const int w = 1 + Below(random, 70), h = 1 + Below(random, 50);
            const int rowBytes = (testkit::BitsPerPixel(format) * w + 7) / 8;
            Rows rows(random, h, rowBytes, Below(random, 5), Below(random, 2) == 1);
            OpenBitmap expected(bitmap);
            for (int row = 0; row < h; ++row)
                for (int col = 0; col < w; ++col)
                    if (Contains(bitmap, x + col, y + row))
                        testkit::SetPixel(expected, x + col, y + row, testkit::PixelAt(rows.Row(row), col, format));
            const auto source = rows.bytes;
            bitmap.StoreRegion(rows.First(), rows.stride, RECT{x, y, x + w, y + h});
            ASSERT_EQ(TileBytes(bitmap), TileBytes(expected))
                << x << ", " << y << ", " << w << " x " << h << ", tiles of " << size.width << " x " << size.height;
            ASSERT_EQ(rows.bytes, source);
        }
    }
}

TEST_P(Regions, StoredPixelsAreFetchedAgain) {
    const ColorFormat format = GetParam();
    Random random(31u);
    OpenBitmap bitmap(37, 23, format, 13, 9);
    const int rowBytes = (testkit::BitsPerPixel(format) * 37 + 7) / 8;
    Rows in(random, 23, rowBytes, 0, false), out(random, 23, rowBytes, 0, true);
    bitmap.StoreRegion(in.First(), in.stride, 0, 0, 37, 23);
    bitmap.FetchRegion(out.First(), out.stride, 0, 0, 37, 23);
    for (int y = 0; y < 23; ++y)
        for (int x = 0; x < 37; ++x)
            ASSERT_EQ(testkit::PixelAt(out.Row(y), x, format), testkit::PixelAt(in.Row(y), x, format));
}

INSTANTIATE_TEST_SUITE_P(EveryFormat, Regions, testing::ValuesIn(kFormats),
                         [](const auto& instance) { return testkit::FormatName(instance.param); });

class Masks : public testing::TestWithParam<ColorFormat> {};

TEST_P(Masks, AreExpandedIntoTheLastByteOfEachPixel) {
    const ColorFormat format = GetParam();
    Random random(41u + static_cast<unsigned>(format));
    for (const TileSize& size : kTileSizes)
        for (const int step : {1, 2, 3, 4, 7}) {
            OpenBitmap bitmap(50, 31, format, size.width, size.height);
            FillAtRandom(bitmap, random);
            for (int trial = 0; trial < 12; ++trial) {
                const int x = Below(random, 60) - 5, y = Below(random, 40) - 5;
                const int w = 1 + Below(random, 60), h = 1 + Below(random, 40);
                Rows rows(random, h, w * step, Below(random, 5), Below(random, 2) == 1);
                Rows expected = rows;
                for (int row = 0; row < h; ++row)
                    for (int col = 0; col < w; ++col)
                        if (Contains(bitmap, x + col, y + row))
                            expected.Row(row)[step * col + step - 1] =
                                testkit::GetMask(bitmap, x + col, y + row) ? 255 : 0;
                bitmap.calls.clear();
                bitmap.GetAlphaFromMask(rows.First(), rows.stride, RECT{x, y, x + w, y + h},
                                        static_cast<unsigned>(step));
                ASSERT_EQ(rows.bytes, expected.bytes) << x << ", " << y << ", " << w << " x " << h << ", step " << step
                                                      << ", tiles of " << size.width << " x " << size.height;
                for (const std::string& call : bitmap.calls) ASSERT_NE(call.substr(0, 6), "Commit");
            }
        }
}

TEST_P(Masks, AreSetFromTheFourthByteOfEachPixel) {
    const ColorFormat format = GetParam();
    Random random(43u + static_cast<unsigned>(format));
    for (const TileSize& size : kTileSizes) {
        OpenBitmap bitmap(50, 31, format, size.width, size.height);
        FillAtRandom(bitmap, random);
        for (int trial = 0; trial < 40; ++trial) {
            const int x = Below(random, 70) - 10, y = Below(random, 50) - 10;
            const int w = 1 + Below(random, 70), h = 1 + Below(random, 50);
            Rows rows(random, h, w * 4, 4 * Below(random, 2), Below(random, 2) == 1);
            for (int row = 0; row < h; ++row)  // many values close to the threshold
                for (int col = 0; col < w; col += 2)
                    rows.Row(row)[4 * col + 3] = static_cast<std::uint8_t>(126 + Below(random, 4));
            OpenBitmap expected(bitmap);
            for (int row = 0; row < h; ++row)
                for (int col = 0; col < w; ++col)
                    if (Contains(bitmap, x + col, y + row))
                        testkit::SetMask(expected, x + col, y + row, rows.Row(row)[4 * col + 3] >= 128);
            const auto source = rows.bytes;
            bitmap.SetMaskFromAlpha(rows.First(), rows.stride, RECT{x, y, x + w, y + h});
            ASSERT_EQ(TileBytes(bitmap), TileBytes(expected))
                << x << ", " << y << ", " << w << " x " << h << ", tiles of " << size.width << " x " << size.height;
            ASSERT_EQ(rows.bytes, source);
        }
    }
}

std::vector<ColorFormat> MaskedFormats() {
    std::vector<ColorFormat> formats;
    for (const ColorFormat format : kFormats)
        if (testkit::HasMask(format)) formats.push_back(format);
    return formats;
}

INSTANTIATE_TEST_SUITE_P(EveryFormatWithMask, Masks, testing::ValuesIn(MaskedFormats()),
                         [](const auto& instance) { return testkit::FormatName(instance.param); });

TEST(SetMaskFromAlpha, SeparatesTransparentFromOpaqueAt128) {
    OpenBitmap bitmap(2, 1, shr::BGR_24, 8, 8);
    std::uint8_t pixels[] = {255, 255, 255, 127, 0, 0, 0, 128};
    bitmap.SetMaskFromAlpha(pixels, 8, RECT{0, 0, 2, 1});
    EXPECT_FALSE(testkit::GetMask(bitmap, 0, 0));
    EXPECT_TRUE(testkit::GetMask(bitmap, 1, 0));
}

TEST(MaskExchange, OfAFormatWithAlphaChannelIsAnInternalError) {
    for (const ColorFormat format : {shr::BGRA_32, shr::RGBA_32, shr::PBGRA_32}) {
        OpenBitmap bitmap(4, 4, format, 8, 8);
        std::vector<std::uint8_t> pixels(64);
        EXPECT_TRUE(RaisesInternalError(
            [&] {
                bitmap.GetAlphaFromMask(pixels.data(), 16, RECT{0, 0, 4, 4}, 4);
            },
            BitmapCheck::alphaFetchedFormat));
        EXPECT_TRUE(RaisesInternalError(
            [&] {
                bitmap.SetMaskFromAlpha(pixels.data(), 16, RECT{0, 0, 4, 4});
            },
            BitmapCheck::alphaStoredFormat));
        EXPECT_TRUE(bitmap.calls.empty()) << "no tile is locked for it";
    }
}

TEST(GetAlphaFromMask, OfPixelsWithoutBytesIsAnInternalError) {
    OpenBitmap bitmap(4, 4, shr::GRAYSCALE_8, 8, 8);
    std::vector<std::uint8_t> pixels(64, 0xCC);
    EXPECT_TRUE(RaisesInternalError(
        [&] {
            bitmap.GetAlphaFromMask(pixels.data(), 16, RECT{0, 0, 4, 4}, 0);
        },
        BitmapCheck::alphaFetchedStep));
    EXPECT_EQ(pixels, std::vector<std::uint8_t>(64, 0xCC));
    EXPECT_TRUE(bitmap.calls.empty()) << "no tile is locked for it";
}

TEST(FetchRegion, RefusesEachNegativeCoordinate) {
    OpenBitmap bitmap(9, 9, shr::GRAYSCALE_8, 4, 4);
    std::uint8_t byte = 0;
    for (const RECT& rect : {RECT{-1, 0, 5, 5}, RECT{0, -1, 5, 5}, RECT{0, 0, -1, 5}, RECT{0, 0, 5, -1}})
        EXPECT_TRUE(RaisesInternalError([&] { bitmap.FetchRegion(&byte, 1, rect); }, BitmapCheck::fetchedCorners));
    EXPECT_TRUE(bitmap.calls.empty());
}

TEST(FetchRegion, RefusesEmptyRectanglesByWidthThenHeight) {
    OpenBitmap bitmap(9, 9, shr::GRAYSCALE_8, 4, 4);
    std::uint8_t byte = 0;
    EXPECT_TRUE(RaisesInternalError(
        [&] {
            bitmap.FetchRegion(&byte, 1, RECT{0, 0, 0, 5});
        },
        BitmapCheck::fetchedWidth));
    EXPECT_TRUE(RaisesInternalError(
        [&] {
            bitmap.FetchRegion(&byte, 1, RECT{5, 0, 4, 5});
        },
        BitmapCheck::fetchedWidth));
    EXPECT_TRUE(RaisesInternalError(
        [&] {
            bitmap.FetchRegion(&byte, 1, RECT{0, 0, 5, 0});
        },
        BitmapCheck::fetchedHeight));
    EXPECT_TRUE(RaisesInternalError(
        [&] {
            bitmap.FetchRegion(&byte, 1, RECT{0, 5, 5, 4});
        },
        BitmapCheck::fetchedHeight));
    EXPECT_TRUE(RaisesInternalError(
        [&] {
            bitmap.FetchRegion(&byte, 1, RECT{0, 0, 0, 0});
        },
        BitmapCheck::fetchedWidth));
}

TEST(FetchRegion, ChecksCoordinatesFirst) {
    OpenBitmap bitmap(9, 9, shr::GRAYSCALE_8, 4, 4);
    std::uint8_t byte = 0;
    EXPECT_TRUE(RaisesInternalError(
        [&] {
            bitmap.FetchRegion(&byte, 1, RECT{-1, 0, -1, 0});
        },
        BitmapCheck::fetchedCorners));
}

TEST(FetchRegion, ChecksARectangleThatComesAsASizeTheSameWay) {
    OpenBitmap bitmap(9, 9, shr::GRAYSCALE_8, 4, 4);
    std::uint8_t byte = 0;
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.FetchRegion(&byte, 1, -1, 0, 2, 2); }, BitmapCheck::fetchedCorners));
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.FetchRegion(&byte, 1, 0, 0, 0, 2); }, BitmapCheck::fetchedWidth));
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.FetchRegion(&byte, 1, 0, 0, 2, 0); }, BitmapCheck::fetchedHeight));
}

TEST(FetchRegion, OfAPictureWithoutPixelsWritesNothing) {
    OpenBitmap bitmap(0, 0, shr::BGRA_32, 512, 512);
    std::vector<std::uint8_t> poison(16, 0xCC);
    bitmap.FetchRegion(poison.data(), 8, RECT{0, 0, 2, 2});
    EXPECT_EQ(poison, std::vector<std::uint8_t>(16, 0xCC));
    EXPECT_TRUE(bitmap.calls.empty());
}

TEST(FetchRegion, OfARectangleFarLargerThanThePictureNeedsOnlyTheOverlap) {
    constexpr int kMax = std::numeric_limits<int>::max();
    OpenBitmap bitmap(3, 2, shr::GRAYSCALE_8, 2, 2);
    testkit::SetPixel(bitmap, 2, 1, 9);
    std::vector<std::uint8_t> pixels(6, 0xCC);
    bitmap.FetchRegion(pixels.data(), 3, RECT{0, 0, kMax, kMax});
    EXPECT_EQ(pixels, (std::vector<std::uint8_t>{0, 0, 0, 0, 0, 9}));
}

TEST(FetchRegion, LocksAndUnlocksOnlyTheTilesThatItMeetsInTheirOrder) {
    OpenBitmap bitmap(12, 12, shr::GRAYSCALE_8, 4, 4);
    std::vector<std::uint8_t> pixels(25);
    bitmap.FetchRegion(pixels.data(), 5, RECT{4, 3, 9, 8});
    EXPECT_EQ(bitmap.calls, (std::vector<std::string>{"Lock 0,1", "Unlock 0,1", "Lock 0,2", "Unlock 0,2", "Lock 1,1",
                                                      "Unlock 1,1", "Lock 1,2", "Unlock 1,2"}));
}

TEST(GetAlphaFromMask, LocksAndUnlocksOnlyTheTilesThatItMeetsInTheirOrder) {
    OpenBitmap bitmap(12, 12, shr::GRAYSCALE_8, 4, 4);
    std::vector<std::uint8_t> pixels(25);
    bitmap.GetAlphaFromMask(pixels.data(), 5, RECT{4, 3, 9, 8}, 1);
    EXPECT_EQ(bitmap.calls, (std::vector<std::string>{"Lock 0,1", "Unlock 0,1", "Lock 0,2", "Unlock 0,2", "Lock 1,1",
                                                      "Unlock 1,1", "Lock 1,2", "Unlock 1,2"}));
}

TEST(StoreRegion, CommitsEachTileThatItMeetsBeforeItUnlocksIt) {
    OpenBitmap bitmap(12, 12, shr::GRAYSCALE_8, 4, 4);
    const std::vector<std::uint8_t> pixels(25);
    bitmap.StoreRegion(pixels.data(), 5, RECT{0, 7, 5, 9});
    EXPECT_EQ(bitmap.calls, (std::vector<std::string>{"Lock 1,0", "Commit 1,0", "Unlock 1,0", "Lock 1,1", "Commit 1,1",
                                                      "Unlock 1,1", "Lock 2,0", "Commit 2,0", "Unlock 2,0", "Lock 2,1",
                                                      "Commit 2,1", "Unlock 2,1"}));
}

TEST(SetMaskFromAlpha, CommitsEachTileThatItMeetsBeforeItUnlocksIt) {
    OpenBitmap bitmap(12, 12, shr::GRAYSCALE_8, 4, 4);
    std::vector<std::uint8_t> pixels(100);
    bitmap.SetMaskFromAlpha(pixels.data(), 20, RECT{3, 8, 5, 12});
    EXPECT_EQ(bitmap.calls, (std::vector<std::string>{"Lock 2,0", "Commit 2,0", "Unlock 2,0", "Lock 2,1", "Commit 2,1",
                                                      "Unlock 2,1"}));
}

TEST(StoreRegion, TakesARectangleThatBeginsOutsideAndStoresTheOverlap) {
    OpenBitmap bitmap(4, 4, shr::GRAYSCALE_8, 2, 2);
    std::vector<std::uint8_t> pixels;
    for (std::uint8_t i = 0; i < 25; ++i) pixels.push_back(static_cast<std::uint8_t>(100 + i));
    bitmap.StoreRegion(pixels.data(), 5, RECT{-2, -2, 3, 3});
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x)
            EXPECT_EQ(testkit::GetPixel(bitmap, x, y),
                      x < 3 && y < 3 ? 100u + 5u * static_cast<unsigned>(y + 2) + static_cast<unsigned>(x + 2) : 0u);
}

TEST(StoreRegion, OfAnEmptyRectangleStoresNothing) {
    OpenBitmap bitmap(4, 4, shr::GRAYSCALE_8, 2, 2);
    const std::uint8_t byte = 1;
    for (const RECT& rect :
         {RECT{0, 0, 0, 5}, RECT{0, 0, 5, 0}, RECT{3, 3, 1, 1}, RECT{-5, -5, -1, -1}, RECT{4, 0, 9, 4}})
        EXPECT_NO_THROW(bitmap.StoreRegion(&byte, 1, rect));
    EXPECT_TRUE(bitmap.calls.empty());
}

TEST(StoreRegion, LeavesATileLockedWhoseCommitFails) {
    OpenBitmap bitmap(4, 4, shr::GRAYSCALE_8, 2, 2);
    std::vector<std::uint8_t> pixels(64);
    bitmap.failAtCommit = true;
    EXPECT_THROW(bitmap.StoreRegion(pixels.data(), 4, RECT{0, 0, 4, 4}), std::runtime_error);
    EXPECT_EQ(bitmap.calls, (std::vector<std::string>{"Lock 0,0", "Commit 0,0"}));
    bitmap.calls.clear();
    EXPECT_THROW(bitmap.SetMaskFromAlpha(pixels.data(), 16, RECT{2, 2, 4, 4}), std::runtime_error);
    EXPECT_EQ(bitmap.calls, (std::vector<std::string>{"Lock 1,1", "Commit 1,1"}));
}

/// Keeps the rectangle with which the one-rectangle form of each operation is called.
class RectRecorder : public OpenBitmap {
public:
    using OpenBitmap::OpenBitmap;
    using ZBitmap::FetchDib;
    using ZBitmap::FetchRegion;
    using ZBitmap::StoreRegion;
    void FetchDib(shr::CDib&, const RECT& rect) const override { Keep(rect); }
    void FetchRegion(unsigned char*, int stride, const RECT& rect) const override { Keep(rect, stride); }
    void StoreRegion(const unsigned char*, int stride, const RECT& rect) override { Keep(rect, stride); }

    mutable std::vector<int> kept;

private:
    void Keep(const RECT& rect, int stride = 0) const {
        kept = {static_cast<int>(rect.left), static_cast<int>(rect.top), static_cast<int>(rect.right),
                static_cast<int>(rect.bottom), stride};
    }
};

TEST(RegionsGivenAsPlaceAndSize, BecomeRectangles) {
    RectRecorder bitmap(9, 9, shr::GRAYSCALE_8, 4, 4);
    std::uint8_t byte = 0;
    bitmap.FetchRegion(&byte, 77, 1, 2, 30, 40);
    EXPECT_EQ(bitmap.kept, (std::vector<int>{1, 2, 31, 42, 77}));
    bitmap.StoreRegion(&byte, -7, -1, -2, 10, 20);
    EXPECT_EQ(bitmap.kept, (std::vector<int>{-1, -2, 9, 18, -7}));
    shr::CDib dib;
    bitmap.FetchDib(dib, 3, 4, 5, 6);
    EXPECT_EQ(bitmap.kept, (std::vector<int>{3, 4, 8, 10, 0}));
}

constexpr int kMost = std::numeric_limits<int>::max(), kLeast = std::numeric_limits<int>::min();

TEST(RegionsGivenAsPlaceAndSize, EndAtTheLargestNumberWhereTheSumIsLarger) {
    RectRecorder bitmap(9, 9, shr::GRAYSCALE_8, 4, 4);
    std::uint8_t byte = 0;
    bitmap.FetchRegion(&byte, 1, 5, 7, kMost, kMost);
    EXPECT_EQ(bitmap.kept, (std::vector<int>{5, 7, kMost, kMost, 1}));
    bitmap.StoreRegion(&byte, 1, -5, kMost, kMost, 1);
    EXPECT_EQ(bitmap.kept, (std::vector<int>{-5, kMost - 1, kMost - 5, kMost, 1})) << "it keeps its row";
    bitmap.FetchRegion(&byte, 1, kLeast, 0, -1, kLeast);
    EXPECT_EQ(bitmap.kept, (std::vector<int>{kLeast, 0, kLeast, kLeast, 1}));
}

TEST(RegionsGivenAsPlaceAndSize, AreCutToThePictureHoweverLargeTheyAre) {
    OpenBitmap bitmap(3, 2, shr::GRAYSCALE_8, 2, 2);
    std::uint8_t pixels[2] = {7, 8};
    bitmap.StoreRegion(pixels, 2, 1, 1, kMost, kMost);
    EXPECT_EQ(testkit::GetPixel(bitmap, 1, 1), 7u);
    EXPECT_EQ(testkit::GetPixel(bitmap, 2, 1), 8u);
    std::uint8_t fetched[2] = {};
    bitmap.FetchRegion(fetched, 2, 1, 1, kMost, kMost);
    EXPECT_EQ(fetched[0], 7);
    EXPECT_EQ(fetched[1], 8);
}

TEST(RegionsGivenAsPlaceAndSize, MayBeginAtTheLargestNumber) {
    OpenBitmap bitmap(3, 2, shr::GRAYSCALE_8, 2, 2);
    std::uint8_t byte = 9;
    bitmap.FetchRegion(&byte, 1, kMost, 0, 1, 1);
    bitmap.FetchRegion(&byte, 1, 0, kMost, kMost, kMost);
    EXPECT_EQ(byte, 9);
    EXPECT_TRUE(testkit::RaisesInternalError([&] { bitmap.FetchRegion(&byte, 1, kMost, 0, 0, 1); },
                                             zbm::BitmapCheck::fetchedWidth));
}

}  // namespace
