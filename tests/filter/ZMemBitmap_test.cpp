// How a memory bitmap keeps, copies, hands over and drops its reductions.
#include "zbm/ZMemBitmap.h"

#include <gtest/gtest.h>

#include "core/OpenBitmaps.h"
#include "core/checks/BasicMemBitmapChecks.h"
#include "core/checks/BitmapChecks.h"
#include "support_code/ExpectError.h"
#include "support_code/FormulaPicture.h"

namespace {

using testkit::FormulaBitmap;
using testkit::IsFormulaPicture;
using testkit::OpenMemBitmap;
using testkit::RaisesInternalError;
using zbm::BasicMemBitmapCheck;
using zbm::BitmapCheck;
using zbm::ZBasicMemBitmap;

OpenMemBitmap WithTwoReductions() {
    OpenMemBitmap bitmap(100, 100, shr::BGRA_32, 32, 32);
    testkit::FillByFormula(bitmap);
    bitmap.AddReduction(FormulaBitmap(50, 50, shr::BGRA_32, 512, 512));
    bitmap.AddReduction(FormulaBitmap(25, 25, shr::BGRA_32, 512, 512));
    bitmap.needsRebuild = false;
    return bitmap;
}

void ExpectCopiedReductions(const OpenMemBitmap& copy, const OpenMemBitmap& source) {
    ASSERT_EQ(copy.reductions.size(), 2u);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_NE(copy.reductions[i], source.reductions[i]);
        EXPECT_TRUE(testkit::AreEqual(*copy.reductions[i], *source.reductions[i]));
    }
}

TEST(ZMemBitmap, OfAnEmptyOneIsEmptyAndHasNoReductions) {
    OpenMemBitmap source = WithTwoReductions(), assigned = WithTwoReductions();
    const OpenMemBitmap taken(std::move(source));
    // NOLINTBEGIN(bugprone-use-after-move): what is left is stated
    ASSERT_TRUE(source.IsEmpty());
    EXPECT_TRUE(OpenMemBitmap(source).IsEmpty());
    assigned = source;
    // NOLINTEND(bugprone-use-after-move)
    EXPECT_TRUE(assigned.IsEmpty());
    EXPECT_TRUE(assigned.reductions.empty());
}

TEST(ZMemBitmap, StartsWithReductionsToBeBuilt) {
    const OpenMemBitmap bitmap(100, 50, shr::BGR_24, 16, 8);
    EXPECT_TRUE(bitmap.needsRebuild);
    EXPECT_TRUE(bitmap.reductions.empty());
    EXPECT_EQ(bitmap.GetPixelWidth(), 100);
    EXPECT_EQ(bitmap.GetPixelHeight(), 50);
    EXPECT_EQ(bitmap.GetScanRectWidth(), 16);
    EXPECT_EQ(bitmap.GetScanRectHeight(), 8);
}

TEST(ZMemBitmap, RefusesWhatItsBaseRefuses) {
    EXPECT_TRUE(RaisesInternalError([] { zbm::ZMemBitmap(0, 5, shr::BGRA_32); }, BasicMemBitmapCheck::size));
    EXPECT_TRUE(RaisesInternalError([] { zbm::ZMemBitmap(5, 5, shr::BGRA_32, 0, 5); }, BasicMemBitmapCheck::tileSize));
    zbm::ZMemBitmap bitmap(5, 5, shr::BGRA_32);
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.Create(nullptr, nullptr, nullptr, 512, 512); },
                                    BasicMemBitmapCheck::dibHeader));
    BITMAPINFO dib{};
    dib.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.Create(&dib.bmiHeader, nullptr, nullptr, 512, 512); },
                                    BasicMemBitmapCheck::dibCreation));
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.Create(dib, 512, 512); }, BasicMemBitmapCheck::dibCreation));
}

TEST(ZMemBitmap, CopiesTheReductionsAndTakesThemForCurrent) {
    OpenMemBitmap source = WithTwoReductions();
    for (const bool stale : {false, true}) {
        source.needsRebuild = stale;
        const OpenMemBitmap constructed(source);
        OpenMemBitmap assigned(5, 5, shr::BGRA_32), created(5, 5, shr::BGRA_32);
        assigned.AddReduction(ZBasicMemBitmap(2, 2, shr::BGRA_32));
        assigned = source;
        created.Create(static_cast<const zbm::ZMemBitmap&>(source));
        for (const OpenMemBitmap* copy :
             std::initializer_list<const OpenMemBitmap*>{&constructed, &assigned, &created}) {
            EXPECT_FALSE(copy->needsRebuild);
            EXPECT_TRUE(IsFormulaPicture(*copy));
            ExpectCopiedReductions(*copy, source);
        }
        EXPECT_EQ(source.needsRebuild, stale);
    }
}

