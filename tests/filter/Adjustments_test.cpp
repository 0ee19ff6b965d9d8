// The adjustments of whole pictures: what they accept, tell and hand to the filters.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <set>

#include "core/checks/BitmapChecks.h"
#include "core/checks/PixFilterPipelineChecks.h"
#include "filter/StubFilters.h"
#include "support_code/ExpectError.h"
#include "support_code/FormulaPicture.h"
#include "support_code/TestProgress.h"
#include "zbm/ZMemBitmap.h"
#include "zbm/ZPixelRect.h"
#include "zpixf/ZPixfAdjust.h"
#include "zpixf/ZPixfConvolution.h"
#include "zpixf/ZPixfMedian.h"
#include "zpixf/ZPixfQuantize.h"

namespace {

using shr::ColorFormat;
using testkit::AreEqual;
using testkit::FormulaBitmap;
using testkit::RaisesInternalError;
using testkit::TestProgress;
using zbm::BitmapCheck;
using zbm::ZBasicMemBitmap;

constexpr int kWidth = 61, kHeight = 37;

double kIdentity3[9] = {0, 0, 0, 0, 1, 0, 0, 0, 0};
double kShift5[25] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};

struct Adjustment {
    const char* name;
    const char* task;
    bool (*apply)(zbm::ZBitmap& bitmap, shr::IProgress* progress);
    /// The filter that is to run.
    std::unique_ptr<zpixf::ZPixFilterBase> (*filter)();
};

template <class Filter, class Configure>
std::unique_ptr<zpixf::ZPixFilterBase> Make(const Configure& configure) {
    auto filter = std::make_unique<Filter>();
    configure(*filter);
    return filter;
}

const Adjustment kAdjustments[] = {
    {"ChangeBrightness", "Changing image brightness...",
     [](zbm::ZBitmap& bitmap, shr::IProgress* progress) { return bitmap.ChangeBrightness(0.25, progress); },
     [] { return Make<zpixf::ZPixfBrightness>([](auto& filter) { filter.SetBrightness(0.25); }); }},
    {"ChangeContrast", "Changing image constrast...",
     [](zbm::ZBitmap& bitmap, shr::IProgress* progress) { return bitmap.ChangeContrast(-0.5, progress); },
     [] { return Make<zpixf::ZPixfContrast>([](auto& filter) { filter.SetContrast(-0.5); }); }},
    {"ChangeSaturation", "Changing image saturation...",
     [](zbm::ZBitmap& bitmap, shr::IProgress* progress) { return bitmap.ChangeSaturation(0.0, progress); },
     [] { return Make<zpixf::ZPixfSaturation>([](auto& filter) { filter.SetSaturation(0.0); }); }},
    {"ConvertToGrayScale", "Converting image to grayscale...",
     [](zbm::ZBitmap& bitmap, shr::IProgress* progress) { return bitmap.ConvertToGrayScale(progress); },
     [] { return Make<zpixf::ZPixfDesaturate>([](auto&) {}); }},
    {"Convolute3x3WithAKernel", "Filtering image...",
     [](zbm::ZBitmap& bitmap, shr::IProgress* progress) {
         return bitmap.Convolute3x3(kIdentity3, 2.0, 16.0, progress);
     },
     [] {
         return Make<zpixf::ZPixfConvolution3>([](auto& filter) { filter.SetUserConvolution(kIdentity3, 2.0, 16.0); });
     }},
    {"Convolute3x3", "Filtering image...",
     [](zbm::ZBitmap& bitmap, shr::IProgress* progress) {
         return bitmap.Convolute3x3(zpixf::ZPixf3x3Mode::gaussian, progress);
     },
     [] {
         return Make<zpixf::ZPixfConvolution3>(
             [](auto& filter) { filter.SetConvolution(zpixf::ZPixf3x3Mode::gaussian); });
     }},
    {"Convolute5x5WithAKernel", "Filtering image...",
     [](zbm::ZBitmap& bitmap, shr::IProgress* progress) { return bitmap.Convolute5x5(kShift5, 0.0, 1.0, progress); },
     [] { return Make<zpixf::ZPixfConvolution5>([](auto& filter) { filter.SetUserConvolution(kShift5, 0.0, 1.0); }); }},
    {"Convolute5x5", "Filtering image...",
     [](zbm::ZBitmap& bitmap, shr::IProgress* progress) {
         return bitmap.Convolute5x5(zpixf::ZPixf5x5Mode::emboss, progress);
     },
     [] {
         return Make<zpixf::ZPixfConvolution5>(
             [](auto& filter) { filter.SetConvolution(zpixf::ZPixf5x5Mode::emboss); });
     }},
    {"MedianFilter", "Filtering image...",
     [](zbm::ZBitmap& bitmap, shr::IProgress* progress) { return bitmap.MedianFilter(5, progress); },
     [] { return Make<zpixf::ZPixfMedian>([](auto& filter) { filter.SetSpan(5); }); }},
    {"Sharpen", "Sharpening image...",
     [](zbm::ZBitmap& bitmap, shr::IProgress* progress) { return bitmap.Sharpen(0.5, progress); },
     [] { return Make<zpixf::ZPixfConvolution3>([](auto& filter) { filter.SetSharpeningConvolution(0.5); }); }},
};

