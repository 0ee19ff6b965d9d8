#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>

#include "FileTesting.h"
#include "shr/FileFind.h"
#include "shr/Path.h"

namespace shr {
namespace {

using namespace test;
using testkit::ScratchFolder;

std::uint32_t AttributesOf(const ZString& name) {
    CFileFind find(name);
    return find.FindNextFileW() ? find.GetAttributes() : ~0u;
}

TEST(FileFindOnLinux, TellsHiddenFilesLinksAndPipes) {
    const ScratchFolder folder;
    WriteWhole(folder.File("f"), {});
    WriteWhole(folder.File(".f"), {});
    std::filesystem::create_symlink("f", SystemPath(folder.File("link")));
    std::filesystem::create_symlink("missing", SystemPath(folder.File("dangling")));
    std::filesystem::create_directory_symlink(".", SystemPath(folder.File("folderlink")));
    ASSERT_EQ(mkfifo(folder.File("pipe").ToUtf8().c_str(), 0600), 0);
    EXPECT_EQ(AttributesOf(folder.File("f")), 0u);
    EXPECT_EQ(AttributesOf(folder.File(".f")), FileAttribute::hidden);
    EXPECT_EQ(AttributesOf(folder.File("link")), FileAttribute::system);
    EXPECT_EQ(AttributesOf(folder.File("dangling")), FileAttribute::system);
    EXPECT_EQ(AttributesOf(folder.File("folderlink")), FileAttribute::system);
    EXPECT_EQ(AttributesOf(folder.File("pipe")), FileAttribute::system);
}

TEST(FileFindOnLinux, GivesNamesThatAreNoUtf8BackAsTheyAre) {
    const ScratchFolder folder;
    const ZString name = ZString::FromUtf8(folder.File("").ToUtf8() + "zv\xE9\xFF.tmp");
    std::ofstream(name.ToUtf8()) << "text";
    CFileFind find(folder.File("zv??.tmp"));
    ASSERT_TRUE(find.FindNextFileW());
    EXPECT_EQ(find.GetFilePath(), name);
    EXPECT_TRUE(RemoveFile(find.GetFilePath()));
    EXPECT_FALSE(find.FindNextFileW());
}

TEST(PathOnLinux, TakesTheTemporaryFolderFromTheEnvironment) {
    const char* const variable = std::getenv("TMPDIR");
    const std::optional<std::string> before = variable == nullptr ? std::nullopt : std::optional<std::string>(variable);
    setenv("TMPDIR", "/some/where///", 1);
    const ZString chosen = CPath().GetTempPathW(true);
    setenv("TMPDIR", "", 1);
    const ZString empty = CPath().GetTempPathW(false);
    unsetenv("TMPDIR");
    const ZString unset = CPath().GetTempPathW(true);
    if (before) setenv("TMPDIR", before->c_str(), 1);
    EXPECT_EQ(chosen, L"/some/where/");
    EXPECT_EQ(empty, L"/tmp");
    EXPECT_EQ(unset, L"/tmp/");
}

}  // namespace
}  // namespace shr
