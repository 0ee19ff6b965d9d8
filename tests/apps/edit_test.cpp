// Editing files: adjustments in their order, other sizes, fewer colours, reductions.
#include <gtest/gtest.h>

#include <set>

#include "apps/Image.h"
#include "apps/Scratch.h"
#include "apps/ToolRun.h"
#include "zbm/ZMemBitmap.h"

namespace test {
namespace {

constexpr int kWidth = 70, kHeight = 50;

class Editing : public testing::Test {
protected:
    Editing() : picture(RandomImage(Kind::rgba, 8, kWidth, kHeight, 1)) {
        WriteFile(folder.File("in.png"), EncodePng(picture));
    }
    ToolResult Run(std::vector<std::string> arguments) { return RunTool(arguments); }
    Image Edited(const std::vector<std::string>& command, const std::vector<std::string>& options) {
        std::vector<std::string> arguments = command;
        arguments.insert(arguments.end(), {folder.File("in.png"), folder.File("out.png")});
        arguments.insert(arguments.end(), options.begin(), options.end());
        const ToolResult result = RunTool(arguments);
        EXPECT_EQ(result.code, 0) << result.errors;
        EXPECT_EQ(result.errors, "");
        return DecodePng(ReadFile(folder.File("out.png")));
    }
    Image Adjusted(const std::vector<std::string>& options) { return Edited({"adjust"}, options); }

    void WriteText(const char* name, const std::string& text) {
        WriteFile(folder.File(name), Bytes(text.begin(), text.end()));
    }
    void ExpectAlphaKept(const Image& result) {
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x) ASSERT_EQ(result.At(x, y, 3), picture.At(x, y, 3));
    }

    ScratchFolder folder;
    Image picture;
};

TEST_F(Editing, BrightnessOfOneIsWhiteAndOfMinusOneBlack) {
    for (const auto& [amount, level] : {std::pair{"1", 255u}, std::pair{"-1", 0u}}) {
        const Image result = Adjusted({"--brightness", amount});
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x)
                for (int c = 0; c < 3; ++c) ASSERT_EQ(result.At(x, y, c), level);
        ExpectAlphaKept(result);
    }
}

TEST_F(Editing, NeutralAmountsChangeNothing) {
    const Image result =
        Adjusted({"--brightness", "0", "--contrast", "0", "--saturation", "1", "--sharpen", "0", "--median", "1"});
    EXPECT_EQ(result.samples, picture.samples);
}

TEST_F(Editing, AdjustmentsAreMadeInTheirOrder) {
    const Image whiteLast = Adjusted({"--contrast", "-1", "--brightness", "1"});
    const Image greyLast = Adjusted({"--brightness", "1", "--contrast", "-1"});
    EXPECT_EQ(whiteLast.At(3, 4, 0), 255u);
    EXPECT_NEAR(greyLast.At(3, 4, 0), 128, 1);
}

TEST_F(Editing, GrayIsTheLuminance) {
    const Image result = Adjusted({"--gray"});
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) {
            const std::uint32_t sum = 299 * picture.At(x, y, 0) + 587 * picture.At(x, y, 1) + 114 * picture.At(x, y, 2);
            for (int c = 0; c < 3; ++c) ASSERT_EQ(result.At(x, y, c), (sum + 500) / 1000);
        }
    ExpectAlphaKept(result);
}

TEST_F(Editing, ConvolvesWithTheKernelOfAFile) {
    WriteText("identity", "0 0 0\n0, 2, 0\n0 0 0\n");
    EXPECT_EQ(Adjusted({"--convolve", folder.File("identity")}).samples, picture.samples) << "over the sum";
    WriteText("negative", "0 0 0 0 -1 0 0 0 0  1  255");
    const Image negative = Adjusted({"--convolve", folder.File("negative")});
    for (int c = 0; c < 3; ++c) EXPECT_EQ(negative.At(7, 9, c), 255 - picture.At(7, 9, c));
    WriteText("shift", "0 0 0 0 0  0 0 0 0 0  0 0 0 0 1  0 0 0 0 0  0 0 0 0 0");
    const Image shifted = Adjusted({"--convolve", folder.File("shift")});
    for (int c = 0; c < 3; ++c) EXPECT_EQ(shifted.At(7, 9, c), picture.At(9, 9, c));
}