class AdjustmentOf : public testing::TestWithParam<Adjustment> {};
INSTANTIATE_TEST_SUITE_P(All, AdjustmentOf, testing::ValuesIn(kAdjustments),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(AdjustmentOf, RunsItsFilterInOneTaskOfItsText) {
    TestProgress progress;
    ZBasicMemBitmap bitmap = FormulaBitmap(kWidth, kHeight, shr::BGRA_32, 16, 8), expected = bitmap;
    ASSERT_TRUE(GetParam().apply(bitmap, &progress));
    EXPECT_EQ(progress.TaskTexts(), std::vector<std::string>{GetParam().task});
    EXPECT_EQ(progress.openTasks, 0);
    ASSERT_TRUE(expected.FilterScanLines(*GetParam().filter(), nullptr));
    EXPECT_TRUE(AreEqual(bitmap, expected));
    EXPECT_FALSE(AreEqual(bitmap, FormulaBitmap(kWidth, kHeight, shr::BGRA_32, 16, 8)));
}

TEST_P(AdjustmentOf, NeedsNoProgress) {
    ZBasicMemBitmap bitmap = FormulaBitmap(kWidth, kHeight, shr::BGR_24, 16, 8);
    EXPECT_TRUE(GetParam().apply(bitmap, nullptr));
}

TEST_P(AdjustmentOf, KeepsAlphaAndMasks) {
    for (const ColorFormat format : testkit::kFormats) {
        ZBasicMemBitmap bitmap = FormulaBitmap(kWidth, kHeight, format, 16, 8);
        ASSERT_TRUE(GetParam().apply(bitmap, nullptr));
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x)
                if (testkit::HasMask(format)) {
                    ASSERT_EQ(testkit::GetMask(bitmap, x, y), testkit::FormulaMask(x, y)) << format;
                } else {
                    ASSERT_EQ(testkit::GetPixel(bitmap, x, y) >> 24, testkit::FormulaByte(x, y, 3)) << format;
                }
    }
}

TEST_P(AdjustmentOf, ChoosesColorsAnewInAnIndexedPicture) {
    for (const ColorFormat format : {shr::INDEXED_1, shr::INDEXED_4, shr::INDEXED_8}) {
        ZBasicMemBitmap bitmap = FormulaBitmap(kWidth, kHeight, format, 16, 8);
        ASSERT_TRUE(GetParam().apply(bitmap, nullptr));
        EXPECT_EQ(bitmap.GetColorFormat(), format);
        EXPECT_LE(bitmap.GetNumColorTableItems(), static_cast<unsigned>(testkit::TableSize(format)));
        EXPECT_GE(bitmap.GetNumColorTableItems(), 1u);
    }
}

