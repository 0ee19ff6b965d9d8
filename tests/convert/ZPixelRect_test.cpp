#include "zbm/ZPixelRect.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>

#include "convert/PlainMatcher.h"
#include "convert/Reference.h"
#include "convert/ZBMColorFormat.h"
#include "core/OpenBitmaps.h"
#include "core/checks/ColorTableMatcherChecks.h"
#include "core/checks/PixelRectChecks.h"
#include "support_code/ExpectError.h"
#include "support_code/FormulaPicture.h"
#include "zbm/ColorTableMatcher.h"

namespace zbm {
namespace {

using shr::Color4b;
using shr::ColorFormat;
using testkit::FormulaBitmap;
using testkit::kFormats;

using Bytes = std::vector<std::uint8_t>;

// 13 x 9 pixels in tiles of 5 x 4, and a region that meets several of them at odd places.
constexpr int kWidth = 13, kHeight = 9;
constexpr RECT kRegion{1, 2, 12, 8};

ZBasicMemBitmap Picture(ColorFormat format) { return FormulaBitmap(kWidth, kHeight, format, 5, 4); }

/// Shows the parts that an application's subclass sees.
class OpenRect : public ZPixelRect {
public:
    using ZPixelRect::Free;
    using ZPixelRect::ZPixelRect;

    using ZPixelRect::colorTable;
    using ZPixelRect::colorTableChanged;
    using ZPixelRect::matcher;
    using ZPixelRect::pixels;
};

/// Writes down which operations on regions are called, with what.
class WatchedBitmap : public ZBasicMemBitmap {
public:
    explicit WatchedBitmap(const ZBasicMemBitmap& source) : ZBasicMemBitmap(source) {}

    using ZBasicMemBitmap::FetchRegion;
    using ZBasicMemBitmap::StoreRegion;
    void FetchRegion(unsigned char* dst, int dstStride, const RECT& rect) const override {
        Note("Fetch", dst);
        ZBasicMemBitmap::FetchRegion(dst, dstStride, rect);
    }
    void StoreRegion(const unsigned char* src, int srcStride, const RECT& rect) override {
        Note("Store", src);
        ZBasicMemBitmap::StoreRegion(src, srcStride, rect);
    }
    void GetAlphaFromMask(unsigned char* dst, int dstStride, const RECT& rect, unsigned pixelStep) const override {
        Note("GetAlpha", dst);
        EXPECT_EQ(pixelStep, 4u);
        ZBasicMemBitmap::GetAlphaFromMask(dst, dstStride, rect, pixelStep);
    }
    void SetMaskFromAlpha(unsigned char* src, int srcStride, const RECT& rect) override {
        Note("SetMask", src);
        ZBasicMemBitmap::SetMaskFromAlpha(src, srcStride, rect);
    }