TEST_F(Editing, AKernelFileThatHoldsNoKernelIsOneError) {
    for (const char* text : {"", "1 2 3", "1 2 3 4 5 6 7 8 nine", "1 1 1 1 1 1 1 1 1 1 1 1", "1e999 1 1 1 1 1 1 1 1"}) {
        WriteText("kernel", text);
        ExpectOneErrorAbout(
            Run({"adjust", folder.File("in.png"), folder.File("x"), "--convolve", folder.File("kernel")}),
            folder.File("kernel"));
    }
    ExpectOneErrorAbout(Run({"adjust", folder.File("in.png"), folder.File("x"), "--convolve", folder.File("none")}),
                        folder.File("none"));
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"in.png", "kernel"}));
}

TEST_F(Editing, AmountsOutOfRangeAndNoAdjustmentAreWrongUsage) {
    const std::string in = folder.File("in.png"), out = folder.File("out.png");
    for (const std::vector<std::string>& options : {std::vector<std::string>{},
                                                    {"--brightness", "1.5"},
                                                    {"--sharpen", "-0.5"},
                                                    {"--median", "0"},
                                                    {"--contrast", "much"},
                                                    {"--median", "256"}}) {
        std::vector<std::string> arguments{"adjust", in, out};
        arguments.insert(arguments.end(), options.begin(), options.end());
        EXPECT_EQ(Run(arguments).code, 2);
    }
    EXPECT_EQ(Run({"resize", in, out}).code, 2);
    EXPECT_EQ(Run({"resize", in, out, "--size", "0x5"}).code, 2);
    EXPECT_EQ(Run({"quantize", in, out, "--colors", "257"}).code, 2);
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"in.png"});
}

TEST_F(Editing, ResizesToTheSize) {
    for (const char* method : {"nearest", "bilinear", "catmull-rom", "mitchell", "b-spline"}) {
        const Image result = Edited({"resize"}, {"--size", "35x100", "--method", method});
        EXPECT_EQ(result.width, 35);
        EXPECT_EQ(result.height, 100);
    }
    const Image nearest = Edited({"resize"}, {"--size", "35x100", "--method", "nearest"});
    for (int c = 0; c < 4; ++c) EXPECT_EQ(nearest.At(10, 40, c), picture.At(21, 20, c));
}

TEST_F(Editing, LeavesAtMostThatManyColors) {
    for (const char* quantizer : {"median5", "median8", "popularity"}) {
        const Image result = Edited({"quantize"}, {"--colors", "7", "--quantizer", quantizer});
        std::set<std::uint32_t> colors;
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x)
                colors.insert(result.At(x, y, 0) << 16 | result.At(x, y, 1) << 8 | result.At(x, y, 2));
        EXPECT_EQ(colors.size(), 7u) << quantizer;
        ExpectAlphaKept(result);
    }
}

TEST_F(Editing, ReducesIntoAnArchiveThatAllCommandsRead) {
    ASSERT_EQ(Run({"reduce", folder.File("in.png"), folder.File("a.zbm")}).code, 0);
    const ToolResult info = Run({"info", folder.File("a.zbm")});
    EXPECT_EQ(info.code, 0) << info.errors;
    EXPECT_NE(info.out.find("reduction: 35 x 25\n"), std::string::npos) << info.out;
    EXPECT_EQ(info.out.find("reduction: 17"), std::string::npos) << info.out;
    EXPECT_EQ(info.errors, "");
    ASSERT_EQ(Run({"unpack", folder.File("a.zbm"), folder.File("out.png")}).code, 0);
    EXPECT_EQ(DecodePng(ReadFile(folder.File("out.png"))).samples, picture.samples);
    ASSERT_EQ(Run({"adjust", folder.File("a.zbm"), folder.File("b.zbm"), "--gray"}).code, 0);
    EXPECT_NE(Run({"info", folder.File("b.zbm")}).out.find("reduction: 35 x 25\n"), std::string::npos);
}

TEST_F(Editing, ADamagedReductionIsOneError) {
    ASSERT_EQ(Run({"reduce", folder.File("in.png"), folder.File("a.zbm")}).code, 0);
    const Bytes whole = ReadFile(folder.File("a.zbm"));
    Bytes damaged = whole;
    damaged[damaged.size() - 30] ^= 0x55;
    WriteFile(folder.File("a.zbm"), damaged);
    ExpectOneErrorAbout(Run({"info", folder.File("a.zbm")}), folder.File("a.zbm"));
    WriteFile(folder.File("a.zbm"), Bytes(whole.begin(), whole.end() - 1));
    ExpectOneErrorAbout(Run({"info", folder.File("a.zbm")}), folder.File("a.zbm"));
}

}  // namespace
}  // namespace test