TEST_P(AdjustmentOf, IsTheSameWhateverTheTiles) {
    for (const ColorFormat format : {shr::GRAYSCALE_8, shr::INDEXED_4, shr::BGR_24, shr::PBGRA_32}) {
        ZBasicMemBitmap whole = FormulaBitmap(kWidth, kHeight, format, 64, 64);
        ASSERT_TRUE(GetParam().apply(whole, nullptr));
        for (const auto& [tileWidth, tileHeight] : {std::pair{16, 8}, std::pair{61, 1}, std::pair{5, 36}}) {
            ZBasicMemBitmap tiled = FormulaBitmap(kWidth, kHeight, format, tileWidth, tileHeight);
            ASSERT_TRUE(GetParam().apply(tiled, nullptr));
            ASSERT_EQ(tiled.GetNumColorTableItems(), whole.GetNumColorTableItems());
            for (int y = 0; y < kHeight; ++y)
                for (int x = 0; x < kWidth; ++x)
                    ASSERT_EQ(testkit::GetPixel(tiled, x, y), testkit::GetPixel(whole, x, y)) << x << ", " << y;
        }
    }
}

TEST_P(AdjustmentOf, MakesReductionsStale) {
    zbm::ZMemBitmap bitmap(100, 100, shr::BGR_24);
    ASSERT_TRUE(bitmap.CommitAll(nullptr));
    ASSERT_NE(bitmap.GetPtrToPOTReduction(1), nullptr);
    ASSERT_TRUE(GetParam().apply(bitmap, nullptr));
    EXPECT_EQ(bitmap.GetPtrToPOTReduction(1), nullptr);
}

TEST_P(AdjustmentOf, PassesOverAPictureWithoutColumns) {
    ZBasicMemBitmap bitmap(1, 1, shr::BGR_24);
    bitmap.Create(0, 5, shr::BGR_24);
    EXPECT_TRUE(GetParam().apply(bitmap, nullptr));
}

// --- amounts

