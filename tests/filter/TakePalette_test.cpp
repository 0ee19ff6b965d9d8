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

/// With as many colours as an archive may have.
class OverfullBitmap : public ZBasicMemBitmap {
public:
    explicit OverfullBitmap(shr::ColorFormat format) : ZBasicMemBitmap(4, 4, format, 4, 4) {
        numColorTableItems = 256;
        colorTable[1] = Color4b(40, 80, 120);
    }
};

TEST(Filters, ChooseAsManyColorsAsTheIndicesTellApartWhereTheTableHasMore) {
    for (const shr::ColorFormat format : {shr::INDEXED_1, shr::INDEXED_4}) {
        OverfullBitmap bitmap(format);
        const unsigned char row[] = {0x40};  // pixel 0 of four bits is 4, pixel 1 of one bit is 1
        bitmap.StoreRegion(row, 1, RECT{0, 0, 2, 1});
        EXPECT_TRUE(bitmap.ChangeBrightness(0.1, nullptr));
        EXPECT_GE(bitmap.GetNumColorTableItems(), 1u);
        EXPECT_LE(bitmap.GetNumColorTableItems(), static_cast<unsigned>(shr::ColorFmtToTblSize[format]));
    }
}

}  // namespace
}  // namespace zbm
