// The bitmap's layout, format, colour table and resolution.
#include "zbm/ZBitmap.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "core/OpenBitmaps.h"
#include "core/checks/BitmapChecks.h"
#include "shr/Units.h"
#include "support_code/ExpectError.h"
#include "support_code/Pixels.h"

namespace {

using shr::Color4b;
using shr::ColorFormat;
using testkit::OpenBitmap;
using testkit::RaisesInternalError;
using zbm::BitmapCheck;

std::vector<int> Values(const RECT& rect) { return {rect.left, rect.top, rect.right, rect.bottom}; }

bool IsBlackFrom(const OpenBitmap& bitmap, int first) {
    for (int i = first; i < 256; ++i)
        if (bitmap.GetConstColorTablePtr()[i] != Color4b(0, 0, 0, 255)) return false;
    return true;
}

TEST(ZBitmap, IsEmptyWhenNew) {
    const OpenBitmap bitmap;
    EXPECT_EQ(bitmap.GetPixelWidth(), 0);
    EXPECT_EQ(bitmap.GetPixelHeight(), 0);
    EXPECT_EQ(bitmap.GetScanRectWidth(), 0);
    EXPECT_EQ(bitmap.GetScanRectHeight(), 0);
    EXPECT_EQ(bitmap.GetXResolution(), 0);
    EXPECT_EQ(bitmap.GetYResolution(), 0);
    EXPECT_EQ(bitmap.GetColorFormat(), shr::FORMAT_NONE);
    EXPECT_EQ(bitmap.GetNumColorTableItems(), 0u);
    EXPECT_EQ(bitmap.GetNumScanRectRows(), 0);
    EXPECT_TRUE(IsBlackFrom(bitmap, 0));
}

TEST(ZBitmapInit, TakesHeightsBeforeWidths) {
    OpenBitmap bitmap;
    bitmap.Init(5, 3, shr::BGR_24, 4, 2);
    EXPECT_EQ(bitmap.GetPixelHeight(), 5);
    EXPECT_EQ(bitmap.GetPixelWidth(), 3);
    EXPECT_EQ(bitmap.GetScanRectHeight(), 4);
    EXPECT_EQ(bitmap.GetScanRectWidth(), 2);
    EXPECT_EQ(bitmap.GetColorFormat(), shr::BGR_24);
}

TEST(ZBitmapInit, RefusesNegativeSizesAndIsEmptyThen) {
    for (const auto& [height, width] : {std::pair{-1, 5}, {5, -1}, {-1, -1}}) {
        OpenBitmap bitmap(8, 8, shr::INDEXED_8, 4, 4);
        EXPECT_TRUE(RaisesInternalError([&, h = height, w = width] { bitmap.Init(h, w, shr::BGRA_32, 0, 0); },
                                        BitmapCheck::pixelSize));
        EXPECT_EQ(bitmap.GetColorFormat(), shr::FORMAT_NONE);
        EXPECT_EQ(bitmap.GetNumColorTableItems(), 0u);
        EXPECT_EQ(bitmap.GetNumScanRectRows(), 0);
    }
}

TEST(ZBitmapInit, RefusesTileSizesBelowOneAndIsEmptyThen) {
    for (const auto& [tileHeight, tileWidth] : {std::pair{0, 5}, {5, 0}, {-1, 5}, {5, -1}}) {
        OpenBitmap bitmap(8, 8, shr::INDEXED_8, 4, 4);
        EXPECT_TRUE(RaisesInternalError([&, h = tileHeight, w = tileWidth] { bitmap.Init(5, 5, shr::BGRA_32, h, w); },
                                        BitmapCheck::tileSize));
        EXPECT_EQ(bitmap.GetColorFormat(), shr::FORMAT_NONE);
        EXPECT_EQ(bitmap.GetNumColorTableItems(), 0u);
        EXPECT_EQ(bitmap.GetNumScanRectRows(), 0);
    }
}

TEST(ZBitmapInit, RefusesWhatIsNoFormatAndIsEmptyThen) {
    for (const int format : {0, 14, -1, 99}) {
        OpenBitmap bitmap(8, 8, shr::INDEXED_8, 4, 4);
        EXPECT_TRUE(RaisesInternalError([&] { bitmap.Init(5, 5, static_cast<ColorFormat>(format), 4, 4); },
                                        BitmapCheck::formatRange));
        EXPECT_EQ(bitmap.GetColorFormat(), shr::FORMAT_NONE);
        EXPECT_EQ(bitmap.GetNumScanRectRows(), 0);
    }
}

TEST(ZBitmapInit, LeavesTileSlotsEmpty) {
    OpenBitmap bitmap;
    bitmap.Init(9, 9, shr::BGRA_32, 4, 4);
    for (const OpenBitmap::Row& row : bitmap.scanRectRows) {
        EXPECT_EQ(row.tiles.size(), row.boxes.size());
        for (const auto& tile : row.tiles) EXPECT_EQ(tile, nullptr);
    }
}

TEST(ZBitmapInit, GivesAnIndexedFormatItsFullTableOfBlack) {
    for (const ColorFormat format : testkit::kFormats) {
        OpenBitmap bitmap;
        bitmap.Init(2, 2, format, 4, 4);
        EXPECT_EQ(bitmap.GetNumColorTableItems(), static_cast<unsigned>(testkit::TableSize(format)));
        EXPECT_TRUE(IsBlackFrom(bitmap, 0));
    }
    OpenBitmap bitmap(2, 2, shr::INDEXED_8, 4, 4);
    EXPECT_EQ(bitmap.GetNumColorTableItems(), 256u);
    EXPECT_EQ(bitmap.GetColorTableItem(0), Color4b::Black);
    EXPECT_EQ(bitmap.GetColorTableItem(255), Color4b::Black);
}

TEST(ZBitmapInit, BlackensTheTableThatWasThereWithoutTheVirtualOperation) {
    OpenBitmap bitmap(2, 2, shr::INDEXED_4, 4, 4);
    const Color4b colors[] = {{1, 2, 3, 4}, {5, 6, 7, 8}};
    bitmap.FillColorTable(colors, 2);
    bitmap.calls.clear();
    bitmap.Init(2, 2, shr::INDEXED_1, 4, 4);
    EXPECT_TRUE(bitmap.calls.empty());
    EXPECT_TRUE(IsBlackFrom(bitmap, 0));
    EXPECT_EQ(bitmap.GetNumColorTableItems(), 2u);
}

TEST(ZBitmapInit, TakesThePictureForSixInchesAlongItsLongerSide) {
    for (const auto& [width, height] : {std::pair{600, 300}, {300, 600}, {600, 600}}) {
        OpenBitmap bitmap(width, height, shr::BGRA_32, 512, 512);
        EXPECT_EQ(bitmap.GetXResolution(), 3937);  // 100 pixels an inch
        EXPECT_EQ(bitmap.GetYResolution(), 3937);
    }
    OpenBitmap small(1, 1, shr::BGRA_32, 512, 512);
    EXPECT_EQ(small.GetXResolution(), 7);  // 6.56 rounded
    OpenBitmap empty(0, 0, shr::BGRA_32, 512, 512);
    EXPECT_EQ(empty.GetXResolution(), 0);
}

TEST(ZBitmapInit, OfTheWidestPictureKeepsItsResolutionInRange) {
    OpenBitmap bitmap;
    bitmap.Init(1, std::numeric_limits<int>::max(), shr::GRAYSCALE_1, 1, std::numeric_limits<int>::max());
    EXPECT_GE(bitmap.GetXResolution(), 0);
    EXPECT_EQ(Values(bitmap.GetScanRectBBox(0, 0)), (std::vector<int>{0, 0, std::numeric_limits<int>::max(), 1}));
}

TEST(ZBitmapFormat, CanBeSetOnlyOnce) {
    OpenBitmap bitmap;
    bitmap.SetColorFormat(shr::BGR_24);
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.SetColorFormat(shr::BGRA_32); }, BitmapCheck::formatIsSetOnce));
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.SetColorFormat(shr::FORMAT_NONE); }, BitmapCheck::formatIsSetOnce));
    EXPECT_EQ(bitmap.GetColorFormat(), shr::BGR_24);
}

