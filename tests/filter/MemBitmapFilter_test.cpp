// Filters run over bitmaps in memory.
#include <gtest/gtest.h>

#include <map>

#include "core/OpenBitmaps.h"
#include "core/checks/BasicMemBitmapChecks.h"
#include "filter/FlatPicture.h"
#include "filter/StubFilters.h"
#include "support_code/ExpectError.h"
#include "support_code/FormulaPicture.h"
#include "support_code/TestProgress.h"
#include "zbm/CPixFilterPipeline.h"
#include "zbm/ZMemBitmap.h"
#include "zbm/ZPixelRect.h"
#include "zpixf/ZPixfConvolution.h"

namespace {

using shr::ColorFormat;
using testkit::FormulaBitmap;
using testkit::LineFilter;
using testkit::OpenBasicMemBitmap;
using testkit::RaisesInternalError;
using testkit::TestProgress;
using zbm::BasicMemBitmapCheck;
using zbm::ZBasicMemBitmap;
using zpixf::ZPixfType;

/// The bitmap as BGRA, alpha from the mask where it has one.
std::vector<unsigned char> AsBgra(const zbm::ZBitmap& bitmap) {
    const zbm::ZPixelRect rect(bitmap, 0, 0, bitmap.GetPixelWidth(), bitmap.GetPixelHeight(), shr::BGRA_32, nullptr);
    const auto* first = rect.GetFirstRowPtr();
    return {first, first + std::size_t{4} * rect.GetWidth() * rect.GetHeight()};
}

/// A picture by formula, its colours opaque: what is transparent has no say in a choice of colours.
ZBasicMemBitmap OpaqueFormulaBitmap(int width, int height, ColorFormat format, int tileWidth, int tileHeight) {
    ZBasicMemBitmap bitmap = FormulaBitmap(width, height, format, tileWidth, tileHeight);
    std::vector<shr::Color4b> colors;
    for (int i = 0; i < testkit::TableSize(format); ++i) {
        colors.push_back(testkit::FormulaColor(i));
        colors.back().alpha = 255;
    }
    bitmap.FillColorTable(colors.data(), static_cast<unsigned>(colors.size()));
    return bitmap;
}

class InPlace : public testing::TestWithParam<ColorFormat> {
protected:
    static bool IsIndexed() { return testkit::TableSize(GetParam()) != 0; }
};

INSTANTIATE_TEST_SUITE_P(Formats, InPlace, testing::ValuesIn(testkit::kFormats),
                         [](const auto& test) { return testkit::FormatName(test.param); });

TEST_P(InPlace, AFilterThatChangesNothingLeavesWhatFormat10CanHold) {
    ZBasicMemBitmap bitmap = OpaqueFormulaBitmap(61, 37, GetParam(), 16, 8);
    const auto before = AsBgra(bitmap);
    LineFilter filter(ZPixfType::KeepsAlpha);
    ASSERT_TRUE(bitmap.FilterScanLines(filter, nullptr));
    if (GetParam() == shr::PBGRA_32) {
        // Truncating division and rounding back need not meet; the alpha does.
        const auto after = AsBgra(bitmap);
        for (std::size_t i = 3; i < after.size(); i += 4) ASSERT_EQ(after[i], before[i]);
    } else if (GetParam() == shr::GRAYSCALE_16 || GetParam() == shr::GRAYSCALE_32) {
        for (int y = 0; y < 37; ++y)
            for (int x = 0; x < 61; ++x) {
                const unsigned bits = static_cast<unsigned>(testkit::BitsPerPixel(GetParam()));
                const std::uint64_t level = testkit::FormulaPixel(GetParam(), x, y) >> (bits - 8);
                const std::uint64_t expected = level * ((std::uint64_t{1} << bits) - 1) / 255;
                ASSERT_EQ(testkit::GetPixel(bitmap, x, y), expected) << x << ", " << y;
            }
    } else {
        EXPECT_EQ(AsBgra(bitmap), before);
    }
    for (int y = 0; testkit::HasMask(GetParam()) && y < 37; ++y)
        for (int x = 0; x < 61; ++x) ASSERT_EQ(testkit::GetMask(bitmap, x, y), testkit::FormulaMask(x, y));
}

/// Whatever the tiles, the result is that of one tile, in which no line is read after it was written.
TEST_P(InPlace, NeighbouringLinesAreThoseOfTheInputAcrossRowsOfTiles) {
    ZBasicMemBitmap whole = OpaqueFormulaBitmap(61, 37, GetParam(), 64, 64);
    testkit::ColumnSum filter;
    ASSERT_TRUE(whole.FilterScanLines(filter, nullptr));
    for (const auto& [tileWidth, tileHeight] :
         {std::pair{16, 8}, std::pair{61, 1}, std::pair{7, 36}, std::pair{1, 5}}) {
        ZBasicMemBitmap tiled = OpaqueFormulaBitmap(61, 37, GetParam(), tileWidth, tileHeight);
        ASSERT_TRUE(tiled.FilterScanLines(filter, nullptr));
        ASSERT_EQ(AsBgra(tiled), AsBgra(whole)) << tileWidth << " x " << tileHeight;
    }
}

TEST_P(InPlace, EachLineIsConvertedFilteredAndConvertedBack) {
    ZBasicMemBitmap bitmap = OpaqueFormulaBitmap(33, 20, GetParam(), 16, 8);
    ZBasicMemBitmap expected = bitmap;
    {
        zbm::ZPixelRect rect(expected, 0, 0, 33, 20, shr::BGRA_32, nullptr);
        for (int y = 0; y < 20; ++y) testkit::Invert(0, rect.GetRowPtr(y), 33);
        rect.CommitPixels(nullptr);
    }
    LineFilter filter(ZPixfType::Brightness, &testkit::Invert);
    ASSERT_TRUE(bitmap.FilterScanLines(filter, nullptr));
    if (!IsIndexed()) {
        EXPECT_TRUE(testkit::AreEqual(bitmap, expected));
        return;
    }
    // The colours are chosen anew, as many as the table had; so they come out exact.
    auto colors = AsBgra(OpaqueFormulaBitmap(33, 20, GetParam(), 16, 8));
    testkit::Invert(0, colors.data(), 33 * 20);
    EXPECT_EQ(AsBgra(bitmap), colors);
}

// --- lines that a filter pulls again after they were overwritten

/// What TwoLines makes of a picture in place, line by line, if the line that it pulls second is `second(flat, line)` of
/// the picture as it is by then.
template <class Second>
testkit::FlatPicture WithSecondLines(const testkit::FlatPicture& bgra, Second second) {
    testkit::FlatPicture now = bgra;
    for (int y = 0; y < bgra.height; ++y) {
        const std::uint8_t* other = second(bgra, now, y);
        for (int i = 0; i < bgra.RowBytes(); ++i)
            if (i % 4 != 3) now.Row(y)[i] = static_cast<std::uint8_t>(bgra.Row(y)[i] ^ other[i]);
    }
    return now;
}

constexpr int kRowsOfTile = 8;

/// Filters of the types that the library's own have promise nothing by that.
template <class Bitmap, class Second>
void ExpectSecondLines(testkit::TwoLines::OtherLine otherLine, Second second) {
    for (const ZPixfType type : {ZPixfType::Brightness, ZPixfType::Convolution3, ZPixfType::Null, ZPixfType::Median,
                                 ZPixfType::ResizeBicubic, ZPixfType::QuantizeMedian5, ZPixfType::KeepsAlpha})
        for (const ColorFormat format : {shr::BGRA_32, shr::BGR_24, shr::BGRX_32}) {
            Bitmap bitmap(33, 20, format, 16, kRowsOfTile);
            testkit::FillByFormula(bitmap);
            const auto before = testkit::Flattened(bitmap);
            testkit::TwoLines filter(type, otherLine);
            ASSERT_TRUE(bitmap.FilterScanLines(filter, nullptr));
            testkit::FlatPicture expected =
                FromBgra(WithSecondLines(AsBgra(before, testkit::Mask::isLeftOut), second), before);
            expected.opaque = before.opaque;
            ASSERT_TRUE(testkit::Holds(bitmap, expected)) << testkit::FormatName(format) << ", type " << int(type);
        }
}

template <class Bitmap>
class OverwrittenLines : public testing::Test {};
using BitmapClasses = testing::Types<ZBasicMemBitmap, zbm::ZMemBitmap, OpenBasicMemBitmap>;
TYPED_TEST_SUITE(OverwrittenLines, BitmapClasses);

TYPED_TEST(OverwrittenLines, AreTheOldOnesWithinTheRowOfTiles) {
    ExpectSecondLines<TypeParam>(
        [](unsigned line) { return line - line % kRowsOfTile; },
        [](const auto& before, const auto&, int y) { return before.Row(y - y % kRowsOfTile); });
}

TYPED_TEST(OverwrittenLines, OfAnEarlierRowOfTilesAreReadAnew) {
    ExpectSecondLines<TypeParam>(
        [](unsigned) { return 0u; },
        [](const auto& before, const auto& now, int y) { return (y < kRowsOfTile ? before : now).Row(0); });
}

TYPED_TEST(OverwrittenLines, AreReadForThePaletteBeforeAnyIsOverwritten) {
    TypeParam bitmap(33, 20, shr::INDEXED_8, 16, kRowsOfTile);
    testkit::FillByFormula(bitmap);
    const auto before = testkit::Flattened(bitmap);
    testkit::TwoLines filter(ZPixfType::Brightness, [](unsigned line) { return line - line % kRowsOfTile; });
    ASSERT_TRUE(bitmap.FilterScanLines(filter, nullptr));
    const auto withOld =
        WithSecondLines(AsBgra(before, testkit::Mask::isLeftOut),
                        [](const auto& old, const auto&, int y) { return old.Row(y - y % kRowsOfTile); });
    testkit::FlatPicture expected = FromBgra(withOld, before);
    expected.opaque = before.opaque;
    EXPECT_TRUE(testkit::Holds(bitmap, expected));
}

TEST(MemBitmapFilter, GivesTheFilterTheWholePictureAsTrueColor) {
    ZBasicMemBitmap bitmap = FormulaBitmap(33, 20, shr::BGR_24, 16, 8);
    LineFilter filter(ZPixfType::Brightness);
    ASSERT_TRUE(bitmap.FilterScanLines(filter, nullptr));
    for (const auto* format : {&filter.GetInputFormat(), &filter.GetOutputFormat()}) {
        EXPECT_EQ(format->GetWidth(), 33u);
        EXPECT_EQ(format->GetHeight(), 20u);
        EXPECT_EQ(format->GetChannels(), 4u);
        EXPECT_EQ(format->GetBitsPerChannel(), 8u);
        EXPECT_EQ(format->GetNumColors(), 0u);
    }
}

TEST(MemBitmapFilter, TheMaskReachesOnlyFiltersThatUseAlpha) {
    const auto alphasSeenBy = [](ZPixfType type, ColorFormat format) {
        std::map<int, int> alphas;
        ZBasicMemBitmap bitmap = FormulaBitmap(33, 20, format, 16, 8);
        LineFilter filter(type, [&](unsigned, unsigned char* pixels, unsigned width) {
            for (unsigned x = 0; x < width; ++x) ++alphas[pixels[4 * x + 3]];
        });
        EXPECT_TRUE(bitmap.FilterScanLines(filter, nullptr));
        return alphas;
    };
    EXPECT_EQ(alphasSeenBy(ZPixfType::Brightness, shr::BGR_24).size(), 1u);
    const auto masked = alphasSeenBy(ZPixfType::Null, shr::BGR_24);
    EXPECT_EQ(masked.size(), 2u);
    EXPECT_TRUE(masked.contains(0) && masked.contains(255));
    EXPECT_GT(alphasSeenBy(ZPixfType::Null, shr::BGRA_32).size(), 2u) << "alpha of its own";
}

TEST(MemBitmapFilter, AMaskChangesOnlyWhereAStageChangesAlpha) {
    const auto halve = [](unsigned line, unsigned char* pixels, unsigned width) {
        for (unsigned x = 0; x < width; ++x) pixels[4 * x + 3] = x + line < 20 ? 127 : 128;
    };
    for (const ColorFormat format : {shr::BGR_24, shr::GRAYSCALE_8, shr::INDEXED_8, shr::INDEXED_1}) {
        ZBasicMemBitmap kept = FormulaBitmap(33, 20, format, 16, 8), changed = kept;
        LineFilter keeping(ZPixfType::KeepsAlpha, halve), making(ZPixfType::MakesAlpha, halve);
        ASSERT_TRUE(kept.FilterScanLines(keeping, nullptr));
        ASSERT_TRUE(changed.FilterScanLines(making, nullptr));
        for (int y = 0; y < 20; ++y)
            for (int x = 0; x < 33; ++x) {
                ASSERT_EQ(testkit::GetMask(kept, x, y), testkit::FormulaMask(x, y)) << format;
                ASSERT_EQ(testkit::GetMask(changed, x, y), x + y >= 20) << format << ' ' << x << ", " << y;
            }
    }
}

TEST(MemBitmapFilter, AlphaOfAPictureThatHasItIsItsOwn) {
    ZBasicMemBitmap bitmap = FormulaBitmap(33, 20, shr::RGBA_32, 16, 8);
    LineFilter making(ZPixfType::MakesAlpha, [](unsigned, unsigned char* pixels, unsigned width) {
        for (unsigned x = 0; x < width; ++x) pixels[4 * x + 3] = static_cast<unsigned char>(x);
    });
    ASSERT_TRUE(bitmap.FilterScanLines(making, nullptr));
    for (int x = 0; x < 33; ++x) EXPECT_EQ(testkit::GetPixel(bitmap, x, 5) >> 24, static_cast<unsigned>(x));
}

TEST(MemBitmapFilter, AnIndexedPictureEndsWithTheColorsThatItNeeds) {
    ZBasicMemBitmap bitmap(40, 30, shr::INDEXED_8, 16, 16);
    LineFilter filter(ZPixfType::Brightness, [](unsigned line, unsigned char* pixels, unsigned width) {
        for (unsigned x = 0; x < width; ++x) {
            const unsigned char colors[2][4] = {{10, 20, 30, 255}, {200, 100, 50, 255}};
            std::memcpy(pixels + 4 * x, colors[(x + line) % 2], 4);
        }
    });
    ASSERT_TRUE(bitmap.FilterScanLines(filter, nullptr));
    EXPECT_EQ(bitmap.GetNumColorTableItems(), 2u);
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 40; ++x) {
            const shr::Color4b color = bitmap.GetColorTableItem(testkit::GetPixel(bitmap, x, y));
            ASSERT_EQ(color, (x + y) % 2 == 0 ? shr::Color4b(30, 20, 10) : shr::Color4b(50, 100, 200));
        }
}

