// Rectangles of bitmaps as DIBs: of our classes, whose tiles are converted in one go, and of a host's, whose
// FetchRegion gives the pixels.
#include <gtest/gtest.h>

#include <stdexcept>

#include "core/OpenBitmaps.h"
#include "core/checks/BitmapChecks.h"
#include "device/DibPixels.h"
#include "support_code/ExpectError.h"
#include "support_code/ScratchFolder.h"
#include "zbm/ZCachedBitmap.h"

namespace {

using shr::CDib;
using shr::ColorFormat;
using testkit::FormulaPixel;
using testkit::kFormats;
using testkit::RaisesInternalError;
using zbm::BitmapCheck;
using zbm::ZBitmap;

constexpr int kWidth = 37, kHeight = 23, kTileWidth = 13, kTileHeight = 9;

enum class Kind { memory, file, host };

std::unique_ptr<ZBitmap> MakePicture(Kind kind, ColorFormat format) {
    static const testkit::ScratchFolder folder;
    std::unique_ptr<ZBitmap> bitmap;
    if (kind == Kind::host) {
        bitmap = std::make_unique<testkit::OpenBitmap>(kWidth, kHeight, format, kTileWidth, kTileHeight);
    } else {
        auto made = testkit::FormulaBitmap(kWidth, kHeight, format, kTileWidth, kTileHeight);
        if (kind == Kind::memory) return std::make_unique<zbm::ZBasicMemBitmap>(made);
        auto onFile = std::make_unique<zbm::ZCachedBitmap>(folder.File(""), L"", false);
        EXPECT_TRUE(onFile->Create(made, nullptr));
        return onFile;
    }
    testkit::FillByFormula(*bitmap);
    return bitmap;
}

class FetchDib : public testing::TestWithParam<std::tuple<Kind, ColorFormat>> {
protected:
    Kind TheKind() const { return std::get<0>(GetParam()); }
    ColorFormat Format() const { return std::get<1>(GetParam()); }
};
std::string NameOf(Kind kind) { return kind == Kind::memory ? "Memory" : kind == Kind::file ? "File" : "Host"; }

INSTANTIATE_TEST_SUITE_P(Bitmaps, FetchDib,
                         testing::Combine(testing::Values(Kind::memory, Kind::file, Kind::host),
                                          testing::ValuesIn(kFormats)),
                         [](const auto& tested) {
                             return NameOf(std::get<0>(tested.param)) + "_" +
                                    testkit::FormatName(std::get<1>(tested.param));
                         });

/// Whether the DIB shows that rectangle, upright, and 0 outside of the picture.
testing::AssertionResult Shows(const CDib& dib, ColorFormat format, const RECT& rect) {
    for (int y = 0; y < dib.GetHeight(); ++y)
        for (int x = 0; x < dib.GetWidth(); ++x) {
            const int px = static_cast<int>(rect.left) + x, py = static_cast<int>(rect.top) + y;
            const std::uint32_t expected =
                px < kWidth && py < kHeight ? testkit::FetchedPixel(format, FormulaPixel(format, px, py)) : 0;
            if (testkit::DibPixel(dib, x, y) != expected)
                return testing::AssertionFailure() << "(" << x << ", " << y << ") is " << std::hex
                                                   << testkit::DibPixel(dib, x, y) << ", not " << expected;
        }
    return testing::AssertionSuccess();
}

constexpr RECT kRects[] = {{0, 0, kWidth, kHeight}, {3, 2, 4, 3},     {12, 8, 14, 10},
                           {5, 7, 30, 20},          {30, 20, 50, 31}, {36, 0, 37, 23}};

TEST_P(FetchDib, ShowsTheRectangleUpright) {
    const auto bitmap = MakePicture(TheKind(), Format());
    CDib dib;
    for (const RECT& rect : kRects) {
        bitmap->FetchDib(dib, rect);
        const int width = static_cast<int>(rect.right - rect.left), height = static_cast<int>(rect.bottom - rect.top);
        EXPECT_TRUE(testkit::HasHeader(dib, Format(), width, height, testkit::FormulaXResolution(Format()),
                                       testkit::FormulaYResolution(Format()),
                                       static_cast<unsigned>(testkit::TableSize(Format()))));
        EXPECT_TRUE(testkit::HasTable(dib, Format()));
        EXPECT_TRUE(Shows(dib, Format(), rect)) << rect.left << ", " << rect.top;
        // Into the same DIB again, from the corner and size.
        bitmap->FetchDib(dib, static_cast<int>(rect.left), static_cast<int>(rect.top), width, height);
        EXPECT_TRUE(Shows(dib, Format(), rect)) << rect.left << ", " << rect.top;
    }
}

TEST_P(FetchDib, LeavesNothingOfAnOldDibInThePaddingOfItsRows) {
    const auto bitmap = MakePicture(TheKind(), Format());
    CDib dib;
    bitmap->FetchDib(dib, 3, 2, 13, 5);
    const auto bytes = static_cast<std::size_t>(dib.GetStride()) * 5;
    const std::vector<std::uint8_t> first(dib.GetWritableBits(), dib.GetWritableBits() + bytes);
    std::fill_n(dib.GetWritableBits(), bytes, std::uint8_t{0xFF});
    bitmap->FetchDib(dib, 3, 2, 13, 5);
    EXPECT_EQ(std::vector<std::uint8_t>(dib.GetWritableBits(), dib.GetWritableBits() + bytes), first);
}

TEST_P(FetchDib, BeyondTheBitmapIsZero) {
    const auto bitmap = MakePicture(TheKind(), Format());
    CDib dib;
    bitmap->FetchDib(dib, 100, 100, 9, 3);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 9; ++x) EXPECT_EQ(testkit::DibPixel(dib, x, y), 0u);
}

