// Filters run over bitmaps in files, in place and into new ones: the pixels are those of a bitmap in memory.
#include <gtest/gtest.h>

#include "core/checks/FileBitmapChecks.h"
#include "file/FileBitmapTesting.h"
#include "filter/FlatPicture.h"
#include "filter/StubFilters.h"
#include "support_code/TestProgress.h"
#include "zbm/RunFilters.h"
#include "zpixf/ZPixfConvolution.h"

namespace {

using namespace testkit;
using zbm::ZBasicMemBitmap;

/// Colours few enough, and far enough apart, that every way of choosing them keeps them.
ZBasicMemBitmap FewColors(int width, int height, ColorFormat format, int tileWidth, int tileHeight) {
    ZBasicMemBitmap bitmap = FormulaBitmap(width, height, format, tileWidth, tileHeight);
    std::vector<shr::Color4b> colors;
    for (int i = 0; i < TableSize(format); ++i) colors.emplace_back(FormulaColor(i).red, FormulaColor(i).green, 40);
    bitmap.FillColorTable(colors.data(), static_cast<unsigned>(colors.size()));
    return bitmap;
}

/// The same picture, whatever its indices; masks too.
testing::AssertionResult LooksAs(const zbm::ZBitmap& bitmap, const zbm::ZBitmap& expected) {
    if (TableSize(expected.GetColorFormat()) == 0) return IsEqual(bitmap, expected);
    const FlatPicture a = Flattened(InMemory(bitmap)), b = Flattened(expected);
    if (a.opaque != b.opaque) return testing::AssertionFailure() << "the masks differ";
    if (AsBgra(a, Mask::isLeftOut).rows != AsBgra(b, Mask::isLeftOut).rows)
        return testing::AssertionFailure() << "the colours differ";
    return testing::AssertionSuccess();
}

struct Operation {
    const char* name;
    bool (*run)(zbm::ZBitmap& bitmap);
    bool makesNewColors = false;
};
const Operation kOperations[] = {
    {"Brightness", [](auto& bitmap) { return bitmap.ChangeBrightness(0.3, nullptr); }},
    {"Contrast", [](auto& bitmap) { return bitmap.ChangeContrast(0.3, nullptr); }},
    {"Saturation", [](auto& bitmap) { return bitmap.ChangeSaturation(-0.4, nullptr); }},
    {"GrayScale", [](auto& bitmap) { return bitmap.ConvertToGrayScale(nullptr); }},
    {"Convolution3", [](auto& bitmap) { return bitmap.Convolute3x3(zpixf::ZPixf3x3Mode::blur, nullptr); }, true},
    {"Convolution5", [](auto& bitmap) { return bitmap.Convolute5x5(zpixf::ZPixf5x5Mode::gaussian, nullptr); }, true},
    {"Median", [](auto& bitmap) { return bitmap.MedianFilter(5, nullptr); }, true},
    {"Sharpen", [](auto& bitmap) { return bitmap.Sharpen(0.5, nullptr); }, true},
};

class FileFilter : public testing::TestWithParam<ColorFormat> {
protected:
    static bool IsIndexed() { return TableSize(GetParam()) != 0; }