TEST(MemBitmapFilter, AsManyColorsAreChosenAsTheTableHad) {
    ZBasicMemBitmap bitmap = FormulaBitmap(60, 40, shr::INDEXED_8, 16, 16);
    std::vector<shr::Color4b> seven;
    for (int i = 0; i < 7; ++i) seven.push_back(testkit::FormulaColor(i));
    bitmap.FillColorTable(seven.data(), 7);
    LineFilter filter(ZPixfType::Brightness, [](unsigned line, unsigned char* pixels, unsigned width) {
        for (unsigned x = 0; x < width; ++x) {
            pixels[4 * x] = static_cast<unsigned char>(4 * x);
            pixels[4 * x + 1] = static_cast<unsigned char>(6 * line);
        }
    });
    ASSERT_TRUE(bitmap.FilterScanLines(filter, nullptr));
    EXPECT_EQ(bitmap.GetNumColorTableItems(), 7u);
}

struct CountingTables : ZBasicMemBitmap {
    using ZBasicMemBitmap::ZBasicMemBitmap;
    void FillColorTable(const shr::Color4b* colors, unsigned count) override {
        ++fills;
        ZBasicMemBitmap::FillColorTable(colors, count);
    }
    int fills = 0;
};

TEST(MemBitmapFilter, ThePaletteGoesThroughTheVirtualOperation) {
    LineFilter filter(ZPixfType::Brightness);
    CountingTables indexed(20, 20, shr::INDEXED_4, 16, 16), trueColor(20, 20, shr::BGR_24, 16, 16);
    ASSERT_TRUE(indexed.FilterScanLines(filter, nullptr));
    ASSERT_TRUE(trueColor.FilterScanLines(filter, nullptr));
    EXPECT_EQ(indexed.fills, 1);
    EXPECT_EQ(trueColor.fills, 0);
}

