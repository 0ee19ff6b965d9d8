#include "zbm/ZBasicMemBitmap.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "core/OpenBitmaps.h"
#include "core/checks/BasicMemBitmapChecks.h"
#include "core/checks/BitmapChecks.h"
#include "support_code/ExpectError.h"
#include "support_code/FormulaPicture.h"

namespace {

using shr::ColorFormat;
using testkit::FormulaBitmap;
using testkit::IsFormulaPicture;
using testkit::OpenBasicMemBitmap;
using testkit::RaisesInternalError;
using zbm::BasicMemBitmapCheck;
using zbm::BitmapCheck;
using zbm::ZBasicMemBitmap;

testing::AssertionResult IsEmpty(const zbm::ZBitmap& bitmap) {
    if (bitmap.GetColorFormat() != shr::FORMAT_NONE || bitmap.GetNumScanRectRows() != 0 ||
        bitmap.GetNumColorTableItems() != 0)
        return testing::AssertionFailure()
               << "format " << bitmap.GetColorFormat() << ", " << bitmap.GetNumScanRectRows() << " rows";
    return testing::AssertionSuccess();
}

/// Counts how many of its kind are alive.
struct Counted : ZBasicMemBitmap {
    Counted() : ZBasicMemBitmap(1, 1, shr::BGRA_32) { ++alive; }
    ~Counted() override { --alive; }
    static inline int alive = 0;
};

TEST(ZBasicMemBitmap, TakesWidthsBeforeHeights) {
    ZBasicMemBitmap bitmap(3, 5, shr::BGRA_32, 2, 4);
    EXPECT_EQ(bitmap.GetPixelWidth(), 3);
    EXPECT_EQ(bitmap.GetPixelHeight(), 5);
    EXPECT_EQ(bitmap.GetScanRectWidth(), 2);
    EXPECT_EQ(bitmap.GetScanRectHeight(), 4);
    bitmap.Create(30, 50, shr::BGR_24, 20, 40);
    EXPECT_EQ(bitmap.GetPixelWidth(), 30);
    EXPECT_EQ(bitmap.GetPixelHeight(), 50);
    EXPECT_EQ(bitmap.GetScanRectWidth(), 20);
    EXPECT_EQ(bitmap.GetScanRectHeight(), 40);
}

TEST(ZBasicMemBitmap, HasTilesOf512UnlessToldOtherwise) {
    ZBasicMemBitmap bitmap(3, 5, shr::BGRA_32);
    EXPECT_EQ(bitmap.GetScanRectWidth(), 512);
    EXPECT_EQ(bitmap.GetScanRectHeight(), 512);
    bitmap.Create(7, 8, shr::BGR_24);
    EXPECT_EQ(bitmap.GetScanRectWidth(), 512);
    EXPECT_EQ(bitmap.GetScanRectHeight(), 512);
}

TEST(ZBasicMemBitmap, CannotBeConstructedWithoutPixels) {
    for (const auto& [width, height] : {std::pair{0, 5}, {5, 0}, {-1, 5}, {5, -1}})
        EXPECT_TRUE(RaisesInternalError([&, w = width, h = height] { ZBasicMemBitmap(w, h, shr::BGRA_32, 0, 0); },
                                        BasicMemBitmapCheck::size));
    for (const auto& [width, height] : {std::pair{0, 5}, {5, 0}, {-1, 5}, {5, -1}})
        EXPECT_TRUE(RaisesInternalError([&, w = width, h = height] { ZBasicMemBitmap(5, 5, shr::FORMAT_NONE, w, h); },
                                        BasicMemBitmapCheck::tileSize));
    EXPECT_TRUE(RaisesInternalError([] { ZBasicMemBitmap(5, 5, shr::FORMAT_NONE); }, BitmapCheck::formatRange));
}

TEST(ZBasicMemBitmap, CanBeCreatedWithoutPixels) {
    ZBasicMemBitmap bitmap(5, 5, shr::BGRA_32);
    bitmap.Create(0, 700, shr::BGR_24);
    EXPECT_EQ(bitmap.GetPixelWidth(), 0);
    EXPECT_EQ(bitmap.GetPixelHeight(), 700);
    EXPECT_EQ(bitmap.GetNumScanRectRows(), 2);
    EXPECT_EQ(bitmap.GetNumScanRects(0), 0);
    bitmap.Create(700, 0, shr::BGR_24);
    EXPECT_EQ(bitmap.GetNumScanRectRows(), 0);
    bitmap.Create(0, 0, shr::BGR_24);
    EXPECT_EQ(bitmap.GetNumScanRectRows(), 0);
    EXPECT_EQ(bitmap.GetColorFormat(), shr::BGR_24);
}

TEST(ZBasicMemBitmap, HasATileOfEachBoxesSizeInItsFormat) {
    for (const ColorFormat format : testkit::kFormats) {
        const ZBasicMemBitmap bitmap(10, 7, format, 4, 5);
        for (int row = 0; row < 2; ++row)
            for (int col = 0; col < 3; ++col) {
                const RECT box = bitmap.GetScanRectBBox(row, col);
                zbm::ZScanRect& tile = bitmap.LockScanRect(row, col);
                EXPECT_EQ(tile.GetWidth(), box.right - box.left);
                EXPECT_EQ(tile.GetHeight(), box.bottom - box.top);
                EXPECT_EQ(tile.GetColorFormat(), format);
                bitmap.UnlockScanRect(row, col);
            }
    }
}

TEST(ZBasicMemBitmap, HasOpaqueTilesOfKnownSizes) {
    ZBasicMemBitmap bitmap(1, 1, shr::BGRA_32);
    bitmap.Create(1000, 700, shr::BGR_24, 512, 512);
    const int sizes[2][2][2] = {{{512, 512}, {488, 512}}, {{512, 188}, {488, 188}}};
    for (int row = 0; row < 2; ++row)
        for (int col = 0; col < 2; ++col) {
            const zbm::ZScanRect& tile = bitmap.LockScanRect(row, col);
            EXPECT_EQ(tile.GetWidth(), sizes[row][col][0]);
            EXPECT_EQ(tile.GetHeight(), sizes[row][col][1]);
            for (int y = 0; y < tile.GetHeight(); ++y)
                for (int i = 0; i < -tile.GetAlphaStride(); ++i) ASSERT_EQ(tile.GetAlphaRowPtr(y)[i], 0xFF);
        }
}

TEST(ZBasicMemBitmap, LocksGiveTheSameTileEveryTime) {
    ZBasicMemBitmap bitmap(10, 10, shr::BGR_24, 4, 4);
    zbm::ZScanRect& tile = bitmap.LockScanRect(2, 1);
    tile.GetRowPtr(0)[0] = 5;
    bitmap.CommitScanRect(2, 1);
    bitmap.UnlockScanRect(2, 1);
    EXPECT_EQ(&bitmap.LockScanRect(2, 1), &tile);
    EXPECT_EQ(bitmap.LockScanRect(2, 1).GetRowPtr(0)[0], 5);
    EXPECT_NE(&bitmap.LockScanRect(1, 2), &tile);
}

TEST(ZBasicMemBitmap, LockOutsideTheGridIsAnInternalError) {
    ZBasicMemBitmap bitmap(10, 10, shr::BGR_24, 4, 4);
    for (const auto& [row, col] : {std::pair{3, 0}, {0, 3}, {-1, 0}, {0, -1}, {std::numeric_limits<int>::min(), 0}})
        EXPECT_TRUE(
            RaisesInternalError([&, r = row, c = col] { bitmap.LockScanRect(r, c); }, BasicMemBitmapCheck::tile));
}

TEST(ZBasicMemBitmap, HasNothingToCommitAndNoReductions) {
    ZBasicMemBitmap bitmap(100, 100, shr::BGR_24);
    EXPECT_TRUE(bitmap.CommitAll(nullptr));
    for (unsigned level = 0; level <= 10; ++level) EXPECT_EQ(bitmap.GetPtrToPOTReduction(level), nullptr);
}

TEST(ZBasicMemBitmapCreate, DropsWhatTheBitmapHeld) {
    ZBasicMemBitmap bitmap = FormulaBitmap(37, 23, shr::INDEXED_8, 13, 9);
    bitmap.Create(37, 23, shr::INDEXED_8, 13, 9);
    EXPECT_EQ(testkit::GetPixel(bitmap, 20, 20), 0u);
    EXPECT_TRUE(testkit::GetMask(bitmap, 2, 1));
    EXPECT_EQ(bitmap.GetColorTableItem(3), shr::Color4b::Black);
    EXPECT_EQ(bitmap.GetXResolution(), 243);  // 37 / 6 inches
}

TEST(ZBasicMemBitmapCreate, InTheSameShapeGivesABlankPictureAgain) {
    for (const shr::ColorFormat format : testkit::kFormats)
        for (const int tileWidth : {5, 32}) {
            ZBasicMemBitmap bitmap(37, 11, format, tileWidth, 4);
            const ZBasicMemBitmap blank = bitmap;
            for (int row = 0; row < bitmap.GetNumScanRectRows(); ++row)
                for (int col = 0; col < bitmap.GetNumScanRects(row); ++col) {
                    zbm::ZScanRect& tile = bitmap.LockScanRect(row, col);
                    const int last = tile.GetHeight() - 1;  // the first in memory
                    std::memset(tile.GetRowPtr(last), 0x5A, static_cast<std::size_t>(-tile.GetStride() * (last + 1)));
                    if (tile.GetAlphaStride() != 0)
                        std::memset(tile.GetAlphaRowPtr(last), 0,
                                    static_cast<std::size_t>(-tile.GetAlphaStride() * (last + 1)));
                }
            ASSERT_FALSE(testkit::AreEqual(bitmap, blank));
            bitmap.Create(37, 11, format, tileWidth, 4);
            EXPECT_TRUE(testkit::AreEqual(bitmap, blank)) << format << ", tiles of " << tileWidth;
        }
}

TEST(ZBasicMemBitmapCreate, HealsABitmapWhoseTilesWereGivenAnotherShape) {
    const ZBasicMemBitmap blank(64, 40, shr::BGRA_32, 32, 16);
    for (const zbm::ZScanRect& misfit : {zbm::ZScanRect(8, 8, shr::BGRA_32), zbm::ZScanRect(32, 16, shr::BGR_24),
                                         zbm::ZScanRect(16, 32, shr::BGRA_32)}) {
        ZBasicMemBitmap bitmap = blank;
        bitmap.LockScanRect(1, 1) = misfit;
        bitmap.Create(64, 40, shr::BGRA_32, 32, 16);
        EXPECT_TRUE(testkit::AreEqual(bitmap, blank));
        EXPECT_EQ(bitmap.LockScanRect(1, 1).GetWidth(), 32);
    }
}

TEST(ZBasicMemBitmapCreate, InAnotherShapeWithSuchTilesGivesABlankPictureToo) {
    for (const auto& [width, height] : {std::pair(64, 40), {200, 90}, {33, 17}, {100, 1}}) {
        ZBasicMemBitmap bitmap = FormulaBitmap(100, 50, shr::GRAYSCALE_4, 32, 16);
        bitmap.Create(width, height, shr::GRAYSCALE_4, 32, 16);
        EXPECT_TRUE(testkit::AreEqual(bitmap, ZBasicMemBitmap(width, height, shr::GRAYSCALE_4, 32, 16)));
    }
}

TEST(ZBasicMemBitmapCreate, ThatFailsLeavesAnEmptyUsableBitmap) {
    struct Case {
        int width, height, format, tileWidth, tileHeight;
        BitmapCheck check;
    };
    for (const Case& c : {Case{-1, 5, 10, 4, 4, BitmapCheck::pixelSize},
                          {5, -1, 10, 4, 4, BitmapCheck::pixelSize},
                          {5, 5, 10, 0, 4, BitmapCheck::tileSize},
                          {5, 5, 10, 4, 0, BitmapCheck::tileSize},
                          {5, 5, 99, 4, 4, BitmapCheck::formatRange},
                          {5, 5, 0, 4, 4, BitmapCheck::formatRange}}) {
        ZBasicMemBitmap bitmap = FormulaBitmap(37, 23, shr::INDEXED_8, 13, 9);
        EXPECT_TRUE(RaisesInternalError(
            [&] { bitmap.Create(c.width, c.height, static_cast<ColorFormat>(c.format), c.tileWidth, c.tileHeight); },
            c.check));
        EXPECT_TRUE(IsEmpty(bitmap));
        bitmap.Create(37, 23, shr::INDEXED_8, 13, 9);
        testkit::FillByFormula(bitmap);
        EXPECT_TRUE(IsFormulaPicture(bitmap));
    }
}

TEST(ZBasicMemBitmapCreate, ThatDoesNotFitIntoMemoryLeavesAnEmptyUsableBitmap) {
    ZBasicMemBitmap bitmap = FormulaBitmap(37, 23, shr::INDEXED_8, 13, 9);
    EXPECT_THROW(bitmap.Create(1 << 28, 1 << 20, shr::BGRA_32, 1 << 28, 1 << 20), std::bad_alloc);
    EXPECT_TRUE(IsEmpty(bitmap));
    bitmap.Create(3, 3, shr::BGRA_32);
    EXPECT_EQ(testkit::GetPixel(bitmap, 2, 2), 0u);
}

class Copies : public testing::TestWithParam<ColorFormat> {};

TEST_P(Copies, HaveTheSamePictureInTilesOfTheirOwn) {
    ZBasicMemBitmap source = FormulaBitmap(37, 23, GetParam(), 13, 9);
    const ZBasicMemBitmap constructed(source);
    ZBasicMemBitmap assigned(5, 5, shr::BGRA_32), created(50, 50, shr::GRAYSCALE_1, 7, 7);
    assigned = source;
    created.Create(source);
    for (const ZBasicMemBitmap* copy :
         std::initializer_list<const ZBasicMemBitmap*>{&constructed, &assigned, &created}) {
        EXPECT_TRUE(testkit::AreEqual(*copy, source));
        EXPECT_NE(&copy->LockScanRect(1, 1), &source.LockScanRect(1, 1));
    }
    testkit::SetPixel(source, 0, 0, testkit::FormulaPixel(GetParam(), 0, 0) ^ 1);
    EXPECT_TRUE(IsFormulaPicture(constructed));
}

TEST_P(Copies, TakenOverWithoutCopyingAreTheVeryTiles) {
    ZBasicMemBitmap source = FormulaBitmap(37, 23, GetParam(), 13, 9), target(50, 50, shr::GRAYSCALE_1, 7, 7);
    std::vector<const zbm::ZScanRect*> tiles;
    for (int row = 0; row < 3; ++row)
        for (int col = 0; col < 3; ++col) tiles.push_back(&source.LockScanRect(row, col));
    target.ChangeFrom(source);
    EXPECT_TRUE(IsFormulaPicture(target));
    EXPECT_EQ(target.GetScanRectWidth(), 13);
    EXPECT_EQ(target.GetScanRectHeight(), 9);
    for (int row = 0; row < 3; ++row)
        for (int col = 0; col < 3; ++col)
            EXPECT_EQ(&target.LockScanRect(row, col), tiles[static_cast<std::size_t>(3 * row + col)]);
}

INSTANTIATE_TEST_SUITE_P(EveryFormat, Copies, testing::ValuesIn(testkit::kFormats),
                         [](const auto& instance) { return testkit::FormatName(instance.param); });

TEST(ZBasicMemBitmapCopy, GoesThroughTheVirtualOperations) {
    const ZBasicMemBitmap source = FormulaBitmap(5, 5, shr::INDEXED_4, 4, 4);
    OpenBasicMemBitmap target(1, 1, shr::BGRA_32);
    target.calls.clear();
    target.CopyAll(source);
    EXPECT_EQ(target.calls,
              (std::vector<std::string>{"FillColorTable 16", "SetXResolution 1007", "SetYResolution 2007"}));
}

TEST(ZBasicMemBitmapCopy, OfItselfChangesNothing) {
    ZBasicMemBitmap bitmap = FormulaBitmap(37, 23, shr::INDEXED_4, 13, 9);
    const zbm::ZScanRect* tile = &bitmap.LockScanRect(1, 1);
    const ZBasicMemBitmap& same = bitmap;
    bitmap = same;
    bitmap.Create(same);
    bitmap.ChangeFrom(bitmap);
    EXPECT_EQ(&bitmap.LockScanRect(1, 1), tile);
    EXPECT_TRUE(IsFormulaPicture(bitmap));
}

TEST(ZBasicMemBitmapCopy, OfABitmapWithoutFormatFailsAndLeavesAnEmptyOne) {
    ZBasicMemBitmap source(5, 5, shr::BGRA_32), target(5, 5, shr::BGRA_32);
    EXPECT_THROW(source.Create(-1, 1, shr::BGRA_32), shr::InternalError);
    EXPECT_TRUE(RaisesInternalError([&] { target.Create(source); }, BitmapCheck::formatRange));
    EXPECT_TRUE(IsEmpty(target));
    target.Create(5, 5, shr::BGRA_32);
    EXPECT_TRUE(RaisesInternalError([&] { target.ChangeFrom(source); }, BitmapCheck::formatRange));
    EXPECT_TRUE(IsEmpty(target));
}

static_assert(std::is_nothrow_move_constructible_v<ZBasicMemBitmap> &&
              std::is_nothrow_move_assignable_v<ZBasicMemBitmap>);

TEST(ZBasicMemBitmapMove, TakesTheTilesAndLeavesAnEmptyBitmapThatCanBeCreatedAnew) {
    ZBasicMemBitmap source = FormulaBitmap(37, 23, shr::INDEXED_4, 13, 9);
    const zbm::ZScanRect* tile = &source.LockScanRect(1, 1);
    ZBasicMemBitmap constructed(std::move(source)), assigned = FormulaBitmap(5, 5, shr::BGRA_32, 2, 2);
    EXPECT_TRUE(IsFormulaPicture(constructed));
    EXPECT_EQ(&constructed.LockScanRect(1, 1), tile);
    EXPECT_TRUE(IsEmpty(source));
    assigned = std::move(constructed);
    EXPECT_TRUE(IsFormulaPicture(assigned));
    EXPECT_EQ(&assigned.LockScanRect(1, 1), tile);
    EXPECT_EQ(assigned.GetXResolution(), FormulaBitmap(37, 23, shr::INDEXED_4, 13, 9).GetXResolution());
    EXPECT_TRUE(IsEmpty(constructed));
    constructed.Create(2, 2, shr::BGR_24);
    EXPECT_EQ(testkit::GetPixel(constructed, 1, 1), 0u);
    EXPECT_FALSE(IsEmpty(constructed));
}

TEST(ZBasicMemBitmapMove, ToItselfChangesNothingAndOfAnEmptyOneGivesAnEmptyOne) {
    ZBasicMemBitmap bitmap = FormulaBitmap(37, 23, shr::INDEXED_4, 13, 9), empty(1, 1, shr::BGRA_32);
    ZBasicMemBitmap& same = bitmap;
    bitmap = std::move(same);
    EXPECT_TRUE(IsFormulaPicture(bitmap));
    EXPECT_THROW(empty.Create(1, 1, shr::FORMAT_NONE), shr::InternalError);
    bitmap = std::move(empty);
    EXPECT_TRUE(IsEmpty(bitmap));
}

TEST(ZBasicMemBitmapMove, CallsNoVirtualOperation) {
    OpenBasicMemBitmap source(5, 5, shr::INDEXED_4, 4, 4), target(1, 1, shr::BGRA_32);
    source.calls = target.calls = {};
    target = std::move(source);
    EXPECT_TRUE(target.calls.empty());
    EXPECT_EQ(target.GetPixelWidth(), 5);
}

TEST(ZBasicMemBitmap, IsEmptyOnlyWithoutAPicture) {
    ZBasicMemBitmap bitmap(3, 3, shr::BGRA_32);
    EXPECT_FALSE(bitmap.IsEmpty());
    bitmap.Create(0, 0, shr::BGRA_32);
    EXPECT_FALSE(bitmap.IsEmpty());
    EXPECT_THROW(bitmap.Create(3, 3, shr::BGRA_32, 0, 1), shr::InternalError);
    EXPECT_TRUE(bitmap.IsEmpty());
    EXPECT_TRUE(testkit::OpenBitmap().IsEmpty());
}

TEST(ChangeFrom, LeavesTheSourceAtOnePixelWithoutItsTile) {
    ZBasicMemBitmap source = FormulaBitmap(37, 23, shr::INDEXED_4, 13, 9), target(1, 1, shr::BGRA_32);
    target.ChangeFrom(source);
    EXPECT_EQ(source.GetPixelWidth(), 1);
    EXPECT_EQ(source.GetPixelHeight(), 1);
    EXPECT_EQ(source.GetColorFormat(), shr::BGRA_32);
    EXPECT_EQ(source.GetScanRectWidth(), 512);
    EXPECT_EQ(source.GetScanRectHeight(), 512);
    EXPECT_EQ(source.GetNumScanRectRows(), 1);
    EXPECT_TRUE(RaisesInternalError([&] { source.LockScanRect(0, 0); }, BasicMemBitmapCheck::tile));
    std::uint8_t pixel[4];
    EXPECT_TRUE(RaisesInternalError(
        [&] {
            source.FetchRegion(pixel, 4, RECT{0, 0, 1, 1});
        },
        BasicMemBitmapCheck::tile));
    EXPECT_TRUE(RaisesInternalError(
        [&] {
            source.StoreRegion(pixel, 4, RECT{0, 0, 1, 1});
        },
        BasicMemBitmapCheck::tile));
}

TEST(ChangeFrom, LeavesASourceThatCanBeCopiedTakenFromAndCreatedAnew) {
    ZBasicMemBitmap source = FormulaBitmap(37, 23, shr::INDEXED_4, 13, 9), target(1, 1, shr::BGRA_32);
    target.ChangeFrom(source);
    ZBasicMemBitmap copy(source);
    EXPECT_EQ(copy.GetPixelWidth(), 1);
    EXPECT_TRUE(RaisesInternalError([&] { copy.LockScanRect(0, 0); }, BasicMemBitmapCheck::tile));
    copy = source;
    ZBasicMemBitmap taker(4, 4, shr::BGR_24);
    taker.ChangeFrom(source);
    EXPECT_EQ(taker.GetPixelWidth(), 1);
    EXPECT_TRUE(RaisesInternalError([&] { taker.LockScanRect(0, 0); }, BasicMemBitmapCheck::tile));
    source.Create(2, 2, shr::BGR_24);
    EXPECT_EQ(testkit::GetPixel(source, 1, 1), 0u);
}

TEST(ChangeFrom, GoesThroughTheVirtualOperations) {
    ZBasicMemBitmap source = FormulaBitmap(5, 5, shr::INDEXED_4, 4, 4);
    OpenBasicMemBitmap target(1, 1, shr::BGRA_32);
    target.calls.clear();
    target.ChangeFrom(source);
    EXPECT_EQ(target.calls,
              (std::vector<std::string>{"FillColorTable 16", "SetXResolution 1007", "SetYResolution 2007"}));
}

TEST(InputRowCopy, GoesWithEveryReCreation) {
    ZBasicMemBitmap source(3, 3, shr::BGRA_32);
    const auto expectGone = [](const char* what, auto act) {
        OpenBasicMemBitmap bitmap(2, 2, shr::BGRA_32);
        bitmap.filterState.inputRowCopy = std::make_unique<Counted>();
        ASSERT_EQ(Counted::alive, 1);
        act(bitmap);
        EXPECT_EQ(Counted::alive, 0) << what;
        EXPECT_EQ(bitmap.filterState.inputRowCopy, nullptr) << what;
    };
    expectGone("Create", [](auto& bitmap) { bitmap.Create(2, 2, shr::BGRA_32); });
    expectGone("failing Create",
               [](auto& bitmap) { EXPECT_THROW(bitmap.Create(2, 2, shr::FORMAT_NONE), shr::InternalError); });
    expectGone("Init", [](auto& bitmap) { bitmap.Init(2, 2, shr::BGRA_32, 4, 4); });
    expectGone("CopyAll", [&](auto& bitmap) { bitmap.CopyAll(source); });
    expectGone("CreateCleanup", [](auto& bitmap) { bitmap.CreateCleanup(); });
    expectGone("ChangeFrom", [&](auto& bitmap) {
        ZBasicMemBitmap other(3, 3, shr::BGRA_32);
        bitmap.ChangeFrom(other);
    });
    expectGone("being the source of ChangeFrom", [](auto& bitmap) {
        ZBasicMemBitmap taker(3, 3, shr::BGRA_32);
        taker.ChangeFrom(bitmap);
    });
    {
        OpenBasicMemBitmap bitmap(2, 2, shr::BGRA_32);
        bitmap.filterState.inputRowCopy = std::make_unique<Counted>();
    }
    EXPECT_EQ(Counted::alive, 0) << "destruction";
}

TEST(InputRowCopy, IsNotCopied) {
    OpenBasicMemBitmap bitmap(2, 2, shr::BGRA_32);
    bitmap.filterState.inputRowCopy = std::make_unique<Counted>();
    bitmap.filterState.currentInputRow = 5;
    const OpenBasicMemBitmap copy(bitmap);
    EXPECT_EQ(copy.filterState.inputRowCopy, nullptr);
    EXPECT_EQ(copy.filterState.currentInputRow, -1);
}

TEST(ZBasicMemBitmap, StartsWithoutAFilteringUnderWay) {
    const OpenBasicMemBitmap bitmap(2, 2, shr::BGRA_32);
    EXPECT_EQ(bitmap.filterState.inputRowCopy, nullptr);
    EXPECT_EQ(bitmap.filterState.currentInputRow, -1);
    EXPECT_TRUE(IsRectEmpty(&bitmap.filterState.inputRect));
    EXPECT_TRUE(bitmap.filterState.inputLine.empty() && bitmap.filterState.outputLine.empty() &&
                bitmap.filterState.outputLine32.empty() && bitmap.filterState.inputLine32.empty());
}

TEST(ZBasicMemBitmap, InitLaysOutWithoutMakingTiles) {
    OpenBasicMemBitmap bitmap(2, 2, shr::BGRA_32);
    bitmap.Init(6, 10, shr::BGR_24, 5, 4);
    EXPECT_EQ(bitmap.GetPixelWidth(), 10);
    EXPECT_EQ(bitmap.GetPixelHeight(), 6);
    EXPECT_EQ(bitmap.GetScanRectWidth(), 4);
    EXPECT_EQ(bitmap.GetScanRectHeight(), 5);
    for (const auto& row : bitmap.scanRectRows)
        for (const auto& tile : row.tiles) EXPECT_EQ(tile, nullptr);
    bitmap.AllocateScanRects();
    EXPECT_EQ(bitmap.LockScanRect(1, 2).GetWidth(), 2);
}

TEST(ZBasicMemBitmap, CreateCleanupEmptiesIt) {
    OpenBasicMemBitmap bitmap(2, 2, shr::INDEXED_4);
    bitmap.CreateCleanup();
    EXPECT_TRUE(IsEmpty(bitmap));
}

TEST(ZBasicMemBitmapFromDib, IsAlwaysRefusedAndChangesNothing) {
    ZBasicMemBitmap bitmap = FormulaBitmap(37, 23, shr::INDEXED_4, 13, 9);
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.Create(nullptr, nullptr, nullptr, 512, 512); },
                                    BasicMemBitmapCheck::dibHeader));

    BITMAPINFO dib{};
    dib.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    dib.bmiHeader.biWidth = dib.bmiHeader.biHeight = 1;
    dib.bmiHeader.biPlanes = 1;
    dib.bmiHeader.biBitCount = 24;
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.Create(&dib.bmiHeader, dib.bmiColors, nullptr, 512, 512); },
                                    BasicMemBitmapCheck::dibCreation));
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.Create(dib, 512, 512); }, BasicMemBitmapCheck::dibCreation));
    for (const int bitCount : {0, 1, 4, 8, 9, 16, 32})
        for (const DWORD used : {0u, 5u, 0xFFFFFFFFu})
            for (const DWORD compression : {BI_RGB, BI_BITFIELDS}) {
                dib.bmiHeader.biBitCount = static_cast<WORD>(bitCount);
                dib.bmiHeader.biClrUsed = used;
                dib.bmiHeader.biCompression = compression;
                EXPECT_TRUE(
                    RaisesInternalError([&] { bitmap.Create(dib, 512, 512); }, BasicMemBitmapCheck::dibCreation));
            }
    EXPECT_TRUE(IsFormulaPicture(bitmap));
}

