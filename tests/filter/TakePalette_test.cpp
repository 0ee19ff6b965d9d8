#include <gtest/gtest.h>

#include "zbm/CPixFilterPipeline.h"
#include "zbm/ZBasicMemBitmap.h"

namespace zbm {
namespace {

using shr::Color4b;

TEST(TakePalette, GivesTheBitmapAsManyColorsAsThePaletteHas) {
    ZBasicMemBitmap bitmap(3, 2, shr::INDEXED_4, 2, 2);
    zpixf::ZPixFormat format(3, 2, 1, 4);
    const RGBQUAD entries[] = {{1, 2, 3, 0}, {4, 5, 6, 99}};
    format.FillColorTable(2, entries);
    TakePalette(bitmap, format);
    ASSERT_EQ(bitmap.GetNumColorTableItems(), 2u);
    EXPECT_EQ(bitmap.GetColorTableItem(0), Color4b(3, 2, 1, shr::ALPHA_MAX));
    EXPECT_EQ(bitmap.GetColorTableItem(1), Color4b(6, 5, 4, shr::ALPHA_MAX));
}

TEST(TakePalette, LeavesTheTableWhereTheFormatHasOnlyACount) {
    ZBasicMemBitmap bitmap(3, 2, shr::INDEXED_4, 2, 2);
    const Color4b before[] = {{7, 8, 9}, {10, 11, 12}};
    bitmap.FillColorTable(before, 2);
    for (const unsigned count : {0u, 16u}) {
        TakePalette(bitmap, zpixf::ZPixFormat(3, 2, 1, 4, count));
        ASSERT_EQ(bitmap.GetNumColorTableItems(), 2u);
        EXPECT_EQ(bitmap.GetColorTableItem(1), before[1]);
    }
}

}  // namespace
}  // namespace zbm