TEST(MemBitmapFilter, ReportsEveryHundredLinesAndTheEnd) {
    TestProgress progress;
    ZBasicMemBitmap bitmap(5, 250, shr::BGR_24, 16, 16);
    LineFilter filter(ZPixfType::Brightness);
    ASSERT_TRUE(bitmap.FilterScanLines(filter, &progress));
    EXPECT_EQ(progress.fractions, (std::vector<double>{0, 0.4, 0.8, 1}));
    EXPECT_TRUE(progress.tasks.empty());
}

TEST(MemBitmapFilter, OfIndicesReportsTheReadingForThePaletteFirstUpToTheLastLine) {
    TestProgress progress;
    ZBasicMemBitmap bitmap(5, 250, shr::INDEXED_8, 16, 16);
    LineFilter filter(ZPixfType::Brightness);
    ASSERT_TRUE(bitmap.FilterScanLines(filter, &progress));
    EXPECT_EQ(progress.fractions, (std::vector<double>{0, 100.0 / 249, 200.0 / 249, 1, 0, 0.4, 0.8, 1}));
}

TEST(MemBitmapFilter, CommitsEveryTileOfTheRowForEveryLine) {
    OpenBasicMemBitmap bitmap(5, 2, shr::BGR_24, 3, 2);
    bitmap.calls.clear();
    LineFilter filter(ZPixfType::Brightness);
    ASSERT_TRUE(bitmap.FilterScanLines(filter, nullptr));
    // The row is read once, then two lines are written.
    const std::vector<std::string> read = {"Lock 0,0", "Unlock 0,0", "Lock 0,1", "Unlock 0,1"};
    std::vector<std::string> expected = read;
    for (int line = 0; line < 2; ++line)
        for (const char* tile : {"0,0", "0,1"})
            for (const char* call : {"Lock ", "Commit ", "Unlock "}) expected.push_back(std::string(call) + tile);
    EXPECT_EQ(bitmap.calls, expected);
}

