// One reduction in a host file that another owns.
#include "zbm/ZPOTCFileBitmap.h"

#include <gtest/gtest.h>

#include "core/checks/POTCFileBitmapChecks.h"
#include "file/FileBitmapTesting.h"
#include "support_code/TestProgress.h"

namespace {

using namespace testkit;
using zbm::POTCFileBitmapCheck;
using zbm::ZBasicMemBitmap;
using zbm::ZScanRect;

class OpenLevel : public zbm::ZPOTCFileBitmap {
public:
    using ZPOTCFileBitmap::fileOpen;
    using ZPOTCFileBitmap::ReadScanRect;
    using ZPOTCFileBitmap::WriteScanRect;
    using ZPOTCFileBitmap::ZPOTCFileBitmap;
};

class Level : public FileBitmapTest {
protected:
    void SetUp() override {
        FileBitmapTest::SetUp();
        file.Open(name, shr::FileAccess::readWrite, shr::FileMode::create, shr::FileSharing::none);
    }
    std::unique_ptr<OpenLevel> Blank() { return std::make_unique<OpenLevel>(name, file, kOffset, false, false); }
    std::unique_ptr<OpenLevel> OpenedLevel(bool readOnly) {
        return std::make_unique<OpenLevel>(name, file, kOffset, true, readOnly);
    }
    /// Half of the picture, made and let go.
    void Make() { ASSERT_TRUE(Blank()->Create(name, 45, 35, source, kWhole, zbm::ResizeBilinear, nullptr)); }