TEST(ZBitmapFormat, IsOneOfThirteen) {
    for (const int format : {0, 14, -1}) {
        OpenBitmap bitmap;
        EXPECT_TRUE(RaisesInternalError([&] { bitmap.SetColorFormat(static_cast<ColorFormat>(format)); },
                                        BitmapCheck::formatRange));
        EXPECT_EQ(bitmap.GetColorFormat(), shr::FORMAT_NONE);
    }
    for (const ColorFormat format : testkit::kFormats) {
        OpenBitmap bitmap;
        bitmap.SetColorFormat(format);
        EXPECT_EQ(bitmap.GetColorFormat(), format);
    }
}

TEST(ZBitmapLayout, PutsRemaindersIntoTheLastColumnAndRow) {
    const OpenBitmap bitmap(1000, 700, shr::GRAYSCALE_1, 512, 512);
    ASSERT_EQ(bitmap.GetNumScanRectRows(), 2);
    ASSERT_EQ(bitmap.GetNumScanRects(0), 2);
    ASSERT_EQ(bitmap.GetNumScanRects(1), 2);
    EXPECT_EQ(Values(bitmap.GetScanRectBBox(0, 0)), (std::vector<int>{0, 0, 512, 512}));
    EXPECT_EQ(Values(bitmap.GetScanRectBBox(0, 1)), (std::vector<int>{512, 0, 1000, 512}));
    EXPECT_EQ(Values(bitmap.GetScanRectBBox(1, 0)), (std::vector<int>{0, 512, 512, 700}));
    EXPECT_EQ(Values(bitmap.GetScanRectBBox(1, 1)), (std::vector<int>{512, 512, 1000, 700}));
}