/// The calls of a bitmap of two columns of tiles, two lines high each: "r0" when its row 0 is read, "w3" when line 3 is
/// written.
std::vector<std::string> CallsFor(std::initializer_list<std::string> steps) {
    std::vector<std::string> calls;
    for (const std::string& step : steps) {
        const int number = step[1] - '0';
        const bool writes = step[0] == 'w';
        for (const char* col : {",0", ",1"}) {
            const std::string place = std::to_string(writes ? number / 2 : number) + col;
            calls.push_back("Lock " + place);
            if (writes) calls.push_back("Commit " + place);
            calls.push_back("Unlock " + place);
        }
    }
    return calls;
}

TEST(MemBitmapFilter, ADerivedBitmapSeesARowOfTilesReadWhenTheFilterReachesIt) {
    OpenBasicMemBitmap bitmap(5, 6, shr::BGR_24, 3, 2);
    bitmap.calls.clear();
    ASSERT_TRUE(bitmap.ChangeBrightness(0.5, nullptr));
    EXPECT_EQ(bitmap.calls, CallsFor({"r0", "w0", "w1", "r1", "w2", "w3", "r2", "w4", "w5"}));
    bitmap.calls.clear();
    ASSERT_TRUE(bitmap.Sharpen(0.5, nullptr));
    EXPECT_EQ(bitmap.calls, CallsFor({"r0", "w0", "r1", "w1", "w2", "r2", "w3", "w4", "w5"}));
    bitmap.calls.clear();
    ASSERT_TRUE(bitmap.Convolute5x5(zpixf::ZPixf5x5Mode::blur, nullptr));
    EXPECT_EQ(bitmap.calls, CallsFor({"r0", "r1", "w0", "w1", "r2", "w2", "w3", "w4", "w5"}));
}