static_assert(std::is_nothrow_move_constructible_v<zbm::ZMemBitmap> &&
              std::is_nothrow_move_assignable_v<zbm::ZMemBitmap>);

TEST(ZMemBitmap, MovesItsReductionsWithItsTilesAndIsLeftEmpty) {
    for (const bool stale : {false, true}) {
        OpenMemBitmap source = WithTwoReductions();
        const ZBasicMemBitmap* first = source.reductions[0].get();
        source.needsRebuild = stale;
        OpenMemBitmap constructed(std::move(source)), assigned = WithTwoReductions();
        assigned = std::move(constructed);
        EXPECT_TRUE(IsFormulaPicture(assigned));
        EXPECT_EQ(assigned.needsRebuild, stale);
        ASSERT_EQ(assigned.reductions.size(), 2u);
        EXPECT_EQ(assigned.reductions[0].get(), first);
        for (OpenMemBitmap* left : {&source, &constructed}) {
            EXPECT_TRUE(left->IsEmpty());
            EXPECT_TRUE(left->reductions.empty());
            EXPECT_TRUE(left->needsRebuild);
            left->Create(40, 40, shr::BGRA_32);
            ASSERT_TRUE(left->CommitAll(nullptr));
            EXPECT_EQ(left->reductions.size(), 1u);
        }
    }
}

TEST(ZMemBitmap, MovedToItselfStaysAsItIs) {
    OpenMemBitmap bitmap = WithTwoReductions();
    OpenMemBitmap& same = bitmap;
    bitmap = std::move(same);
    EXPECT_TRUE(IsFormulaPicture(bitmap));
    EXPECT_EQ(bitmap.reductions.size(), 2u);
}

TEST(ZMemBitmap, AssignedToItselfStaysAsItIs) {
    OpenMemBitmap bitmap = WithTwoReductions();
    const ZBasicMemBitmap* first = bitmap.reductions[0].get();
    const OpenMemBitmap& same = bitmap;
    bitmap = same;
    bitmap.Create(static_cast<const zbm::ZMemBitmap&>(same));
    bitmap.ChangeFrom(bitmap);
    EXPECT_EQ(bitmap.reductions[0].get(), first);
    EXPECT_EQ(bitmap.reductions.size(), 2u);
    EXPECT_FALSE(bitmap.needsRebuild);
    EXPECT_TRUE(IsFormulaPicture(bitmap));
}

TEST(ZMemBitmap, CreatedAnewKeepsItsOldReductionsAsStaleOnes) {
    OpenMemBitmap bitmap = WithTwoReductions();
    const ZBasicMemBitmap* first = bitmap.reductions[0].get();
    bitmap.Create(60, 60, shr::BGR_24);
    EXPECT_TRUE(bitmap.needsRebuild);
    EXPECT_EQ(bitmap.GetPtrToPOTReduction(1), first);

    bitmap.needsRebuild = false;
    bitmap.Create(FormulaBitmap(70, 70, shr::INDEXED_4, 32, 32));
    EXPECT_TRUE(bitmap.needsRebuild);
    EXPECT_EQ(bitmap.GetPtrToPOTReduction(1), first);
    EXPECT_TRUE(IsFormulaPicture(bitmap));
}

TEST(ZMemBitmap, ThatCouldNotBeCreatedIsEmptyAndUsable) {
    OpenMemBitmap bitmap = WithTwoReductions();
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.Create(5, 5, shr::FORMAT_NONE); }, BitmapCheck::formatRange));
    EXPECT_EQ(bitmap.GetColorFormat(), shr::FORMAT_NONE);
    EXPECT_EQ(bitmap.GetNumScanRectRows(), 0);
    bitmap.Create(37, 23, shr::INDEXED_4, 13, 9);
    testkit::FillByFormula(bitmap);
    EXPECT_TRUE(IsFormulaPicture(bitmap));
}

TEST(ZMemBitmap, HandsOverItsReductionsWithItsTiles) {
    for (const bool stale : {false, true}) {
        OpenMemBitmap source = WithTwoReductions(), target = WithTwoReductions();
        source.needsRebuild = stale;
        target.needsRebuild = !stale;
        const ZBasicMemBitmap *first = source.reductions[0].get(), *second = source.reductions[1].get();
        const zbm::ZScanRect* tile = &source.LockScanRect(1, 1);
        target.ChangeFrom(source);
        EXPECT_EQ(&target.LockScanRect(1, 1), tile);
        ASSERT_EQ(target.reductions.size(), 2u);
        EXPECT_EQ(target.reductions[0].get(), first);
        EXPECT_EQ(target.reductions[1].get(), second);
        EXPECT_EQ(target.needsRebuild, stale);
        EXPECT_TRUE(source.reductions.empty());
        EXPECT_FALSE(source.needsRebuild);
        EXPECT_EQ(source.GetPixelWidth(), 1);
    }
}

