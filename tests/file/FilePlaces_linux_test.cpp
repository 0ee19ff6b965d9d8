// Files that another process has open, and places where nobody may write.
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>

#include "core/checks/FileBitmapChecks.h"
#include "core/checks/ScanRectFileBitmapChecks.h"
#include "file/FileBitmapTesting.h"
#include "support_code/SmallDevice_linux.h"
#include "zbm/ZCachedBitmap.h"

namespace {

using namespace testkit;
using shr::ZString;
using zbm::FileBitmapCheck;
using zbm::ScanRectFileBitmapCheck;

/// A process that has a file open until it is killed.
class OtherProcess {
public:
    OtherProcess(const ZString& name, bool readOnly) {
        int ends[2] = {-1, -1};
        EXPECT_EQ(::pipe(ends), 0);
        process = ::fork();
        if (process == 0) Hold(name, readOnly, ends[1]);
        ::close(ends[1]);
        char isOpen = 0;
        EXPECT_EQ(::read(ends[0], &isOpen, 1), 1) << "it could not open the file";
        ::close(ends[0]);
    }
    ~OtherProcess() {
        ::kill(process, SIGKILL);
        ::waitpid(process, nullptr, 0);
    }
    OtherProcess(const OtherProcess&) = delete;
    OtherProcess& operator=(const OtherProcess&) = delete;

private:
    [[noreturn]] static void Hold(const ZString& name, bool readOnly, int end) {
        OpenFileBitmap bitmap;
        try {
            bitmap.Open(name, readOnly);
            (void)!::write(end, "!", 1);
            for (;;) ::pause();
        } catch (const shr::Exception&) { ::_exit(1); }
    }
    pid_t process = -1;
};

class FilePlaces : public FileBitmapTest {
protected:
    void SetUp() override {
        FileBitmapTest::SetUp();
        OnFile(name, picture)->Close();
        whole = ReadWhole(name);
    }
    bool IsRefused(const ZString& file, bool readOnly) const {
        OpenFileBitmap bitmap;
        return RaisesFileError([&] { bitmap.Open(file, readOnly); }, ScanRectFileBitmapCheck::openedFile, file) &&
               IsClosed(bitmap);
    }
    bool IsNotCreated(const ZString& file) const {
        OpenFileBitmap bitmap;
        const auto create = [&] { (void)bitmap.Create(file, 10, 10, shr::BGR_24, nullptr); };
        return RaisesFileError(create, ScanRectFileBitmapCheck::createdFile, file) && IsClosed(bitmap);
    }
    bool IsShown(const ZString& file) const {
        OpenFileBitmap bitmap;
        bitmap.Open(file, true);
        return IsEqual(bitmap, picture);
    }
    /// What holds of a file in a folder where nobody may write.
    void ExpectReadingAlone(const ZString& folderOfFile, const ZString& file) {
        EXPECT_TRUE(IsShown(file));
        EXPECT_TRUE(IsRefused(file, false));
        EXPECT_TRUE(IsNotCreated(file));
        EXPECT_TRUE(IsNotCreated(folderOfFile + L"new"));
        OpenFileBitmap bitmap;
        bitmap.Open(file, true);
        {
            const zbm::LockedTile tile(bitmap, 0, 0);
            EXPECT_TRUE(RaisesFileError([&] { bitmap.CommitScanRect(0, 0); }, FileBitmapCheck::commitReadOnly, file));
        }
        zbm::SetGlobalFileBitmapTempDir(folderOfFile);
        zbm::ZCachedBitmap temporary(L"", L"", false);
        EXPECT_TRUE(RaisesFileError([&] { (void)temporary.Create(10, 10, shr::BGR_24, nullptr); },
                                    ScanRectFileBitmapCheck::tempFile, folderOfFile));
        EXPECT_NO_THROW(zbm::CleanGlobalFileBitmapTempDir());
        EXPECT_TRUE(shr::PathExists(file));
        temporary.SetTempDir(folder.Wide());  // and it goes on where it may
        EXPECT_TRUE(temporary.Create(10, 10, shr::BGR_24, nullptr));
    }

