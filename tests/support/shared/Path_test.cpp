#include "shr/Path.h"

#include <gtest/gtest.h>

#include <set>

#include "FileTesting.h"

namespace shr {
namespace {

using namespace test;
using testkit::ScratchFolder;

TEST(Path, TakesANameApart) {
    struct Case {
        const wchar_t *path, *folder, *name, *extension;
    };
    for (const Case& c :
         {Case{L"/a/b.c/d.tar.gz", L"/a/b.c/", L"d.tar.gz", L".gz"}, Case{L"d.BMP", L"", L"d.BMP", L".BMP"},
          Case{L"/", L"/", L"", L""}, Case{L"", L"", L"", L""}, Case{L"a.b/c", L"a.b/", L"c", L""},
          Case{L"a/.hidden", L"a/", L".hidden", L""}, Case{L"a/..", L"a/", L"..", L""}, Case{L"a/.", L"a/", L".", L""},
          Case{L"a/b.", L"a/", L"b.", L"."}, Case{L"a/.b.c", L"a/", L".b.c", L".c"}}) {
        const CPath path{ZString(c.path)};
        EXPECT_EQ(path.GetPath(), c.path);
        EXPECT_EQ(path.GetFolder(), c.folder) << path.GetPath().ToUtf8();
        EXPECT_EQ(path.GetFileName(), c.name) << path.GetPath().ToUtf8();
        EXPECT_EQ(path.GetExtension(), c.extension) << path.GetPath().ToUtf8();
    }
}

TEST(Path, TakesWindowsNamesApartOnWindowsOnly) {
    const CPath path(L"C:\\a/b\\c.d");
    EXPECT_EQ(path.GetFileName(), kOnWindows ? L"c.d" : L"b\\c.d");
    EXPECT_EQ(CPath(L"C:f").GetFolder(), kOnWindows ? L"C:" : L"");
}

TEST(Path, PutsOneSeparatorAtTheEndOrNone) {
    struct Case {
        const wchar_t *path, *with, *without;
    };
    const wchar_t* const aWithSeparator = kOnWindows ? L"/a\\" : L"/a/";
    for (const Case& c : {Case{L"", L"", L""}, Case{L"/a", aWithSeparator, L"/a"}, Case{L"/a/", aWithSeparator, L"/a"},
                          Case{L"/a///", aWithSeparator, L"/a"}, Case{L"/", L"/", L"/"}}) {
        EXPECT_EQ(CPath::AppendDirSeparator(c.path, true), c.with);
        EXPECT_EQ(CPath::AppendDirSeparator(c.path, false), c.without);
    }
}

TEST(Path, KeepsTheSeparatorOfARoot) {
    EXPECT_EQ(CPath::AppendDirSeparator(L"/", false), L"/");
    if (!kOnWindows) {
        EXPECT_EQ(CPath::AppendDirSeparator(L"///", false), L"/");
        return;
    }
    EXPECT_EQ(CPath::AppendDirSeparator(L"C:\\", false), L"C:\\");
    EXPECT_EQ(CPath::AppendDirSeparator(L"C:\\a\\", false), L"C:\\a");
    EXPECT_EQ(CPath::AppendDirSeparator(L"\\\\host\\share\\", false), L"\\\\host\\share\\");
    EXPECT_EQ(CPath::AppendDirSeparator(L"\\\\host\\share", true), L"\\\\host\\share\\");
    EXPECT_EQ(CPath::AppendDirSeparator(L"\\\\host\\share\\a\\", false), L"\\\\host\\share\\a");
    EXPECT_EQ(CPath::AppendDirSeparator(L"\\\\?\\C:\\", false), L"\\\\?\\C:\\");
}

TEST(Path, KnowsTheSystemsFolderForTemporaryFiles) {
    const ZString with = CPath().GetTempPathW(true), without = CPath().GetTempPathW(false);
    EXPECT_TRUE(IsFolder(with));
    EXPECT_TRUE(IsFolder(without));
    EXPECT_EQ(with, CPath::AppendDirSeparator(without, true));
    EXPECT_EQ(with.Length(), without.Length() + 1);
}

TEST(Path, MakesTemporaryFilesOfNewNames) {
    const ScratchFolder folder;
    std::set<ZString> names;
    for (int i = 0; i < 100; ++i) {
        const ZString path = CPath::GetTempFilename(CPath::AppendDirSeparator(folder.File(""), i % 2 == 0));
        ASSERT_TRUE(names.insert(path).second);
        const std::wstring name = CPath(path).GetFileName().Wide();
        ASSERT_EQ(name.size(), 22u);
        EXPECT_TRUE(name.starts_with(L"zv") && name.ends_with(L".tmp"));
        EXPECT_EQ(name.find_first_not_of(L"abcdefghijklmnopqrstuvwxyz0123456789", 2), name.size() - 4);
        EXPECT_EQ(ReadWhole(path), Bytes());
    }
    EXPECT_EQ(Entries(folder.File("")).size(), 100u);
}

TEST(Path, LetsOnlyTheOwnerAtATemporaryFile) {
    const ScratchFolder folder;
    const ZString path = CPath::GetTempFilename(folder.File(""));
    using std::filesystem::perms;
    const perms permissions = std::filesystem::status(SystemPath(path)).permissions();
    EXPECT_EQ(permissions & perms::owner_all, perms::owner_read | perms::owner_write);
    if (!kOnWindows) {  // there the folder's access list decides
        EXPECT_EQ(permissions & (perms::group_all | perms::others_all), perms::none);
    }
}

TEST(Path, AnswersWithNoNameWhereNoTemporaryFileCanBeMade) {
    const ScratchFolder folder;
    EXPECT_TRUE(CPath::GetTempFilename(folder.File("missing")).IsEmpty());
    const FailingCall failing(1);
    EXPECT_TRUE(CPath::GetTempFilename(folder.File("")).IsEmpty());
    EXPECT_TRUE(Entries(folder.File("")).empty());
}

TEST(Path, TellsFilesFromFolders) {
    const ScratchFolder folder;
    WriteWhole(folder.File("f"), {});
    EXPECT_TRUE(PathExists(folder.File("f")));
    EXPECT_FALSE(IsFolder(folder.File("f")));
    EXPECT_FALSE(PathExists(folder.File("f") + L"/"));
    EXPECT_FALSE(PathExists(folder.File("g")));
    EXPECT_FALSE(IsFolder(folder.File("g")));
    for (const bool separator : {false, true}) {
        const ZString path = CPath::AppendDirSeparator(folder.File(""), separator);
        EXPECT_TRUE(PathExists(path));
        EXPECT_TRUE(IsFolder(path));
    }
    EXPECT_FALSE(PathExists(L""));
    EXPECT_FALSE(PathExists(ZString(std::wstring(L"/\0", 2))));
}

TEST(Path, RemovesFilesOnly) {
    const ScratchFolder folder;
    const ZString name = folder.File("") + ZString("\xF0\x9F\x98\x80");
    WriteWhole(name, BytesOf("x"));
    EXPECT_TRUE(RemoveFile(name));
    EXPECT_FALSE(PathExists(name));
    EXPECT_FALSE(RemoveFile(name));
    EXPECT_EQ(LastSystemError(), 2);
    EXPECT_FALSE(RemoveFile(CPath::AppendDirSeparator(folder.File(""), false)));
    EXPECT_TRUE(IsFolder(folder.File("")));
}

TEST(Path, RenamesOverAFileThatIsThere) {
    const ScratchFolder folder;
    const ZString from = folder.File("from"), to = folder.File("to");
    WriteWhole(from, BytesOf("new"));
    EXPECT_TRUE(RenameFile(from, to));
    EXPECT_EQ(ReadWhole(to), BytesOf("new"));
    WriteWhole(from, BytesOf("newer"));
    EXPECT_TRUE(RenameFile(from, to));
    EXPECT_EQ(ReadWhole(to), BytesOf("newer"));
    EXPECT_FALSE(PathExists(from));
    EXPECT_FALSE(RenameFile(from, to));
    EXPECT_EQ(ReadWhole(to), BytesOf("newer"));
}

TEST(Path, ReportsFaultsOfRemovingAndRenaming) {
    const ScratchFolder folder;
    WriteWhole(folder.File("f"), {});
    {
        const FailingCall failing(1);
        EXPECT_FALSE(RemoveFile(folder.File("f")));
        EXPECT_EQ(LastSystemError(), kFaultCode);
    }
    const FailingCall failing(1);
    EXPECT_FALSE(RenameFile(folder.File("f"), folder.File("g")));
    EXPECT_EQ(LastSystemError(), kFaultCode);
    EXPECT_TRUE(PathExists(folder.File("f")));
}

}  // namespace
}  // namespace shr