    mutable std::vector<std::string> calls;
    mutable const unsigned char* lastBuffer = nullptr;

private:
    void Note(const char* call, const unsigned char* buffer) const {
        calls.emplace_back(call);
        lastBuffer = buffer;
    }
};

std::uint32_t PixelOf(const ZPixelRect& rect, int x, int y) {
    return testkit::PixelAt(rect.GetRowPtr(y), x, rect.GetColorFormat());
}

void SetPixelOf(const ZPixelRect& rect, int x, int y, std::uint32_t value) {
    testkit::SetPixelAt(rect.GetRowPtr(y), x, rect.GetColorFormat(), value);
}

std::vector<std::uint32_t> PixelsOf(const ZPixelRect& rect) {
    std::vector<std::uint32_t> pixels;
    for (unsigned y = 0; y < rect.GetHeight(); ++y)
        for (unsigned x = 0; x < rect.GetWidth(); ++x)
            pixels.push_back(PixelOf(rect, static_cast<int>(x), static_cast<int>(y)));
    return pixels;
}

bool HoldsNoPixels(const ZPixelRect& rect) {
    return rect.GetFirstRowPtr() == nullptr && rect.GetWidth() == 0 && rect.GetHeight() == 0 && rect.GetStride() == 0 &&
           rect.GetNumColorTableItems() == 0;
}

TEST(ZPixelRect, HoldsItsRowsFromTheTopDownWithAPositiveStride) {
    for (const ColorFormat format : kFormats) {
        const ZBasicMemBitmap bitmap = Picture(format);
        const ZPixelRect rect(bitmap, kRegion, format, nullptr);
        EXPECT_EQ(rect.GetWidth(), 11u);
        EXPECT_EQ(rect.GetHeight(), 6u);
        EXPECT_EQ(rect.GetColorFormat(), format);
        EXPECT_EQ(rect.GetStride(), testkit::PaddedRowBytes(11, testkit::BitsPerPixel(format)));
        EXPECT_EQ(rect.GetRowPtr(0), rect.GetFirstRowPtr());
        EXPECT_EQ(rect.GetRowPtr(1) - rect.GetRowPtr(0), rect.GetStride());
        const RECT region = rect.GetRegionRect();
        EXPECT_EQ(std::vector<long>({region.left, region.top, region.right, region.bottom}),
                  std::vector<long>({1, 2, 12, 8}));
        for (int y = 0; y < 6; ++y)
            for (int x = 0; x < 11; ++x)
                ASSERT_EQ(PixelOf(rect, x, y), testkit::FormulaPixel(format, x + 1, y + 2))
                    << testkit::FormatName(format) << " " << x << ", " << y;
    }
}

TEST(ZPixelRect, RefusesAFormatThatIsNone) {
    const ZBasicMemBitmap bitmap = Picture(shr::BGRA_32);
    for (const int format : {-1, 0, 14, 1000})
        EXPECT_TRUE(testkit::RaisesInternalError(
            [&] { ZPixelRect(bitmap, kRegion, static_cast<ColorFormat>(format), nullptr); },
            PixelRectCheck::formatRange));
}

TEST(ZPixelRect, ChecksTheFormatBeforeTheRegion) {
    const ZBasicMemBitmap bitmap = Picture(shr::BGRA_32);
    EXPECT_TRUE(testkit::RaisesInternalError(
        [&] {
            ZPixelRect(bitmap, RECT{-1, -1, -1, -1}, shr::FORMAT_NONE, nullptr);
        },
        PixelRectCheck::formatRange));
}

struct BadRegion {
    const char* name;
    RECT region;
    PixelRectCheck check;
};
class ZPixelRectRegion : public testing::TestWithParam<BadRegion> {};
TEST_P(ZPixelRectRegion, IsRefused) {
    const ZBasicMemBitmap bitmap = Picture(shr::GRAYSCALE_8);
    const RECT region = GetParam().region;
    const PixelRectCheck check = GetParam().check;
    for (const ColorFormat format : {shr::GRAYSCALE_8, shr::BGRA_32})
        EXPECT_TRUE(testkit::RaisesInternalError([&] { ZPixelRect(bitmap, region, format, nullptr); }, check));
    ZPixelRect rect(bitmap, kRegion, shr::GRAYSCALE_8, nullptr);
    EXPECT_TRUE(testkit::RaisesInternalError([&] { rect.Fetch(region, nullptr); }, check));
    EXPECT_EQ(rect.GetWidth(), 11u);  // as it was
    EXPECT_EQ(PixelOf(rect, 0, 0), testkit::FormulaPixel(shr::GRAYSCALE_8, 1, 2));
}
INSTANTIATE_TEST_SUITE_P(
    Checks, ZPixelRectRegion,
    testing::Values(BadRegion{"LeftBelow0", {-1, 0, 5, 5}, PixelRectCheck::regionLeft},
                    BadRegion{"LeftBeyond", {14, 0, 5, 5}, PixelRectCheck::regionLeft},
                    BadRegion{"RightBelow0", {0, 0, -1, 5}, PixelRectCheck::regionRight},
                    BadRegion{"RightBeyond", {0, 0, 14, 5}, PixelRectCheck::regionRight},
                    BadRegion{"TopBelow0", {0, -1, 5, 5}, PixelRectCheck::regionTop},
                    BadRegion{"TopBeyond", {0, 10, 5, 5}, PixelRectCheck::regionTop},
                    BadRegion{"BottomBelow0", {0, 0, 5, -1}, PixelRectCheck::regionBottom},
                    BadRegion{"BottomBeyond", {0, 0, 5, 10}, PixelRectCheck::regionBottom},
                    BadRegion{"NoWidth", {5, 0, 5, 5}, PixelRectCheck::regionWidth},
                    BadRegion{"NegativeWidth", {6, 0, 5, 5}, PixelRectCheck::regionWidth},
                    BadRegion{"NoHeight", {0, 5, 5, 5}, PixelRectCheck::regionHeight},
                    BadRegion{"NegativeHeight", {0, 6, 5, 5}, PixelRectCheck::regionHeight},
                    BadRegion{"LeftBeforeRight", {-1, 0, 14, 5}, PixelRectCheck::regionLeft},
                    BadRegion{"RightBeforeTop", {0, -1, 14, 5}, PixelRectCheck::regionRight},
                    BadRegion{"TopBeforeBottom", {0, -1, 5, 10}, PixelRectCheck::regionTop},
                    BadRegion{"BottomBeforeEmptyWidth", {5, 0, 5, 10}, PixelRectCheck::regionBottom},
                    BadRegion{"EmptyWidthBeforeEmptyHeight", {5, 5, 5, 5}, PixelRectCheck::regionWidth}),
    [](const auto& checked) { return std::string(checked.param.name); });

TEST(ZPixelRect, TakesTheWholeBitmap) {
    const ZBasicMemBitmap bitmap = Picture(shr::BGR_24);
    const ZPixelRect rect(bitmap, 0, 0, kWidth, kHeight, shr::BGR_24, nullptr);
    EXPECT_EQ(rect.GetWidth(), static_cast<unsigned>(kWidth));
    EXPECT_EQ(PixelOf(rect, kWidth - 1, kHeight - 1), testkit::FormulaPixel(shr::BGR_24, kWidth - 1, kHeight - 1));
}

TEST(ZPixelRect, TakesARegionAsRectangleOrAsCornerAndSize) {
    const ZBasicMemBitmap bitmap = Picture(shr::BGR_24);
    const ZPixelRect expected(bitmap, kRegion, shr::BGRA_32, nullptr);
    EXPECT_EQ(PixelsOf(ZPixelRect(bitmap, 1, 2, 11, 6, shr::BGRA_32, nullptr)), PixelsOf(expected));
    ZPixelRect rect(bitmap, 0, 0, 1, 1, shr::BGRA_32, nullptr);
    rect.Fetch(1, 2, 11, 6, nullptr);
    EXPECT_EQ(PixelsOf(rect), PixelsOf(expected));
    rect.Fetch(bitmap, 0, 0, 2, 2, shr::GRAYSCALE_8, nullptr);
    rect.Fetch(bitmap, 1, 2, 11, 6, shr::BGRA_32, nullptr);
    EXPECT_EQ(PixelsOf(rect), PixelsOf(expected));
    EXPECT_TRUE(testkit::RaisesInternalError([&] { ZPixelRect(bitmap, 5, 5, 2147483647, 1, shr::BGRA_32, nullptr); },
                                             PixelRectCheck::regionRight));
}

TEST(ZPixelRect, FetchesAndStoresPixelsOfTheSameFormatDirectly) {
    for (const ColorFormat format : kFormats) {
        WatchedBitmap bitmap(Picture(format));
        ZPixelRect rect(bitmap, kRegion, format, nullptr);
        EXPECT_EQ(bitmap.calls, std::vector<std::string>{"Fetch"});
        EXPECT_EQ(bitmap.lastBuffer, rect.GetFirstRowPtr());
        bitmap.calls.clear();
        rect.CommitPixels(nullptr);
        EXPECT_EQ(bitmap.calls, std::vector<std::string>{"Store"});
        EXPECT_EQ(bitmap.lastBuffer, rect.GetFirstRowPtr());
        EXPECT_TRUE(testkit::IsFormulaPicture(bitmap)) << testkit::FormatName(format);
    }
}

TEST(ZPixelRect, TakesOverTheColorsOfABitmapOfTheSameFormat) {
    ZBasicMemBitmap bitmap = Picture(shr::INDEXED_8);
    const Color4b three[] = {{1, 2, 3}, {4, 5, 6, 7}, {8, 9, 10}};
    bitmap.FillColorTable(three, 3);
    const ZPixelRect rect(bitmap, kRegion, shr::INDEXED_8, nullptr);
    ASSERT_EQ(rect.GetNumColorTableItems(), 3u);
    for (unsigned i = 0; i < 3; ++i) EXPECT_EQ(rect.GetColorTableItem(i), three[i]);
    EXPECT_EQ(rect.GetColorTableItem(200), Color4b::Black);
}

TEST(ZPixelRect, HasTheTableOfItsOwnFormatOverABitmapOfAnother) {
    for (const ColorFormat bitmapFormat : kFormats)
        for (const ColorFormat format : kFormats) {
            if (format == bitmapFormat) continue;
            const ZBasicMemBitmap bitmap = Picture(bitmapFormat);
            const ZPixelRect rect(bitmap, kRegion, format, nullptr);
            EXPECT_EQ(rect.GetNumColorTableItems(), static_cast<unsigned>(testkit::TableSize(format)));
        }
    // What the conversion does not fill is black.
    const ZPixelRect rect(Picture(shr::GRAYSCALE_1), kRegion, shr::INDEXED_8, nullptr);
    EXPECT_EQ(rect.GetColorTableItem(1), Color4b::White);
    EXPECT_EQ(rect.GetColorTableItem(2), Color4b::Black);
}

/// The region as ConvertPixels gives it, with the mask in the alpha bytes where these come from the mask.
struct Converted {
    Converted(const ZBasicMemBitmap& bitmap, ColorFormat format) {
        const ColorFormat bitmapFormat = bitmap.GetColorFormat();
        const int srcStride = testkit::PaddedRowBytes(11, testkit::BitsPerPixel(bitmapFormat));
        const int stride = testkit::PaddedRowBytes(11, testkit::BitsPerPixel(format));
        Bytes source(static_cast<std::size_t>(srcStride) * 6);
        rows.resize(static_cast<std::size_t>(stride) * 6);
        bitmap.FetchRegion(source.data(), srcStride, kRegion);
        ConvertPixels({rows.data(), format, stride, colors},
                      {source.data(), bitmapFormat, srcStride, bitmap.GetConstColorTablePtr()}, 11, 6);
        for (int y = 0; y < 6; ++y)
            for (int x = 0; x < 11; ++x) {
                std::uint8_t* row = rows.data() + y * stride;
                if (testkit::HasMask(bitmapFormat) && !testkit::HasMask(format))
                    row[4 * x + 3] = testkit::GetMask(bitmap, x + 1, y + 2) ? 255 : 0;
                pixels.push_back(testkit::PixelAt(row, x, format));
            }
    }
    Bytes rows;
    std::vector<std::uint32_t> pixels;
    Color4b colors[256];
};

TEST(ZPixelRect, ConvertsThePixelsOfABitmapOfAnotherFormat) {
    for (const ColorFormat bitmapFormat : kFormats)
        for (const ColorFormat format : kFormats) {
            if (format == bitmapFormat || (bitmapFormat == shr::RGBA_32 && format == shr::BGRX_32)) continue;
            SCOPED_TRACE(testkit::FormatName(bitmapFormat) + " as " + testkit::FormatName(format));
            const ZBasicMemBitmap bitmap = Picture(bitmapFormat);
            const ZPixelRect rect(bitmap, kRegion, format, nullptr);
            const Converted expected(bitmap, format);
            EXPECT_EQ(PixelsOf(rect), expected.pixels);
            for (unsigned i = 0; i < rect.GetNumColorTableItems(); ++i)
                ASSERT_EQ(rect.GetColorTableItem(i), expected.colors[i]) << i;
        }
}

TEST(ZPixelRect, TakesAlphaFromTheMaskAndGivesItBack) {
    WatchedBitmap bitmap(Picture(shr::BGR_24));
    ZPixelRect rect(bitmap, kRegion, shr::BGRA_32, nullptr);
    EXPECT_EQ(bitmap.calls, (std::vector<std::string>{"Fetch", "GetAlpha"}));
    EXPECT_EQ(bitmap.lastBuffer, rect.GetFirstRowPtr());
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 11; ++x)
            ASSERT_EQ(PixelOf(rect, x, y) >> 24, testkit::FormulaMask(x + 1, y + 2) ? 255u : 0u);
    bitmap.calls.clear();
    rect.CommitPixels(nullptr);
    EXPECT_EQ(bitmap.calls, (std::vector<std::string>{"Store", "SetMask"}));
    EXPECT_TRUE(testkit::IsFormulaPicture(bitmap));
    for (int x = 0; x < 11; ++x) rect.GetRowPtr(0)[4 * x + 3] = static_cast<std::uint8_t>(x % 2 == 0 ? 127 : 128);
    rect.CommitPixels(nullptr);
    for (int x = 0; x < 11; ++x) EXPECT_EQ(testkit::GetMask(bitmap, x + 1, 2), x % 2 != 0);
    EXPECT_EQ(testkit::GetMask(bitmap, 0, 2), testkit::FormulaMask(0, 2));  // outside the region
}

TEST(ZPixelRect, LeavesTheMaskAloneWhenItHasNoAlpha) {
    WatchedBitmap bitmap(Picture(shr::BGR_24));
    ZPixelRect rect(bitmap, kRegion, shr::BGRX_32, nullptr);
    rect.CommitPixels(nullptr);
    EXPECT_EQ(bitmap.calls, (std::vector<std::string>{"Fetch", "Store"}));
    EXPECT_TRUE(testkit::IsFormulaPicture(bitmap));
}

TEST(ZPixelRect, KeepsTheColorOfTransparentPixelsInPremultipliedFormat) {
    ZBasicMemBitmap bitmap(2, 1, shr::BGR_24);
    testkit::SetPixel(bitmap, 0, 0, 0x336699);
    testkit::SetPixel(bitmap, 1, 0, 0x336699);
    testkit::SetMask(bitmap, 1, 0, false);
    const ZPixelRect rect(bitmap, 0, 0, 2, 1, shr::PBGRA_32, nullptr);
    EXPECT_EQ(PixelOf(rect, 0, 0), 0xFF336699u);
    EXPECT_EQ(PixelOf(rect, 1, 0), 0x00336699u);
}

TEST(ZPixelRect, ReachesTheBitmapOnlyByCommits) {
    ZBasicMemBitmap bitmap = Picture(shr::GRAYSCALE_8);
    ZPixelRect rect(bitmap, kRegion, shr::GRAYSCALE_8, nullptr);
    SetPixelOf(rect, 3, 4, 200);
    EXPECT_TRUE(testkit::IsFormulaPicture(bitmap));
    rect.CommitPixels(nullptr);
    EXPECT_EQ(testkit::GetPixel(bitmap, 4, 6), 200u);
    SetPixelOf(rect, 3, 4, 100);
    rect.CommitPixels(nullptr);
    EXPECT_EQ(testkit::GetPixel(bitmap, 4, 6), 100u);
    testkit::SetPixel(bitmap, 4, 6, testkit::FormulaPixel(shr::GRAYSCALE_8, 4, 6));
    EXPECT_TRUE(testkit::IsFormulaPicture(bitmap));
}

TEST(ZPixelRect, ConvertsPixelsBackIntoABitmapWithoutTable) {
    ZBasicMemBitmap bitmap = Picture(shr::GRAYSCALE_32);
    ZPixelRect rect(bitmap, kRegion, shr::BGRA_32, nullptr);
    SetPixelOf(rect, 0, 0, 0xFFFFFFFF);
    SetPixelOf(rect, 1, 0, 0xFF000000);
    SetPixelOf(rect, 2, 0, 0xFF0000FF);  // blue
    rect.CommitPixels(nullptr);
    EXPECT_EQ(testkit::GetPixel(bitmap, 1, 2), 0xFFFFFFFFu);
    EXPECT_EQ(testkit::GetPixel(bitmap, 2, 2), 0u);
    EXPECT_EQ(testkit::GetPixel(bitmap, 3, 2), 489626271u);  // 114 / 1000 of full scale, truncated
}

/// What a rect's pixel becomes in an indexed bitmap.
std::uint32_t MatchedIndex(const ZBitmap& bitmap, Color4b color) {
    const testkit::Colors table(bitmap.GetConstColorTablePtr(),
                                bitmap.GetConstColorTablePtr() + bitmap.GetNumColorTableItems());
    return testkit::PlainMatchExactOrApproximate(table, color);
}

TEST(ZPixelRect, MatchesColorsIntoTheTableOfAnIndexedBitmap) {
    for (const ColorFormat bitmapFormat : {shr::INDEXED_1, shr::INDEXED_4, shr::INDEXED_8})
        for (const ColorFormat format : kFormats) {
            if (format == bitmapFormat) continue;
            SCOPED_TRACE(testkit::FormatName(format) + " into " + testkit::FormatName(bitmapFormat));
            ZBasicMemBitmap bitmap = Picture(bitmapFormat);
            ZPixelRect rect(bitmap, kRegion, format, nullptr);
            std::vector<Color4b> colors(256);
            for (unsigned i = 0; i < 256; ++i) colors[i] = rect.GetColorTableItem(i);
            rect.CommitPixels(nullptr);
            for (int y = 0; y < kHeight; ++y)
                for (int x = 0; x < kWidth; ++x) {
                    const bool inside = x >= 1 && x < 12 && y >= 2 && y < 8;
                    const std::uint32_t expected =
                        inside ? MatchedIndex(bitmap,
                                              reference::ColorOf(PixelOf(rect, x - 1, y - 2), format, colors.data()))
                               : testkit::FormulaPixel(bitmapFormat, x, y);
                    ASSERT_EQ(testkit::GetPixel(bitmap, x, y), expected) << x << ", " << y;
                }
            for (unsigned i = 0; i < bitmap.GetNumColorTableItems(); ++i)
                ASSERT_EQ(bitmap.GetColorTableItem(i), testkit::FormulaColor(static_cast<int>(i)));
        }
}

TEST(ZPixelRect, MatchesTheColorsOfAnEditedTableIntoTheBitmapsOwn) {
    ZBasicMemBitmap bitmap(4, 1, shr::INDEXED_4);
    const Color4b colors[] = {{0, 0, 0}, {255, 0, 0}, {0, 255, 0}, {0, 0, 255}};
    bitmap.FillColorTable(colors, 4);
    for (int x = 0; x < 4; ++x) testkit::SetPixel(bitmap, x, 0, static_cast<std::uint32_t>(x));
    ZPixelRect rect(bitmap, 0, 0, 4, 1, shr::INDEXED_4, nullptr);
    rect.SetColorTableItem(1, {0, 0, 250});
    EXPECT_EQ(rect.GetColorTableItem(1), Color4b(0, 0, 250));
    rect.CommitPixels(nullptr);
    EXPECT_EQ(testkit::GetPixel(bitmap, 0, 0), 0u);
    EXPECT_EQ(testkit::GetPixel(bitmap, 1, 0), 3u);
    EXPECT_EQ(testkit::GetPixel(bitmap, 2, 0), 2u);
    for (unsigned i = 0; i < 4; ++i) EXPECT_EQ(bitmap.GetColorTableItem(i), colors[i]);
    EXPECT_EQ(PixelOf(rect, 1, 0), 1u);  // the rect's own pixels stay
    rect.SetColorTableItem(2, {250, 0, 0});
    rect.CommitPixels(nullptr);  // a second commit converts too
    EXPECT_EQ(testkit::GetPixel(bitmap, 2, 0), 1u);
}

TEST(ZPixelRect, IsNotFetchedAnewOnceItsTableWasEdited) {
    const ZBasicMemBitmap bitmap = Picture(shr::INDEXED_4);
    ZPixelRect rect(bitmap, kRegion, shr::INDEXED_4, nullptr);
    rect.SetColorTableItem(1, Color4b::White);
    const auto pixels = PixelsOf(rect);
    EXPECT_TRUE(testkit::RaisesInternalError([&] { rect.Fetch(kRegion, nullptr); }, PixelRectCheck::fetchedTable));
    EXPECT_TRUE(testkit::RaisesInternalError([&] { rect.Fetch(0, 0, 99, 1, nullptr); }, PixelRectCheck::fetchedTable));
    rect.CommitPixels(nullptr);
    EXPECT_TRUE(testkit::RaisesInternalError([&] { rect.Fetch(kRegion, nullptr); }, PixelRectCheck::fetchedTable));
    EXPECT_EQ(PixelsOf(rect), pixels);
    rect.Fetch(bitmap, kRegion, shr::INDEXED_4, nullptr);
    EXPECT_EQ(rect.GetColorTableItem(1), testkit::FormulaColor(1));
    rect.Fetch(0, 0, 2, 2, nullptr);
    EXPECT_EQ(rect.GetWidth(), 2u);
}

TEST(ZPixelRect, FetchesAnotherRegionAndKeepsFormatAndTable) {
    ZBasicMemBitmap bitmap = Picture(shr::INDEXED_8);
    ZPixelRect rect(bitmap, kRegion, shr::INDEXED_8, nullptr);
    const Color4b other[] = {{9, 9, 9}};
    bitmap.FillColorTable(other, 1);
    rect.Fetch(RECT{3, 1, 6, 9}, nullptr);
    EXPECT_EQ(rect.GetColorFormat(), shr::INDEXED_8);
    EXPECT_EQ(rect.GetWidth(), 3u);
    EXPECT_EQ(rect.GetHeight(), 8u);
    EXPECT_EQ(rect.GetStride(), 4);
    EXPECT_EQ(PixelOf(rect, 2, 7), testkit::FormulaPixel(shr::INDEXED_8, 5, 8));
    EXPECT_EQ(rect.GetNumColorTableItems(), 256u);
    EXPECT_EQ(rect.GetColorTableItem(0), testkit::FormulaColor(0));
}

TEST(ZPixelRect, CopiesByFetchingAnew) {
    const ZBasicMemBitmap bitmap = Picture(shr::BGR_24);
    ZPixelRect rect(bitmap, kRegion, shr::GRAYSCALE_8, nullptr);
    const auto pixels = PixelsOf(rect);
    SetPixelOf(rect, 0, 0, PixelOf(rect, 0, 0) ^ 255);
    const ZPixelRect copy(rect);
    EXPECT_EQ(PixelsOf(copy), pixels);
    EXPECT_EQ(copy.GetColorFormat(), shr::GRAYSCALE_8);
    const ZBasicMemBitmap otherBitmap = Picture(shr::BGRA_32);
    ZPixelRect assigned(otherBitmap, 0, 0, 1, 1, shr::INDEXED_8, nullptr);
    assigned.SetColorTableItem(0, Color4b::White);
    assigned = rect;
    EXPECT_EQ(PixelsOf(assigned), pixels);
    EXPECT_EQ(assigned.GetNumColorTableItems(), 0u);
    assigned.Fetch(kRegion, nullptr);  // no edited table is left over
}

TEST(ZPixelRect, KeepsItsEditsWhenAssignedToItself) {
    const ZBasicMemBitmap bitmap = Picture(shr::GRAYSCALE_8);
    ZPixelRect rect(bitmap, kRegion, shr::GRAYSCALE_8, nullptr);
    SetPixelOf(rect, 0, 0, 1);
    SetPixelOf(rect, 1, 0, 2);
    const auto& same = rect;
    rect = same;
    EXPECT_EQ(PixelOf(rect, 0, 0), 1u);
    EXPECT_EQ(PixelOf(rect, 1, 0), 2u);
}

TEST(ZPixelRect, BuildsItsMatcherOnceAndAnewWhenATableHasChanged) {
    ZBasicMemBitmap bitmap = Picture(shr::INDEXED_8);
    OpenRect rect(bitmap, kRegion, shr::BGRA_32, nullptr);
    EXPECT_EQ(rect.matcher, nullptr);
    rect.CommitPixels(nullptr);
    const ColorTableMatcher* first = rect.matcher.get();
    ASSERT_NE(first, nullptr);
    rect.CommitPixels(nullptr);
    rect.Fetch(kRegion, nullptr);
    rect.CommitPixels(nullptr);
    EXPECT_EQ(rect.matcher.get(), first);

    const Color4b reds[] = {{0, 0, 0}, {255, 0, 0}};
    bitmap.FillColorTable(reds, 2);
    SetPixelOf(rect, 0, 0, 0xFFFF0000);
    rect.CommitPixels(nullptr);
    EXPECT_EQ(testkit::GetPixel(bitmap, 1, 2), 1u);

    OpenRect edited(bitmap, kRegion, shr::INDEXED_8, nullptr);
    edited.CommitPixels(nullptr);
    EXPECT_EQ(edited.matcher, nullptr);  // the same format and table need none
    edited.SetColorTableItem(0, {200, 0, 0});
    for (int i = 0; i < 3; ++i) edited.CommitPixels(nullptr);
    EXPECT_NE(edited.matcher, nullptr);
}

TEST(ZPixelRect, DropsItsMatcherWheneverItStartsAnew) {
    ZBasicMemBitmap first = Picture(shr::INDEXED_8), second = Picture(shr::INDEXED_4);
    OpenRect rect(first, kRegion, shr::BGRA_32, nullptr);
    const OpenRect other(second, kRegion, shr::BGR_24, nullptr);
    rect.CommitPixels(nullptr);
    rect = other;
    EXPECT_EQ(rect.matcher, nullptr);
    rect.CommitPixels(nullptr);
    EXPECT_NE(rect.matcher, nullptr);
    rect.Fetch(first, kRegion, shr::BGRA_32, nullptr);
    EXPECT_EQ(rect.matcher, nullptr);
    rect.CommitPixels(nullptr);
    EXPECT_NE(rect.matcher, nullptr);
    rect.Free();
    EXPECT_EQ(rect.matcher, nullptr);
    EXPECT_TRUE(HoldsNoPixels(rect));
}

TEST(ZPixelRect, IsRefusedOfAnEmptyBitmap) {
    testkit::OpenBitmap bitmap(4, 4, shr::BGR_24, 4, 4);
    bitmap.colorFormat = shr::FORMAT_NONE;
    EXPECT_TRUE(testkit::RaisesInternalError([&] { ZPixelRect(bitmap, 0, 0, 4, 4, shr::BGRA_32, nullptr); },
                                             PixelRectCheck::emptyBitmap));
}

TEST(ZPixelRect, CommitsNoIndexThatTheFormatCannotHold) {
    testkit::OpenBitmap bitmap(4, 4, shr::INDEXED_4, 4, 4);
    ZPixelRect rect(bitmap, 0, 0, 4, 4, shr::BGRA_32, nullptr);
    bitmap.numColorTableItems = 256;  // as an archive may have it
    bitmap.colorTable[3] = shr::Color4b(10, 20, 30);
    bitmap.colorTable[200] = shr::Color4b(200, 210, 220);
    const shr::Color4b colors[] = {shr::Color4b(200, 210, 220), shr::Color4b(11, 20, 30)};
    std::memcpy(rect.GetRowPtr(1) + sizeof *colors, colors, sizeof colors);
    rect.CommitPixels(nullptr);
    EXPECT_LT(testkit::GetPixel(bitmap, 1, 1), 16u);
    EXPECT_EQ(testkit::GetPixel(bitmap, 2, 1), 3u);
    EXPECT_EQ(testkit::GetPixel(bitmap, 3, 1), testkit::GetPixel(bitmap, 0, 1)) << "the neighbours stay";
}

TEST(ZPixelRect, RefusesToCommitIntoABitmapWithColorsButNoTable) {
    testkit::OpenBitmap bitmap(4, 4, shr::BGR_24, 4, 4);
    ZPixelRect rect(bitmap, 0, 0, 4, 4, shr::BGRA_32, nullptr);
    bitmap.numColorTableItems = 1;
    bitmap.calls.clear();
    EXPECT_TRUE(testkit::RaisesInternalError([&] { rect.CommitPixels(nullptr); }, PixelRectCheck::committedColors));
    EXPECT_TRUE(bitmap.calls.empty());
    bitmap.numColorTableItems = 0;
    rect.CommitPixels(nullptr);
    EXPECT_FALSE(bitmap.calls.empty());
}

TEST(ZPixelRect, RaisesAnErrorBeforeItWritesIntoABitmapWithoutColors) {
    testkit::OpenBitmap bitmap(4, 4, shr::INDEXED_8, 4, 4);
    ZPixelRect rect(bitmap, 0, 0, 4, 4, shr::BGRA_32, nullptr);
    bitmap.numColorTableItems = 0;
    bitmap.calls.clear();
    EXPECT_TRUE(testkit::RaisesInternalError([&] { rect.CommitPixels(nullptr); }, ColorTableMatcherCheck::colorCount));
    EXPECT_TRUE(bitmap.calls.empty());
}

TEST(ZPixelRect, LosesNoColorBetweenRgbaAndBgrx) {
    ZBasicMemBitmap bgrx = Picture(shr::BGRX_32);
    ZPixelRect asRgba(bgrx, kRegion, shr::RGBA_32, nullptr);
    EXPECT_EQ(asRgba.GetRowPtr(0)[0], testkit::FormulaByte(1, 2, 2));
    asRgba.CommitPixels(nullptr);
    EXPECT_TRUE(testkit::IsFormulaPicture(bgrx));

    ZBasicMemBitmap rgba = Picture(shr::RGBA_32);
    ZPixelRect asBgrx(rgba, kRegion, shr::BGRX_32, nullptr);
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 11; ++x) {
            const std::uint8_t* pixel = asBgrx.GetRowPtr(y) + 4 * x;
            for (int k = 0; k < 3; ++k) ASSERT_EQ(pixel[k], testkit::FormulaByte(x + 1, y + 2, 2 - k));
            ASSERT_EQ(pixel[3], 0);
        }
    asBgrx.CommitPixels(nullptr);
    EXPECT_EQ(testkit::GetPixel(rgba, 1, 2), testkit::FormulaPixel(shr::RGBA_32, 1, 2) | 0xFF000000);
}