TEST(ZBasicMemBitmap, TakesADibTileByTile) {
    // The way to load a DIB into memory.
    constexpr int kWidth = 11, kHeight = 7;
    std::vector<std::uint8_t> bits(static_cast<std::size_t>(testkit::PaddedRowBytes(kWidth, 24) * kHeight));
    for (std::size_t i = 0; i < bits.size(); ++i) bits[i] = static_cast<std::uint8_t>(i);
    BITMAPINFOHEADER header{};
    header.biSize = sizeof header;
    header.biWidth = kWidth;
    header.biHeight = kHeight;
    header.biBitCount = 24;
    ZBasicMemBitmap bitmap(kWidth, kHeight, shr::BGR_24, 4, 4);
    for (int row = 0; row < bitmap.GetNumScanRectRows(); ++row)
        for (int col = 0; col < bitmap.GetNumScanRects(row); ++col) {
            const RECT box = bitmap.GetScanRectBBox(row, col);
            bitmap.LockScanRect(row, col).CopyFromDib(&header, bits.data(), box.left, box.top);
            bitmap.CommitScanRect(row, col);
            bitmap.UnlockScanRect(row, col);
        }
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x)
            EXPECT_EQ(testkit::GetPixel(bitmap, x, y),
                      testkit::PixelAt(bits.data() + (kHeight - 1 - y) * 36, x, shr::BGR_24));
}

