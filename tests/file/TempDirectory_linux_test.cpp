// What only Linux has in folders: pipes that bear a temporary bitmap's name.
#include <gtest/gtest.h>
#include <sys/stat.h>

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

}  // namespace
