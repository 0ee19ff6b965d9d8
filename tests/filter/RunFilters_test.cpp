// Filters run over bitmaps of any class, through locks and commits alone.
#include "zbm/RunFilters.h"

#include <gtest/gtest.h>

#include "core/OpenBitmaps.h"
#include "core/checks/PixFilterPipelineChecks.h"
#include "core/checks/RunFiltersChecks.h"
#include "filter/FlatPicture.h"
#include "filter/StubFilters.h"
#include "support_code/ExpectError.h"
#include "support_code/FormulaPicture.h"
#include "support_code/TestProgress.h"
#include "zpixf/MakeQuantizer.h"
#include "zpixf/ZPixfAdjust.h"
#include "zpixf/ZPixfConvolution.h"

namespace {

using shr::ColorFormat;
using testkit::ColumnSum;
using testkit::LineFilter;
using testkit::OpenBasicMemBitmap;
using testkit::OpenBitmap;
using testkit::RaisesInternalError;
using testkit::TestProgress;
using zbm::RunFilters;
using zbm::ZBasicMemBitmap;
using zpixf::ZPixfType;

OpenBitmap OwnBitmap(int width, int height, ColorFormat format, int tileWidth, int tileHeight) {
    OpenBitmap bitmap(width, height, format, tileWidth, tileHeight);
    testkit::FillByFormula(bitmap);
    bitmap.calls.clear();
    return bitmap;
}

class OwnClass : public testing::TestWithParam<ColorFormat> {};
INSTANTIATE_TEST_SUITE_P(Formats, OwnClass, testing::ValuesIn(testkit::kFormats),
                         [](const auto& test) { return testkit::FormatName(test.param); });

TEST_P(OwnClass, BecomesWhatABitmapInMemoryDoes) {
    for (const auto& [tileWidth, tileHeight] :
         {std::pair{16, 8}, std::pair{61, 1}, std::pair{7, 36}, std::pair{64, 64}}) {
        OpenBitmap own = OwnBitmap(61, 37, GetParam(), tileWidth, tileHeight);
        ZBasicMemBitmap inMemory = testkit::FormulaBitmap(61, 37, GetParam(), tileWidth, tileHeight);
        for (const ZPixfType type : {ZPixfType::KeepsAlpha, ZPixfType::Null}) {
            LineFilter filter(type, &testkit::Invert);
            ColumnSum sum;
            ASSERT_TRUE(RunFilters(own, {&filter}, nullptr) && RunFilters(own, {&sum}, nullptr));
            ASSERT_TRUE(inMemory.FilterScanLines(filter, nullptr) && inMemory.FilterScanLines(sum, nullptr));
            ASSERT_TRUE(testkit::AreEqual(own, inMemory)) << tileWidth << " x " << tileHeight;
        }
    }
}

TEST(RunFilters, OfAChainIsOneAfterTheOther) {
    for (const ColorFormat format : {shr::BGR_24, shr::BGRA_32, shr::RGBA_32, shr::BGRX_32}) {
        OpenBitmap chained = OwnBitmap(61, 37, format, 16, 8), oneByOne = OwnBitmap(61, 37, format, 16, 8);
        zpixf::ZPixfBrightness brightness;
        brightness.SetBrightness(0.25);
        ColumnSum sum;
        LineFilter invert(ZPixfType::Null, &testkit::Invert);
        ASSERT_TRUE(RunFilters(chained, {&brightness, &sum, &invert}, nullptr));
        for (zpixf::ZPixFilterBase* filter : std::vector<zpixf::ZPixFilterBase*>{&brightness, &sum, &invert})
            ASSERT_TRUE(RunFilters(oneByOne, {filter}, nullptr));
        EXPECT_TRUE(testkit::AreEqual(chained, oneByOne)) << testkit::FormatName(format);
    }
}

std::vector<std::string> Steps(std::initializer_list<const char*> steps) {
    std::vector<std::string> calls;
    for (const std::string step : steps)
        for (const char* col : {",0", ",1"}) {
            const std::string place = step.substr(1) + col;
            calls.push_back("Lock " + place);
            if (step[0] == 'w') calls.push_back("Commit " + place);
            calls.push_back("Unlock " + place);
        }
    return calls;
}

TEST(RunFilters, LocksEachTileOnceToReadAndOnceToWriteIt) {
    OpenBitmap bitmap = OwnBitmap(5, 6, shr::BGRA_32, 3, 2);
    LineFilter filter(ZPixfType::Brightness);
    ASSERT_TRUE(RunFilters(bitmap, {&filter}, nullptr));
    EXPECT_EQ(bitmap.calls, Steps({"r0", "r1", "w0", "r2", "w1", "w2"}));
}

TEST(RunFilters, ReadsTheMasksThatStay) {
    OpenBitmap bitmap = OwnBitmap(5, 4, shr::BGR_24, 3, 2);
    LineFilter keeping(ZPixfType::KeepsAlpha), making(ZPixfType::MakesAlpha);
    ASSERT_TRUE(RunFilters(bitmap, {&keeping}, nullptr));
    EXPECT_EQ(bitmap.calls, Steps({"r0", "r0", "r1", "w0", "r1", "w1"}));
    EXPECT_TRUE(testkit::IsFormulaPicture(bitmap));
    bitmap.calls.clear();
    ASSERT_TRUE(RunFilters(bitmap, {&making}, nullptr));
    EXPECT_EQ(bitmap.calls, Steps({"r0", "r1", "w0", "w1"}));
}

TEST(RunFilters, HoldsNoTileWhileProgressIsReported) {
    struct Looking : TestProgress {
        explicit Looking(const OpenBitmap& watched) : bitmap(watched) {}
        void SetProgress(double fraction) override {
            TestProgress::SetProgress(fraction);
            int locks = 0;
            for (const std::string& call : bitmap.calls) locks += call[0] == 'L' ? 1 : call[0] == 'U' ? -1 : 0;
            EXPECT_EQ(locks, 0);
        }
        const OpenBitmap& bitmap;
    };
    for (const ColorFormat format : {shr::BGRA_32, shr::INDEXED_8}) {
        OpenBitmap bitmap = OwnBitmap(5, 250, format, 3, 16);
        Looking progress(bitmap);
        LineFilter filter(ZPixfType::Brightness);
        ASSERT_TRUE(RunFilters(bitmap, {&filter}, &progress));
        EXPECT_EQ(progress.fractions.back(), 1.0);
    }
}

TEST(RunFilters, CancellingPassesOnFromEveryReportAndLeavesTheRowsWrittenUntilThen) {
    OpenBitmap bitmap = OwnBitmap(5, 250, shr::BGRA_32, 3, 16);
    LineFilter filter(ZPixfType::Brightness, &testkit::Invert);
    for (const int report : {1, 2, 3}) {
        testkit::FillByFormula(bitmap);
        TestProgress progress(report);
        EXPECT_THROW(static_cast<void>(RunFilters(bitmap, {&filter}, &progress)), shr::AbortException);
        EXPECT_FALSE(filter.IsStarted());
        const int written = (report - 1) * 100 / 16 * 16;
        for (int y = 0; y < 250; ++y) {
            const std::uint32_t pixel = testkit::FormulaPixel(shr::BGRA_32, 4, y);
            ASSERT_EQ(testkit::GetPixel(bitmap, 4, y), y < written ? pixel ^ 0xFFFFFF : pixel) << report << ", " << y;
        }
    }
    ASSERT_TRUE(RunFilters(bitmap, {&filter}, nullptr));
}

TEST(RunFilters, AFilterThatFailsIsReportedInItsOwnWords) {
    OpenBitmap bitmap = OwnBitmap(5, 6, shr::BGR_24, 3, 2);
    LineFilter first(ZPixfType::Brightness), failing(ZPixfType::Brightness);
    failing.failingLine = 1;
    try {
        static_cast<void>(RunFilters(bitmap, {&first, &failing}, nullptr));
        FAIL() << "raises nothing";
    } catch (const shr::Exception& error) { EXPECT_EQ(error.GetMessageText(), L"The line fails."); }
    EXPECT_TRUE(testkit::IsFormulaPicture(bitmap));
    EXPECT_FALSE(first.IsStarted());
}

/// Alpha 127 left of the diagonal, else 128.
void HalveAlpha(unsigned line, unsigned char* pixels, unsigned width) {
    for (unsigned x = 0; x < width; ++x) pixels[4 * x + 3] = x + line < 20 ? 127 : 128;
}

template <class Bitmap>
class Masks : public testing::Test {
protected:
    Bitmap bitmap{33, 20, shr::BGR_24, 16, 8};
    void SetUp() override { testkit::FillByFormula(bitmap); }
};
using BitmapClasses = testing::Types<OpenBitmap, OpenBasicMemBitmap, ZBasicMemBitmap>;
TYPED_TEST_SUITE(Masks, BitmapClasses);

TYPED_TEST(Masks, BecomeTheAlphaThatTheLastOfAChainMakes) {
    LineFilter first(ZPixfType::Brightness), making(ZPixfType::MakesAlpha, &HalveAlpha);
    ASSERT_TRUE(RunFilters(this->bitmap, {&first, &making}, nullptr));
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 33; ++x) ASSERT_EQ(testkit::GetMask(this->bitmap, x, y), x + y >= 20) << x << ", " << y;
}

