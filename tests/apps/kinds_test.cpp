// Files of every kind that the library and the tool write: what `info` calls them, and that other commands read them.
#include <gtest/gtest.h>

#include "apps/Image.h"
#include "apps/Scratch.h"
#include "apps/ToolRun.h"
#include "shr/Archive.h"
#include "zbm/SerializeIO.h"
#include "zbm/ZScanRectFileBitmap.h"

namespace test {
namespace {

constexpr int kWidth = 600, kHeight = 530;

class Kinds : public testing::Test {
protected:
    Kinds() : image(RandomImage(Kind::palette, 8, kWidth, kHeight, 1)) {
        WriteFile(File("in.png"), EncodePng(image));
        Do({"page", File("in.png"), File("in.zbf")});
    }
    std::string File(const std::string& name) const { return folder.File(name); }
    static std::string Do(const std::vector<std::string>& words) {
        const ToolResult result = RunTool(words);
        EXPECT_EQ(result.code, 0) << result.errors;
        EXPECT_EQ(result.errors, "");
        return result.out;
    }
    std::string KindOf(const std::string& name) const {
        const std::string out = Do({"info", File(name)});
        EXPECT_EQ(out.find("kind: "), 0u) << out;
        return out.substr(6, out.find('\n') - 6);
    }
    /// What the library stores of one of the levels of "in.zbf".
    void StoreLevel(unsigned level, const std::string& name, bool withReductions) const {
        zbm::ZScanRectFileBitmap bitmap(L"", L"", false);
        bitmap.Open(shr::ZString::FromUtf8(File("in.zbf")), true);
        shr::CBufferedFile file;
        file.Open(shr::ZString::FromUtf8(File(name)), shr::FileAccess::readWrite, shr::FileMode::create,
                  shr::FileSharing::none);
        shr::FileArchive archive(file, shr::FileArchive::Direction::storing);
        zbm::SerializeIO io(archive, withReductions);
        ASSERT_TRUE(bitmap.GetPtrToPOTReduction(level)->Serialize(io, nullptr, nullptr));
        file.Close();
    }
    Image Shown(const std::vector<std::string>& command) const {
        std::vector<std::string> words = command;
        words.insert(words.begin() + 2, File("shown.png"));
        Do(words);
        return DecodePng(ReadFile(File("shown.png")));
    }

    ScratchFolder folder;
    Image image;
};

TEST_F(Kinds, AreTold) {
    EXPECT_EQ(KindOf("in.png"), "PNG picture");
    EXPECT_EQ(KindOf("in.zbf"), "bitmap in a file (.zbf)");
    Do({"pack", File("in.png"), File("a.zbm")});
    EXPECT_EQ(KindOf("a.zbm"), "archive of a bitmap in memory");
    Do({"reduce", File("in.png"), File("b.zbm")});
    EXPECT_EQ(KindOf("b.zbm"), "archive of a bitmap in memory that keeps reductions");
    Do({"levels", File("in.zbf")});
    StoreLevel(0, "c", false);
    EXPECT_EQ(KindOf("c"), "archive of a bitmap in a file");
    StoreLevel(0, "d", true);
    EXPECT_EQ(KindOf("d"), "archive of a bitmap in a file");
    StoreLevel(1, "e", false);
    EXPECT_EQ(KindOf("e"), "archive of a level of a bitmap in a file");
}

TEST_F(Kinds, ALevelByItselfIsTold) {
    // A bitmap in a file is a frame of 509 bytes, and the picture as level 0.
    const Bytes bytes = ReadFile(File("in.zbf"));
    WriteFile(File("level"), Bytes(bytes.begin() + 509, bytes.end()));
    EXPECT_EQ(KindOf("level"), "level of a bitmap in a file, by itself");
    EXPECT_NE(Do({"info", File("level")}).find("size: 600 x 530\nformat: INDEXED_8\n"), std::string::npos);
    ExpectOneErrorAbout(RunTool({"convert", File("level"), File("a.png")}), File("level"));
}

TEST_F(Kinds, ArchivesOfBitmapsInFilesAreReadInMemoryAndPaged) {
    Do({"levels", File("in.zbf")});
    StoreLevel(0, "whole", true);
    StoreLevel(1, "level", false);
    EXPECT_NE(Do({"info", File("whole")}).find("reduction: 300 x 265\n"), std::string::npos);
    const Image half = Shown({"view", File("in.zbf"), "--level", "1"});
    for (const char* memory : {"1G", "0"}) {
        const Image shown = Shown({"unpack", File("whole"), "--memory", memory});
        EXPECT_EQ(shown.samples, image.samples);
        EXPECT_EQ(shown.palette, image.palette);
        EXPECT_EQ(Shown({"unpack", File("level"), "--memory", memory}).samples, half.samples);
        Do({"convert", File("whole"), File("whole.zbm"), "--memory", memory});
        Do({"pack", File("in.png"), File("in.zbm")});
        EXPECT_EQ(ReadFile(File("whole.zbm")), ReadFile(File("in.zbm")));
    }
    Do({"convert", File("whole"), File("whole.zbf")});
    EXPECT_NE(Do({"info", File("whole.zbf")}).find("levels: up to date\n"), std::string::npos);
}

/// A level whose first tile is as wide and high as the picture is high and wide looks nearly like a picture in a file.
TEST_F(Kinds, AreToldApartForSquarePicturesOfOneTile) {
    WriteFile(File("in.png"), EncodePng(RandomImage(Kind::grey, 8, 512, 512, 1)));
    Do({"page", File("in.png"), File("in.zbf")});
    Do({"levels", File("in.zbf")});
    StoreLevel(0, "file", false);
    StoreLevel(1, "level", false);
    EXPECT_EQ(KindOf("file"), "archive of a bitmap in a file");
    EXPECT_EQ(KindOf("level"), "archive of a level of a bitmap in a file");
}

TEST_F(Kinds, DamagedArchivesOfBitmapsInFilesAreRefused) {
    WriteFile(File("in.png"), EncodePng(RandomImage(Kind::palette, 8, 40, 34, 1)));
    Do({"page", File("in.png"), File("in.zbf")});
    Do({"levels", File("in.zbf")});
    StoreLevel(0, "whole", true);
    const Bytes whole = ReadFile(File("whole"));
    for (std::size_t length = 0; length < whole.size(); length += length < 120 ? 1 : 97) {
        WriteFile(File("cut"), Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
        for (const char* memory : {"1G", "0"})
            ExpectOneErrorAbout(RunTool({"unpack", File("cut"), File("out.png"), "--memory", memory}), File("cut"));
        if (HasFailure()) return;
    }
    EXPECT_FALSE(std::filesystem::exists(ToPath(File("out.png"))));
}

}  // namespace
}  // namespace test