TEST(ZPixelRect, ReportsNoProgress) {
    struct Unwanted : shr::IProgress {
        void StartTask(const shr::ZString&, int, int) override { ADD_FAILURE(); }
        void EndTask() override { ADD_FAILURE(); }
        void SetProgress(double) override {
            ADD_FAILURE();
            throw shr::AbortException();
        }
    } progress;
    ZBasicMemBitmap bitmap = Picture(shr::INDEXED_4);
    ZPixelRect rect(bitmap, kRegion, shr::BGRA_32, &progress);
    rect.CommitPixels(&progress);
    rect.Fetch(0, 0, 2, 2, &progress);
    rect.Fetch(kRegion, &progress);
    rect.Fetch(bitmap, kRegion, shr::INDEXED_8, &progress);
    rect.Fetch(bitmap, 0, 0, 1, 1, shr::INDEXED_4, &progress);
    rect.CommitPixels(&progress);
    ZPixelRect(bitmap, 0, 0, 1, 1, shr::BGR_24, &progress).CommitPixels(&progress);
}

TEST(ZPixelRect, HoldsNoPixelsAfterAFailedStartAndCanBeFetchedInto) {
    const ZBasicMemBitmap bitmap = Picture(shr::INDEXED_4);
    const auto expectEmpty = [&](ZPixelRect& rect) {
        EXPECT_TRUE(HoldsNoPixels(rect));
        EXPECT_TRUE(testkit::RaisesInternalError([&] { rect.Fetch(kRegion, nullptr); }, PixelRectCheck::fetchedBitmap));
        EXPECT_TRUE(testkit::RaisesInternalError([&] { rect.CommitPixels(nullptr); }, PixelRectCheck::committedBitmap));
        EXPECT_TRUE(HoldsNoPixels(ZPixelRect(rect)));
        ZPixelRect assigned(bitmap, kRegion, shr::BGR_24, nullptr);
        assigned = rect;
        EXPECT_TRUE(HoldsNoPixels(assigned));
        rect.Fetch(bitmap, kRegion, shr::INDEXED_4, nullptr);
        EXPECT_EQ(PixelOf(rect, 0, 0), testkit::FormulaPixel(shr::INDEXED_4, 1, 2));
    };
    ZPixelRect rect(bitmap, kRegion, shr::INDEXED_4, nullptr);
    rect.SetColorTableItem(0, Color4b::White);
    EXPECT_TRUE(testkit::RaisesInternalError(
        [&] {
            rect.Fetch(bitmap, RECT{0, 0, 14, 1}, shr::BGRA_32, nullptr);
        },
        PixelRectCheck::regionRight));
    expectEmpty(rect);
    EXPECT_TRUE(testkit::RaisesInternalError([&] { rect.Fetch(bitmap, kRegion, shr::FORMAT_NONE, nullptr); },
                                             PixelRectCheck::formatRange));
    expectEmpty(rect);
}