TYPED_TEST(Masks, StayWithTheirLinesWhicheverDithererOrQuantizerFollows) {
    for (const ZPixfType type : {ZPixfType::DitherOrdered, ZPixfType::DitherDiffuse, ZPixfType::DitherBlueNoise,
                                 ZPixfType::QuantizePopularity, ZPixfType::QuantizeMedian8}) {
        LineFilter making(ZPixfType::MakesAlpha, &HalveAlpha);
        const auto last = zpixf::MakeQuantizer(type, 256);
        ASSERT_TRUE(RunFilters(this->bitmap, {&making, last.get()}, nullptr));
        for (int y = 0; y < 20; ++y)
            for (int x = 0; x < 33; ++x)
                ASSERT_EQ(testkit::GetMask(this->bitmap, x, y), x + y >= 20) << static_cast<int>(type) << ' ' << y;
    }
}

TYPED_TEST(Masks, StayWithTheirLinesWhenAFilterThatReadsAheadFollows) {
    for (const bool indexed : {false, true}) {
        if (indexed) this->bitmap = TypeParam(33, 20, shr::INDEXED_8, 16, 8);
        LineFilter making(ZPixfType::MakesAlpha, &HalveAlpha), last(ZPixfType::Brightness);
        zpixf::ZPixfConvolution5 blur;
        blur.SetConvolution(zpixf::ZPixf5x5Mode::blur);
        ASSERT_TRUE(RunFilters(this->bitmap, {&making, &blur, &last}, nullptr));
        for (int y = 0; y < 20; ++y)
            for (int x = 0; x < 33; ++x) ASSERT_EQ(testkit::GetMask(this->bitmap, x, y), x + y >= 20) << x << ", " << y;
    }
}