    ScratchFolder scratch;
    const shr::ZString name = scratch.File("picture");
};
INSTANTIATE_TEST_SUITE_P(Formats, FileFilter, testing::ValuesIn(kFormats),
                         [](const auto& instance) { return FormatName(instance.param); });

TEST_P(FileFilter, InPlaceGivesWhatItGivesInMemory) {
    for (const Operation& operation : kOperations) {
        if (IsIndexed() && operation.makesNewColors) continue;  // the choice of colours is another one in files
        ZBasicMemBitmap expected = FewColors(61, 37, GetParam(), 16, 8);
        const auto bitmap = OnFile(name, expected);
        ASSERT_TRUE(operation.run(*bitmap) && operation.run(expected));
        EXPECT_TRUE(LooksAs(*bitmap, expected)) << operation.name;
        bitmap->Close();
        bitmap->Open(name, true);
        EXPECT_TRUE(LooksAs(*bitmap, expected)) << operation.name << ", opened again";
    }
}

/// Whatever the tiles, no line is read after it was written; colours are chosen from all 8 bits.
TEST_P(FileFilter, InPlaceGivesWhatItGivesForTheWholePictureAtOneGo) {
    for (const auto& [tileWidth, tileHeight] : {std::pair{64, 64}, {16, 8}, {61, 1}, {7, 36}, {1, 5}}) {
        const ZBasicMemBitmap picture = FewColors(61, 37, GetParam(), tileWidth, tileHeight);
        ColumnSum filter;
        const FlatPicture flat = Flattened(picture);
        const FlatPicture expected = FilteredWhole<zpixf::ZPixfQuantizeMedian8>(filter, flat, flat);
        const auto bitmap = OnFile(name, picture);
        ASSERT_TRUE(bitmap->FilterScanLines(filter, nullptr));
        EXPECT_TRUE(Holds(*bitmap, expected)) << tileWidth << " x " << tileHeight;
    }
}

TEST_P(FileFilter, OfAChainGivesWhatItGivesInMemory) {
    ZBasicMemBitmap expected = FewColors(61, 37, GetParam(), 16, 8);
    const auto bitmap = OnFile(name, expected);
    for (zbm::ZBitmap* each : {static_cast<zbm::ZBitmap*>(bitmap.get()), static_cast<zbm::ZBitmap*>(&expected)}) {
        LineFilter invert(zpixf::ZPixfType::Brightness, &Invert), again(zpixf::ZPixfType::Brightness, &Invert);
        ColumnSum sum;
        ASSERT_TRUE(zbm::RunFilters(*each, {&invert, &sum, &again}, nullptr));
    }
    EXPECT_TRUE(LooksAs(*bitmap, expected));
}

using FilterFile = FileBitmapTest;

TEST_F(FilterFile, ThatDoesNotChangeAlphaKeepsTheMaskInTheFile) {
    const ZBasicMemBitmap picture = FormulaBitmap(61, 37, shr::BGR_24, 16, 8);
    OnFile(name, picture)->Close();
    const auto bitmap = Opened(false);
    ASSERT_TRUE(bitmap->ChangeBrightness(0.5, nullptr));
    bitmap->Close();
    const auto opened = Opened(true);
    EXPECT_NE(GetPixel(*opened, 30, 30), GetPixel(picture, 30, 30));
    const ZBasicMemBitmap found = InMemory(*opened);
    for (int y = 0; y < 37; ++y)
        for (int x = 0; x < 61; ++x) ASSERT_EQ(GetMask(found, x, y), FormulaMask(x, y)) << x << ", " << y;
}

TEST_F(FilterFile, ThatChangesAlphaSetsTheMask) {
    ZBasicMemBitmap expected = FormulaBitmap(61, 37, shr::BGR_24, 16, 8);
    const auto bitmap = OnFile(name, expected);
    const auto turnAlpha = [](unsigned, unsigned char* pixels, unsigned width) {
        for (unsigned i = 0; i < width; ++i) pixels[4 * i + 3] = static_cast<unsigned char>(255 - pixels[4 * i + 3]);
    };
    LineFilter filter(static_cast<zpixf::ZPixfType>(6), turnAlpha);
    ASSERT_TRUE(bitmap->FilterScanLines(filter, nullptr) && expected.FilterScanLines(filter, nullptr));
    EXPECT_TRUE(IsEqual(*bitmap, expected));
    EXPECT_NE(GetMask(*bitmap, 3, 3), FormulaMask(3, 3));
}

TEST_F(FilterFile, ReportsEvery100LinesAndAtTheEnd) {
    const auto bitmap = OnFile(name, FormulaBitmap(3, 250, shr::BGR_24, 16, 64));
    TestProgress progress;
    LineFilter filter(zpixf::ZPixfType::Brightness, &Invert);
    ASSERT_TRUE(bitmap->FilterScanLines(filter, &progress));
    EXPECT_EQ(progress.fractions, (std::vector<double>{0, 0.4, 0.8, 1.0}));
}

/// What a host does that repaints whenever progress is reported: it locks every tile of input and output.
class Repainting : public TestProgress {
public:
    explicit Repainting(const zbm::ZBitmap& shown) : bitmap(shown) {}
    void SetProgress(double fraction) override {
        TestProgress::SetProgress(fraction);
        for (int row = 0; row < bitmap.GetNumScanRectRows(); ++row)
            for (int col = 0; col < bitmap.GetNumScanRects(row); ++col) zbm::LockedTile(bitmap, row, col);
    }

private:
    const zbm::ZBitmap& bitmap;
};

TEST_F(FilterFile, LocksNoTileWhileItReports) {
    const auto bitmap = OnFile(name, FormulaBitmap(70, 250, shr::INDEXED_8, 16, 64));
    Repainting host(*bitmap);
    EXPECT_TRUE(bitmap->ChangeBrightness(0.5, &host));
    EXPECT_TRUE(bitmap->CommitAll(&host));
    OpenFileBitmap copy, converted;
    Repainting second(copy), third(converted);
    EXPECT_TRUE(copy.Create(scratch.File("copy"), *bitmap, &host));
    EXPECT_TRUE(copy.Create(scratch.File("copy"), *bitmap, &second));
    EXPECT_TRUE(converted.Create(scratch.File("converted"), shr::BGR_24, *bitmap, &third));
}

TEST_F(FilterFile, ThatIsCancelledLeavesEachRowOfTilesAsItWasOrAsItBecomes) {
    const ZBasicMemBitmap picture = FormulaBitmap(5, 350, shr::BGR_24, 16, 64);
    ZBasicMemBitmap after = picture;
    ASSERT_TRUE(after.ChangeBrightness(0.3, nullptr));
    for (int report = 1; report <= 5; ++report) {
        const auto bitmap = OnFile(name, picture);
        TestProgress progress(report);
        EXPECT_THROW((void)bitmap->ChangeBrightness(0.3, &progress), shr::AbortException) << report;
        EXPECT_EQ(progress.openTasks, 0);
        const ZBasicMemBitmap found = InMemory(*bitmap);
        const int changedRows = std::min((report - 1) * 100 / 64, 5);
        for (int y = 0; y < 350; ++y)
            ASSERT_EQ(GetPixel(found, 4, y), GetPixel(y / 64 < changedRows ? after : picture, 4, y)) << report;
        StoreAll(picture, *bitmap);
        EXPECT_TRUE(bitmap->ChangeBrightness(0.3, nullptr));
        EXPECT_TRUE(IsEqual(*bitmap, after));
    }
}

TEST_F(FilterFile, ThatFailsLeavesTheRowsOfTilesBeforeIt) {
    const ZBasicMemBitmap picture = FormulaBitmap(5, 350, shr::BGR_24, 16, 64);
    const auto bitmap = OnFile(name, picture);
    LineFilter filter(zpixf::ZPixfType::Brightness, &Invert);
    filter.failingLine = 200;
    EXPECT_THROW((void)bitmap->FilterScanLines(filter, nullptr), shr::Exception);
    EXPECT_EQ(GetPixel(*bitmap, 4, 191), GetPixel(picture, 4, 191) ^ 0xFFFFFF);
    EXPECT_EQ(GetPixel(*bitmap, 4, 192), GetPixel(picture, 4, 192));
}

TEST_F(FilterFile, OfABitmapThatIsClosedHasNoFirstLine) {
    OpenFileBitmap bitmap;
    bitmap.CreateEmpty(name, 5, 5, shr::BGR_24);
    bitmap.Close();
    LineFilter filter(zpixf::ZPixfType::Brightness);
    EXPECT_TRUE(RaisesInternalError([&] { (void)bitmap.FilterScanLines(filter, nullptr); },
                                    zbm::FileBitmapCheck::firstInputRow));
}

TEST_F(FilterFile, RefusesALineBehindTheLast) {
    const auto bitmap = OnFile(name, FormulaBitmap(5, 35, shr::BGR_24, 16, 8));
    TwoLines filter(zpixf::ZPixfType::Brightness, [](unsigned) { return 35u; });
    EXPECT_TRUE(
        RaisesInternalError([&] { (void)bitmap->FilterScanLines(filter, nullptr); }, zbm::FileBitmapCheck::inputRow));
}

/// Writes down the tiles that reach it.
class Recording : public OpenFileBitmap {
public:
    void WriteScanRect(const zbm::ZScanRect& tile, int row, int col) override {
        OpenFileBitmap::WriteScanRect(tile, row, col);
        written.emplace_back(row, col);
    }
    std::vector<std::pair<int, int>> written;
};

TEST_F(FilterFile, HandsWholeRowsOfTilesToTheVirtualWriteOfTheirClassInOrder) {
    ZBasicMemBitmap expected = FormulaBitmap(30, 20, shr::BGR_24, 16, 8);
    const auto bitmap = OnFile<Recording>(name, expected);
    bitmap->written.clear();
    ASSERT_TRUE(bitmap->ChangeContrast(0.3, nullptr) && expected.ChangeContrast(0.3, nullptr));
    EXPECT_EQ(bitmap->written, (std::vector<std::pair<int, int>>{{0, 0}, {0, 1}, {1, 0}, {1, 1}, {2, 0}, {2, 1}}));
    EXPECT_TRUE(IsEqual(*bitmap, expected));
}

TEST_F(FilterFile, ChoosesNoMoreColorsThanTheTableHad) {
    ZBasicMemBitmap picture = FormulaBitmap(30, 20, shr::INDEXED_8, 16, 8);
    std::vector<shr::Color4b> colors;
    for (int i = 0; i < 7; ++i) colors.emplace_back(FormulaColor(i).red, FormulaColor(i).green, FormulaColor(i).blue);
    picture.FillColorTable(colors.data(), 7);
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 30; ++x) SetPixel(picture, x, y, static_cast<std::uint32_t>(x * y % 7));
    const auto bitmap = OnFile(name, picture);
    ASSERT_TRUE(bitmap->Convolute3x3(zpixf::ZPixf3x3Mode::blur, nullptr));
    EXPECT_LE(bitmap->GetNumColorTableItems(), 7u);
    const shr::Color4b first = bitmap->GetColorTableItem(0);
    bitmap->Close();
    EXPECT_EQ(Opened(true)->GetColorTableItem(0), first) << "the table reaches the file";
}

}  // namespace
