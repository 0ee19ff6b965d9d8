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

TEST_F(Editing, AKernelFileThatHoldsNoKernelIsWrongUsageThatNamesIt) {
    for (const char* text : {"", "1 2 3", "1 2 3 4 5 6 7 8 nine", "1 1 1 1 1 1 1 1 1 1 1 1", "1e999 1 1 1 1 1 1 1 1",
                             "1 1 1 1 nan 1 1 1 1", "1 1 1 1 1 1 1 1 1 inf", "1 1 1 1 1 1 1 1 1 1 -inf",
                             "1e308 1e308 1e308 1e308 1e308 1e308 1e308 1e308 1e308", "1e307 1 1 1 1 1 1 1 1"}) {
        WriteText("kernel", text);
        const ToolResult result =
            Run({"adjust", folder.File("in.png"), folder.File("x.zbm"), "--convolve", folder.File("kernel")});
        EXPECT_EQ(result.code, 2) << text;
        EXPECT_EQ(result.ErrorLines().size(), 1u) << result.errors;
        EXPECT_EQ(result.errors.find("zbm: " + folder.File("kernel") + ": "), 0u) << result.errors;
    }
    ExpectOneErrorAbout(Run({"adjust", folder.File("in.png"), folder.File("x.zbm"), "--convolve", folder.File("none")}),
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
                                                    {"--brightness", "nan"},
                                                    {"--contrast", "-nan"},
                                                    {"--saturation", "inf"},
                                                    {"--blur", "NaN"},
                                                    {"--median", "256"}}) {
        std::vector<std::string> arguments{"adjust", in, out};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const ToolResult result = Run(arguments);
        EXPECT_EQ(result.code, 2);
        EXPECT_NE(result.errors.find(options.empty() ? "adjustment" : options[0]), std::string::npos) << result.errors;
    }
    EXPECT_EQ(Run({"resize", in, out}).code, 2);
    EXPECT_EQ(Run({"resize", in, out, "--size", "5x5", "--fit", "5x5"}).code, 2);
    for (const char* size : {"0x5", "x", "5", "-5x", "5x5x5", "%", "0%", "-5%", "nan%", "inf%", "5 %", "x0"})
        EXPECT_EQ(Run({"resize", in, out, "--size", size}).code, 2) << size;
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

struct SizeCase {
    const char *option, *text;
    int width, height;
};

TEST_F(Editing, ResizesInProportionRoundingToWholePixels) {
    // Of 70 x 50 pixels.
    for (const auto& [option, text, width, height] : {SizeCase{"--size", "50%", 35, 25},
                                                      {"--size", "1.5%", 1, 1},
                                                      {"--size", "0.001%", 1, 1},
                                                      {"--size", "200%", 140, 100},
                                                      {"--size", "99.5%", 70, 50},
                                                      {"--size", "21x", 21, 15},
                                                      {"--size", "x5", 7, 5},
                                                      {"--size", "x1", 1, 1},
                                                      {"--size", "100X", 100, 71},
                                                      {"--fit", "70x10", 14, 10},
                                                      {"--fit", "10x70", 10, 7},
                                                      {"--fit", "700x501", 700, 500},
                                                      {"--fit", "1x1", 1, 1},
                                                      {"--fit", "70x50", 70, 50}}) {
        const Image result = Edited({"resize"}, {option, text});
        EXPECT_EQ(result.width, width) << option << ' ' << text;
        EXPECT_EQ(result.height, height) << option << ' ' << text;
    }
}

TEST_F(Editing, RefusesToResizeBeyondTheAllowedPixels) {
    for (const char* size : {"71x50", "x51", "2000000000x2000000000", "1000000000%", "x2147483647"}) {
        const ToolResult result =
            Run({"resize", folder.File("in.png"), folder.File("out.png"), "--size", size, "--max-pixels", "3500"});
        ExpectOneErrorAbout(result, folder.File("in.png"));
    }
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"in.png"});
}

TEST_F(Editing, BlurTakesOnTheColorsOfTransparentPixelsUnlessThePictureIsPutOnABackgroundFirst) {
    Image image = RandomImage(Kind::rgba, 8, 12, 6, 1);
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 12; ++x)
            for (int c = 0; c < 4; ++c) image.At(x, y, c) = x < 6 ? (c == 3 ? 255 : 200) : 0;
    WriteFile(folder.File("in.png"), EncodePng(image));
    EXPECT_EQ(Adjusted({"--blur", "1"}).At(5, 3, 0), 133u) << "a third is black";
    EXPECT_EQ(Adjusted({"--blur", "1", "--background", "white"}).At(5, 3, 0), 133u) << "the background comes last";
    EXPECT_EQ(Edited({"resize"}, {"--size", "24x12"}).At(11, 6, 0), 200u) << "resizing heeds alpha";
    ASSERT_EQ(Run({"convert", folder.File("in.png"), folder.File("in2.png"), "--background", "white"}).code, 0);
    WriteFile(folder.File("in.png"), ReadFile(folder.File("in2.png")));
    EXPECT_EQ(Adjusted({"--blur", "1"}).At(5, 3, 0), 218u);
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

TEST_F(Editing, SaysThatDeepGreyIsReduced) {
    WriteFile(folder.File("in.png"), EncodePng(RandomImage(Kind::grey, 16, 9, 7, 1)));
    const std::string note =
        "zbm: " + folder.File("in.png") + ": note: its grey levels are reduced to 8 bits: filters work with no more\n";
    for (const std::vector<std::string>& command : {std::vector<std::string>{"resize", "--size", "5x5"},
                                                    {"resize", "--size", "5x5", "--method", "nearest"},
                                                    {"adjust", "--median", "3"},
                                                    {"quantize"}}) {
        std::vector<std::string> arguments = command;
        arguments.insert(arguments.begin() + 1, {folder.File("in.png"), folder.File("out.png")});
        const ToolResult result = Run(arguments);
        EXPECT_EQ(result.code, 0);
        EXPECT_EQ(result.errors, note);
        const Image image = DecodePng(ReadFile(folder.File("out.png")));
        EXPECT_EQ(image.bits, 16);
        for (const std::uint32_t level : image.samples) ASSERT_EQ(level % 257, 0u);
    }
    EXPECT_EQ(Run({"reduce", folder.File("in.png"), folder.File("a.zbm")}).errors, "") << "the picture itself stays";
}

TEST_F(Editing, ADamagedReductionIsOneError) {
    ASSERT_EQ(Run({"reduce", folder.File("in.png"), folder.File("a.zbm")}).code, 0);
    const Bytes whole = ReadFile(folder.File("a.zbm"));
    const auto unpack = [&] { return Run({"unpack", folder.File("a.zbm"), folder.File("out.png")}); };
    Bytes damaged = whole;
    damaged[damaged.size() - 30] ^= 0x55;
    WriteFile(folder.File("a.zbm"), damaged);
    ExpectOneErrorAbout(unpack(), folder.File("a.zbm"));
    WriteFile(folder.File("a.zbm"), Bytes(whole.begin(), whole.end() - 1));
    ExpectOneErrorAbout(unpack(), folder.File("a.zbm"));
    ExpectOneErrorAbout(Run({"info", folder.File("a.zbm")}), folder.File("a.zbm"));
}

}  // namespace
}  // namespace test