TEST(ZPixelRect, RefusesColorsPastItsTable) {
    const ZBasicMemBitmap bitmap = Picture(shr::INDEXED_8);
    OpenRect rect(bitmap, kRegion, shr::INDEXED_8, nullptr);
    EXPECT_TRUE(
        testkit::RaisesInternalError([&] { rect.SetColorTableItem(256, Color4b::White); }, PixelRectCheck::colorIndex));
    EXPECT_TRUE(
        testkit::RaisesInternalError([&] { rect.SetColorTableItem(~0u, Color4b::White); }, PixelRectCheck::colorIndex));
    EXPECT_FALSE(rect.colorTableChanged);
    rect.SetColorTableItem(255, Color4b::White);
    EXPECT_TRUE(rect.colorTableChanged);
    EXPECT_EQ(rect.GetColorTableItem(255), Color4b::White);
}

TEST(ZPixelRect, RaisesBadAllocForRowsThatNoStrideHolds) {
    // A layout without tiles stands for a bitmap that is on file.
    testkit::OpenBitmap bitmap;
    bitmap.Init(2000000000, 2000000000, shr::GRAYSCALE_1, 2000000000, 2000000000);
    EXPECT_THROW(ZPixelRect(bitmap, 0, 0, 2000000000, 1, shr::BGRA_32, nullptr), std::bad_alloc);
    EXPECT_THROW(ZPixelRect(bitmap, 0, 0, 600000000, 1, shr::BGRA_32, nullptr), std::bad_alloc);
}