    static constexpr std::int64_t kOffset = 1000;
    static constexpr RECT kWhole{0, 0, 90, 70};
    ZBasicMemBitmap source = FormulaBitmap(90, 70, shr::BGR_24, 32, 20);
    shr::CBufferedFile file;
};

TEST_F(Level, IsTheSourceAtAnotherSizeWithItsResolutionAlsoWhenItIsOpenedAgain) {
    for (const int method : {1, 2, 3, 4, 5}) {
        const auto how = static_cast<zbm::ResizeMethod>(method);
        ZBasicMemBitmap expected(1, 1, shr::BGR_24);
        ASSERT_TRUE(expected.Create(30, 50, source, {10, 20, 80, 60}, how, nullptr));
        expected.SetXResolution(source.GetXResolution());
        expected.SetYResolution(source.GetYResolution());
        TestProgress progress;
        const auto level = Blank();
        ASSERT_TRUE(level->Create(name, 30, 50, source, {10, 20, 80, 60}, how, &progress));
        EXPECT_EQ(progress.TaskTexts().front(), "Creating image reduction...");
        EXPECT_TRUE(IsEqual(*level, expected)) << method;
        EXPECT_TRUE(IsEqual(*OpenedLevel(true), expected)) << method;
        EXPECT_TRUE(IsEqual(*OpenedLevel(false), expected)) << method;
    }
}

TEST_F(Level, IsFilledAnewInPlace) {
    Make();
    const std::int64_t length = file.GetLength();
    SetPixel(source, 0, 0, 0xFFFFFF);
    ZBasicMemBitmap expected(1, 1, shr::BGR_24);
    ASSERT_TRUE(expected.Create(45, 35, source, kWhole, zbm::ResizeBilinear, nullptr));
    expected.SetXResolution(source.GetXResolution());
    expected.SetYResolution(source.GetYResolution());
    ASSERT_TRUE(OpenedLevel(false)->FillFromOther(source, kWhole, zbm::ResizeBilinear, nullptr));
    EXPECT_EQ(file.GetLength(), length);
    EXPECT_TRUE(IsEqual(*OpenedLevel(true), expected));
}

TEST_F(Level, IsOpenUnderItsNameAsLongAsItLives) {
    const auto level = Blank();
    EXPECT_TRUE(level->IsFileOpen());
    EXPECT_EQ(level->GetFileName(), name);
    EXPECT_EQ(level->GetTypeId(), zbm::ZFileBitmap::GetClassTypeId());
    ASSERT_TRUE(level->Create(name, 45, 35, source, kWhole, zbm::ResizeBilinear, nullptr));
    level->Close();
    EXPECT_TRUE(level->IsFileOpen());
    EXPECT_EQ(level->GetPixelWidth(), 0);
    EXPECT_EQ(level->GetColorFormat(), shr::BGRA_32);
}

TEST_F(Level, WritesNothingWhenItEnds) {
    Make();
    file.Flush();
    const std::int64_t length = file.GetLength();
    auto level = OpenedLevel(false);
    {
        const FailingCall watch(0);
        level.reset();
        EXPECT_TRUE(FailingCall::Passed().empty());
    }
    EXPECT_TRUE(file.IsOpen());
    EXPECT_EQ(file.GetLength(), length);
}

TEST_F(Level, RefusesEveryOtherWayToBeMadeOrOpened) {
    const auto level = Blank();
    const BITMAPINFO dib{};
    const auto refuses = [](auto act, POTCFileBitmapCheck check) { EXPECT_TRUE(RaisesInternalError(act, check)); };
    refuses([&] { level->Open(name, true); }, POTCFileBitmapCheck::open);
    refuses([&] { (void)level->Create(name, 1, 1, shr::BGR_24, nullptr); }, POTCFileBitmapCheck::createPlain);
    refuses([&] { (void)level->Create(name, dib, nullptr); }, POTCFileBitmapCheck::createFromPackedDib);
    refuses([&] { (void)level->Create(name, &dib.bmiHeader, &dib, nullptr, nullptr); },
            POTCFileBitmapCheck::createFromDib);
    refuses([&] { (void)level->Create(name, source, nullptr); }, POTCFileBitmapCheck::createCopy);
    refuses([&] { level->GetPtrToPOTReduction(0); }, POTCFileBitmapCheck::reduction);
    EXPECT_EQ(file.GetLength(), 0);
}

TEST_F(Level, IsMadeOfAnotherUnderItsOwnName) {
    const auto level = Blank();
    EXPECT_TRUE(
        RaisesInternalError([&] { (void)level->Create(L"other", 5, 5, *level, kWhole, zbm::ResizePlain, nullptr); },
                            POTCFileBitmapCheck::createdSelf));
    EXPECT_TRUE(
        RaisesInternalError([&] { (void)level->Create(L"other", 5, 5, source, kWhole, zbm::ResizePlain, nullptr); },
                            POTCFileBitmapCheck::createdName));
    EXPECT_TRUE(RaisesInternalError([&] { (void)level->FillFromOther(*level, kWhole, zbm::ResizePlain, nullptr); },
                                    POTCFileBitmapCheck::filledSelf));
    EXPECT_EQ(file.GetLength(), 0);
    Make();
    const auto made = OpenedLevel(false);
    EXPECT_THROW((void)made->Create(L"other", 5, 5, source, kWhole, zbm::ResizePlain, nullptr), shr::InternalError);
    EXPECT_EQ(made->GetPixelWidth(), 45) << "it is as it was";
}

TEST_F(Level, ChecksEachSideOfTheRectangleInOrderThenTheMethod) {
    Make();
    const auto level = OpenedLevel(false);
    struct Case {
        RECT rect;
        POTCFileBitmapCheck check;
        int method = 9;
    };
    for (const Case& tried :
         {Case{{-1, -1, 91, 71}, POTCFileBitmapCheck::filledLeft},
          Case{{91, 0, 90, 70}, POTCFileBitmapCheck::filledLeft},
          Case{{0, -1, 91, 71}, POTCFileBitmapCheck::filledRight},
          Case{{0, -1, 90, 71}, POTCFileBitmapCheck::filledTop},
          Case{{0, 0, 90, 71}, POTCFileBitmapCheck::filledBottom}, Case{{3, 5, 3, 5}, POTCFileBitmapCheck::filledWidth},
          Case{{3, 5, 4, 5}, POTCFileBitmapCheck::filledHeight}, Case{{3, 5, 4, 6}, POTCFileBitmapCheck::resizeMethod},
          Case{{3, 5, 4, 6}, POTCFileBitmapCheck::resizeMethod, 0}})
        EXPECT_TRUE(RaisesInternalError(
            [&] {
                (void)level->FillFromOther(source, tried.rect, static_cast<zbm::ResizeMethod>(tried.method), nullptr);
            },
            tried.check));
}

TEST_F(Level, WhoseMakingFailsIsClosed) {
    const auto level = Blank();
    EXPECT_TRUE(RaisesInternalError(
        [&] {
            (void)level->Create(name, 5, 5, source, {3, 3, 3, 4}, zbm::ResizePlain, nullptr);
        },
        POTCFileBitmapCheck::filledWidth));
    EXPECT_EQ(level->GetPixelWidth(), 0);
    TestProgress progress(1);
    EXPECT_THROW((void)level->Create(name, 45, 35, source, kWhole, zbm::ResizeBilinear, &progress),
                 shr::AbortException);
    EXPECT_EQ(level->GetPixelWidth(), 0);
    EXPECT_EQ(progress.openTasks, 0);
    EXPECT_TRUE(level->Create(name, 45, 35, source, kWhole, zbm::ResizeBilinear, nullptr));
}

TEST_F(Level, TakesResolutionsIntoTheFile) {
    Make();
    const auto level = OpenedLevel(false);
    level->SetXResolution(1234);
    level->SetYResolution(2345);
    level->SetXResolution(0);
    EXPECT_EQ(level->GetXResolution(), 0) << "the bitmap takes any value";
    const auto opened = OpenedLevel(true);
    EXPECT_EQ(opened->GetXResolution(), 1234) << "the store none below 1";
    EXPECT_EQ(opened->GetYResolution(), 2345);
    EXPECT_TRUE(RaisesInternalError([&] { opened->SetXResolution(5); }, POTCFileBitmapCheck::xResolution));
    EXPECT_TRUE(RaisesInternalError([&] { opened->SetYResolution(5); }, POTCFileBitmapCheck::yResolution));
}

TEST_F(Level, ReadsAndWritesTilesOnlyWhileItMay) {
    Make();
    ZScanRect tile(45, 35, shr::BGR_24);
    const auto level = OpenedLevel(true);
    EXPECT_TRUE(RaisesInternalError([&] { level->WriteScanRect(tile, 0, 0); }, POTCFileBitmapCheck::writeClosed));
    level->fileOpen = false;
    EXPECT_TRUE(RaisesInternalError([&] { level->ReadScanRect(tile, 0, 0); }, POTCFileBitmapCheck::readClosed));
}

}  // namespace
