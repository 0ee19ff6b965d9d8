// The folder of temporary bitmaps, and the sweep of what earlier runs have left there.
#include <gtest/gtest.h>

#include <filesystem>

#include "core/checks/FileBitmapChecks.h"
#include "file/FileBitmapTesting.h"
#include "shr/BufferedFile.h"
#include "zbm/ZBMLib2.h"

namespace {

using namespace testkit;
using shr::ZString;

class TempDirectory : public FileBitmapTest {
protected:
    ZString In(const char* entry) const { return shr::CPath::AppendDirSeparator(folder, true) + entry; }
    bool IsThere(const char* entry) const { return shr::PathExists(In(entry)); }
};

const Bytes kLeftover = FileImage().Signature(kBitmapSignature).Zeros(460).Take();

TEST_F(TempDirectory, EndsWithOneSeparator) {
    const ZString withSeparator = shr::CPath::AppendDirSeparator(folder, true);
    EXPECT_EQ(zbm::GetGlobalFileBitmapTempDir(), withSeparator);
    zbm::SetGlobalFileBitmapTempDir(withSeparator);
    EXPECT_EQ(zbm::GetGlobalFileBitmapTempDir(), withSeparator);
}

TEST_F(TempDirectory, MustExistAndStaysWhatItWasOtherwise) {
    const ZString missing = scratch.File("missing");
    EXPECT_TRUE(RaisesFileError([&] { zbm::SetGlobalFileBitmapTempDir(missing); }, zbm::FileBitmapCheck::newTempFolder,
                                shr::CPath::AppendDirSeparator(missing, true)));
    EXPECT_EQ(zbm::GetGlobalFileBitmapTempDir(), shr::CPath::AppendDirSeparator(folder, true));
}

TEST_F(TempDirectory, ThatIsGoneIsAnError) {
    std::filesystem::remove(shr::test::SystemPath(folder));
    EXPECT_TRUE(RaisesFileError([] { zbm::GetGlobalFileBitmapTempDir(); }, zbm::FileBitmapCheck::tempFolder, folder));
    EXPECT_TRUE(RaisesFileError([] { zbm::CleanGlobalFileBitmapTempDir(); }, zbm::FileBitmapCheck::tempFolder, folder));
}

TEST_F(TempDirectory, IsSweptOfWhatBearsABitmapsSignatureAlone) {
    Bytes otherVersion = kLeftover, otherText = kLeftover, otherEnd = kLeftover;
    otherVersion[45] = 2;
    otherText[43] = ')';
    otherEnd[44] = 1;
    WriteWhole(In("zv1.tmp"), kLeftover);
    WriteWhole(In("zv2.tmp"), otherVersion);
    WriteWhole(In("zv3.tmp"), Bytes(kLeftover.begin(), kLeftover.begin() + 45));
    WriteWhole(In("zvText.tmp"), otherText);
    WriteWhole(In("zvEnd.tmp"), otherEnd);
    WriteWhole(In("zvShort.tmp"), Bytes(kLeftover.begin(), kLeftover.begin() + 44));
    WriteWhole(In("zvEmpty.tmp"), {});
    WriteWhole(In("other.tmp"), kLeftover);
    WriteWhole(In("zv1.tmpx"), kLeftover);
    std::filesystem::create_directory(shr::test::SystemPath(In("zvFolder.tmp")));
    zbm::CleanGlobalFileBitmapTempDir();
    for (const char* entry : {"zv1.tmp", "zv2.tmp", "zv3.tmp"}) EXPECT_FALSE(IsThere(entry)) << entry;
    for (const char* entry :
         {"zvText.tmp", "zvEnd.tmp", "zvShort.tmp", "zvEmpty.tmp", "other.tmp", "zv1.tmpx", "zvFolder.tmp"})
        EXPECT_TRUE(IsThere(entry)) << entry;
}

/// Another process may have made it this moment, and be about to open it.
TEST_F(TempDirectory, IsSweptWithoutOpeningWhatIsEmpty) {
    WriteWhole(In("zvEmpty.tmp"), {});
    const FailingCall watch(0);
    zbm::CleanGlobalFileBitmapTempDir();
    EXPECT_EQ(FailingCall::CallsMade(), 0);
    EXPECT_TRUE(IsThere("zvEmpty.tmp"));
}

TEST_F(TempDirectory, KeepsFilesThatAreInUse) {
    WriteWhole(In("zv1.tmp"), kLeftover);
    shr::CBufferedFile file;
    file.Open(In("zv1.tmp"), shr::FileAccess::readWrite, shr::FileMode::openExisting, shr::FileSharing::none);
    zbm::CleanGlobalFileBitmapTempDir();
    EXPECT_TRUE(IsThere("zv1.tmp"));
    file.Close();
    zbm::CleanGlobalFileBitmapTempDir();
    EXPECT_FALSE(IsThere("zv1.tmp"));
}

TEST_F(TempDirectory, IsSweptToTheEndWhateverFails) {
    for (const char* entry : {"zv1.tmp", "zv2.tmp", "zv3.tmp"}) WriteWhole(In(entry), kLeftover);
    for (const shr::FileCall failing : {shr::FileCall::open, shr::FileCall::read, shr::FileCall::remove}) {
        static shr::FileCall kind;
        kind = failing;
        const auto former = shr::SetFileFaultHook([](shr::FileCall call) { return call == kind; });
        EXPECT_NO_THROW(zbm::CleanGlobalFileBitmapTempDir());
        shr::SetFileFaultHook(former);
        for (const char* entry : {"zv1.tmp", "zv2.tmp", "zv3.tmp"}) EXPECT_TRUE(IsThere(entry)) << entry;
    }
    zbm::CleanGlobalFileBitmapTempDir();
    EXPECT_FALSE(IsThere("zv3.tmp"));
}

TEST_F(TempDirectory, GetsTemporaryNamesThatTheSweepFinds) {
    const ZString made = shr::CPath::GetTempFilename(zbm::GetGlobalFileBitmapTempDir());
    ASSERT_TRUE(shr::PathExists(made));
    WriteWhole(made, kLeftover);
    zbm::CleanGlobalFileBitmapTempDir();
    EXPECT_FALSE(shr::PathExists(made));
}

TEST_F(TempDirectory, KeepsABitmapThatIsInUse) {
    const auto bitmap = OnFile(In("zvlive.tmp"), FormulaBitmap(30, 20, shr::BGR_24, 16, 16));
    bitmap->Save();
    zbm::CleanGlobalFileBitmapTempDir();
    EXPECT_TRUE(IsThere("zvlive.tmp"));
    EXPECT_TRUE(IsEqual(*bitmap, FormulaBitmap(30, 20, shr::BGR_24, 16, 16)));
}

TEST_F(TempDirectory, IsReadForEachNewTemporaryFile) {
    OpenFileBitmap bitmap;
    const ZString first = bitmap.BuildCurrentTempFilename();
    EXPECT_TRUE(first.Wide().starts_with(zbm::GetGlobalFileBitmapTempDir().Wide()));
    zbm::SetGlobalFileBitmapTempDir(shr::CPath().GetTempPathW(true));
    const ZString second = bitmap.BuildCurrentTempFilename();
    EXPECT_TRUE(second.Wide().starts_with(shr::CPath().GetTempPathW(true).Wide()));
    shr::RemoveFile(second);
}

}  // namespace
