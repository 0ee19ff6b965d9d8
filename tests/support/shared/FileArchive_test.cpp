#include <gtest/gtest.h>

#include "FileTesting.h"
#include "shr/Archive.h"
#include "shr/BufferedFile.h"

namespace shr {
namespace {

using namespace test;
using testkit::ScratchFolder;

constexpr FileSharing kAlone = FileSharing::none;

TEST(FileArchive, StoresFromTheFilesPositionOn) {
    const ScratchFolder folder;
    CBufferedFile file;
    file.Open(folder.File("f"), FileAccess::readWrite, FileMode::createNew, kAlone);
    file.Write("host", 4);
    FileArchive archive(file, FileArchive::Direction::storing);
    EXPECT_TRUE(archive.IsStoring());
    archive.Write("one", 3);
    archive.Write("two", 3);
    EXPECT_EQ(file.GetPosition(), 10);
    EXPECT_EQ(archive.RemainingBytes(), 0u);
    file.Close();
    EXPECT_EQ(ReadWhole(folder.File("f")), BytesOf("hostonetwo"));
}

TEST(FileArchive, LoadsFromTheFilesPositionOnAndKnowsWhatIsLeft) {
    const ScratchFolder folder;
    WriteWhole(folder.File("f"), BytesOf("hostonetwo"));
    CBufferedFile file;
    file.Open(folder.File("f"), FileAccess::read, FileMode::openExisting, FileSharing::read);
    file.Seek(4);
    FileArchive archive(file, FileArchive::Direction::loading);
    EXPECT_FALSE(archive.IsStoring());
    EXPECT_EQ(archive.RemainingBytes(), 6u);
    char bytes[3];
    archive.Read(bytes, 3);
    EXPECT_EQ(std::string(bytes, 3), "one");
    EXPECT_EQ(archive.RemainingBytes(), 3u);
    file.Seek(1000);
    EXPECT_EQ(archive.RemainingBytes(), 0u);
}

TEST(FileArchive, NamesTheFileThatEndsTooEarly) {
    const ScratchFolder folder;
    WriteWhole(folder.File("f"), BytesOf("12345"));
    CBufferedFile file;
    file.Open(folder.File("f"), FileAccess::read, FileMode::openExisting, FileSharing::read);
    FileArchive archive(file, FileArchive::Direction::loading);
    char bytes[6];
    EXPECT_TRUE(Tells(ErrorOf([&] { archive.Read(bytes, 6); }), L"BufferedFile", folder.File("f")));
    EXPECT_EQ(archive.RemainingBytes(), 5u);
    archive.Read(nullptr, 0);
}

TEST(FileArchive, GoesOneWayOnly) {
    const ScratchFolder folder;
    CBufferedFile file;
    file.Open(folder.File("f"), FileAccess::readWrite, FileMode::createNew, kAlone);
    FileArchive storing(file, FileArchive::Direction::storing), loading(file, FileArchive::Direction::loading);
    char byte = 0;
    EXPECT_THROW(storing.Read(&byte, 1), InternalError);
    EXPECT_THROW(loading.Write(&byte, 1), InternalError);
}

TEST(FileArchive, LeavesTheFileOpen) {
    const ScratchFolder folder;
    CBufferedFile file;
    file.Open(folder.File("f"), FileAccess::readWrite, FileMode::createNew, kAlone);
    { const FileArchive archive(file, FileArchive::Direction::storing); }
    EXPECT_TRUE(file.IsOpen());
}

}  // namespace
}  // namespace shr