TYPED_TEST(Masks, ReachAFilterBehindOneThatLeavesAlphaAlone) {
    LineFilter first(ZPixfType::Brightness), moving(ZPixfType::Null);
    ASSERT_TRUE(RunFilters(this->bitmap, {&first, &moving}, nullptr));
    EXPECT_TRUE(testkit::IsFormulaPicture(this->bitmap));
}

TEST(RunFilters, GivesAnIndexedBitmapItsColorsThroughTheVirtualOperation) {
    OpenBitmap bitmap = OwnBitmap(33, 20, shr::INDEXED_4, 16, 8);
    LineFilter gray(ZPixfType::KeepsAlpha, [](unsigned, unsigned char* pixels, unsigned width) {
        for (unsigned x = 0; x < width; ++x) std::memset(pixels + 4 * x, static_cast<int>(x % 3 * 40), 3);
    });
    ASSERT_TRUE(RunFilters(bitmap, {&gray}, nullptr));
    EXPECT_EQ(bitmap.calls.back(), "FillColorTable 3");
    EXPECT_EQ(bitmap.GetColorTableItem(testkit::GetPixel(bitmap, 2, 7)), shr::Color4b(80, 80, 80));
}

TEST(RunFilters, DropsTheReductionsOfABitmapThatHasThem) {
    testkit::OpenMemBitmap bitmap(100, 100, shr::BGR_24);
    ASSERT_TRUE(bitmap.CommitAll(nullptr));
    LineFilter filter(ZPixfType::Brightness);
    ASSERT_TRUE(RunFilters(bitmap, {}, nullptr));
    EXPECT_EQ(bitmap.GetPtrToPOTReduction(1), bitmap.reductions[0].get());
    static_cast<void>(RunFilters(static_cast<zbm::ZMemBitmap&>(bitmap), {&filter}, nullptr));
    EXPECT_TRUE(bitmap.needsRebuild);
}

TEST(RunFilters, RefusesWhatItCannotRun) {
    OpenBitmap none, flat(0, 5, shr::BGRA_32, 4, 4), bitmap = OwnBitmap(5, 5, shr::BGRA_32, 4, 4);
    LineFilter filter(ZPixfType::Brightness);
    EXPECT_TRUE(
        RaisesInternalError([&] { return RunFilters(none, {&filter}, nullptr); }, zbm::RunFiltersCheck::firstInputRow));
    EXPECT_TRUE(RunFilters(flat, {&filter}, nullptr)) << "there is nothing to filter";
    EXPECT_TRUE(RaisesInternalError(
        [&] {
            return RunFilters(bitmap, {&filter, &filter}, nullptr);
        },
        zbm::RunFiltersCheck::filterGivenTwice));
    EXPECT_TRUE(RaisesInternalError([&] { return RunFilters(bitmap, {nullptr}, nullptr); },
                                    zbm::PixFilterPipelineCheck::filter));

    std::vector<std::unique_ptr<LineFilter>> many;
    std::vector<zpixf::ZPixFilterBase*> chain;
    for (int i = 0; i < 17; ++i)
        chain.push_back(many.emplace_back(std::make_unique<LineFilter>(ZPixfType::Brightness)).get());
    EXPECT_TRUE(
        RaisesInternalError([&] { return RunFilters(bitmap, chain, nullptr); }, zbm::PixFilterPipelineCheck::stages));
    chain.resize(15);
    EXPECT_TRUE(RunFilters(bitmap, chain, nullptr));
    EXPECT_TRUE(testkit::IsFormulaPicture(bitmap));
}

}  // namespace