TEST(ZBitmapLayout, KeepsEvenAThinEdgeAsATile) {
    const OpenBitmap bitmap(13, 11, shr::GRAYSCALE_1, 4, 5);
    ASSERT_EQ(bitmap.GetNumScanRectRows(), 3);
    ASSERT_EQ(bitmap.GetNumScanRects(2), 4);
    EXPECT_EQ(Values(bitmap.GetScanRectBBox(2, 3)), (std::vector<int>{12, 10, 13, 11}));
}

TEST(ZBitmapLayout, CoversEveryPixelExactlyOnce) {
    for (int width = 1; width <= 20; ++width)
        for (int tile = 1; tile <= 22; ++tile) {
            const OpenBitmap bitmap(width, 7, shr::GRAYSCALE_1, tile, 3);
            int right = 0;
            for (int col = 0; col < bitmap.GetNumScanRects(0); ++col) {
                const RECT box = bitmap.GetScanRectBBox(0, col);
                ASSERT_EQ(box.left, right);
                ASSERT_GT(box.right, box.left);
                ASSERT_LE(box.right - box.left, tile);
                right = box.right;
            }
            ASSERT_EQ(right, width);
        }
}

TEST(ZBitmapLayout, OfAPictureOfOneTileHasOne) {
    const OpenBitmap bitmap(512, 512, shr::GRAYSCALE_1, 512, 512);
    EXPECT_EQ(bitmap.GetNumScanRectRows(), 1);
    EXPECT_EQ(bitmap.GetNumScanRects(0), 1);
}

