// Pictures of any format as indexed ones: which colours the table gets, which of them each pixel, and what is left when
// it does not succeed.
#include "zbm/IndexedColors.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "core/checks/IndexedColorsChecks.h"
#include "support_code/ExpectError.h"
#include "support_code/FormulaPicture.h"
#include "support_code/TestProgress.h"
#include "zbm/ZBasicMemBitmap.h"
#include "zbm/ZPixelRect.h"

namespace {

using namespace testkit;
using zbm::Dither;
using zbm::IndexedColors;
using zbm::IndexedColorsCheck;
using zbm::PaletteSource;
using zbm::ZBasicMemBitmap;

constexpr int kWidth = 75, kHeight = 130;
constexpr Dither kDithers[] = {Dither::none, Dither::ordered, Dither::diffusion, Dither::blueNoise};
constexpr ColorFormat kIndexed[] = {shr::INDEXED_1, shr::INDEXED_4, shr::INDEXED_8};

ZBasicMemBitmap Empty(ColorFormat format) { return {kWidth, kHeight, format, 20, 33}; }

std::uint8_t Level(double value) { return static_cast<std::uint8_t>(std::clamp(value, 0.0, 255.0)); }

/// A sky over hills, soft and many-coloured as photographs are.
ZBasicMemBitmap Landscape() {
    ZBasicMemBitmap bitmap(kWidth, kHeight, shr::BGRA_32, 32, 16);
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) {
            const bool isSky = y < 60 + 12 * std::sin(x / 9.0);
            const double grain = 9 * std::sin(x * 1.7 + y * 2.3);
            const unsigned blue = Level(isSky ? 230 - y + grain : 30 + x / 4.0 + grain),
                           green = Level(isSky ? 120 + y + grain : 140 - y / 2.0 + 2 * grain),
                           red = Level(isSky ? 60 + 2 * y + grain : 80 + x / 2.0 - grain);
            SetPixel(bitmap, x, y, blue | green << 8 | red << 16 | 0xFF000000u);
        }
    return bitmap;
}

std::uint32_t BgraAt(const zbm::ZPixelRect& pixels, int x, int y) {
    return PixelAt(pixels.GetRowPtr(y), x, shr::BGRA_32);
}
zbm::ZPixelRect AsBgra(const zbm::ZBitmap& bitmap) {
    return {bitmap, 0, 0, bitmap.GetPixelWidth(), bitmap.GetPixelHeight(), shr::BGRA_32, nullptr};
}

double Rms(const zbm::ZBitmap& a, const zbm::ZBitmap& b) {
    const zbm::ZPixelRect pixelsA = AsBgra(a), pixelsB = AsBgra(b);
    double sum = 0;
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x)
            for (int shift = 0; shift < 24; shift += 8) {
                const auto level = [&](const auto& of) { return static_cast<int>(BgraAt(of, x, y) >> shift & 255); };
                sum += std::pow(level(pixelsA) - level(pixelsB), 2);
            }
    return std::sqrt(sum / (3.0 * kWidth * kHeight));
}

ZBasicMemBitmap Converted(const zbm::ZBitmap& source, ColorFormat format, const IndexedColors& colors) {
    ZBasicMemBitmap result = Empty(format);
    zbm::ConvertToIndexed(source, result, colors, nullptr);
    return result;
}

std::vector<shr::Color4b> TableOf(const zbm::ZBitmap& bitmap) {
    const shr::Color4b* const first = bitmap.GetConstColorTablePtr();
    return {first, first + bitmap.GetNumColorTableItems()};
}

std::vector<shr::Color4b> SomeColors(int count) {
    std::vector<shr::Color4b> colors;
    for (int i = 0; i < count; ++i) colors.push_back(FormulaColor(i));
    return colors;
}

int DistanceBetween(shr::Color4b color, std::uint32_t bgra) {
    const auto square = [](int difference) { return difference * difference; };
    return square(color.blue - static_cast<int>(bgra & 255)) + square(color.green - static_cast<int>(bgra >> 8 & 255)) +
           square(color.red - static_cast<int>(bgra >> 16 & 255));
}

TEST(ConvertToIndexed, ThePicturesOwnColorsAreFarBetterThanTheFixedOnes) {
    const ZBasicMemBitmap picture = Landscape();
    const auto rms = [&](PaletteSource source, Dither dither) {
        return Rms(picture, Converted(picture, shr::INDEXED_8, {.source = source, .dither = dither}));
    };
    for (const Dither dither : {Dither::none, Dither::diffusion})
        EXPECT_LT(3 * rms(PaletteSource::picture, dither), rms(PaletteSource::fixed, dither));
    EXPECT_LT(rms(PaletteSource::picture, Dither::diffusion), 5);
}