TEST(MemBitmapFilter, ADerivedIndexedBitmapSeesItsTilesReadForThePaletteFirst) {
    OpenBasicMemBitmap bitmap(5, 4, shr::INDEXED_8, 3, 2);
    bitmap.calls.clear();
    ASSERT_TRUE(bitmap.ChangeBrightness(0.5, nullptr));
    auto expected = CallsFor({"r0", "r1", "r0", "w0", "w1", "r1", "w2", "w3"});
    expected.push_back("FillColorTable " + std::to_string(bitmap.GetNumColorTableItems()));
    EXPECT_EQ(bitmap.calls, expected);
}

TEST(MemBitmapFilter, ASourceOfAnotherClassSeesTheTilesOfTheRowsThatAreNeededReadOnce) {
    OpenBasicMemBitmap derived(5, 8, shr::BGR_24, 3, 2);
    testkit::OpenBitmap other(5, 8, shr::BGR_24, 3, 2);
    ZBasicMemBitmap result(1, 1, shr::BGRA_32);
    derived.calls.clear();
    other.calls.clear();
    for (zbm::ZBitmap* source : {static_cast<zbm::ZBitmap*>(&derived), static_cast<zbm::ZBitmap*>(&other)})
        ASSERT_TRUE(result.Create(2, 3, *source, {3, 3, 5, 7}, zbm::ResizeBicubic0, nullptr));
    EXPECT_EQ(derived.calls, CallsFor({"r1", "r2", "r3"}));
    EXPECT_EQ(other.calls, derived.calls);
}

TEST(MemBitmapFilter, ADerivedResultSeesItsTilesWrittenLineByLineWhateverTheSource) {
    ZBasicMemBitmap source(5, 3, shr::BGR_24, 3, 2);
    OpenBasicMemBitmap result(1, 1, shr::BGRA_32);
    result.calls.clear();
    ASSERT_TRUE(result.Create(shr::GRAYSCALE_8, source, nullptr));
    std::vector<std::string> expected;
    for (int line = 0; line < 3; ++line)
        for (const char* call : {"Lock 0,0", "Commit 0,0", "Unlock 0,0"}) expected.emplace_back(call);
    expected.push_back("SetXResolution " + std::to_string(source.GetXResolution()));
    expected.push_back("SetYResolution " + std::to_string(source.GetYResolution()));
    EXPECT_EQ(result.calls, expected);
    result.calls.clear();
    ASSERT_TRUE(result.Create(7, 3, source, {0, 0, 5, 3}, zbm::ResizePlain, nullptr));
    EXPECT_EQ(result.calls, expected);
}

