// The reductions of a bitmap in a file.
#include <gtest/gtest.h>

#include "core/TileReading.h"
#include "core/checks/ScanRectFileBitmapChecks.h"
#include "file/FileBitmapTesting.h"
#include "support_code/TestProgress.h"
#include "zbm/ZMemBitmap.h"

namespace {

using namespace testkit;
using zbm::ScanRectFileBitmapCheck;
using zbm::ZBasicMemBitmap;
using zbm::ZMemBitmap;

using FileLevels = FileBitmapTest;

/// Whether all levels are those that the picture has in memory.
testing::AssertionResult HasLevelsOf(OpenFileBitmap& bitmap, const ZBasicMemBitmap& picture) {
    ZMemBitmap expected(1, 1, shr::BGRA_32);
    expected.Create(picture);
    if (!expected.CommitAll(nullptr)) return testing::AssertionFailure() << "no levels in memory";
    for (unsigned level = 1;; ++level) {
        zbm::ZBitmap* const found = bitmap.GetPtrToPOTReduction(level);
        zbm::ZBitmap* const wanted = expected.GetPtrToPOTReduction(level);
        if (wanted == nullptr || found == nullptr)
            return (wanted == found ? testing::AssertionSuccess() : testing::AssertionFailure())
                   << "the number of levels differs";
        const auto equal = IsEqual(*found, *wanted);
        if (!equal) return testing::AssertionFailure() << "level " << level << ": " << equal.message();
    }
}

TEST_F(FileLevels, AreThoseOfABitmapInMemory) {
    for (const ColorFormat format : kFormats) {
        const ZBasicMemBitmap picture = FormulaBitmap(150, 137, format, 64, 50);
        const auto bitmap = OnFile(name, picture);
        ASSERT_TRUE(bitmap->CommitAll(nullptr));
        EXPECT_TRUE(HasLevelsOf(*bitmap, picture)) << FormatName(format);
        bitmap->Close();
        const auto opened = Opened(true);
        EXPECT_TRUE(IsEqual(*opened, picture)) << FormatName(format);
        EXPECT_TRUE(HasLevelsOf(*opened, picture)) << FormatName(format);
    }
}

struct SizeCase {
    int width, height;
    std::size_t levels;
};

TEST_F(FileLevels, EndBeforeASideOf16) {
    for (const auto& size : {SizeCase{34, 34, 1},
                             {33, 100, 0},
                             {33, 1000, 0},
                             {1000, 40, 1},
                             {100, 100, 2},
                             {15, 1000, 0},
                             {68, 68, 2},
                             {67, 68, 1},
                             {1, 1, 0}}) {
        OpenFileBitmap bitmap;
        bitmap.CreateEmpty(name, size.width, size.height, shr::BGR_24);
        ASSERT_TRUE(bitmap.CommitAll(nullptr));
        EXPECT_EQ(bitmap.reductions.size(), size.levels) << size.width << " x " << size.height;
    }
}

TEST_F(FileLevels, AreTheBitmapItselfWhereItIsSmallAndNullWhereThereAreFewer) {
    OpenFileBitmap narrow, square;
    narrow.CreateEmpty(name, 15, 1000, shr::BGR_24);
    square.CreateEmpty(scratch.File("square"), 100, 100, shr::BGR_24);
    EXPECT_EQ(square.GetPtrToPOTReduction(1), nullptr) << "none is built by asking";
    ASSERT_TRUE(narrow.CommitAll(nullptr) && square.CommitAll(nullptr));
    for (const unsigned level : {0u, 1u, 100u}) EXPECT_EQ(narrow.GetPtrToPOTReduction(level), &narrow);
    EXPECT_EQ(square.GetPtrToPOTReduction(0), &square);
    EXPECT_EQ(square.GetPtrToPOTReduction(2), square.reductions[1].get());
    EXPECT_EQ(square.GetPtrToPOTReduction(3), nullptr);
}

TEST_F(FileLevels, StandInTheFileToTheByte) {
    OpenFileBitmap bitmap;
    ASSERT_TRUE(bitmap.Create(name, 35, 34, shr::GRAYSCALE_8, nullptr));
    ASSERT_TRUE(bitmap.CommitAll(nullptr));
    bitmap.Close();
    const std::int64_t tile = kTablePosition + 4 + 4 + 8, level1 = kFirstStore + tile + 34 * 36 + 34 * 8;
    const std::int64_t end = level1 + tile + 17 * 20 + 17 * 4;
    const int resolution = DefaultResolution(35);
    FileImage expected;
    expected.Add(BitmapHead({kFirstStore, level1}, end));
    expected.Add(StoreImage({34, 35, 512, 512, 3, {}, resolution, resolution}, {{tile}}));
    expected.Zeros(34 * 36).Fill(34 * 8, 0xFF);
    expected.Add(StoreImage({17, 17, 512, 512, 3, {}, resolution, resolution}, {{tile}}));
    expected.Zeros(17 * 20).Fill(17 * 4, 0xFF);
    EXPECT_EQ(ReadWhole(name), expected.Take());
}

TEST_F(FileLevels, AreRefreshedInPlaceAfterAChangeAndOnlyThen) {
    ZBasicMemBitmap picture = FormulaBitmap(150, 137, shr::BGR_24, 64, 50);
    OnFile(name, picture)->Close();
    const auto bitmap = Opened(false);
    ASSERT_TRUE(bitmap->CommitAll(nullptr, true));
    ASSERT_EQ(bitmap->reductions.size(), 3u);
    const std::int64_t length = bitmap->file.GetLength();
    const auto slots = std::vector<std::int64_t>(bitmap->fileInfoTable.slots, bitmap->fileInfoTable.slots + 32);

    SetPixel(picture, 70, 70, 0xFFFFFF);
    SetAndCommit(*bitmap, 70, 70, 0xFFFFFF);
    TestProgress progress;
    ASSERT_TRUE(bitmap->CommitAll(&progress));
    EXPECT_FALSE(progress.fractions.empty());
    EXPECT_TRUE(HasLevelsOf(*bitmap, picture));
    EXPECT_EQ(bitmap->file.GetLength(), length);
    EXPECT_EQ(std::vector<std::int64_t>(bitmap->fileInfoTable.slots, bitmap->fileInfoTable.slots + 32), slots);

    TestProgress nothing;
    ASSERT_TRUE(bitmap->CommitAll(&nothing));
    EXPECT_TRUE(nothing.fractions.empty());
    bitmap->Close();
    EXPECT_TRUE(HasLevelsOf(*Opened(true), picture));
}

TEST_F(FileLevels, AreStaleAfterNewColors) {
    const ZBasicMemBitmap picture = FormulaBitmap(40, 40, shr::INDEXED_8, 64, 50);
    const auto bitmap = OnFile(name, picture);
    ASSERT_TRUE(bitmap->CommitAll(nullptr));
    const shr::Color4b colors[] = {shr::Color4b(9, 8, 7)};
    bitmap->FillColorTable(colors, 1);
    EXPECT_TRUE(bitmap->reductionsStale);
}

TEST_F(FileLevels, ThatWereStaleWhenTheFileWasClosedAreStaleWhenItIsOpened) {
    ZBasicMemBitmap picture = FormulaBitmap(70, 70, shr::BGR_24, 64, 50);
    const auto bitmap = OnFile(name, picture);
    ASSERT_TRUE(bitmap->CommitAll(nullptr));
    SetPixel(picture, 1, 1, 0xFFFFFF);
    SetAndCommit(*bitmap, 1, 1, 0xFFFFFF);
    bitmap->Close();
    const std::size_t mark = static_cast<std::size_t>(kFirstStore) + 49 + 1064;
    EXPECT_EQ(ReadWhole(name)[mark], 1);
    EXPECT_TRUE(Opened(true)->reductionsStale);

    bitmap->Open(name, false);
    ASSERT_TRUE(bitmap->CommitAll(nullptr));
    EXPECT_TRUE(HasLevelsOf(*bitmap, picture));
    bitmap->Close();
    EXPECT_EQ(ReadWhole(name)[mark], 0);
    EXPECT_FALSE(Opened(true)->reductionsStale);
}

TEST_F(FileLevels, AreToldOfOnlyWhileTheyAreCurrent) {
    const ZBasicMemBitmap picture = FormulaBitmap(150, 137, shr::BGR_24, 64, 50);
    OnFile(name, picture)->Close();
    zbm::ZScanRectFileBitmap bitmap(L"", L"", false);
    bitmap.Open(name, false);
    EXPECT_EQ(zbm::FindCurrentLevel(bitmap, 0), &bitmap);
    EXPECT_EQ(zbm::FindCurrentLevel(bitmap, 1), nullptr);
    ASSERT_TRUE(bitmap.CommitAll(nullptr, true));
    EXPECT_EQ(zbm::FindCurrentLevel(bitmap, 3), bitmap.GetPtrToPOTReduction(3));
    EXPECT_EQ(zbm::FindCurrentLevel(bitmap, 4), nullptr);
    SetAndCommit(bitmap, 0, 0, 1);
    EXPECT_EQ(zbm::FindCurrentLevel(bitmap, 1), nullptr);
}

TEST_F(FileLevels, OfOtherSizesThanHalvesOpenAsTheyStand) {
    OnFile(name, FormulaBitmap(40, 40, shr::BGR_24, 64, 50))->Close();
    Bytes bytes = ReadWhole(name);
    const auto end = static_cast<std::int64_t>(bytes.size());
    const Bytes head = BitmapHead({kFirstStore, end});
    std::copy(head.begin(), head.end(), bytes.begin());
    WriteWhole(name, FileImage().Add(bytes).Add(StoreImage({7, 9, 512, 512, 9}, {{0}})).Take());
    zbm::ZScanRectFileBitmap bitmap(L"", L"", false);
    bitmap.Open(name, false);
    ASSERT_NE(bitmap.GetPtrToPOTReduction(1), nullptr);
    EXPECT_EQ(bitmap.GetPtrToPOTReduction(1)->GetPixelWidth(), 9);
    EXPECT_EQ(zbm::FindCurrentLevel(bitmap, 1), nullptr) << "who draws from a level gets none that is no half";
    ASSERT_TRUE(bitmap.ConvertToGrayScale(nullptr));
    EXPECT_TRUE(bitmap.CommitAll(nullptr));
    EXPECT_EQ(bitmap.GetPtrToPOTReduction(1)->GetPixelWidth(), 9) << "refreshed as it stands";
}

TEST_F(FileLevels, OfOtherSizesThanHalvesAreMadeAnewWhenRebuilt) {
    const ZBasicMemBitmap picture = FormulaBitmap(100, 90, shr::BGR_24, 64, 50);
    OnFile(name, picture)->Close();
    const Bytes whole = ReadWhole(name);
    const auto end = static_cast<std::int64_t>(whole.size());
    // Another size, and the first level alone.
    for (const Bytes& level : {StoreImage({37, 91, 512, 512, 9}, {{0}}), StoreImage({45, 50, 512, 512, 9}, {{0}})}) {
        Bytes bytes = whole;
        const Bytes head = BitmapHead({kFirstStore, end});
        std::copy(head.begin(), head.end(), bytes.begin());
        WriteWhole(name, FileImage().Add(bytes).Add(level).Take());
        OpenFileBitmap bitmap;
        bitmap.Open(name, false);
        ASSERT_TRUE(bitmap.CommitAll(nullptr, true));
        EXPECT_TRUE(HasLevelsOf(bitmap, picture));
        bitmap.Close();
        const auto opened = Opened(true);
        EXPECT_TRUE(IsEqual(*opened, picture));
        EXPECT_TRUE(HasLevelsOf(*opened, picture));
    }
}

TEST_F(FileLevels, OfAnotherFormatThanOursAreRefused) {
    OnFile(name, FormulaBitmap(40, 40, shr::BGR_24, 64, 50))->Close();
    Bytes bytes = ReadWhole(name);
    const Bytes head = BitmapHead({kFirstStore, static_cast<std::int64_t>(bytes.size())});
    std::copy(head.begin(), head.end(), bytes.begin());
    WriteWhole(name, FileImage().Add(bytes).Add(StoreImage({20, 20, 512, 512, shr::INDEXED_8}, {{0}})).Take());
    for (const bool readOnly : {true, false})
        EXPECT_TRUE(RaisesFileError([&] { Opened(readOnly); }, ScanRectFileBitmapCheck::badFile, name));
}

TEST_F(FileLevels, OfAPictureWithoutPixelsAreNone) {
    for (const shr::ColorFormat format : {shr::INDEXED_8, shr::BGRA_32}) {
        zbm::ZScanRectFileBitmap bitmap(L"", L"", false);
        ZBasicMemBitmap source(40, 40, format);
        ASSERT_TRUE(bitmap.Create(name, 0, 5, source, {0, 0, 40, 40}, zbm::ResizeBilinear, nullptr));
        EXPECT_TRUE(bitmap.CommitAll(nullptr));
        EXPECT_EQ(bitmap.GetPtrToPOTReduction(1), &bitmap);
    }
}

TEST_F(FileLevels, OfACancelledBuildGiveTheirRoomBack) {
    const auto bitmap = OnFile(name, FormulaBitmap(300, 300, shr::BGR_24, 64, 64));
    bitmap->Save();
    const std::int64_t before = bitmap->file.GetLength();
    int builds = 0;
    for (bool isBuilt = false; !isBuilt;) {
        TestProgress progress(++builds);
        try {
            isBuilt = bitmap->CommitAll(&progress);
        } catch (const shr::AbortException&) { EXPECT_EQ(bitmap->file.GetLength(), before) << builds; }
    }
    EXPECT_GT(builds, 5);
    const std::int64_t built = bitmap->file.GetLength();
    const auto other = OnFile(scratch.File("other"), FormulaBitmap(300, 300, shr::BGR_24, 64, 64));
    ASSERT_TRUE(other->CommitAll(nullptr));
    EXPECT_EQ(built, other->file.GetLength());
}

TEST_F(FileLevels, TellWhetherTheyAreOlderThanThePicture) {
    const auto bitmap = OnFile(name, FormulaBitmap(70, 70, shr::BGR_24, 64, 64));
    EXPECT_FALSE(bitmap->AreReductionsStale()) << "there are none";
    ASSERT_TRUE(bitmap->CommitAll(nullptr));
    EXPECT_FALSE(bitmap->AreReductionsStale());
    SetAndCommit(*bitmap, 1, 1, 0);
    EXPECT_TRUE(bitmap->AreReductionsStale());
}

// ---- Where a level is put.

TEST_F(FileLevels, AreNotPutOverTilesThatCameLater) {
    OpenFileBitmap bitmap;
    ASSERT_TRUE(bitmap.Create(name, 40, 40, shr::BGR_24, nullptr));
    bitmap.CreateSkeleton(name, 600, 600, shr::BGR_24, 300, 300);
    bitmap.fileInfoTable.slots[1] = bitmap.file.GetLength();  // kept for a level, and then:
    ZBasicMemBitmap picture = FormulaBitmap(600, 600, shr::BGR_24, 300, 300);
    StoreAll(picture, bitmap);
    ASSERT_TRUE(bitmap.CommitAll(nullptr));
    EXPECT_TRUE(IsEqual(bitmap, picture));
    EXPECT_TRUE(HasLevelsOf(bitmap, picture));
    bitmap.Close();
    const auto opened = Opened(true);
    EXPECT_TRUE(IsEqual(*opened, picture));
    EXPECT_TRUE(HasLevelsOf(*opened, picture));
}

TEST_F(FileLevels, AreNotPutOverTilesWhoseFileSaysSo) {
    const ZBasicMemBitmap picture = FormulaBitmap(70, 70, shr::BGR_24, 20, 20);
    OnFile(name, picture)->Close();
    const Bytes whole = ReadWhole(name);
    for (const std::int64_t slot :
         {std::int64_t{1}, std::int64_t{600}, std::int64_t{4000}, std::int64_t{1} << 40, std::int64_t{-5}}) {
        Bytes bytes = whole;
        const Bytes head = BitmapHead({kFirstStore}, slot);
        std::copy(head.begin(), head.end(), bytes.begin());
        WriteWhole(name, bytes);
        const auto bitmap = Opened(false);
        ASSERT_TRUE(bitmap->CommitAll(nullptr, true));
        bitmap->Close();
        const auto opened = Opened(true);
        EXPECT_TRUE(IsEqual(*opened, picture)) << slot;
        EXPECT_TRUE(HasLevelsOf(*opened, picture)) << slot;
    }
}

TEST_F(FileLevels, AreBuiltWhateverStandsBehindTheSlotOfTheNext) {
    const ZBasicMemBitmap picture = FormulaBitmap(70, 70, shr::BGR_24, 20, 20);
    OnFile(name, picture)->Close();
    Bytes bytes = ReadWhole(name);
    for (std::size_t i = 49 + 4 + 2 * 8; i < 49 + 4 + 32 * 8; ++i) bytes[i] = 0x77;
    WriteWhole(name, bytes);
    const auto bitmap = Opened(false);
    ASSERT_TRUE(bitmap->CommitAll(nullptr, true));
    EXPECT_TRUE(HasLevelsOf(*bitmap, picture));
}

TEST_F(FileLevels, AreRefusedWhereTheTableOfLevelsIsNotAsItMustBe) {
    OpenFileBitmap bitmap;
    bitmap.CreateEmpty(name, 100, 100, shr::BGR_24);
    bitmap.fileInfoTable.levelCount = 2;
    EXPECT_TRUE(
        RaisesInternalError([&] { (void)bitmap.CommitAll(nullptr); }, ScanRectFileBitmapCheck::builtLevelCount));
    bitmap.fileInfoTable.levelCount = 1;
    bitmap.fileInfoTable.slots[2] = 7;
    EXPECT_TRUE(RaisesInternalError([&] { (void)bitmap.CommitAll(nullptr); }, ScanRectFileBitmapCheck::nextSlot));
    EXPECT_EQ(bitmap.fileInfoTable.levelCount, 1u);
    bitmap.fileInfoTable.slots[2] = 0;
    EXPECT_TRUE(bitmap.CommitAll(nullptr));
}

// ---- Builds that do not come to their end.

TEST_F(FileLevels, OfABuildThatIsCancelledAreDroppedAndTheNextBuildsThem) {
    for (const ColorFormat format : {shr::BGR_24, shr::INDEXED_8})
        for (int report = 1;; ++report) {
            const ZBasicMemBitmap picture = FormulaBitmap(150, 137, format, 64, 50);
            const auto bitmap = OnFile(name, picture);
            TestProgress progress(report);
            bool aborted = false;
            try {
                if (bitmap->CommitAll(&progress)) break;
            } catch (const shr::AbortException&) { aborted = true; }
            EXPECT_TRUE(aborted) << report;
            EXPECT_EQ(progress.openTasks, 0);
            EXPECT_TRUE(bitmap->reductions.empty());
            EXPECT_EQ(bitmap->fileInfoTable.levelCount, 1u);
            EXPECT_TRUE(IsEqual(*bitmap, picture));
            SetAndCommit(*bitmap, 0, 0, GetPixel(*bitmap, 0, 0));
            ASSERT_TRUE(bitmap->CommitAll(nullptr));
            bitmap->Close();
            const auto opened = Opened(true);
            EXPECT_TRUE(IsEqual(*opened, picture));
            EXPECT_TRUE(HasLevelsOf(*opened, picture)) << FormatName(format) << ", report " << report;
            EXPECT_LE(shr::test::Entries(folder).size(), 1u);
            for (const auto& entry : std::filesystem::directory_iterator(shr::test::SystemPath(folder)))
                std::filesystem::remove(entry.path());
        }
}

TEST_F(FileLevels, OfARefreshThatIsCancelledStayStale) {
    for (int report = 1;; ++report) {
        ZBasicMemBitmap picture = FormulaBitmap(150, 137, shr::BGR_24, 64, 50);
        const auto bitmap = OnFile(name, picture);
        ASSERT_TRUE(bitmap->CommitAll(nullptr));
        SetPixel(picture, 1, 1, 0xFFFFFF);
        SetAndCommit(*bitmap, 1, 1, 0xFFFFFF);
        TestProgress progress(report);
        try {
            if (bitmap->CommitAll(&progress)) break;
        } catch (const shr::AbortException&) {}
        EXPECT_TRUE(bitmap->reductionsStale);
        bitmap->Close();
        bitmap->Open(name, false);
        EXPECT_TRUE(bitmap->reductionsStale);
        ASSERT_TRUE(bitmap->CommitAll(nullptr));
        EXPECT_TRUE(HasLevelsOf(*bitmap, picture));
    }
}

// ---- Files opened for reading.

TEST_F(FileLevels, AreNotBuiltInAFileOpenedForReading) {
    ZBasicMemBitmap picture = FormulaBitmap(70, 70, shr::BGR_24, 64, 50);
    OnFile(name, picture)->Close();
    const auto bitmap = Opened(true);
    EXPECT_TRUE(bitmap->CommitAll(nullptr)) << "nothing changed";
    EXPECT_TRUE(RaisesFileError([&] { (void)bitmap->CommitAll(nullptr, true); },
                                ScanRectFileBitmapCheck::committedReadOnly, name));
    bitmap->Close();
    OnFile(name, FormulaBitmap(20, 70, shr::BGR_24, 64, 50))->Close();
    EXPECT_TRUE(Opened(true)->CommitAll(nullptr, true)) << "no level is to be built";
}

// ---- The true colours that levels of indices are made of.

TEST_F(FileLevels, OfIndicesLeaveOneFileOfTrueColorsThatTheSweepTakes) {
    const ZBasicMemBitmap picture = FormulaBitmap(70, 70, shr::INDEXED_4, 64, 50);
    const auto bitmap = OnFile(name, picture);
    for (int build = 0; build < 3; ++build) {
        ASSERT_TRUE(bitmap->CommitAll(nullptr, true));
        const auto left = shr::test::Entries(folder);
        ASSERT_EQ(left.size(), 1u);
        OpenFileBitmap scratchBitmap;
        scratchBitmap.Open(shr::CPath::AppendDirSeparator(folder, true) + shr::ZString(left[0].c_str()), true);
        EXPECT_EQ(scratchBitmap.GetColorFormat(), shr::BGRA_32);
        EXPECT_EQ(scratchBitmap.GetPixelWidth(), 70);
    }
    EXPECT_TRUE(bitmap->currentTempFilename.empty());
    zbm::CleanGlobalFileBitmapTempDir();
    EXPECT_TRUE(shr::test::Entries(folder).empty());
    EXPECT_TRUE(HasLevelsOf(*bitmap, picture));
}

TEST_F(FileLevels, OfIndicesAreNotBuiltWhereNoFileOfTrueColorsCanBeMade) {
    const auto bitmap = OnFile(name, FormulaBitmap(70, 70, shr::INDEXED_4, 64, 50));
    bitmap->SetTempDir(scratch.File("missing").Wide());
    EXPECT_TRUE(RaisesFileError([&] { (void)bitmap->CommitAll(nullptr); }, ScanRectFileBitmapCheck::tempFile,
                                scratch.File("missing")));
    EXPECT_TRUE(bitmap->reductionsStale);
    bitmap->SetTempDir(L"");
    EXPECT_TRUE(bitmap->CommitAll(nullptr));
}

}  // namespace