struct Ranged {
    const char* name;
    bool (zbm::ZBitmap::*apply)(double, shr::IProgress*);
    BitmapCheck check;
    double neutral;  // no number: there is none
};
class AmountOf : public testing::TestWithParam<Ranged> {};
const double kNoNumber = std::numeric_limits<double>::quiet_NaN();
INSTANTIATE_TEST_SUITE_P(
    All, AmountOf,
    testing::Values(Ranged{"ChangeBrightness", &zbm::ZBitmap::ChangeBrightness, BitmapCheck::brightnessRange, 0.0},
                    Ranged{"ChangeContrast", &zbm::ZBitmap::ChangeContrast, BitmapCheck::contrastRange, 0.0},
                    Ranged{"ChangeSaturation", &zbm::ZBitmap::ChangeSaturation, BitmapCheck::saturationRange, 1.0},
                    Ranged{"Sharpen", &zbm::ZBitmap::Sharpen, BitmapCheck::sharpeningRange, kNoNumber}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_P(AmountOf, LiesBetweenMinusOneAndOne) {
    for (const double amount :
         {-1.0000001, 1.0000001, 2.0, -1e300, std::numeric_limits<double>::infinity(), kNoNumber}) {
        TestProgress progress;
        ZBasicMemBitmap bitmap = FormulaBitmap(9, 7, shr::BGR_24, 16, 8);
        EXPECT_TRUE(RaisesInternalError([&] { (bitmap.*GetParam().apply)(amount, &progress); }, GetParam().check))
            << amount;
        EXPECT_TRUE(progress.tasks.empty()) << "the range is checked first";
        EXPECT_TRUE(testkit::IsFormulaPicture(bitmap));
    }
    for (const double amount : {-1.0, 1.0, -0.5, 0.0}) {
        ZBasicMemBitmap bitmap = FormulaBitmap(9, 7, shr::BGR_24, 16, 8);
        EXPECT_TRUE((bitmap.*GetParam().apply)(amount, nullptr)) << amount;
    }
}

TEST_P(AmountOf, DoesNothingWhereNeutralAndOnlyThere) {
    for (const double amount : {0.0, -0.0, 1.0}) {
        TestProgress progress;
        ZBasicMemBitmap bitmap = FormulaBitmap(9, 7, shr::BGR_24, 16, 8);
        ASSERT_TRUE((bitmap.*GetParam().apply)(amount, &progress));
        EXPECT_EQ(progress.tasks.empty(), amount == GetParam().neutral) << amount;
        if (amount == GetParam().neutral) { EXPECT_TRUE(testkit::IsFormulaPicture(bitmap)); }
    }
}

TEST(Convolution, OfNumbersWithoutBoundsIsToldAndChangesNothing) {
    constexpr const wchar_t* kReason = L"A number of the convolution is none, or too large.";
    for (const double number : {1e308, kNoNumber, std::numeric_limits<double>::infinity()}) {
        ZBasicMemBitmap bitmap = FormulaBitmap(9, 7, shr::BGR_24, 16, 8);
        std::vector<double> kernel(25, number);
        EXPECT_TRUE(testkit::RaisesNamedError([&] { return bitmap.Convolute3x3(kernel.data(), 1, 0, nullptr); },
                                              kReason, zbm::PixFilterPipelineCheck::filterStart));
        EXPECT_TRUE(testkit::RaisesNamedError([&] { return bitmap.Convolute5x5(kernel.data(), 1, 0, nullptr); },
                                              kReason, zbm::PixFilterPipelineCheck::filterStart));
        EXPECT_TRUE(testkit::IsFormulaPicture(bitmap));
    }
}

TEST(MedianFilter, TakesAnySpan) {
    for (const unsigned span : {0u, 1u, 2u, 3u, 100u, 100000u, 0xFFFFFFFFu}) {
        ZBasicMemBitmap bitmap = FormulaBitmap(9, 7, shr::BGR_24, 16, 8);
        EXPECT_TRUE(bitmap.MedianFilter(span, nullptr)) << span;
        if (span <= 1) { EXPECT_TRUE(testkit::IsFormulaPicture(bitmap)); }
    }
}

// --- QuantizeColors

std::set<std::uint32_t> ColorsOf(const zbm::ZBitmap& bitmap) {
    std::set<std::uint32_t> colors;
    for (int y = 0; y < bitmap.GetPixelHeight(); ++y)
        for (int x = 0; x < bitmap.GetPixelWidth(); ++x) colors.insert(testkit::GetPixel(bitmap, x, y) & 0xFFFFFF);
    return colors;
}

TEST(QuantizeColors, LeavesAtMostThatManyColorsAndTellsThem) {
    for (const auto method : {zbm::QuantMedian5, zbm::QuantMedian8, zbm::QuantPopularity})
        for (const int count : {1, 2, 7, 100, 256}) {
            TestProgress progress;
            ZBasicMemBitmap bitmap = FormulaBitmap(kWidth, kHeight, shr::BGR_24, 16, 8);
            std::vector<RGBQUAD> palette(3);
            ASSERT_TRUE(bitmap.QuantizeColors(method, count, palette, &progress));
            EXPECT_EQ(progress.TaskTexts(), std::vector<std::string>{"Converting image color format..."});
            EXPECT_EQ(bitmap.GetColorFormat(), shr::BGR_24);
            EXPECT_EQ(bitmap.GetNumColorTableItems(), 0u);
            EXPECT_LE(static_cast<int>(palette.size()), count);
            std::set<std::uint32_t> told;
            for (const RGBQUAD& color : palette) {
                told.insert(static_cast<std::uint32_t>(color.rgbRed << 16 | color.rgbGreen << 8 | color.rgbBlue));
                EXPECT_EQ(color.rgbReserved, 0);
            }
            for (const std::uint32_t color : ColorsOf(bitmap)) EXPECT_TRUE(told.contains(color)) << color;
        }
}

template <class Quantizer>
void ExpectPaletteOf(zbm::QuantMethod method) {
    ZBasicMemBitmap bitmap = FormulaBitmap(kWidth, kHeight, shr::BGRA_32, 16, 8), copy = bitmap;
    Quantizer quantizer;
    quantizer.SetDesiredColors(9);
    ASSERT_TRUE(copy.FilterScanLines(quantizer, nullptr));
    std::vector<RGBQUAD> palette(20);
    ASSERT_TRUE(bitmap.QuantizeColors(method, 9, palette, nullptr));
    EXPECT_TRUE(AreEqual(bitmap, copy));
    const zpixf::ZPixFormat& expected = quantizer.GetOutputFormat();
    ASSERT_EQ(palette.size(), expected.GetNumColors());
    for (std::size_t i = 0; i < palette.size(); ++i) {
        EXPECT_EQ(palette[i].rgbBlue, expected.GetColors()[i].rgbBlue) << i;
        EXPECT_EQ(palette[i].rgbGreen, expected.GetColors()[i].rgbGreen) << i;
        EXPECT_EQ(palette[i].rgbRed, expected.GetColors()[i].rgbRed) << i;
        EXPECT_EQ(palette[i].rgbReserved, 0) << i;
    }
}

TEST(QuantizeColors, RunsTheQuantizerOfTheMethodAndTellsItsPaletteInOrder) {
    ExpectPaletteOf<zpixf::ZPixfQuantizeMedian5>(zbm::QuantMedian5);
    ExpectPaletteOf<zpixf::ZPixfQuantizeMedian8>(zbm::QuantMedian8);
    ExpectPaletteOf<zpixf::ZPixfQuantizePopularity>(zbm::QuantPopularity);
}

TEST(QuantizeColors, RefusesUnknownMethodsAfterItsTaskBegan) {
    for (const int method : {0, 4, 9, -1}) {
        TestProgress progress;
        ZBasicMemBitmap bitmap = FormulaBitmap(9, 7, shr::BGR_24, 16, 8);
        std::vector<RGBQUAD> palette(3);
        EXPECT_TRUE(RaisesInternalError(
            [&] { return bitmap.QuantizeColors(static_cast<zbm::QuantMethod>(method), 5, palette, &progress); },
            BitmapCheck::quantMethod));
        EXPECT_TRUE(palette.empty());
        EXPECT_EQ(progress.tasks.size(), 1u);
        EXPECT_EQ(progress.openTasks, 0);
        EXPECT_TRUE(testkit::IsFormulaPicture(bitmap));
    }
}

TEST(QuantizeColors, CountsThatNoPaletteHasAreToldAndChangeNothing) {
    for (const int count : {0, -5, 257, 100000, std::numeric_limits<int>::min()}) {
        ZBasicMemBitmap bitmap = FormulaBitmap(9, 7, shr::BGR_24, 16, 8);
        std::vector<RGBQUAD> palette(3);
        EXPECT_TRUE(
            testkit::RaisesNamedError([&] { return bitmap.QuantizeColors(zbm::QuantMedian8, count, palette, nullptr); },
                                      L"Colours can be reduced to 1 to 256.", zbm::PixFilterPipelineCheck::filterStart))
            << count;
        EXPECT_TRUE(palette.empty());
        EXPECT_TRUE(testkit::IsFormulaPicture(bitmap));
    }
}

/// Its filtering is cancelled while a stage starts.
struct NeverFiltering : ZBasicMemBitmap {
    using ZBasicMemBitmap::ZBasicMemBitmap;
    bool FilterScanLines(zpixf::ZPixFilterBase&, shr::IProgress*) override { return false; }
};

TEST(QuantizeColors, GivesNoPaletteWhenTheFilteringGivesFalse) {
    NeverFiltering bitmap(9, 7, shr::BGR_24);
    std::vector<RGBQUAD> palette(3);
    EXPECT_FALSE(bitmap.QuantizeColors(zbm::QuantMedian5, 5, palette, nullptr));
    EXPECT_TRUE(palette.empty());
    EXPECT_FALSE(bitmap.ChangeBrightness(0.5, nullptr));
}

}  // namespace