TEST(ZBitmapLayout, OfAPictureWithoutPixelsHasNoTiles) {
    EXPECT_EQ(OpenBitmap(0, 0, shr::BGRA_32, 512, 512).GetNumScanRectRows(), 0);
    EXPECT_EQ(OpenBitmap(700, 0, shr::BGRA_32, 512, 512).GetNumScanRectRows(), 0);
    const OpenBitmap narrow(0, 700, shr::BGRA_32, 512, 512);
    EXPECT_EQ(narrow.GetNumScanRectRows(), 2);
    EXPECT_EQ(narrow.GetNumScanRects(0), 0);
    EXPECT_EQ(narrow.GetNumScanRects(1), 0);
}

TEST(ZBitmapLayout, CanBeBuiltFromPlainlySetSizes) {
    OpenBitmap bitmap;
    bitmap.SetPixelWidth(10);
    bitmap.SetPixelHeight(6);
    bitmap.SetScanRectWidth(-3);
    bitmap.SetScanRectHeight(77);
    EXPECT_EQ(bitmap.GetPixelWidth(), 10);
    EXPECT_EQ(bitmap.GetPixelHeight(), 6);
    EXPECT_EQ(bitmap.GetScanRectWidth(), -3) << "stored as it is";
    EXPECT_EQ(bitmap.GetScanRectHeight(), 77);
    EXPECT_EQ(bitmap.GetNumScanRectRows(), 0);
    bitmap.CreateScanRectLayout(4, 8);
    ASSERT_EQ(bitmap.GetNumScanRectRows(), 2);
    EXPECT_EQ(Values(bitmap.GetScanRectBBox(1, 1)), (std::vector<int>{8, 4, 10, 6}));
}

TEST(ZBitmapLayout, FillsOneRowLeftToRight) {
    OpenBitmap bitmap;
    bitmap.SetPixelWidth(10);
    OpenBitmap::Row row;
    bitmap.SetScanRectRowInfo(row, 20, 3, 4);
    ASSERT_EQ(row.boxes.size(), 3u);
    ASSERT_EQ(row.tiles.size(), 3u);
    EXPECT_EQ(Values(row.boxes[0]), (std::vector<int>{0, 20, 4, 23}));
    EXPECT_EQ(Values(row.boxes[2]), (std::vector<int>{8, 20, 10, 23}));
    EXPECT_EQ(row.tiles[1], nullptr);
}

TEST(ColorTable, TakesTheGivenColorsAndBlackensTheRest) {
    OpenBitmap bitmap(2, 2, shr::INDEXED_4, 4, 4);
    const std::vector<Color4b> full(16, Color4b(9, 9, 9, 9));
    bitmap.FillColorTable(full.data(), 16);
    const Color4b colors[] = {{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}};
    bitmap.FillColorTable(colors, 3);
    EXPECT_EQ(bitmap.GetNumColorTableItems(), 3u);
    for (unsigned i = 0; i < 3; ++i) EXPECT_EQ(bitmap.GetColorTableItem(i), colors[i]);
    EXPECT_TRUE(IsBlackFrom(bitmap, 3));
    bitmap.FillColorTable(nullptr, 0);
    EXPECT_EQ(bitmap.GetNumColorTableItems(), 0u);
    EXPECT_TRUE(IsBlackFrom(bitmap, 0));
}

TEST(ColorTable, RefusesMoreColorsThanTheFormatHasAndStaysAsItWas) {
    const std::vector<Color4b> colors(300, Color4b(1, 1, 1));
    for (const ColorFormat format : testkit::kFormats) {
        OpenBitmap bitmap(2, 2, format, 4, 4);
        const auto most = static_cast<unsigned>(testkit::TableSize(format));
        EXPECT_TRUE(
            RaisesInternalError([&] { bitmap.FillColorTable(colors.data(), most + 1); }, BitmapCheck::colorCount));
        EXPECT_EQ(bitmap.GetNumColorTableItems(), most);
        EXPECT_TRUE(IsBlackFrom(bitmap, 0));
        EXPECT_NO_THROW(bitmap.FillColorTable(colors.data(), most));
    }
    OpenBitmap without;
    EXPECT_TRUE(RaisesInternalError([&] { without.FillColorTable(colors.data(), 1); }, BitmapCheck::colorCount));
}

