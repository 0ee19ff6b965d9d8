// Power-of-two reductions of bitmaps in memory.
#include <gtest/gtest.h>

#include "core/OpenBitmaps.h"
#include "support_code/FormulaPicture.h"
#include "support_code/TestProgress.h"

namespace {

using shr::ColorFormat;
using testkit::AreEqual;
using testkit::OpenMemBitmap;
using testkit::TestProgress;
using zbm::ZBasicMemBitmap;

OpenMemBitmap FormulaMemBitmap(int width, int height, ColorFormat format) {
    OpenMemBitmap bitmap(width, height, format, 64, 64);
    testkit::FillByFormula(bitmap);
    return bitmap;
}

struct SizeCase {
    int width, height, levels;
};

TEST(Reductions, EndBeforeASideOf16) {
    constexpr SizeCase kCases[] = {{34, 34, 1}, {33, 100, 0}, {1000, 40, 1}, {100, 100, 2}, {15, 1000, 0},
                                   {68, 68, 2}, {67, 68, 1},  {35, 35, 1},   {1, 1, 0},     {33, 33, 0}};
    for (const auto& [width, height, levels] : kCases) {
        OpenMemBitmap bitmap(width, height, shr::BGR_24);
        ASSERT_TRUE(bitmap.CommitAll(nullptr));
        EXPECT_EQ(bitmap.reductions.size(), static_cast<std::size_t>(levels)) << width << " x " << height;
        EXPECT_FALSE(bitmap.needsRebuild);
        for (int k = 0; k < levels; ++k) {
            const ZBasicMemBitmap& level = *bitmap.reductions[static_cast<std::size_t>(k)];
            EXPECT_EQ(level.GetPixelWidth(), width >> (k + 1));
            EXPECT_EQ(level.GetPixelHeight(), height >> (k + 1));
            EXPECT_GE(std::min(level.GetPixelWidth(), level.GetPixelHeight()), 17);
            EXPECT_EQ(level.GetScanRectWidth(), 512);
            EXPECT_EQ(level.GetTypeId(), ZBasicMemBitmap::GetClassTypeId());
        }
    }
}

TEST(Reductions, AreTheBitmapItselfWhereItIsSmallAndNullWhereThereAreFewer) {
    OpenMemBitmap narrow(15, 1000, shr::BGR_24), square(100, 100, shr::BGR_24);
    ASSERT_TRUE(narrow.CommitAll(nullptr) && square.CommitAll(nullptr));
    for (const unsigned level : {0u, 1u, 3u, 100u}) EXPECT_EQ(narrow.GetPtrToPOTReduction(level), &narrow);
    EXPECT_EQ(square.GetPtrToPOTReduction(0), &square);
    EXPECT_EQ(square.GetPtrToPOTReduction(2), square.reductions[1].get());
    EXPECT_EQ(square.GetPtrToPOTReduction(3), nullptr);
}

TEST(Reductions, KeepTheFormatOfTrueColorsAndAreTrueColorsOfIndices) {
    for (const ColorFormat format : testkit::kFormats) {
        OpenMemBitmap bitmap = FormulaMemBitmap(100, 80, format);
        ASSERT_TRUE(bitmap.CommitAll(nullptr));
        ASSERT_EQ(bitmap.reductions.size(), 2u);
        for (const auto& level : bitmap.reductions)
            EXPECT_EQ(level->GetColorFormat(), testkit::TableSize(format) > 0 ? shr::BGRA_32 : format);
    }
}

TEST(Reductions, EachIsMadeOfTheOneBefore) {
    for (const ColorFormat format : {shr::GRAYSCALE_8, shr::INDEXED_4, shr::BGR_24, shr::BGRA_32}) {
        OpenMemBitmap bitmap = FormulaMemBitmap(140, 141, format);
        ASSERT_TRUE(bitmap.CommitAll(nullptr));
        ZBasicMemBitmap before(1, 1, shr::BGRA_32);
        if (testkit::TableSize(format) > 0)
            EXPECT_TRUE(before.Create(shr::BGRA_32, bitmap, nullptr));
        else
            EXPECT_TRUE(before.Create(bitmap, nullptr));
        ASSERT_EQ(bitmap.reductions.size(), 3u);
        for (const auto& level : bitmap.reductions) {
            const int width = before.GetPixelWidth(), height = before.GetPixelHeight();
            ZBasicMemBitmap expected(1, 1, shr::BGRA_32);
            EXPECT_TRUE(
                expected.Create(width / 2, height / 2, before, {0, 0, width, height}, zbm::ResizeBilinear, nullptr));
            EXPECT_TRUE(AreEqual(*level, expected)) << format;
            before = expected;
        }
    }
}

TEST(Reductions, EachIsATaskAndNoneIsOneWhenTheyAreCurrent) {
    TestProgress progress;
    OpenMemBitmap bitmap(100, 100, shr::BGR_24), indexed(100, 100, shr::INDEXED_8);
    ASSERT_TRUE(bitmap.CommitAll(&progress));
    EXPECT_EQ(progress.TaskTexts(), std::vector<std::string>(2, "Creating image..."));
    ASSERT_TRUE(bitmap.CommitAll(&progress));
    EXPECT_EQ(progress.tasks.size(), 2u);
    ASSERT_TRUE(bitmap.CommitAll(&progress, false));
    EXPECT_EQ(progress.tasks.size(), 2u);
    ASSERT_TRUE(bitmap.CommitAll(&progress, true));
    EXPECT_EQ(progress.tasks.size(), 4u);
    ASSERT_TRUE(indexed.CommitAll(&progress));
    EXPECT_EQ(progress.tasks.size(), 7u) << "one more for the true colours";
    EXPECT_EQ(progress.openTasks, 0);
}

TEST(Reductions, AreDroppedByTheFirstTileThatChanges) {
    OpenMemBitmap bitmap(100, 100, shr::BGR_24);
    ASSERT_TRUE(bitmap.CommitAll(nullptr));
    bitmap.CommitScanRect(0, 0);
    EXPECT_TRUE(bitmap.needsRebuild);
    EXPECT_EQ(bitmap.GetPtrToPOTReduction(1), nullptr);
    ASSERT_TRUE(bitmap.CommitAll(nullptr));
    EXPECT_NE(bitmap.GetPtrToPOTReduction(1), nullptr);
}

TEST(Reductions, OfAChangedColorTableAreStaleButStillGiven) {
    OpenMemBitmap bitmap(100, 100, shr::INDEXED_1);
    ASSERT_TRUE(bitmap.CommitAll(nullptr));
    const zbm::ZBitmap* level = bitmap.GetPtrToPOTReduction(1);
    bitmap.FillColorTable(shr::GRAYSCALE_1_Color4bTable, 2);
    EXPECT_TRUE(bitmap.needsRebuild);
    EXPECT_EQ(bitmap.GetPtrToPOTReduction(1), level);
}

/// Committed tiles do not drop its reductions; so what marks them stale is the creation.
struct KeepingMemBitmap : OpenMemBitmap {
    using OpenMemBitmap::OpenMemBitmap;
    void CommitScanRect(int, int) override {}
};

template <class Bitmap, class Create>
bool IsStaleAfter(Create create) {
    ZBasicMemBitmap source = testkit::FormulaBitmap(90, 90, shr::BGR_24, 64, 64);
    Bitmap bitmap(100, 100, shr::BGRA_32);
    EXPECT_TRUE(bitmap.CommitAll(nullptr));
    create(bitmap, source);
    return bitmap.needsRebuild;
}

template <class Bitmap>
void ExpectStaleAfterEveryCreation() {
    EXPECT_TRUE(IsStaleAfter<Bitmap>([](auto& bitmap, auto& source) { EXPECT_TRUE(bitmap.Create(source, nullptr)); }));
    EXPECT_TRUE(IsStaleAfter<Bitmap>(
        [](auto& bitmap, auto& source) { EXPECT_TRUE(bitmap.Create(shr::BGRA_32, source, nullptr)); }));
    EXPECT_TRUE(IsStaleAfter<Bitmap>([](auto& bitmap, auto& source) {
        EXPECT_TRUE(bitmap.Create(30, 40, source, {0, 0, 90, 90}, zbm::ResizePlain, nullptr));
    }));
    // What fails leaves them stale, too.
    EXPECT_TRUE(IsStaleAfter<Bitmap>([](auto& bitmap, auto& source) {
        TestProgress progress(1);
        EXPECT_THROW(static_cast<void>(bitmap.Create(shr::BGRA_32, source, &progress)), shr::AbortException);
    }));
}

TEST(Reductions, AreStaleAfterEveryCreation) {
    ExpectStaleAfterEveryCreation<OpenMemBitmap>();
    ExpectStaleAfterEveryCreation<KeepingMemBitmap>();
}

TEST(Reductions, AreStaleAfterEveryCreationThatFailsAlsoFromADib) {
    BITMAPINFO dib{};
    dib.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    const auto expectStale = [](auto create) {
        OpenMemBitmap bitmap = FormulaMemBitmap(40, 40, shr::BGR_24);
        ASSERT_TRUE(bitmap.CommitAll(nullptr));
        EXPECT_THROW(create(bitmap), shr::InternalError);
        EXPECT_TRUE(bitmap.needsRebuild);
        EXPECT_EQ(bitmap.reductions.size(), 1u);
    };
    expectStale([](auto& bitmap) { bitmap.Create(40, 40, shr::FORMAT_NONE); });
    expectStale([&](auto& bitmap) { bitmap.Create(dib, 512, 512); });
    expectStale([&](auto& bitmap) { bitmap.Create(&dib.bmiHeader, &dib, nullptr, 512, 512); });
    expectStale([&](auto& bitmap) { bitmap.Create(nullptr, nullptr, nullptr, 512, 512); });
}

TEST(Reductions, AreNoneOfABitmapWithoutAPicture) {
    OpenMemBitmap bitmap = FormulaMemBitmap(100, 100, shr::BGR_24), source = bitmap;
    ASSERT_TRUE(bitmap.CommitAll(nullptr));
    TestProgress cancelling(1);
    ASSERT_FALSE(bitmap.Create(static_cast<zbm::ZBitmap&>(source), &cancelling));
    ASSERT_TRUE(bitmap.IsEmpty());
    EXPECT_TRUE(bitmap.CommitAll(nullptr, true));
    EXPECT_TRUE(bitmap.reductions.empty());
    ASSERT_TRUE(bitmap.Create(static_cast<zbm::ZBitmap&>(source), nullptr));
    ASSERT_TRUE(bitmap.CommitAll(nullptr));
    EXPECT_EQ(bitmap.reductions.size(), 2u);
}

TEST(Reductions, ACreationThatGivesFalseDoesNotMarkThem) {
    ZBasicMemBitmap source = testkit::FormulaBitmap(90, 90, shr::BGR_24, 64, 64);
    OpenMemBitmap bitmap(100, 100, shr::BGRA_32);
    ASSERT_TRUE(bitmap.CommitAll(nullptr));
    // The first tile is committed before its report, and drops them.
    TestProgress progress(1);
    EXPECT_FALSE(bitmap.Create(source, &progress));
    EXPECT_TRUE(bitmap.reductions.empty());
    EXPECT_FALSE(IsStaleAfter<KeepingMemBitmap>([](auto& keeping, auto& from) {
        TestProgress first(1);
        EXPECT_FALSE(keeping.Create(from, &first));
    }));
}

TEST(Reductions, CanBeWhatTheBitmapIsCreatedFrom) {
    for (const bool stale : {false, true}) {
        OpenMemBitmap bitmap = FormulaMemBitmap(100, 80, shr::BGRA_32);
        ASSERT_TRUE(bitmap.CommitAll(nullptr));
        const ZBasicMemBitmap half = *bitmap.reductions[0], quarter = *bitmap.reductions[1];
        bitmap.needsRebuild = stale;
        ASSERT_TRUE(bitmap.Create(*bitmap.GetPtrToPOTReduction(1), nullptr));
        EXPECT_TRUE(AreEqual(bitmap, half));
        EXPECT_TRUE(bitmap.needsRebuild);
        ASSERT_TRUE(bitmap.CommitAll(nullptr));
        ASSERT_TRUE(bitmap.Create(shr::BGR_24, *bitmap.GetPtrToPOTReduction(1), nullptr));
        EXPECT_EQ(bitmap.GetPixelWidth(), 25);
        EXPECT_EQ(testkit::GetPixel(bitmap, 3, 4), testkit::GetPixel(quarter, 3, 4) & 0xFFFFFF);
    }
    OpenMemBitmap bitmap = FormulaMemBitmap(100, 80, shr::BGRA_32);
    ASSERT_TRUE(bitmap.CommitAll(nullptr));
    ASSERT_TRUE(bitmap.Create(7, 9, *bitmap.GetPtrToPOTReduction(2), {0, 0, 25, 20}, zbm::ResizeBilinear, nullptr));
    EXPECT_EQ(bitmap.GetPixelWidth(), 7);
}

TEST(Reductions, AreFreedWhenABuildIsCancelledOrFails) {
    for (const ColorFormat format : {shr::BGR_24, shr::INDEXED_8})
        for (int report = 1;; ++report) {
            TestProgress progress(report);
            OpenMemBitmap bitmap = FormulaMemBitmap(100, 100, format);
            bool cancelled = false;
            try {
                EXPECT_TRUE(bitmap.CommitAll(&progress));
            } catch (const shr::AbortException&) { cancelled = true; }
            EXPECT_EQ(bitmap.needsRebuild, cancelled);
            EXPECT_EQ(bitmap.reductions.size(), cancelled ? 0u : 2u);
            EXPECT_EQ(progress.openTasks, 0);
            EXPECT_TRUE(bitmap.CommitAll(nullptr)) << "and can be built at once";
            if (!cancelled) break;
            ASSERT_LT(report, 50);
        }
}

}  // namespace