/// A filter that pulls nothing, since the function of its stage looks around.
bool LookAtRowCopies(void* context, unsigned, void*) {
    auto& stage = *static_cast<zbm::CPixFilterContext*>(context);
    auto& self = static_cast<OpenBasicMemBitmap&>(*stage.bitmap);
    std::vector<unsigned char> line(64);
    for (const auto& [y, height] : {std::pair{0, 4}, std::pair{5, 4}, std::pair{8, 2}, std::pair{3, 4}}) {
        self.GetInputBitmapScanLine(&stage, line.data(), y);
        const ZBasicMemBitmap& copy = *self.filterState.inputRowCopy;
        EXPECT_EQ(copy.GetPixelWidth(), 11);
        EXPECT_EQ(copy.GetPixelHeight(), height);
        EXPECT_EQ(copy.GetColorFormat(), self.filterState.inputBitmap->GetColorFormat());
        EXPECT_EQ(copy.GetScanRectWidth(), 3);
        EXPECT_EQ(copy.GetScanRectHeight(), 4);
        EXPECT_EQ(self.filterState.currentInputRow, y / 4);
    }
    return true;
}

TEST(MemBitmapFilter, TheCopyOfARowOfTilesHasTheShapeOfTheRow) {
    for (const ColorFormat format : {shr::BGR_24, shr::BGRA_32, shr::INDEXED_4}) {
        OpenBasicMemBitmap source(11, 10, format, 3, 4), result(2, 1, shr::BGR_24);
        LineFilter filter(ZPixfType::Brightness);
        filter.SetInputFormat(zpixf::ZPixFormat(2, 10));
        filter.SetOutputFormat(zpixf::ZPixFormat(2, 1));
        result.filterState.inputRect = {4, 0, 6, 10};
        const zbm::CPixFilterContext stage(&filter, &LookAtRowCopies, &result);
        ASSERT_TRUE(result.FilterScanLines(&stage, &source, nullptr));
        EXPECT_EQ(result.filterState.inputRowCopy, nullptr);
    }
}

TEST(MemBitmapFilter, LinesAreAsLongAsRowsAndStayForTheNextFiltering) {
    OpenBasicMemBitmap bitmap(33, 3, shr::BGR_24, 16, 8);
    const auto expectLines = [&] {
        ASSERT_TRUE(bitmap.ChangeContrast(0.5, nullptr));
        EXPECT_EQ(bitmap.filterState.inputLine.size(), 100u);
        EXPECT_EQ(bitmap.filterState.outputLine.size(), 100u);
        EXPECT_EQ(bitmap.filterState.outputLine32.size(), 132u);
    };
    expectLines();
    bitmap.Create(5, 3, shr::GRAYSCALE_8, 16, 8);
    expectLines();
}

TEST(MemBitmapFilter, ATileThatIsNotThereIsAnInternalErrorInInputAndResult) {
    ZBasicMemBitmap taker(1, 1, shr::BGR_24), hollow(1, 1, shr::BGR_24), result(1, 1, shr::BGRA_32);
    taker.ChangeFrom(hollow);
    EXPECT_TRUE(RaisesInternalError([&] { return hollow.ChangeBrightness(0.5, nullptr); }, BasicMemBitmapCheck::tile));
    EXPECT_TRUE(RaisesInternalError([&] { return hollow.MedianFilter(3, nullptr); }, BasicMemBitmapCheck::tile));
    EXPECT_TRUE(RaisesInternalError([&] { return result.Create(shr::GRAYSCALE_8, hollow, nullptr); },
                                    BasicMemBitmapCheck::tile));
    EXPECT_EQ(result.GetNumScanRectRows(), 0);
    EXPECT_TRUE(RaisesInternalError([&] { return result.Create(hollow, nullptr); }, BasicMemBitmapCheck::tile));
    EXPECT_TRUE(hollow.Create(shr::GRAYSCALE_8, taker, nullptr));
}

int CountOf(const std::vector<std::string>& calls, const std::string& call) {
    return static_cast<int>(std::count(calls.begin(), calls.end(), call));
}

TEST(MemBitmapFilter, ReadsEachRowOfTilesOnceForAFilterThatGoesDown) {
    OpenBasicMemBitmap bitmap(8, 40, shr::BGR_24, 8, 8);
    bitmap.calls.clear();
    LineFilter filter(ZPixfType::Brightness);
    ASSERT_TRUE(bitmap.FilterScanLines(filter, nullptr));
    for (int row = 0; row < 5; ++row) {
        const std::string place = std::to_string(row) + ",0";
        EXPECT_EQ(CountOf(bitmap.calls, "Lock " + place), 1 + 8);
        EXPECT_EQ(CountOf(bitmap.calls, "Unlock " + place), 1 + 8);
    }
}