TEST(ColorTable, GivesNoColorPastItsCount) {
    OpenBitmap bitmap(2, 2, shr::INDEXED_4, 4, 4);
    EXPECT_EQ(bitmap.GetColorTableItem(15), Color4b::Black);
    for (const unsigned index : {16u, 255u, 256u, 0xFFFFFFFFu})
        EXPECT_TRUE(RaisesInternalError([&] { bitmap.GetColorTableItem(index); }, BitmapCheck::colorIndex));
}

TEST(ColorTable, OfAFormatWithoutTableHasNoColorAtAll) {
    for (const ColorFormat format : testkit::kFormats)
        if (testkit::TableSize(format) == 0) {
            OpenBitmap bitmap(2, 2, format, 4, 4);
            EXPECT_TRUE(RaisesInternalError([&] { bitmap.GetColorTableItem(0); }, BitmapCheck::colorTable));
            EXPECT_TRUE(RaisesInternalError([&] { bitmap.GetColorTableItem(999); }, BitmapCheck::colorTable));
        }
}

TEST(ColorTable, PointerLeadsToAll256Entries) {
    OpenBitmap bitmap(2, 2, shr::INDEXED_8, 4, 4);
    std::vector<Color4b> colors;
    for (int i = 0; i < 256; ++i) colors.emplace_back(static_cast<std::uint8_t>(i), 1, 2, 3);
    bitmap.FillColorTable(colors.data(), 256);
    EXPECT_TRUE(std::equal(colors.begin(), colors.end(), bitmap.GetConstColorTablePtr()));
    EXPECT_EQ(bitmap.GetConstColorTablePtr(), bitmap.colorTable);
}

TEST(ColorTable, IsCopiedThroughTheVirtualOperation) {
    OpenBitmap source(2, 2, shr::INDEXED_8, 4, 4), target(2, 2, shr::INDEXED_8, 4, 4);
    const Color4b colors[] = {{1, 2, 3, 4}, {5, 6, 7, 8}};
    source.FillColorTable(colors, 2);
    target.CopyColorTable(source);
    EXPECT_EQ(target.calls, std::vector<std::string>{"FillColorTable 2"});
    EXPECT_EQ(target.GetColorTableItem(1), colors[1]);
    EXPECT_EQ(target.GetNumColorTableItems(), 2u);
}

TEST(ColorTable, ThatIsEmptyIsCopiedAsNoColors) {
    OpenBitmap source(2, 2, shr::BGRA_32, 4, 4), target(2, 2, shr::INDEXED_8, 4, 4);
    target.CopyColorTable(source);
    EXPECT_EQ(target.calls, std::vector<std::string>{"FillColorTable null 0"});
    EXPECT_EQ(target.GetNumColorTableItems(), 0u);
}

TEST(ColorTable, CannotBeCopiedIntoAFormatWithASmallerOne) {
    OpenBitmap source(2, 2, shr::INDEXED_8, 4, 4), target(2, 2, shr::INDEXED_4, 4, 4);
    EXPECT_TRUE(RaisesInternalError([&] { target.CopyColorTable(source); }, BitmapCheck::colorCount));
}

