// What stands in the file while a bitmap still has it open. (Windows lets nobody look.)
#include <gtest/gtest.h>

#include "core/checks/ScanRectFileBitmapChecks.h"
#include "file/FileBitmapTesting.h"
#include "shr/Archive.h"
#include "support_code/TestProgress.h"
#include "zbm/SerializeIO.h"

namespace {

using namespace testkit;
using zbm::ScanRectFileBitmapCheck;
using zbm::ZBasicMemBitmap;

using FileOnDisk = FileBitmapTest;

TEST_F(FileOnDisk, TellsTheFileOfNewTilesWhenItIsClosedOrSaved) {
    OpenFileBitmap bitmap;
    bitmap.CreateEmpty(name, 2, 1, shr::BGRA_32);
    SetAndCommit(bitmap, 1, 0, 0x12345678);
    const auto pixelInFile = [&] {
        const shr::ZString copy = scratch.File("copy");
        WriteWhole(copy, ReadWhole(name));
        OpenFileBitmap opened;
        opened.Open(copy, true);
        return GetPixel(opened, 1, 0);
    };
    ASSERT_TRUE(bitmap.CommitAll(nullptr));
    bitmap.file.Flush();
    EXPECT_EQ(pixelInFile(), 0u) << "CommitAll is about the reductions";
    bitmap.Save();
    EXPECT_EQ(pixelInFile(), 0x12345678u);
    bitmap.Close();
    EXPECT_EQ(pixelInFile(), 0x12345678u);
}

/// Looks at the file whenever progress is reported.
class Onlooker : public TestProgress {
public:
    explicit Onlooker(std::function<void()> newLook) : look(std::move(newLook)) {}
    void SetProgress(double fraction) override {
        TestProgress::SetProgress(fraction);
        look();
    }

private:
    std::function<void()> look;
};

TEST_F(FileOnDisk, ThatIsStillBeingMadeIsRefusedAsSuchIfItIsLeftSo) {
    const shr::ZString copy = scratch.File("copy");
    int looks = 0;
    Onlooker killed([&] {
        WriteWhole(copy, ReadWhole(name));
        OpenFileBitmap opened;
        for (const bool readOnly : {true, false})
            EXPECT_TRUE(
                RaisesInternalError([&] { opened.Open(copy, readOnly); }, ScanRectFileBitmapCheck::openedLevelCount));
        ++looks;
    });
    ZBasicMemBitmap source = FormulaBitmap(530, 20, shr::BGR_24, 64, 50);
    OpenFileBitmap bitmap;
    ASSERT_TRUE(bitmap.Create(name, 530, 20, shr::BGR_24, &killed));
    ASSERT_TRUE(bitmap.Create(name, source, &killed));
    ASSERT_TRUE(bitmap.Create(name, shr::GRAYSCALE_8, source, &killed));
    ASSERT_TRUE(bitmap.Create(name, 30, 20, source, {0, 0, 530, 20}, zbm::ResizePlain, &killed));
    EXPECT_GE(looks, 8);
    shr::MemoryArchive stored;
    zbm::SerializeIO storing(stored, false);
    ASSERT_TRUE(OnFile(scratch.File("source"), source)->Serialize(storing, nullptr, nullptr));
    looks = 0;
    shr::MemoryArchive archive(stored.Bytes());
    zbm::SerializeIO loading(archive, false);
    bitmap.Close();
    std::filesystem::remove(shr::test::SystemPath(name));
    ASSERT_TRUE(bitmap.Serialize(loading, &killed, nullptr));
    EXPECT_EQ(looks, 1) << "a report for a row";
    WriteWhole(copy, ReadWhole(name));
    OpenFileBitmap opened;
    EXPECT_NO_THROW(opened.Open(copy, true)) << "what is complete opens, also while it is still in use";
}

TEST_F(FileOnDisk, IsNotTouchedWhileAnArchiveIsLoadedBesideIt) {
    const ZBasicMemBitmap picture = FormulaBitmap(30, 20, shr::BGR_24, 512, 512);
    shr::MemoryArchive stored;
    zbm::SerializeIO storing(stored, false);
    ASSERT_TRUE(OnFile(name, picture)->Serialize(storing, nullptr, nullptr));
    OnFile(name, FormulaBitmap(40, 50, shr::BGR_24, 64, 50))->Close();
    const Bytes former = ReadWhole(name);
    int looks = 0;
    Onlooker killed([&] {
        EXPECT_EQ(ReadWhole(name), former);
        ++looks;
    });
    const auto bitmap = Opened(false);
    shr::MemoryArchive archive(stored.Bytes());
    zbm::SerializeIO loading(archive, false);
    ASSERT_TRUE(bitmap->Serialize(loading, &killed, nullptr));
    EXPECT_EQ(looks, 1);
    EXPECT_TRUE(IsEqual(*bitmap, picture));
}

TEST_F(FileOnDisk, KeepsItsLinksAndPermissionsWhenAnArchiveIsLoaded) {
    const ZBasicMemBitmap picture = FormulaBitmap(30, 20, shr::BGR_24, 512, 512);
    shr::MemoryArchive stored;
    zbm::SerializeIO storing(stored, false);
    ASSERT_TRUE(OnFile(name, picture)->Serialize(storing, nullptr, nullptr));
    const auto path = shr::test::SystemPath(name), link = shr::test::SystemPath(scratch.File("link"));
    const auto permissions = static_cast<std::filesystem::perms>(0640);
    std::filesystem::permissions(path, permissions);
    std::filesystem::create_symlink("picture", link);
    OpenFileBitmap bitmap;
    bitmap.Open(scratch.File("link"), false);
    shr::MemoryArchive archive(stored.Bytes());
    zbm::SerializeIO loading(archive, false);
    ASSERT_TRUE(bitmap.Serialize(loading, nullptr, nullptr));
    EXPECT_EQ(bitmap.GetFileName(), scratch.File("link"));
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(std::filesystem::status(path).permissions(), permissions);
    bitmap.Close();
    EXPECT_TRUE(IsEqual(*Opened(true), picture));
}

TEST_F(FileOnDisk, SaysThatItsLevelsAreOldBeforeThePictureChanges) {
    const auto changes = {+[](OpenFileBitmap& bitmap) { SetAndCommit(bitmap, 1, 1, 0); },
                          +[](OpenFileBitmap& bitmap) { EXPECT_TRUE(bitmap.ChangeBrightness(0.2, nullptr)); },
                          +[](OpenFileBitmap& bitmap) { bitmap.FillColorTable(nullptr, 0); }};
    for (const auto change : changes) {
        OnFile(name, FormulaBitmap(70, 70, shr::BGR_24, 64, 64))->Close();
        OpenFileBitmap bitmap;
        bitmap.Open(name, false);
        ASSERT_TRUE(bitmap.CommitAll(nullptr, true));
        bitmap.Save();
        const auto isOldInFile = [&] {
            const shr::ZString copy = scratch.File("copy");
            WriteWhole(copy, ReadWhole(name));
            OpenFileBitmap opened;
            opened.Open(copy, true);
            return opened.AreReductionsStale();
        };
        EXPECT_FALSE(isOldInFile());
        change(bitmap);
        EXPECT_TRUE(isOldInFile()) << "whoever is killed now leaves that behind";
        ASSERT_TRUE(bitmap.CommitAll(nullptr));
        bitmap.Close();
        EXPECT_FALSE(isOldInFile());
    }
}

/// Looks at a copy of the file before each write.
class BeforeEachWrite {
public:
    explicit BeforeEachWrite(std::function<void()> newLook) {
        look = std::move(newLook);
        shr::SetFileFaultHook([](FileCall call) {
            if (call == FileCall::write) look();
            return false;
        });
    }
    ~BeforeEachWrite() { shr::SetFileFaultHook(nullptr); }
    BeforeEachWrite(const BeforeEachWrite&) = delete;
    BeforeEachWrite& operator=(const BeforeEachWrite&) = delete;

private:
    static inline std::function<void()> look;
};

TEST_F(FileOnDisk, HasCurrentLevelsOnlyOnceItKnowsAllTilesThatTheyWereMadeFrom) {
    const ZBasicMemBitmap picture = FormulaBitmap(70, 60, shr::BGRA_32, 30, 25);
    const shr::ZString copy = scratch.File("copy");
    const auto look = [&] {
        WriteWhole(copy, ReadWhole(name));
        OpenFileBitmap opened;
        try {
            opened.Open(copy, true);
        } catch (const shr::Exception&) { return; }
        if (!opened.reductions.empty() && !opened.AreReductionsStale()) { EXPECT_TRUE(IsEqual(opened, picture)); }
    };
    const auto endings = {+[](OpenFileBitmap& bitmap) { bitmap.Save(); },
                          +[](OpenFileBitmap& bitmap) { bitmap.Close(); }};
    for (const auto end : endings) {
        const auto bitmap = OnFile(name, picture);
        const BeforeEachWrite watch(look);
        ASSERT_TRUE(bitmap->CommitAll(nullptr));
        look();
        end(*bitmap);
        bitmap->Close();
        look();
        EXPECT_FALSE(Opened(true)->AreReductionsStale());
    }
}

TEST_F(FileOnDisk, HasItsSignatureFromTheFirstTileOnSoThatASweepFindsWhatAKillLeft) {
    Onlooker killed([&] {
        const Bytes bytes = ReadWhole(name);
        ASSERT_GE(bytes.size(), 509u);
        EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + 49), FileImage().Signature(kBitmapSignature).Take());
    });
    ASSERT_TRUE(OpenFileBitmap().Create(name, 530, 20, shr::BGR_24, &killed));
}

}  // namespace