TEST(MemBitmapFilter, ReadsARowOfTilesAgainForAFilterThatGoesBack) {
    OpenBasicMemBitmap source(4, 12, shr::BGR_24, 4, 4), result(4, 1, shr::BGR_24, 4, 4);
    LineFilter filter(ZPixfType::Brightness);
    filter.SetInputFormat(zpixf::ZPixFormat(4, 12));
    filter.SetOutputFormat(zpixf::ZPixFormat(4, 1));
    const auto backAndForth = [](void* context, unsigned, void*) {
        auto& self = static_cast<OpenBasicMemBitmap&>(*static_cast<zbm::CPixFilterContext*>(context)->bitmap);
        std::vector<unsigned char> line(64);
        for (const int y : {0, 11, 10, 3, 1})
            self.GetInputBitmapScanLine(static_cast<zbm::CPixFilterContext*>(context), line.data(), y);
        return true;
    };
    result.filterState.inputRect = {0, 0, 4, 12};
    const zbm::CPixFilterContext stage(&filter, backAndForth, &result);
    source.calls.clear();
    ASSERT_TRUE(result.FilterScanLines(&stage, &source, nullptr));
    EXPECT_EQ(source.calls,
              (std::vector<std::string>{"Lock 0,0", "Unlock 0,0", "Lock 2,0", "Unlock 2,0", "Lock 0,0", "Unlock 0,0"}));
}

TEST(MemBitmapFilter, LinesOutsideTheTilesAreInternalErrors) {
    OpenBasicMemBitmap bitmap(4, 12, shr::BGR_24, 4, 4);
    LineFilter filter(ZPixfType::Brightness);
    const auto outside = [](void* context, unsigned, void*) {
        auto& self = static_cast<OpenBasicMemBitmap&>(*static_cast<zbm::CPixFilterContext*>(context)->bitmap);
        self.GetInputBitmapScanLine(static_cast<zbm::CPixFilterContext*>(context), nullptr, 12);
        return true;
    };
    filter.SetInputFormat(zpixf::ZPixFormat(4, 12));
    filter.SetOutputFormat(zpixf::ZPixFormat(4, 12));
    bitmap.filterState.inputRect = {0, 0, 4, 12};
    const zbm::CPixFilterContext stage(&filter, outside, &bitmap);
    EXPECT_TRUE(RaisesInternalError([&] { return bitmap.FilterScanLines(&stage, &bitmap, nullptr); },
                                    BasicMemBitmapCheck::inputRow));
    EXPECT_EQ(bitmap.filterState.inputRowCopy, nullptr);
    const std::vector<unsigned char> line(64);
    EXPECT_TRUE(
        RaisesInternalError([&] { bitmap.SetBitmapScanLine({}, line.data(), 12); }, BasicMemBitmapCheck::outputRow));
    bitmap.filterState.inputRect = {0, 12, 4, 13};
    EXPECT_TRUE(RaisesInternalError([&] { return bitmap.FilterScanLines(&stage, &bitmap, nullptr); },
                                    BasicMemBitmapCheck::firstInputRow));
}

TEST(MemBitmapFilter, APictureWithoutRowsIsRefusedAndOneWithoutColumnsHasNothingToFilter) {
    ZBasicMemBitmap bitmap(1, 1, shr::BGR_24);
    LineFilter filter(ZPixfType::Brightness);
    bitmap.Create(5, 0, shr::BGR_24);
    EXPECT_TRUE(RaisesInternalError([&] { return bitmap.FilterScanLines(filter, nullptr); },
                                    BasicMemBitmapCheck::firstInputRow));
    bitmap.Create(0, 0, shr::INDEXED_8);
    EXPECT_TRUE(RaisesInternalError([&] { return bitmap.FilterScanLines(filter, nullptr); },
                                    BasicMemBitmapCheck::firstInputRow));
    bitmap.Create(0, 5, shr::INDEXED_8);
    EXPECT_TRUE(bitmap.FilterScanLines(filter, nullptr));
}

TEST(MemBitmapFilter, AFilterThatFailsLeavesTheLinesWrittenUntilThen) {
    ZBasicMemBitmap bitmap = FormulaBitmap(33, 20, shr::BGR_24, 16, 8);
    LineFilter filter(ZPixfType::Brightness, &testkit::Invert);
    filter.failingLine = 9;
    EXPECT_THROW(static_cast<void>(bitmap.FilterScanLines(filter, nullptr)), shr::Exception);
    EXPECT_FALSE(filter.IsStarted());
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 33; ++x) {
            const std::uint32_t pixel = testkit::FormulaPixel(shr::BGR_24, x, y);
            ASSERT_EQ(testkit::GetPixel(bitmap, x, y), y < 9 ? 0xFFFFFF - pixel : pixel) << x << ", " << y;
        }
}