    const zbm::ZBasicMemBitmap picture = FormulaBitmap(70, 60, shr::BGR_24, 30, 25);
    Bytes whole;
};

TEST_F(FilePlaces, ThatAnotherProcessHasOpenForWritingAreItsAlone) {
    {
        const OtherProcess other(name, false);
        EXPECT_TRUE(IsRefused(name, true));
        EXPECT_TRUE(IsRefused(name, false));
        EXPECT_TRUE(IsNotCreated(name));
        EXPECT_EQ(ReadWhole(name), whole);
    }
    EXPECT_TRUE(IsShown(name)) << "once it was killed";
    EXPECT_NO_THROW(Opened(false));
}

TEST_F(FilePlaces, ThatAnotherProcessReadsCanBeReadAndNotWritten) {
    {
        const OtherProcess other(name, true), another(name, true);
        EXPECT_TRUE(IsShown(name));
        EXPECT_TRUE(IsRefused(name, false));
        EXPECT_TRUE(IsNotCreated(name));
        EXPECT_EQ(ReadWhole(name), whole);
    }
    EXPECT_NO_THROW(Opened(false));
}

TEST_F(FilePlaces, OfAnotherProcessesTemporaryBitmapsAreNotSweptWhileItLives) {
    const ZString temporary = shr::CPath::AppendDirSeparator(folder, true) + L"zvother.tmp";
    WriteWhole(temporary, whole);
    {
        const OtherProcess other(temporary, false);
        zbm::CleanGlobalFileBitmapTempDir();
        EXPECT_TRUE(shr::PathExists(temporary));
    }
    zbm::CleanGlobalFileBitmapTempDir();
    EXPECT_FALSE(shr::PathExists(temporary));
}

TEST_F(FilePlaces, WhereAnotherProcessSweepsAreThoseOfLivingBitmapsAllTheSame) {
    std::fflush(nullptr);
    const pid_t sweeper = ::fork();
    if (sweeper == 0)
        for (;;) zbm::CleanGlobalFileBitmapTempDir();
    zbm::ZBasicMemBitmap source = picture;
    const auto makeMany = [&] {
        for (int i = 0; i < 500; ++i) {
            zbm::ZCachedBitmap bitmap(L"", L"", false);
            ASSERT_TRUE(bitmap.Create(source, nullptr));
            ASSERT_EQ(GetPixel(bitmap, 69, 59), GetPixel(source, 69, 59));
        }
    };
    EXPECT_NO_THROW(makeMany());
    ::kill(sweeper, SIGKILL);
    ::waitpid(sweeper, nullptr, 0);
}

/// The system's administrator may write anywhere, and so becomes somebody else.
bool BecomeNobody() {
    constexpr uid_t kNobody = 65534;
    return ::geteuid() != 0 || (::setgroups(0, nullptr) == 0 && ::setgid(kNobody) == 0 && ::setuid(kNobody) == 0);
}

TEST_F(FilePlaces, WithoutPermissionToWriteAreReadAlone) {
    const ZString closed = shr::CPath::AppendDirSeparator(scratch.File("closed"), true);
    std::filesystem::create_directory(shr::test::SystemPath(closed));
    WriteWhole(closed + L"zvpicture.tmp", whole);
    ::chmod((closed + L"zvpicture.tmp").ToUtf8().c_str(), 0444);
    ::chmod(closed.ToUtf8().c_str(), 0555);
    ::chmod(folder.ToUtf8().c_str(), 0777);
    std::fflush(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
        EXPECT_TRUE(BecomeNobody());
        ExpectReadingAlone(closed, closed + L"zvpicture.tmp");
        EndOfChild();
    }
    EXPECT_EQ(WaitFor(child), 0);
    EXPECT_EQ(ReadWhole(closed + L"zvpicture.tmp"), whole);
    ::chmod(closed.ToUtf8().c_str(), 0755);
}

TEST_F(FilePlaces, OnADeviceForReadingAreReadAlone) {
    WhereDevicesCanBeMounted([&] {
        const SmallDevice device(shr::test::SystemPath(scratch.File("device")));
        const ZString seen = shr::CPath::AppendDirSeparator(scratch.File("seen"), true);
        std::filesystem::create_directory(shr::test::SystemPath(seen));
        WriteWhole(ZString((device.Folder() / "zvpicture.tmp").wstring()), whole);
        const std::string place = seen.ToUtf8();
        ASSERT_EQ(::mount(device.Folder().c_str(), place.c_str(), nullptr, MS_BIND, nullptr), 0);
        EXPECT_EQ(::mount(nullptr, place.c_str(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr), 0);
        ExpectReadingAlone(seen, seen + L"zvpicture.tmp");
        ::umount2(place.c_str(), MNT_DETACH);
    });
}

}  // namespace