TEST(ZBasicMemBitmap, OfAnEmptyOneIsEmpty) {
    ZBasicMemBitmap source = FormulaBitmap(5, 6, shr::BGRA_32, 4, 4);
    const ZBasicMemBitmap taken(std::move(source));
    // NOLINTBEGIN(bugprone-use-after-move): what is left is stated
    ASSERT_TRUE(source.IsEmpty());
    EXPECT_TRUE(ZBasicMemBitmap(source).IsEmpty());
    ZBasicMemBitmap assigned = FormulaBitmap(5, 6, shr::BGRA_32, 4, 4);
    assigned = source;
    EXPECT_TRUE(assigned.IsEmpty());
    // NOLINTEND(bugprone-use-after-move)
    assigned.Create(3, 3, shr::BGR_24);
    EXPECT_FALSE(assigned.IsEmpty());
}

TEST(ZBasicMemBitmap, IsIndependentOfOthersOnOtherThreads) {
    std::vector<int> right(4, 0);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < right.size(); ++i)
        threads.emplace_back([&right, i] {
            for (const ColorFormat format : testkit::kFormats) {
                ZBasicMemBitmap bitmap = FormulaBitmap(37, 23, format, 13, 9), taker(1, 1, shr::BGRA_32);
                const ZBasicMemBitmap copy(bitmap);
                taker.ChangeFrom(bitmap);
                right[i] += IsFormulaPicture(copy) && IsFormulaPicture(taker) ? 1 : 0;
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(right, std::vector<int>(4, 13));
}

}  // namespace