TEST(ConvertToIndexed, WithoutDitherEachPixelGetsTheNearestOfTheEntries) {
    const ZBasicMemBitmap picture = Landscape();
    for (const int count : {2, 11, 16}) {
        const std::vector<shr::Color4b> colors = SomeColors(count);
        const ColorFormat format = count == 2 ? shr::INDEXED_1 : shr::INDEXED_4;
        const ZBasicMemBitmap result = Converted(picture, format, {.source = PaletteSource::given, .entries = colors});
        const zbm::ZPixelRect pixels = AsBgra(picture);
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x) {
                const auto distance = [&](shr::Color4b color) { return DistanceBetween(color, BgraAt(pixels, x, y)); };
                int least = std::numeric_limits<int>::max();
                for (const shr::Color4b color : colors) least = std::min(least, distance(color));
                ASSERT_EQ(distance(colors[GetPixel(result, x, y)]), least) << x << ", " << y;
            }
    }
}

TEST(ConvertToIndexed, GivenColorsAreKeptInTheirOrder) {
    const ZBasicMemBitmap picture = Landscape();
    for (const Dither dither : kDithers)
        for (const int count : {1, 2, 5, 256}) {
            std::vector<shr::Color4b> colors = SomeColors(count);
            const ZBasicMemBitmap result = Converted(
                picture, shr::INDEXED_8, {.source = PaletteSource::given, .entries = colors, .dither = dither});
            for (shr::Color4b& color : colors) color.alpha = 255;
            EXPECT_EQ(TableOf(result), colors);
        }
}

TEST(ConvertToIndexed, EveryFormatGivesAsManyColorsAsItHoldsOrAsAreAskedFor) {
    const ZBasicMemBitmap picture = Landscape();
    for (const ColorFormat format : kIndexed)
        for (const Dither dither : kDithers) {
            const auto count = [&](const IndexedColors& colors) {
                return static_cast<int>(Converted(picture, format, colors).GetNumColorTableItems());
            };
            EXPECT_EQ(count({.dither = dither}), TableSize(format));
            EXPECT_EQ(count({.source = PaletteSource::fixed, .dither = dither}), TableSize(format));
            EXPECT_EQ(count({.most = 2, .dither = dither}), 2);
            EXPECT_EQ(count({.source = PaletteSource::fixed, .most = 2, .dither = dither}), 2);
        }
}

TEST(ConvertToIndexed, ADitherKeepsTheMeanThatNearestColorsLose) {
    ZBasicMemBitmap gray(kWidth, kHeight, shr::GRAYSCALE_8, 32, 16);
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) SetPixel(gray, x, y, 64);
    for (const Dither dither : kDithers) {
        const ZBasicMemBitmap result =
            Converted(gray, shr::INDEXED_1, {.source = PaletteSource::fixed, .dither = dither});
        int white = 0;
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x) white += static_cast<int>(GetPixel(result, x, y));
        EXPECT_NEAR(255.0 * white / (kWidth * kHeight), dither == Dither::none ? 0 : 64, 3);
    }
}

TEST(ConvertToIndexed, AWeakDitherIsCloserToTheNearestColors) {
    const ZBasicMemBitmap picture = Landscape();
    for (const Dither dither : {Dither::ordered, Dither::blueNoise}) {
        const auto noise = [&](double strength) {
            return Rms(picture, Converted(picture, shr::INDEXED_4, {.dither = dither, .strength = strength}));
        };
        EXPECT_LT(noise(0), noise(0.5));
        EXPECT_LT(noise(0.5), noise(1));
    }
}

TEST(ConvertToIndexed, TransparencyBecomesTheMask) {
    for (const ColorFormat sourceFormat : kFormats) {
        const ZBasicMemBitmap source = FormulaBitmap(kWidth, kHeight, sourceFormat, 31, 47);
        const zbm::ZPixelRect pixels = AsBgra(source);
        for (const Dither dither : kDithers) {
            const ZBasicMemBitmap result = Converted(source, shr::INDEXED_4, {.dither = dither});
            for (int y = 0; y < kHeight; ++y)
                for (int x = 0; x < kWidth; ++x)
                    ASSERT_EQ(GetMask(result, x, y), BgraAt(pixels, x, y) >> 24 >= 128) << FormatName(sourceFormat);
        }
    }
}

TEST(ConvertToIndexed, TransparentPixelsChooseNoColorsAndTouchNoOthers) {
    ZBasicMemBitmap plain(kWidth, kHeight, shr::BGR_24, 32, 16), noisy(kWidth, kHeight, shr::BGR_24, 32, 16);
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) {
            const bool isHidden = x % 3 == 0;
            SetPixel(plain, x, y, isHidden ? 0u : FormulaPixel(shr::BGR_24, x, y));
            SetPixel(noisy, x, y, FormulaPixel(shr::BGR_24, isHidden ? 5 * y : x, y));
            SetMask(plain, x, y, !isHidden);
            SetMask(noisy, x, y, !isHidden);
        }
    for (const Dither dither : kDithers) {
        const ZBasicMemBitmap a = Converted(plain, shr::INDEXED_4, {.dither = dither}),
                              b = Converted(noisy, shr::INDEXED_4, {.dither = dither});
        EXPECT_EQ(TableOf(a), TableOf(b));
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x) {
                ASSERT_TRUE(x % 3 == 0 || GetPixel(a, x, y) == GetPixel(b, x, y)) << x << ", " << y;
            }
    }
}