TEST(ZBitmapCopy, TakesEverythingButTheResolutions) {
    OpenBitmap source(10, 6, shr::INDEXED_4, 4, 5), target;
    const Color4b colors[] = {{1, 2, 3, 4}, {5, 6, 7, 8}};
    source.FillColorTable(colors, 2);
    source.SetXResolution(111);
    source.SetYResolution(222);
    testkit::SetPixel(source, 9, 5, 13);
    target.Copy(source);
    EXPECT_EQ(target.GetPixelWidth(), 10);
    EXPECT_EQ(target.GetPixelHeight(), 6);
    EXPECT_EQ(target.GetScanRectWidth(), 4);
    EXPECT_EQ(target.GetScanRectHeight(), 5);
    EXPECT_EQ(target.GetColorFormat(), shr::INDEXED_4);
    EXPECT_EQ(target.GetNumColorTableItems(), 2u);
    EXPECT_EQ(target.GetColorTableItem(1), colors[1]);
    EXPECT_EQ(testkit::GetPixel(target, 9, 5), 13u);
    EXPECT_EQ(target.GetXResolution(), 0);
    EXPECT_EQ(target.GetYResolution(), 0);
    EXPECT_EQ(target.calls.at(0), "FillColorTable 2");
}

TEST(ZBitmapCopy, NeedsABitmapThatWasFreed) {
    OpenBitmap source(10, 6, shr::INDEXED_4, 4, 5), target(3, 3, shr::BGRA_32, 4, 4);
    EXPECT_TRUE(RaisesInternalError([&] { target.Copy(source); }, BitmapCheck::formatIsSetOnce));
    target.Free();
    target.Copy(source);
    EXPECT_EQ(target.GetColorFormat(), shr::INDEXED_4);
}

/// Whether every tile of `copy` is an object of its own with the source's pixel in it.
void ExpectOwnTiles(OpenBitmap& source, OpenBitmap& copy) {
    ASSERT_EQ(copy.scanRectRows.size(), source.scanRectRows.size());
    for (std::size_t row = 0; row < copy.scanRectRows.size(); ++row)
        for (std::size_t col = 0; col < copy.scanRectRows[row].tiles.size(); ++col)
            EXPECT_NE(copy.scanRectRows[row].tiles[col].get(), source.scanRectRows[row].tiles[col].get());
    testkit::SetPixel(copy, 0, 0, 3);
    EXPECT_EQ(testkit::GetPixel(source, 0, 0), 7u);
}

TEST(ZBitmapCopy, GivesNoTileTwoOwners) {
    OpenBitmap source(10, 6, shr::INDEXED_4, 4, 5);
    testkit::SetPixel(source, 0, 0, 7);
    source.SetXResolution(111);
    OpenBitmap constructed(source), assigned(3, 3, shr::BGRA_32, 4, 4), copied;
    EXPECT_EQ(constructed.GetXResolution(), 111) << "a whole copy takes the resolutions too";
    EXPECT_EQ(testkit::GetPixel(constructed, 0, 0), 7u);
    ExpectOwnTiles(source, constructed);
    assigned = source;
    EXPECT_EQ(assigned.GetXResolution(), 111);
    EXPECT_EQ(assigned.GetColorFormat(), shr::INDEXED_4);
    ExpectOwnTiles(source, assigned);
    copied.Copy(source);
    ExpectOwnTiles(source, copied);
}

TEST(ZBitmapCopy, AssignedToItselfStaysAsItIs) {
    OpenBitmap bitmap(10, 6, shr::INDEXED_4, 4, 5);
    testkit::SetPixel(bitmap, 9, 5, 13);
    const OpenBitmap& same = bitmap;
    bitmap = same;
    EXPECT_EQ(testkit::GetPixel(bitmap, 9, 5), 13u);
}

