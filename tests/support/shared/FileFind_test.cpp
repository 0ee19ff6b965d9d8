#include "shr/FileFind.h"

#include <gtest/gtest.h>

#include <set>

#include "FileTesting.h"
#include "shr/Path.h"

namespace shr {
namespace {

using namespace test;
using testkit::ScratchFolder;
using Names = std::set<std::string>;

Names Matches(const ZString& pattern) {
    Names names;
    CFileFind find(pattern);
    while (find.FindNextFileW()) EXPECT_TRUE(names.insert(find.GetFileName().ToUtf8()).second);
    return names;
}

TEST(FileFind, FindsEveryEntryOnceTheLastOneToo) {
    const ScratchFolder folder;
    EXPECT_EQ(Matches(folder.File("*")), Names());
    Names all;
    for (int i = 0; i < 300; ++i) {
        const std::string name = std::to_string(i);
        WriteWhole(folder.File(name.c_str()), {});
        all.insert(name);
        if (i < 3) { EXPECT_EQ(Matches(folder.File("*")), all); }
    }
    EXPECT_EQ(Matches(folder.File("*")), all);
}

TEST(FileFind, MatchesStarsAndQuestionMarks) {
    const ScratchFolder folder;
    for (const char* name : {"zv1.tmp", "zv.tmp", "zv1.tmpx", "azv1.tmp", "zvzv.tmp.tmp", "zv1", "a.b.c"}) {
        WriteWhole(folder.File(name), {});
    }
    struct Case {
        const char* pattern;
        Names names;
    };
    for (const Case& c :
         {Case{"zv*.tmp", {"zv1.tmp", "zv.tmp", "zvzv.tmp.tmp"}}, Case{"zv?.tmp", {"zv1.tmp"}},
          Case{"zv1.tmp", {"zv1.tmp"}}, Case{"*zv1*", {"zv1.tmp", "zv1.tmpx", "azv1.tmp", "zv1"}}, Case{"???", {"zv1"}},
          Case{"*.?.*", {"a.b.c"}}, Case{"**z*v**p", {"zv1.tmp", "zv.tmp", "azv1.tmp", "zvzv.tmp.tmp"}},
          Case{"*.*", {"zv1.tmp", "zv.tmp", "zv1.tmpx", "azv1.tmp", "zvzv.tmp.tmp", "a.b.c"}}, Case{"?", {}},
          Case{"", {}}, Case{"none*", {}}}) {
        EXPECT_EQ(Matches(folder.File("") + c.pattern), c.names) << c.pattern;
    }
}

TEST(FileFind, MatchesCaseAsTheSystemsNamesDo) {
    const ScratchFolder folder;
    WriteWhole(folder.File("") + ZString("Zv\xC3\x84.TMP"), {});
    EXPECT_EQ(Matches(folder.File("") + ZString("Zv\xC3\x84*")).size(), 1u);
    EXPECT_EQ(Matches(folder.File("") + ZString("zv\xC3\xA4.tmp")).size(), kOnWindows ? 1u : 0u);
}

TEST(FileFind, CountsACharacterOutsideTheBasicPlaneAsOne) {
    const ScratchFolder folder;
    const std::string smile = "\xF0\x9F\x98\x80";
    WriteWhole(folder.File("") + ZString(("a" + smile + "b").c_str()), {});
    EXPECT_EQ(Matches(folder.File("a?b")), Names{"a" + smile + "b"});
    EXPECT_EQ(Matches(folder.File("???")), Names{"a" + smile + "b"});
    EXPECT_EQ(Matches(folder.File("*?b")), Names{"a" + smile + "b"});
    EXPECT_EQ(Matches(folder.File("????")), Names());
    EXPECT_EQ(Matches(folder.File("*????")), Names());
}

TEST(FileFind, TellsFilesFromFolders) {
    const ScratchFolder folder;
    WriteWhole(folder.File("file"), {});
    std::filesystem::create_directory(SystemPath(folder.File("sub")));
    std::set<std::pair<std::string, bool>> found;
    CFileFind find(folder.File("*"));
    while (find.FindNextFileW()) {
        found.insert({find.GetFileName().ToUtf8(), find.MatchesMask(FileAttribute::folder)});
        EXPECT_FALSE(find.MatchesMask(FileAttribute::hidden | FileAttribute::system | FileAttribute::compressed));
    }
    EXPECT_EQ(found, (std::set<std::pair<std::string, bool>>{{"file", false}, {"sub", true}}));
}

TEST(FileFind, TellsLengths) {
    const ScratchFolder folder;
    WriteWhole(folder.File("a"), Bytes(70000));
    WriteWhole(folder.File("b"), {});
    for (const auto& [name, length] : {std::pair{"a", 70000}, std::pair{"b", 0}}) {
        CFileFind find(folder.File(name));
        EXPECT_EQ(find.GetLength(), 0) << "there is no entry yet";
        ASSERT_TRUE(find.FindNextFileW());
        EXPECT_EQ(find.GetLength(), length);
        EXPECT_FALSE(find.FindNextFileW());
        EXPECT_EQ(find.GetLength(), 0);
    }
}

TEST(FileFind, KnowsWhatNobodyMayWrite) {
    const ScratchFolder folder;
    WriteWhole(folder.File("f"), {});
    using std::filesystem::perms;
    constexpr perms kWriting = perms::owner_write | perms::group_write | perms::others_write;
    std::filesystem::permissions(SystemPath(folder.File("f")), kWriting, std::filesystem::perm_options::remove);
    {
        CFileFind find(folder.File("f"));
        ASSERT_TRUE(find.FindNextFileW());
        EXPECT_TRUE(find.MatchesMask(FileAttribute::readOnly));
        EXPECT_EQ(find.GetAttributes() & FileAttribute::readOnly, FileAttribute::readOnly);
        EXPECT_FALSE(find.MatchesMask(0));
    }
    std::filesystem::permissions(SystemPath(folder.File("f")), kWriting, std::filesystem::perm_options::add);
}

TEST(FileFind, GivesThePathWithThePatternsFolder) {
    const ScratchFolder folder;
    WriteWhole(folder.File("f"), BytesOf("text"));
    CFileFind find(folder.File("*"));
    ASSERT_TRUE(find.FindNextFileW());
    EXPECT_EQ(find.GetFilePath(), folder.File("f"));
    EXPECT_EQ(ReadWhole(find.GetFilePath()), BytesOf("text"));
}

TEST(FileFind, AnswersNothingWhereThereIsNoEntry) {
    const ScratchFolder folder;
    WriteWhole(folder.File(".f"), {});
    CFileFind find(folder.File("*"));
    const auto expectNothing = [&] {
        EXPECT_FALSE(find.MatchesMask(0xFFFFFFFF));
        EXPECT_EQ(find.GetAttributes(), 0u);
        EXPECT_TRUE(find.GetFileName().IsEmpty());
        EXPECT_TRUE(find.GetFilePath().IsEmpty());
    };
    expectNothing();
    EXPECT_TRUE(find.FindNextFileW());
    EXPECT_FALSE(find.GetFilePath().IsEmpty());
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(find.FindNextFileW());
        expectNothing();
    }
}

TEST(FileFind, FindsNothingInAFolderThatCannotBeRead) {
    const ScratchFolder folder;
    EXPECT_EQ(Matches(folder.File("missing") + L"/*"), Names());
    WriteWhole(folder.File("f"), {});
    EXPECT_EQ(Matches(folder.File("f") + L"/*"), Names());
    EXPECT_EQ(Matches(L""), Names());
}

TEST(FileFind, LooksIntoTheCurrentFolderWithoutAFolder) {
    const ScratchFolder folder;
    WriteWhole(folder.File("only.here"), {});
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(std::filesystem::path(folder.File("").Wide()));
    const Names found = Matches(L"*");
    std::filesystem::current_path(before);
    EXPECT_EQ(found, Names{"only.here"});
}

TEST(FileFind, BearsEntriesThatGoWhileItWalks) {
    const ScratchFolder folder;
    for (int i = 0; i < 50; ++i) WriteWhole(folder.File(std::to_string(i).c_str()), {});
    CFileFind find(folder.File("*"));
    int removed = 0;
    while (find.FindNextFileW()) removed += RemoveFile(find.GetFilePath()) ? 1 : 0;
    EXPECT_EQ(removed, 50);
    EXPECT_EQ(Matches(folder.File("*")), Names());
}

}  // namespace
}  // namespace shr
