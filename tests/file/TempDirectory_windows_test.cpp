// What the sweep leaves by its attributes, which files have on Windows alone.
#include <gtest/gtest.h>
#include <windows.h>

#include "file/FileBitmapTesting.h"
#include "zbm/ZBMLib2.h"

namespace {

using namespace testkit;

using TempDirectoryOnWindows = FileBitmapTest;

TEST_F(TempDirectoryOnWindows, IsSweptOfPlainFilesAlone) {
    const shr::ZString prefix = shr::CPath::AppendDirSeparator(folder, true);
    const auto leave = [&](const wchar_t* file, DWORD attributes) {
        const shr::ZString path = prefix + file;
        OnFile(path, FormulaBitmap(5, 5, shr::BGR_24, 5, 5))->Close();
        EXPECT_NE(SetFileAttributesW(path.Wide().c_str(), attributes), 0);
        return path;
    };
    const shr::ZString plain = leave(L"zvplain.tmp", FILE_ATTRIBUTE_NORMAL),
                       hidden = leave(L"zvhidden.tmp", FILE_ATTRIBUTE_HIDDEN),
                       system = leave(L"zvsystem.tmp", FILE_ATTRIBUTE_SYSTEM);
    zbm::CleanGlobalFileBitmapTempDir();
    EXPECT_FALSE(shr::PathExists(plain));
    EXPECT_TRUE(shr::PathExists(hidden));
    EXPECT_TRUE(shr::PathExists(system));
}

}  // namespace