TEST(ConvertToIndexed, ReportsRisingProgressUpToOne) {
    const ZBasicMemBitmap picture = Landscape();
    for (const PaletteSource source : {PaletteSource::picture, PaletteSource::fixed}) {
        ZBasicMemBitmap result = Empty(shr::INDEXED_8);
        TestProgress progress;
        zbm::ConvertToIndexed(picture, result, {.source = source, .dither = Dither::ordered}, &progress);
        EXPECT_TRUE(std::is_sorted(progress.fractions.begin(), progress.fractions.end()));
        EXPECT_EQ(progress.fractions.front(), 0.0);
        EXPECT_EQ(progress.fractions.back(), 1.0);
    }
}

TEST(ConvertToIndexed, WhicheverReportCancelsLeavesLinesOfBothAndTheFormerColors) {
    const ZBasicMemBitmap picture = Landscape(), before = FormulaBitmap(kWidth, kHeight, shr::INDEXED_8, 20, 33);
    const IndexedColors colors{.dither = Dither::diffusion};
    const ZBasicMemBitmap after = Converted(picture, shr::INDEXED_8, colors);
    for (int report = 1;; ++report) {
        ZBasicMemBitmap result = before;
        TestProgress progress(report);
        try {
            zbm::ConvertToIndexed(picture, result, colors, &progress);
            ASSERT_EQ(report, 2 * kHeight + 2);
            break;
        } catch (const shr::AbortException&) {}
        EXPECT_EQ(TableOf(result), TableOf(before));
        // Each line is reported when it is read, and a diffusion reads four before it gives the first.
        const int read = std::clamp(report - 1 - kHeight, 0, kHeight),
                  written = read == kHeight ? kHeight : read / 4 * 4;
        for (int y = 0; y < kHeight; ++y)
            ASSERT_EQ(GetPixel(result, 7, y), GetPixel(y < written ? after : before, 7, y)) << report << ' ' << y;
    }
}

TEST(ConvertToIndexed, WhatCannotBeIsSaidBeforeAnythingIsWritten) {
    const ZBasicMemBitmap picture = Landscape(), before = FormulaBitmap(kWidth, kHeight, shr::INDEXED_4, 20, 33);
    ZBasicMemBitmap result = before;
    const auto raises = [&](const IndexedColors& colors, IndexedColorsCheck check) {
        return RaisesInternalError([&] { zbm::ConvertToIndexed(picture, result, colors, nullptr); }, check);
    };
    EXPECT_TRUE(raises({.source = PaletteSource{3}}, IndexedColorsCheck::source));
    EXPECT_TRUE(raises({.method = zbm::QuantMethod{4}}, IndexedColorsCheck::method));
    EXPECT_TRUE(raises({.dither = Dither{4}}, IndexedColorsCheck::dither));
    for (const double strength : {-0.01, 1.01, std::nan("")})
        EXPECT_TRUE(raises({.strength = strength}, IndexedColorsCheck::strength));
    EXPECT_TRUE(raises({.most = 17}, IndexedColorsCheck::most));
    EXPECT_TRUE(raises({.source = PaletteSource::fixed, .most = 17}, IndexedColorsCheck::most));
    EXPECT_TRUE(raises({.source = PaletteSource::fixed, .most = 1}, IndexedColorsCheck::mostFixed));
    for (const int count : {0, 17, 257})
        EXPECT_TRUE(
            raises({.source = PaletteSource::given, .entries = SomeColors(count)}, IndexedColorsCheck::entries));
    EXPECT_TRUE(AreEqual(result, before));

    const auto raisesFor = [&](ZBasicMemBitmap& other, IndexedColorsCheck check) {
        return RaisesInternalError([&] { zbm::ConvertToIndexed(before, other, {}, nullptr); }, check);
    };
    ZBasicMemBitmap trueColors(kWidth, kHeight, shr::BGR_24), wider(kWidth + 1, kHeight, shr::INDEXED_4),
        higher(kWidth, kHeight + 1, shr::INDEXED_4);
    EXPECT_TRUE(raisesFor(trueColors, IndexedColorsCheck::indexedResult));
    EXPECT_TRUE(raisesFor(wider, IndexedColorsCheck::sameSize));
    EXPECT_TRUE(raisesFor(higher, IndexedColorsCheck::sameSize));
    EXPECT_TRUE(RaisesInternalError([&] { zbm::ConvertToIndexed(result, result, {}, nullptr); },
                                    IndexedColorsCheck::anotherResult));
}

}  // namespace