TEST(FetchDibOf, ABitmapRefusesRectanglesInTheStatedOrder) {
    const auto bitmap = testkit::FormulaBitmap(9, 9, shr::GRAYSCALE_8, 4, 4);
    CDib dib;
    const auto raises = [&](const RECT& rect, BitmapCheck check) {
        return RaisesInternalError([&] { bitmap.FetchDib(dib, rect); }, check);
    };
    EXPECT_TRUE(raises({0, 0, 0, 1}, BitmapCheck::dibWidth));
    EXPECT_TRUE(raises({0, 0, 1, 0}, BitmapCheck::dibHeight));
    EXPECT_TRUE(raises({0, 0, 0, 0}, BitmapCheck::dibWidth));
    EXPECT_TRUE(raises({5, 5, 4, 4}, BitmapCheck::dibWidth));
    for (const RECT& negative : {RECT{-1, 0, 0, 0}, RECT{0, -1, 0, 0}, RECT{0, 0, -1, 0}, RECT{0, 0, 0, -1}})
        EXPECT_TRUE(raises(negative, BitmapCheck::dibCorners));
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.FetchDib(dib, -1, 0, 5, 5); }, BitmapCheck::dibCorners));
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.FetchDib(dib, 1, 0, 0, 5); }, BitmapCheck::dibWidth));
    EXPECT_TRUE(dib.IsEmpty());
}

TEST(FetchDibOf, ABitmapWithoutFormatIsRefusedAfterItsRectangle) {
    const testkit::OpenBitmap bitmap;
    CDib dib;
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.FetchDib(dib, RECT{-1, 0, 1, 1}); }, BitmapCheck::dibCorners));
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.FetchDib(dib, RECT{0, 0, 0, 1}); }, BitmapCheck::dibWidth));
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.FetchDib(dib, RECT{0, 0, 1, 0}); }, BitmapCheck::dibHeight));
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.FetchDib(dib, RECT{0, 0, 1, 1}); }, BitmapCheck::dibFormat));
}

