// What only Linux has in folders: pipes that bear a temporary bitmap's name, and a folder of the system's own that the
// environment chooses.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>

#include "file/FileBitmapTesting.h"

namespace {

using namespace testkit;
using TempDirectoryOnLinux = FileBitmapTest;

TEST_F(TempDirectoryOnLinux, IsSweptWithoutWaitingForPipes) {
    const shr::ZString prefix = shr::CPath::AppendDirSeparator(folder, true);
    const std::string pipe = (prefix + L"zvpipe.tmp").ToUtf8();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    OnFile(prefix + L"zvleft.tmp", FormulaBitmap(5, 5, shr::BGR_24, 5, 5))->Close();
    zbm::CleanGlobalFileBitmapTempDir();
    EXPECT_TRUE(shr::PathExists(prefix + L"zvpipe.tmp"));
    EXPECT_FALSE(shr::PathExists(prefix + L"zvleft.tmp"));
}

TEST_F(TempDirectoryOnLinux, IsSweptWithoutFollowingLinks) {
    const shr::ZString link = shr::CPath::AppendDirSeparator(folder, true) + L"zvlink.tmp";
    OnFile(name, FormulaBitmap(5, 5, shr::BGR_24, 5, 5))->Close();
    std::filesystem::create_symlink(shr::test::SystemPath(name), shr::test::SystemPath(link));
    zbm::CleanGlobalFileBitmapTempDir();
    EXPECT_TRUE(shr::PathExists(link));
    EXPECT_TRUE(shr::PathExists(name));
}

/// In a process of its own, in which no folder was ever chosen.
TEST(TempDirectoryDeathTest, IsTheSystemsUntilOneIsChosen) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto sweepTheSystems = [] {
        const ScratchFolder scratch;
        const shr::ZString left = scratch.File("zvleft.tmp"), other = scratch.File("other.tmp");
        ::setenv("TMPDIR", shr::test::SystemPath(scratch.File(".")).c_str(), 1);
        for (const shr::ZString& file : {left, other}) OnFile(file, FormulaBitmap(5, 5, shr::BGR_24, 5, 5))->Close();
        zbm::CleanGlobalFileBitmapTempDir();
        const bool isSwept = !shr::PathExists(left) && shr::PathExists(other);
        const bool isSystems = zbm::GetGlobalFileBitmapTempDir() == shr::CPath().GetTempPathW(true);
        std::exit(isSwept && isSystems ? 0 : 1);
    };
    EXPECT_EXIT(sweepTheSystems(), testing::ExitedWithCode(0), "");
}

}  // namespace
