// Bitmaps in files become indexed ones just as those in memory do.
#include "zbm/IndexedColors.h"

#include <gtest/gtest.h>

#include "file/FileBitmapTesting.h"
#include "support_code/TestProgress.h"

namespace {

using namespace testkit;
using zbm::Dither;
using zbm::ZBasicMemBitmap;

class ConvertToIndexedInFiles : public testing::TestWithParam<Dither> {
protected:
    ScratchFolder folder;
    const ZBasicMemBitmap source = FormulaBitmap(75, 230, shr::BGRA_32, 16, 100);
    const zbm::IndexedColors colors{.dither = GetParam()};
};

TEST_P(ConvertToIndexedInFiles, GiveThePixelsThatTheyGiveInMemory) {
    const auto sourceFile = OnFile(folder.File("source"), source);
    const auto resultFile = OnFile(folder.File("result"), ZBasicMemBitmap(75, 230, shr::INDEXED_4, 32, 70));
    ZBasicMemBitmap expected(75, 230, shr::INDEXED_4, 32, 70);
    zbm::ConvertToIndexed(source, expected, colors, nullptr);
    zbm::ConvertToIndexed(*sourceFile, *resultFile, colors, nullptr);
    EXPECT_TRUE(AreEqual(InMemory(*resultFile), expected));
}

TEST_P(ConvertToIndexedInFiles, CancellingLeavesWholeRowsOfTiles) {
    ZBasicMemBitmap after(75, 230, shr::INDEXED_4, 32, 70);
    zbm::ConvertToIndexed(source, after, colors, nullptr);
    const auto file = OnFile(folder.File("result"), ZBasicMemBitmap(75, 230, shr::INDEXED_4, 32, 70));
    TestProgress progress(230 + 100);  // while line 99 is made
    EXPECT_THROW(zbm::ConvertToIndexed(source, *file, colors, &progress), shr::AbortException);
    const ZBasicMemBitmap left = InMemory(*file);
    for (int y = 0; y < 230; ++y)
        for (int x = 0; x < 75; ++x) {
            const unsigned expected = y < 70 ? GetPixel(after, x, y) : 0u;
            ASSERT_EQ(GetPixel(left, x, y), expected) << x << ", " << y;
        }
}

INSTANTIATE_TEST_SUITE_P(Dithers, ConvertToIndexedInFiles,
                         testing::Values(Dither::none, Dither::ordered, Dither::diffusion, Dither::blueNoise));

}  // namespace