TEST(ZPixelRect, CommitsWhatIsLeftOfABitmapThatHasShrunk) {
    for (const ColorFormat format : {shr::BGR_24, shr::INDEXED_4}) {
        ZBasicMemBitmap bitmap = Picture(shr::BGR_24);
        ZPixelRect rect(bitmap, 0, 0, kWidth, kHeight, shr::BGR_24, nullptr);
        bitmap.Create(3, 2, format, 2, 2);
        const Color4b colors[] = {{0, 0, 0}, {255, 255, 255}};
        if (format == shr::INDEXED_4) bitmap.FillColorTable(colors, 2);
        SetPixelOf(rect, 2, 1, 0xFFFFFF);
        rect.CommitPixels(nullptr);
        EXPECT_EQ(testkit::GetPixel(bitmap, 2, 1), format == shr::BGR_24 ? 0xFFFFFFu : 1u);
        EXPECT_TRUE(testkit::RaisesInternalError([&] { rect.Fetch(0, 0, kWidth, kHeight, nullptr); },
                                                 PixelRectCheck::regionRight));
    }
}

TEST(ZPixelRect, LaysOutItsFieldsInTheOrderOfTheInterface) {
    struct Fields {
        std::unique_ptr<unsigned char[]> pixels;
        std::uint32_t width, height;
        std::int32_t stride;
        ColorFormat colorFormat;
        const ZBitmap* bitmap;
        RECT regionRect;
        std::uint32_t numColorTableItems;
        Color4b colorTable[256];
        bool colorTableChanged;
        std::unique_ptr<ColorTableMatcher> matcher;
    };
    EXPECT_EQ(sizeof(ZPixelRect), sizeof(Fields));
}

}  // namespace
}  // namespace zbm