template <class Bitmap>
void ExpectWrittenLinesStay(ColorFormat format) {
    Bitmap bitmap(5, 250, format, 3, 16);
    for (const int report : {2, 3}) {
        testkit::FillByFormula(bitmap);
        const auto before = AsBgra(bitmap);
        TestProgress progress(report);
        EXPECT_THROW(static_cast<void>(bitmap.ChangeBrightness(1.0, &progress)), shr::AbortException);
        const auto after = AsBgra(bitmap);
        const std::size_t lineBytes = 4 * 5, written = 100 * static_cast<std::size_t>(report - 1) + 1;
        for (std::size_t i = 0; i < after.size(); ++i)
            ASSERT_EQ(after[i], i < written * lineBytes && i % 4 != 3 ? 255 : before[i]) << "byte " << i;
    }
    ASSERT_TRUE(bitmap.ChangeBrightness(-1.0, nullptr));
    for (int y = 0; y < 250; ++y) ASSERT_EQ(testkit::GetPixel(bitmap, 4, y) & 0xFFFFFF, 0u) << y;
}

TEST(MemBitmapFilter, WhatIsCancelledLeavesTheLinesWrittenUntilThen) {
    for (const ColorFormat format : {shr::BGRA_32, shr::BGR_24, shr::GRAYSCALE_8}) {
        ExpectWrittenLinesStay<ZBasicMemBitmap>(format);
        ExpectWrittenLinesStay<zbm::ZMemBitmap>(format);
        ExpectWrittenLinesStay<OpenBasicMemBitmap>(format);
    }
}

// --- stages that are cancelled while they start

/// Cancels the pipeline that pulls a line from it: that of the stage, which is the pipeline's first.
bool CancelPipeline(void* stage, unsigned, void*) {
    const zbm::CPixFilterPipeline any;
    const auto distance = reinterpret_cast<const char*>(&any.stages[0]) - reinterpret_cast<const char*>(&any);
    reinterpret_cast<zbm::CPixFilterPipeline*>(static_cast<char*>(stage) - distance)->cancelled = true;
    return true;
}

/// Pulls a line while it starts.
class PullingAtStart : public LineFilter {
public:
    using LineFilter::LineFilter;

protected:
    bool OnStart() override {
        std::vector<unsigned char> line(std::size_t{4} * inputFormat.GetWidth());
        return PullLine(0, line.data());
    }
};

TEST(MemBitmapFilter, AStartThatIsCancelledGivesFalseAndLeavesTheBitmapAsItWas) {
    for (const ColorFormat format : {shr::BGR_24, shr::INDEXED_8}) {
        OpenBasicMemBitmap bitmap(33, 20, format, 16, 8);
        testkit::FillByFormula(bitmap);
        // The first is cancelled in its own start; of the other's, that of the quantiser after it is.
        PullingAtStart pulling(ZPixfType::Brightness, &testkit::Invert);
        LineFilter waiting(ZPixfType::Brightness, &testkit::Invert);
        for (LineFilter* filter : {static_cast<LineFilter*>(&pulling), &waiting}) {
            if (filter == &waiting && format != shr::INDEXED_8) continue;
            filter->SetInputFormat(zpixf::ZPixFormat(33, 20));
            filter->SetOutputFormat(zpixf::ZPixFormat(33, 20));
            bitmap.filterState.inputRect = {0, 0, 33, 20};
            const zbm::CPixFilterContext stage(filter, &CancelPipeline, &bitmap);
            TestProgress progress;
            EXPECT_FALSE(bitmap.FilterScanLines(&stage, &bitmap, &progress));
            EXPECT_EQ(bitmap.filterState.inputRowCopy, nullptr);
            EXPECT_FALSE(filter->IsStarted());
            EXPECT_TRUE(testkit::IsFormulaPicture(bitmap));
        }
    }
}

TEST(MemBitmapFilter, CancellingPassesOnFromEveryReportAndTheBitmapIsUsable) {
    for (const ColorFormat format : {shr::BGR_24, shr::INDEXED_8}) {
        OpenBasicMemBitmap bitmap(5, 250, format, 16, 16);
        LineFilter filter(ZPixfType::Brightness);
        for (int report = 1;; ++report) {
            TestProgress progress(report);
            bool cancelled = false;
            bitmap.calls.clear();
            try {
                EXPECT_TRUE(bitmap.FilterScanLines(filter, &progress));
            } catch (const shr::AbortException&) { cancelled = true; }
            EXPECT_EQ(bitmap.filterState.inputRowCopy, nullptr);
            int locks = 0;
            for (const std::string& call : bitmap.calls) locks += call[0] == 'L' ? 1 : call[0] == 'U' ? -1 : 0;
            EXPECT_EQ(locks, 0);
            EXPECT_FALSE(filter.IsStarted());
            if (!cancelled) break;
            ASSERT_LT(report, 20);
        }
    }
}

}  // namespace