TEST(ZBitmapRows, AreCopiedWithTilesOfTheirOwnAndMovedWithTheirTiles) {
    OpenBitmap bitmap(10, 6, shr::GRAYSCALE_8, 4, 6);
    OpenBitmap::Row& row = bitmap.scanRectRows[0];
    row.tiles[1].reset();
    row.tiles[0]->GetRowPtr(0)[0] = 42;
    const zbm::ZScanRect* first = row.tiles[0].get();

    OpenBitmap::Row copy(row);
    EXPECT_NE(copy.tiles[0].get(), first);
    EXPECT_EQ(copy.tiles[0]->GetRowPtr(0)[0], 42);
    EXPECT_EQ(copy.tiles[1], nullptr);
    EXPECT_EQ(Values(copy.boxes[2]), (std::vector<int>{8, 0, 10, 6}));

    OpenBitmap::Row moved(std::move(row));
    EXPECT_EQ(moved.tiles[0].get(), first);
    copy = moved;
    EXPECT_NE(copy.tiles[0].get(), first);
    const OpenBitmap::Row& same = copy;
    copy = same;
    EXPECT_EQ(copy.tiles[0]->GetRowPtr(0)[0], 42);
    copy = std::move(moved);
    EXPECT_EQ(copy.tiles[0].get(), first);
}

TEST(ZBitmapFree, DropsTilesFormatAndTableButKeepsSizes) {
    OpenBitmap bitmap(10, 6, shr::INDEXED_4, 4, 5);
    bitmap.SetXResolution(111);
    bitmap.Free();
    EXPECT_EQ(bitmap.GetNumScanRectRows(), 0);
    EXPECT_EQ(bitmap.GetColorFormat(), shr::FORMAT_NONE);
    EXPECT_EQ(bitmap.GetNumColorTableItems(), 0u);
    EXPECT_EQ(bitmap.GetPixelWidth(), 10);
    EXPECT_EQ(bitmap.GetPixelHeight(), 6);
    EXPECT_EQ(bitmap.GetScanRectWidth(), 4);
    EXPECT_EQ(bitmap.GetScanRectHeight(), 5);
}

TEST(Resolution, InDotsPerInchGoesThroughTheVirtualSetters) {
    OpenBitmap bitmap;
    bitmap.SetXDPIResolution(96);
    bitmap.SetYDPIResolution(300);
    EXPECT_EQ(bitmap.calls, (std::vector<std::string>{"SetXResolution 3780", "SetYResolution 11811"}));
    EXPECT_EQ(bitmap.GetXResolution(), 3780);
    EXPECT_EQ(bitmap.GetYResolution(), 11811);
    EXPECT_EQ(bitmap.GetXDPIResolution(), 96);
    EXPECT_EQ(bitmap.GetYDPIResolution(), 300);
}

TEST(Resolution, RoundsHalfAwayFromZeroOnBothSides) {
    OpenBitmap bitmap;
    bitmap.SetXDPIResolution(-96);
    EXPECT_EQ(bitmap.GetXResolution(), -3780);
    EXPECT_EQ(bitmap.GetXDPIResolution(), -96);
    bitmap.SetXResolution(-20);  // -0.508 dots an inch
    bitmap.SetYResolution(20);
    EXPECT_EQ(bitmap.GetXDPIResolution(), -1);
    EXPECT_EQ(bitmap.GetYDPIResolution(), 1);
    bitmap.SetYResolution(19);  // 0.4826
    EXPECT_EQ(bitmap.GetYDPIResolution(), 0);
}

TEST(Resolution, InDotsPerInchComesBackForEveryUsualValue) {
    OpenBitmap bitmap;
    for (int dpi = -2400; dpi <= 2400; ++dpi) {
        bitmap.SetXDPIResolution(dpi);
        bitmap.SetYDPIResolution(dpi + 1);
        ASSERT_EQ(bitmap.GetXDPIResolution(), dpi);
        ASSERT_EQ(bitmap.GetYDPIResolution(), dpi + 1);
    }
}

TEST(Resolution, BeyondTheRangeOfAnIntIsHarmless) {
    OpenBitmap bitmap;
    bitmap.SetXDPIResolution(std::numeric_limits<int>::max());
    EXPECT_GT(bitmap.GetXResolution(), 0);
    bitmap.SetXDPIResolution(std::numeric_limits<int>::min());
    EXPECT_LT(bitmap.GetXResolution(), 0);
}

}  // namespace