TEST(FetchDibOf, MoreThanADibHoldsIsRefusedAndKeepsTheDib) {
    const auto bitmap = testkit::FormulaBitmap(9, 9, shr::BGRA_32, 4, 4);
    CDib dib;
    bitmap.FetchDib(dib, 0, 0, 5, 5);
    constexpr int kMost = 0x7FFFFFFF;
    EXPECT_THROW(bitmap.FetchDib(dib, RECT{0, 0, kMost, kMost}), std::invalid_argument);
    EXPECT_THROW(bitmap.FetchDib(dib, RECT{kMost - 1, 0, kMost, kMost}), std::invalid_argument);
    EXPECT_EQ(dib.GetWidth(), 5);
}

TEST(FetchDibOf, PremultipliedPixelsCutsOffAt255AndKeepsThoseWithoutAlpha) {
    for (const Kind kind : {Kind::memory, Kind::host}) {
        const auto bitmap = MakePicture(kind, shr::PBGRA_32);
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x)
                testkit::SetPixel(*bitmap, x, y, FormulaPixel(shr::BGRA_32, x, y) & (y < 3 ? 0x00FFFFFFu : ~0u));
        CDib dib;
        bitmap->FetchDib(dib, 0, 0, kWidth, kHeight);
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x)
                ASSERT_EQ(testkit::DibPixel(dib, x, y), testkit::Straight(testkit::GetPixel(*bitmap, x, y)));
    }
}

/// A host's class that gives pixels of its own, and notes how it is asked.
class OwnRegions : public testkit::OpenBitmap {
public:
    using OpenBitmap::OpenBitmap;
    using ZBitmap::FetchDib;
    void FetchRegion(unsigned char* dst, int dstStride, const RECT& rect) const override {
        ++fetches;
        if (fails) throw std::runtime_error("no pixels");
        for (LONG y = 0; y < rect.bottom - rect.top; ++y)
            for (LONG x = 0; x < rect.right - rect.left; ++x)
                testkit::SetPixelAt(dst + y * dstStride, static_cast<int>(x), GetColorFormat(), 0x11223344);
    }
    void FetchDib(CDib& dib, const RECT& rect) const override {
        ++dibs;
        OpenBitmap::FetchDib(dib, rect);
    }
    mutable int fetches = 0, dibs = 0;
    bool fails = false;
};

TEST(FetchDibOf, AHostsBitmapTakesThePixelsOfOneFetchRegion) {
    for (const ColorFormat format : {shr::GRAYSCALE_16, shr::GRAYSCALE_32, shr::BGRA_32, shr::RGBA_32, shr::BGRX_32}) {
        const OwnRegions bitmap(9, 9, format, 4, 4);
        CDib dib;
        bitmap.FetchDib(dib, RECT{1, 2, 6, 5});
        EXPECT_EQ(bitmap.fetches, 1);
        EXPECT_TRUE(bitmap.calls.empty()) << "no lock of its own";
        const std::uint32_t value = format == shr::GRAYSCALE_16 ? 0x3344 : 0x11223344;
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 5; ++x)
                ASSERT_EQ(testkit::DibPixel(dib, x, y), testkit::FetchedPixel(format, value)) << format;
    }
}

TEST(FetchDibOf, ACornerAndSizeIsThatOfTheRectangle) {
    const OwnRegions bitmap(9, 9, shr::BGRA_32, 4, 4);
    CDib dib;
    bitmap.FetchDib(dib, 1, 2, 5, 3);
    EXPECT_EQ(bitmap.dibs, 1);
    EXPECT_EQ(dib.GetWidth(), 5);
    EXPECT_EQ(dib.GetHeight(), 3);
}

TEST(FetchDibOf, WhatFailsHalfwayLeavesAnEmptyDib) {
    OwnRegions bitmap(9, 9, shr::BGRA_32, 4, 4);
    CDib dib;
    bitmap.FetchDib(dib, 1, 2, 5, 3);
    bitmap.fails = true;
    EXPECT_THROW(bitmap.FetchDib(dib, 1, 2, 5, 3), std::runtime_error);
    EXPECT_TRUE(dib.IsEmpty());
}

}  // namespace
