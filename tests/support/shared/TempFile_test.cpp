#include "shr/TempFile.h"

#include <gtest/gtest.h>

#include "FileTesting.h"
#include "shr/Path.h"

namespace shr {
namespace {

using namespace test;
using testkit::ScratchFolder;

TEST(TempFile, IsEmptyAndItsNameTellsWhatItIsFor) {
    const ScratchFolder folder;
    const TempFile file(folder.File(""), L".photo.png.");
    ASSERT_TRUE(file.HasFile());
    const std::wstring name = CPath(file.Name()).GetFileName().Wide();
    EXPECT_TRUE(name.starts_with(L".photo.png.zv") && name.ends_with(L".tmp")) << ZString(name).ToUtf8();
    EXPECT_EQ(ReadWhole(file.Name()), Bytes());
    const TempFile other(folder.File(""), L".photo.png.");
    EXPECT_NE(file.Name(), other.Name());
}

TEST(TempFile, IsForItsOwnerOnly) {
    const ScratchFolder folder;
    const TempFile file(folder.File(""));
    using std::filesystem::perms;
    const perms permissions = std::filesystem::status(SystemPath(file.Name())).permissions();
    if (!kOnWindows) { EXPECT_EQ(permissions, perms::owner_read | perms::owner_write); }
}

TEST(TempFile, GoesAwayWithTheObject) {
    const ScratchFolder folder;
    {
        const TempFile file(folder.File(""));
        EXPECT_EQ(Entries(folder.File("")).size(), 1u);
    }
    EXPECT_TRUE(Entries(folder.File("")).empty());
}

TEST(TempFile, TakesAnothersPlaceAndStaysThere) {
    const ScratchFolder folder;
    WriteWhole(folder.File("f"), {1, 2, 3});
    {
        TempFile file(folder.File(""));
        WriteWhole(file.Name(), {4, 5});
        EXPECT_TRUE(file.Rename(folder.File("f")));
        EXPECT_FALSE(file.HasFile());
    }
    EXPECT_EQ(ReadWhole(folder.File("f")), (Bytes{4, 5}));
    EXPECT_EQ(Entries(folder.File("")).size(), 1u);
}

TEST(TempFile, ThatCannotTakeAPlaceIsRemovedAllTheSame) {
    const ScratchFolder folder;
    {
        TempFile file(folder.File(""));
        EXPECT_FALSE(file.Rename(folder.File("missing/f")));
        EXPECT_TRUE(file.HasFile());
    }
    EXPECT_TRUE(Entries(folder.File("")).empty());
}

TEST(TempFile, SaysWhereNoneCanBeMade) {
    const ScratchFolder folder;
    EXPECT_FALSE(TempFile(folder.File("missing")).HasFile());
    const FailingCall failing(1);
    EXPECT_FALSE(TempFile(folder.File("")).HasFile());
    EXPECT_TRUE(Entries(folder.File("")).empty());
}

}  // namespace
}  // namespace shr