TEST(ZMemBitmap, TakesNewColorsAsAChangeButKeepsTheOldReductions) {
    OpenMemBitmap bitmap(100, 100, shr::INDEXED_8);
    bitmap.AddReduction(ZBasicMemBitmap(50, 50, shr::BGRA_32));
    bitmap.needsRebuild = false;
    const shr::Color4b color(1, 2, 3);
    bitmap.FillColorTable(&color, 1);
    EXPECT_TRUE(bitmap.needsRebuild);
    EXPECT_EQ(bitmap.reductions.size(), 1u);
    EXPECT_EQ(bitmap.GetColorTableItem(0), color);
}

TEST(ZMemBitmap, DropsCurrentReductionsAtTheFirstCommittedTile) {
    OpenMemBitmap bitmap = WithTwoReductions();
    bitmap.CommitScanRect(0, 0);
    EXPECT_TRUE(bitmap.reductions.empty());
    EXPECT_TRUE(bitmap.needsRebuild);
    bitmap.AddReduction(ZBasicMemBitmap(50, 50, shr::BGRA_32));
    bitmap.CommitScanRect(0, 0);
    EXPECT_EQ(bitmap.reductions.size(), 1u) << "stale ones stay";
}

TEST(ZMemBitmap, DropsCurrentReductionsWhenPixelsOrMasksAreStored) {
    OpenMemBitmap bitmap(100, 100, shr::BGR_24);
    bitmap.AddReduction(ZBasicMemBitmap(50, 50, shr::BGR_24));
    std::vector<std::uint8_t> pixels(16);
    bitmap.needsRebuild = false;
    bitmap.FetchRegion(pixels.data(), 8, RECT{0, 0, 2, 2});
    EXPECT_EQ(bitmap.reductions.size(), 1u);
    bitmap.StoreRegion(pixels.data(), 8, RECT{0, 0, 2, 2});
    EXPECT_TRUE(bitmap.reductions.empty());
    EXPECT_TRUE(bitmap.needsRebuild);
    bitmap.AddReduction(ZBasicMemBitmap(50, 50, shr::BGR_24));
    bitmap.needsRebuild = false;
    bitmap.SetMaskFromAlpha(pixels.data(), 8, RECT{0, 0, 2, 2});
    EXPECT_TRUE(bitmap.reductions.empty());
}

TEST(ZMemBitmap, HasNothingToCommitWhileItsReductionsAreCurrent) {
    OpenMemBitmap bitmap = WithTwoReductions();
    const ZBasicMemBitmap* first = bitmap.reductions[0].get();
    EXPECT_TRUE(bitmap.CommitAll(nullptr));
    EXPECT_TRUE(bitmap.CommitAll(nullptr, false));
    EXPECT_EQ(bitmap.reductions[0].get(), first);
    EXPECT_FALSE(bitmap.needsRebuild);
}

TEST(ZMemBitmap, GivesItsReductionsByLevel) {
    OpenMemBitmap bitmap = WithTwoReductions();
    EXPECT_EQ(bitmap.GetPtrToPOTReduction(0), &bitmap);
    EXPECT_EQ(bitmap.GetPtrToPOTReduction(1), bitmap.reductions[0].get());
    EXPECT_EQ(bitmap.GetPtrToPOTReduction(2), bitmap.reductions[1].get());
    EXPECT_EQ(bitmap.GetPtrToPOTReduction(3), nullptr);
    EXPECT_EQ(bitmap.GetPtrToPOTReduction(0xFFFFFFFF), nullptr);
    bitmap.needsRebuild = true;
    EXPECT_EQ(bitmap.GetPtrToPOTReduction(1), bitmap.reductions[0].get()) << "stale ones too";
}

TEST(ZMemBitmap, IsItsOwnReductionWhenItsSmallerSideIsBelow16) {
    for (const auto& [width, height] : {std::pair{15, 1000}, {1000, 15}, {1, 1}}) {
        OpenMemBitmap bitmap(width, height, shr::GRAYSCALE_1);
        for (const unsigned level : {0u, 1u, 3u, 1000u}) EXPECT_EQ(bitmap.GetPtrToPOTReduction(level), &bitmap);
    }
    OpenMemBitmap larger(16, 16, shr::GRAYSCALE_1);
    EXPECT_EQ(larger.GetPtrToPOTReduction(1), nullptr);
}

TEST(ZMemBitmap, FreesAllReductionsWithoutTouchingTheirState) {
    for (const bool stale : {false, true}) {
        OpenMemBitmap bitmap = WithTwoReductions();
        bitmap.needsRebuild = stale;
        bitmap.FreeAllPOTReductions();
        EXPECT_TRUE(bitmap.reductions.empty());
        EXPECT_EQ(bitmap.needsRebuild, stale);
    }
}

}  // namespace
