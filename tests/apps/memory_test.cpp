// Pictures that do not fit in the memory that they may take are paged to files; what comes out is the same to the bit.
#include <gtest/gtest.h>

#include "Cancel.h"
#include "apps/Image.h"
#include "apps/Scratch.h"
#include "apps/ToolRun.h"
#include "shr/FileFaults.h"

namespace test {
namespace {

constexpr int kWidth = 600, kHeight = 530;  // more than a tile either way

using Words = std::vector<std::string>;

Words operator+(Words words, const Words& more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

class Memory : public testing::Test {
protected:
    ~Memory() override {
        shr::SetFileTransferHook(nullptr);
        tool::SetCancelRequested(false);
    }
    std::string File(const std::string& name) const { return folder.File(name); }
    void Put(const std::string& name, const Bytes& bytes) const { WriteFile(File(name), bytes); }
    Bytes Get(const std::string& name) const { return ReadFile(File(name)); }
    static void Do(const Words& words) {
        const ToolResult result = RunTool(words);
        EXPECT_EQ(result.code, 0) << result.errors;
    }
    /// The command, without its output's name, writes the same and says the same in memory and paged.
    void ExpectTheSame(const std::string& command, const std::string& input, const std::string& ending,
                       const Words& options) const {
        SCOPED_TRACE(command + " " + input + " to " + ending + (options.empty() ? "" : " " + options.front()));
        const auto run = [&](const std::string& memory) {
            const ToolResult result =
                RunTool(Words{command, File(input), File("out." + ending), "--memory", memory} + options);
            EXPECT_EQ(result.code, 0) << result.errors;
            const Bytes bytes = Get("out." + ending);
            std::filesystem::remove(ToPath(File("out." + ending)));
            return std::pair{result.errors, bytes};
        };
        const auto inMemory = run("1G"), paged = run("0");
        EXPECT_EQ(inMemory.first, paged.first);
        EXPECT_TRUE(inMemory.second == paged.second);
    }

    ScratchFolder folder;
};

Image Palette(int bits) {
    Image image = RandomImage(Kind::palette, bits, kWidth, kHeight, 3);
    for (std::size_t i = 0; i < image.palette.size(); ++i) image.palette[i][3] = i % 3 == 0 ? 0 : 255;
    return image;
}

/// Pictures of every kind of pixel format.
class MemoryOfAnyPicture : public Memory, public testing::WithParamInterface<int> {
protected:
    static Bytes Picture() {
        TiffOptions turned;
        turned.orientation = 6;
        turned.tileSize = 64;
        switch (GetParam()) {
            case 0: return EncodePng(RandomImage(Kind::rgb, 8, kWidth, kHeight, 1));
            case 1: return EncodeTiff(RandomImage(Kind::rgba, 8, kWidth, kHeight, 4), turned);
            case 2: return EncodePng(Palette(1));
            case 3: return EncodePng(Palette(8));
            case 4: return EncodePng(RandomImage(Kind::grey, 2, kWidth, kHeight, 2), {.transparent = {1}});
            case 5: return EncodePng(RandomImage(Kind::grey, 16, kWidth, kHeight, 2), {.interlaced = true});
            case 6: return EncodeBmp(Palette(4));
            default: return EncodeJpeg(RandomImage(Kind::rgb, 8, kWidth, kHeight, 1), {.progressive = true});
        }
    }
};

TEST_P(MemoryOfAnyPicture, IsNoMatterForWhatCommandsWrite) {
    Put("in", Picture());
    ExpectTheSame("pack", "in", "zbm", {"--tile", "100x60"});
    for (const char* ending : {"png", "tif", "bmp", "jpg", "zbm"}) ExpectTheSame("convert", "in", ending, {});
    ExpectTheSame("convert", "in", "zbm", {"--format", "INDEXED_8"});
    ExpectTheSame("convert", "in", "zbm", {"--format", "INDEXED_4", "--colors", "9"});
    ExpectTheSame("convert", "in", "zbm", {"--format", "INDEXED_1", "--quantizer", "diffuse"});
    ExpectTheSame("convert", "in", "zbm", {"--format", "PBGRA_32"});
    ExpectTheSame("convert", "in", "zbm", {"--format", "GRAYSCALE_16"});
    ExpectTheSame("adjust", "in", "zbm", {"--brightness", "0.2"});
    ExpectTheSame("adjust", "in", "png", {"--sharpen", "0.4", "--median", "5", "--gray"});
    ExpectTheSame("resize", "in", "zbm", {"--size", "50%"});
    ExpectTheSame("resize", "in", "png", {"--size", "700x50", "--method", "mitchell"});
    ExpectTheSame("resize", "in", "zbm", {"--size", "55x650", "--method", "nearest"});
    ExpectTheSame("quantize", "in", "zbm", {"--colors", "17"});
    ExpectTheSame("reduce", "in", "zbm", {});
}

TEST_P(MemoryOfAnyPicture, IsNoMatterForWhatArchivesAndFilesBecome) {
    Put("in", Picture());
    Do({"reduce", File("in"), File("reduced.zbm")});
    Do({"pack", File("in"), File("tiles.zbm"), "--tile", "77x300"});
    Do({"page", File("in"), File("in.zbf")});
    for (const char* input : {"reduced.zbm", "tiles.zbm", "in.zbf"}) {
        ExpectTheSame("unpack", input, "png", {});
        ExpectTheSame("convert", input, "zbm", {});
        ExpectTheSame("convert", input, "tif", {"--format", "BGR_24"});
        ExpectTheSame("adjust", input, "zbm", {"--brightness", "0"});
        ExpectTheSame("adjust", input, "zbm", {"--contrast", "0.3"});
        ExpectTheSame("resize", input, "zbm", {"--size", "33%"});
        ExpectTheSame("reduce", input, "zbm", {});
    }
    ExpectTheSame("view", "in.zbf", "tif", {"--rect", "10,20,510,501"});
}

INSTANTIATE_TEST_SUITE_P(Kinds, MemoryOfAnyPicture, testing::Range(0, 8));

/// Every way in which commands page.
std::vector<Words> CommandsThatPage(const ScratchFolder& folder) {
    const auto file = [&](const char* name) { return folder.File(name); };
    const auto paged = [&](const char* command, const char* input, const char* output, const Words& options) {
        return Words{command, file(input), file(output), "--memory", "0"} + options;
    };
    return {paged("pack", "in.png", "out.zbm", {}),
            paged("unpack", "in.zbm", "out.tif", {}),
            paged("convert", "in.png", "out.bmp", {"--format", "INDEXED_4"}),
            paged("resize", "in.png", "out.zbm", {"--size", "90%"}),
            paged("adjust", "in.zbm", "out.zbm", {"--blur", "0.2"}),
            paged("convert", "in.zbm", "out.zbf", {})};
}

class MemoryInTrouble : public Memory {
protected:
    MemoryInTrouble() {
        Put("in.png", EncodePng(Palette(8)));
        Do({"reduce", File("in.png"), File("in.zbm")});
    }
    static Bytes Former() { return {1, 2, 3}; }
    void ExpectOnlyTheFormer(const std::string& output) const {
        EXPECT_EQ(ReadFile(output), Former());
        EXPECT_EQ(folder.Names().size(), 3u);
    }
};

TEST_F(MemoryInTrouble, CancelledRunsLeaveNothing) {
    for (const Words& command : CommandsThatPage(folder)) {
        int cancelled = 0;
        for (int call = 1;; call += call < 12 ? 1 : 13) {
            WriteFile(command[2], Former());
            static int callsLeft;
            callsLeft = call;
            shr::SetFileTransferHook([](shr::FileCall) {
                if (--callsLeft == 0) tool::SetCancelRequested(true);
                return shr::FileTransfer::whole;
            });
            const ToolResult result = RunTool(command);
            shr::SetFileTransferHook(nullptr);
            tool::SetCancelRequested(false);
            if (result.code == 0) break;
            ++cancelled;
            ASSERT_EQ(result.code, 130) << command[0] << " at " << call << ": " << result.errors;
            EXPECT_EQ(result.errors, "");
            ExpectOnlyTheFormer(command[2]);
            if (HasFailure()) return;
        }
        EXPECT_GT(cancelled, 3) << command[0];
        std::filesystem::remove(ToPath(command[2]));
    }
}

TEST_F(MemoryInTrouble, AFullDiskIsToldOfTheOutputAndLeavesNothing) {
    for (const Words& command : CommandsThatPage(folder)) {
        int failed = 0;
        for (int write = 0;; write += write < 9 ? 1 : 7) {
            WriteFile(command[2], Former());
            static int writesLeft;
            writesLeft = write;
            shr::SetFileTransferHook([](shr::FileCall kind) {
                const bool isFull = kind == shr::FileCall::write && --writesLeft < 0;
                return isFull ? shr::FileTransfer::diskFull : shr::FileTransfer::whole;
            });
            const ToolResult result = RunTool(command);
            shr::SetFileTransferHook(nullptr);
            if (result.code == 0) break;
            ++failed;
            ExpectOneErrorAbout(result, command[2]);
            EXPECT_EQ(result.errors.find(".tmp"), std::string::npos) << result.errors;
            ExpectOnlyTheFormer(command[2]);
            if (HasFailure()) return;
        }
        EXPECT_GT(failed, 3) << command[0];
        std::filesystem::remove(ToPath(command[2]));
    }
}

TEST_F(MemoryInTrouble, WhatAKilledRunLeavesIsSwept) {
    Do({"page", File("in.png"), File("in.zbf")});
    std::filesystem::create_directories(ToPath(File("zvA.tmp.d/zvB.tmp.d")));
    for (const char* left : {"zvA.tmp.d/zvC.tmp", "zvA.tmp.d/zvD.tmp", "zvA.tmp.d/zvB.tmp.d/zvE.tmp"})
        Put(left, Get("in.zbf"));
    Put("zvA.tmp", {});
    Put("zvA.tmp.d/zvB.tmp", {});
    const ToolResult result = RunTool({"clean-temp", File("")});
    EXPECT_EQ(result.out, "removed: 3\n") << result.errors;
    EXPECT_EQ(folder.Names(), (Words{"in.png", "in.zbf", "in.zbm"}));
}

TEST_F(Memory, IsGivenInBytesAndTheirMultiples) {
    Put("in.png", EncodePng(RandomImage(Kind::grey, 8, 20, 20, 1)));
    const auto pack = [&](const char* memory) {
        return RunTool({"pack", File("in.png"), File("out.zbm"), "--memory", memory}).code;
    };
    for (const char* memory : {"0", "1000000", "64K", "64k", "12M", "2g", "17179869183G"}) EXPECT_EQ(pack(memory), 0);
    for (const char* memory : {"", "K", "-1", "1.5G", "64KB", "64 K", "1T", "17179869184G", "18446744073709551616"})
        EXPECT_EQ(pack(memory), 2) << memory;
    EXPECT_EQ(RunTool({"adjust", "--in-place", File("x.zbf"), "--gray", "--memory", "1M"}).code, 2);
}

TEST_F(Memory, ASmallPictureIsHeldInItAndALargerOneTouchesTheDisk) {
    Put("in.png", EncodePng(RandomImage(Kind::grey, 8, 600, 600, 1)));
    static std::int64_t folders;
    const auto foldersMade = [&](const Words& memory) {
        folders = 0;
        static std::filesystem::path place;
        place = ToPath(File(""));
        shr::SetFileTransferHook([](shr::FileCall) {
            for (const auto& entry : std::filesystem::directory_iterator(place))
                folders += entry.is_directory() ? 1 : 0;
            return shr::FileTransfer::whole;
        });
        Do(Words{"pack", File("in.png"), File("out.zbm")} + memory);
        shr::SetFileTransferHook(nullptr);
        return folders > 0;
    };
    EXPECT_FALSE(foldersMade({}));
    EXPECT_FALSE(foldersMade({"--memory", "500K"}));
    EXPECT_TRUE(foldersMade({"--memory", "400K"}));
}

}  // namespace
}  // namespace test
