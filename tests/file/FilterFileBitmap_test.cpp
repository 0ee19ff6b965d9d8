// Filters run over bitmaps in files, in place and into new ones: the pixels are those of a bitmap in memory.
#include <gtest/gtest.h>

#include "core/checks/FileBitmapChecks.h"
#include "file/OpenFileBitmaps.h"
#include "filter/FlatPicture.h"
#include "filter/StubFilters.h"
#include "support_code/ExpectError.h"
#include "support_code/ScratchFolder.h"
#include "support_code/TestProgress.h"
#include "zbm/CPixFilterPipeline.h"
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

}  // namespace
