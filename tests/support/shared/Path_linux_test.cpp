#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "FileTesting.h"
#include "shr/Path.h"
#include "shr/ScopeExit.h"

namespace {

/// What has been synchronised, and what the system is to answer instead.
struct {
    std::vector<struct stat> files;
    int error = 0;
} syncs;

}  // namespace

// Takes the place of the system's function for the library, too.
extern "C" __attribute__((visibility("default"))) int fsync(int descriptor) {
    struct stat status {};
    if (fstat(descriptor, &status) == 0) syncs.files.push_back(status);
    errno = syncs.error;
    return syncs.error != 0 ? -1 : static_cast<int>(syscall(SYS_fsync, descriptor));
}

namespace shr {
namespace {

using namespace test;
using testkit::ScratchFolder;

/// Renames a file in `folder`; whether that succeeded.
bool Rename(const ZString& from, const ZString& to, int syncError = 0) {
    syncs = {{}, syncError};
    const ScopeExit reset([] { syncs.error = 0; });
    return RenameFile(from, to);
}

testing::AssertionResult OnlyThisWasSynchronised(const char* folder) {
    struct stat status {};
    if (stat(folder, &status) != 0 || syncs.files.size() != 1)
        return testing::AssertionFailure() << syncs.files.size() << " synchronised";
    const struct stat& synced = syncs.files[0];
    if (synced.st_dev != status.st_dev || synced.st_ino != status.st_ino)
        return testing::AssertionFailure() << "another one than " << folder;
    // What changes a folder changes its time: it was synchronised afterwards.
    const bool isLater =
        synced.st_mtim.tv_sec == status.st_mtim.tv_sec && synced.st_mtim.tv_nsec == status.st_mtim.tv_nsec;
    return isLater ? testing::AssertionSuccess() : testing::AssertionFailure() << "too early";
}

TEST(PathOnLinux, RenamingSynchronisesTheFolderOfTheNewName) {
    const ScratchFolder folder;
    const ZString inner = folder.File("inner");
    std::filesystem::create_directory(SystemPath(inner));
    WriteWhole(folder.File("from"), BytesOf("new"));
    EXPECT_TRUE(Rename(folder.File("from"), inner + L"/to"));
    EXPECT_TRUE(OnlyThisWasSynchronised(inner.ToUtf8().c_str()));

    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(SystemPath(inner));
    const ScopeExit back([&] { std::filesystem::current_path(before); });
    EXPECT_TRUE(Rename(L"to", L"there"));
    EXPECT_TRUE(OnlyThisWasSynchronised("."));
    EXPECT_EQ(ReadWhole(inner + L"/there"), BytesOf("new"));
}

TEST(PathOnLinux, RenamingSucceedsWhereFoldersCannotBeSynchronised) {
    const ScratchFolder folder;
    for (const int error : {EINVAL, EROFS, ENOSYS, EOPNOTSUPP}) {
        WriteWhole(folder.File("from"), BytesOf("new"));
        EXPECT_TRUE(Rename(folder.File("from"), folder.File("to"), error)) << error;
    }
}

TEST(PathOnLinux, RenamingSucceedsWhereTheFolderMayNotBeListed) {
    const ScratchFolder folder;
    WriteWhole(folder.File("from"), BytesOf("new"));
    ASSERT_EQ(chmod(folder.File("").ToUtf8().c_str(), 0333), 0);
    const bool wasRoot = geteuid() == 0;  // who may list every folder
    ASSERT_TRUE(!wasRoot || seteuid(65534) == 0);
    const bool renamed = Rename(folder.File("from"), folder.File("to"));
    ASSERT_TRUE(!wasRoot || seteuid(0) == 0);
    ASSERT_EQ(chmod(folder.File("").ToUtf8().c_str(), 0700), 0);
    EXPECT_TRUE(renamed);
    EXPECT_EQ(ReadWhole(folder.File("to")), BytesOf("new"));
}

TEST(PathOnLinux, RenamingReportsADeviceThatFailsInTheEnd) {
    const ScratchFolder folder;
    WriteWhole(folder.File("from"), BytesOf("new"));
    EXPECT_FALSE(Rename(folder.File("from"), folder.File("to"), EIO));
    EXPECT_EQ(LastSystemError(), EIO);
    EXPECT_EQ(ReadWhole(folder.File("to")), BytesOf("new"));
}

}  // namespace
}  // namespace shr
