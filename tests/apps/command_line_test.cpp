// Arguments, exit codes and what is printed.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <sstream>

#include "apps/Image.h"
#include "apps/Scratch.h"
#include "apps/ToolRun.h"

namespace test {
namespace {

TEST(CommandLine, ShowsHelpAndVersion) {
    const ToolResult help = RunTool({"--help"});
    EXPECT_EQ(help.code, 0);
    EXPECT_EQ(help.errors, "");
    for (const char* word : {"pack", "unpack", "info", "orientation", "130"}) {
        EXPECT_NE(help.out.find(word), std::string::npos) << word;
    }
    EXPECT_NE(RunTool({"pack", "--help"}).out.find("--tile"), std::string::npos);
    EXPECT_NE(RunTool({"unpack", "--help"}).out.find("--quality"), std::string::npos);
    const ToolResult version = RunTool({"--version"});
    EXPECT_EQ(version.code, 0);
    EXPECT_EQ(version.out.find("zbm "), 0u);
}

class WrongUsage : public testing::TestWithParam<std::vector<std::string>> {};

TEST_P(WrongUsage, IsOneLineAndExitCodeTwo) {
    const ToolResult result = RunTool(GetParam());
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.ErrorLines().size(), 1u) << result.errors;
    EXPECT_EQ(result.errors.find("zbm: "), 0u) << result.errors;
}

INSTANTIATE_TEST_SUITE_P(
    Cases, WrongUsage,
    testing::Values(std::vector<std::string>{}, std::vector<std::string>{"shrink"}, std::vector<std::string>{"pack"},
                    std::vector<std::string>{"pack", "a"}, std::vector<std::string>{"pack", "a", "b", "c"},
                    std::vector<std::string>{"pack", "a", "b.zbm", "--tile", "0x5"},
                    std::vector<std::string>{"pack", "a", "b.zbm", "--tile", "5"},
                    std::vector<std::string>{"pack", "a", "b.zbm", "--tile", "5x"},
                    std::vector<std::string>{"pack", "a", "b.zbm", "--tile", "5x5x"},
                    std::vector<std::string>{"pack", "a", "b.zbm", "--tile", "5x99999999999"},
                    std::vector<std::string>{"pack", "a", "b.zbm", "--tile", "-5x5"},
                    std::vector<std::string>{"pack", "a", "b.zbm", "--method", "best"},
                    std::vector<std::string>{"pack", "a", "b.zbm", "--unknown"},
                    std::vector<std::string>{"pack", "-", "b.zbm"}, std::vector<std::string>{"pack", "", "b.zbm"},
                    std::vector<std::string>{"pack", "a", ""}, std::vector<std::string>{"unpack", "a"},
                    std::vector<std::string>{"unpack", "a.zbm", "b.jpg", "--quality", "0"},
                    std::vector<std::string>{"unpack", "a.zbm", "b.jpg", "--quality", "101"},
                    std::vector<std::string>{"unpack", "a.zbm", "b.png", "--background", "#12345"},
                    std::vector<std::string>{"unpack", "a.zbm", "b.png", "--background", "redd"},
                    std::vector<std::string>{"unpack", "a.zbm", "b.png", "--background", "#1234567"},
                    std::vector<std::string>{"unpack", "a.zbm", "b.png", "--max-pixels", "0"},
                    std::vector<std::string>{"unpack", "a.zbm", "b.png", "--max-pixels", "many"},
                    std::vector<std::string>{"convert", "a.zbm", "b.zbm", "--background", "white"},
                    std::vector<std::string>{"unpack", "a.zbm", "b.png", "--max-pixels", "1e6"},
                    std::vector<std::string>{"unpack", "a.zbm", "b.png", "--max-pixels", "18446744073709551616"},
                    std::vector<std::string>{"adjust", "a.zbm", "b.png", "--convolve", ""},
                    std::vector<std::string>{"adjust", "a.zbm", "b.png", "--convolve="},
                    std::vector<std::string>{"adjust", "a.zbm", "b.png", "--convolve", "-"},
                    std::vector<std::string>{"unpack", "a.zbm", "b", "--type", ""},
                    std::vector<std::string>{"info", ""}, std::vector<std::string>{"info"},
                    std::vector<std::string>{"info", "-"}, std::vector<std::string>{"info", "a", "b"}),
    [](const auto& tested) {
        std::string name = "Case" + std::to_string(tested.index);
        for (const std::string& word : tested.param) name += '_' + word;
        std::replace_if(
            name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
        return name;
    });

TEST(CommandLine, NamesAnUnknownCommand) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"shrink"}, {"shrink", "a.png", "b.png"}, {"shrink", "--help"}}) {
        const ToolResult result = RunTool(arguments);
        EXPECT_EQ(result.code, 2);
        EXPECT_EQ(result.errors, "zbm: usage: \"shrink\" is no command (see zbm --help)\n");
    }
}

TEST(CommandLine, NamesTheRangeOfMaxPixels) {
    EXPECT_EQ(RunTool({"convert", "a.png", "b.png", "--max-pixels", "0"}).errors,
              "zbm: usage: --max-pixels: \"0\" is no whole number from 1 to 18446744073709551615 (see zbm --help)\n");
}

TEST(CommandLine, TakesOptionsAnywhere) {
    const ScratchFolder folder;
    WriteFile(folder.File("p"), EncodePng(RandomImage(Kind::grey, 8, 10, 10, 1)));
    EXPECT_EQ(RunTool({"pack", "--tile", "4X2", folder.File("p"), "--method=fast", folder.File("a.zbm")}).code, 0);
    const BitmapPtr bitmap = LoadArchive(folder.File("a.zbm"));
    EXPECT_EQ(bitmap->GetScanRectWidth(), 4);
    EXPECT_EQ(bitmap->GetScanRectHeight(), 2);
}

TEST(CommandLine, UsesTilesOf512Pixels) {
    const ScratchFolder folder;
    WriteFile(folder.File("p"), EncodePng(RandomImage(Kind::grey, 1, 600, 10, 1)));
    ASSERT_EQ(RunTool({"pack", folder.File("p"), folder.File("a.zbm")}).code, 0);
    const BitmapPtr bitmap = LoadArchive(folder.File("a.zbm"));
    EXPECT_EQ(bitmap->GetScanRectWidth(), 512);
    EXPECT_EQ(bitmap->GetScanRectHeight(), 512);
}

TEST(Info, TellsWhatTheArchiveHolds) {
    const ScratchFolder folder;
    Image image = RandomImage(Kind::palette, 8, 600, 530, 1);
    image.palette.resize(20);
    for (std::uint32_t& sample : image.samples) sample %= 20;
    image.xPixelsPerMeter = 11811;
    image.yPixelsPerMeter = 2835;
    WriteFile(folder.File("p"), EncodePng(image));
    ASSERT_EQ(RunTool({"pack", folder.File("p"), folder.File("a.zbm"), "--method", "stored", "--tile", "256x512"}).code,
              0);
    const ToolResult result = RunTool({"info", folder.File("a.zbm")});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.errors, "");
    const std::size_t bytes = ReadFile(folder.File("a.zbm")).size();
    char ratio[32];
    std::snprintf(ratio, sizeof ratio, "%.2f", 600.0 * 530 / static_cast<double>(bytes));
    EXPECT_EQ(result.out,
              "kind: archive of a bitmap in memory\n"
              "size: 600 x 530\n"
              "format: INDEXED_8\n"
              "tile size: 256 x 512\n"
              "tiles: 3 x 2\n"
              "resolution: 11811 x 2835 pixels per metre (300 x 72 dpi)\n"
              "colour table entries: 20\n"
              "transparent pixels: no\n"
              "archive bytes: " +
                  std::to_string(bytes) +
                  "\n"
                  "ratio: " +
                  ratio + "\n");
}

TEST(Info, TellsWhetherPixelsAreTransparentInMaskOrAlpha) {
    const ScratchFolder folder;
    for (const shr::ColorFormat format : {shr::GRAYSCALE_1, shr::INDEXED_8, shr::BGR_24, shr::BGRA_32}) {
        const bool alpha = format == shr::BGRA_32;
        zbm::ZBasicMemBitmap bitmap(13, 3, format, 5, 2);
        for (int y = 0; y < 3; ++y) {
            for (int x = 0; x < 13; ++x) SetPixel(bitmap, x, y, {alpha ? 0xFF000000 : 0});
        }
        StoreArchive(bitmap, folder.File("a.zbm"));
        EXPECT_NE(RunTool({"info", folder.File("a.zbm")}).out.find("transparent pixels: no"), std::string::npos);
        SetPixel(bitmap, 12, 2, {alpha ? 0xFE000000 : 0, false});
        StoreArchive(bitmap, folder.File("a.zbm"));
        EXPECT_NE(RunTool({"info", folder.File("a.zbm")}).out.find("transparent pixels: yes"), std::string::npos);
    }
}

TEST(Info, SaysWhenTheResolutionIsUnknown) {
    const ScratchFolder folder;
    WriteFile(folder.File("p"), EncodePng(RandomImage(Kind::grey, 8, 5, 5, 1)));
    ASSERT_EQ(RunTool({"pack", folder.File("p"), folder.File("a.zbm")}).code, 0);
    EXPECT_NE(RunTool({"info", folder.File("a.zbm")}).out.find("resolution: unknown\n"), std::string::npos);
}

TEST(ProgressBar, IsShownOnATerminalAndWipedOut) {
    const ScratchFolder folder;
    WriteFile(folder.File("p"), EncodePng(RandomImage(Kind::rgb, 8, 50, 50, 1)));
    const ToolResult result = RunTool({"pack", folder.File("p"), folder.File("a.zbm"), "--tile", "8x8"}, 80);
    EXPECT_EQ(result.code, 0);
    EXPECT_NE(result.errors.find("Reading picture... ["), std::string::npos);
    EXPECT_NE(result.errors.find("Storing image... ["), std::string::npos);
    EXPECT_NE(result.errors.find(" 50 %"), std::string::npos);
    EXPECT_EQ(result.errors.find('\n'), std::string::npos);
    const std::size_t wiped = result.errors.find_last_not_of(" \r");
    EXPECT_GT(result.errors.size(), wiped + 20);
}

TEST(ProgressBar, IsNotShownElsewhere) {
    const ScratchFolder folder;
    WriteFile(folder.File("p"), EncodePng(RandomImage(Kind::rgb, 8, 50, 50, 1)));
    EXPECT_EQ(RunTool({"pack", folder.File("p"), folder.File("a.zbm")}).errors, "");
}

TEST(ProgressBar, FitsTheTerminal) {
    const ScratchFolder folder;
    WriteFile(folder.File("p"), EncodePng(RandomImage(Kind::rgb, 8, 50, 50, 1)));
    for (const int columns : {200, 80, 40, 30, 20, 12, 5, 2}) {
        const ToolResult result = RunTool({"pack", folder.File("p"), folder.File("a.zbm"), "--tile", "8x8"}, columns);
        ASSERT_EQ(result.code, 0);
        std::istringstream lines(result.errors);
        for (std::string line; std::getline(lines, line, '\r');)
            EXPECT_LT(line.size(), static_cast<std::size_t>(columns)) << line;
        EXPECT_EQ(result.errors.find('[') != std::string::npos, columns >= 40) << result.errors;
        EXPECT_EQ(result.errors.find("50 %") != std::string::npos, columns >= 12) << result.errors;
    }
}

TEST(Messages, ShowControlCharactersOfFileNamesEscaped) {
    const ToolResult result = RunTool({"info",
                                       "no\nsuch\x1B[31m\x7F\xC2\x80\xC2\x9B"
                                       "file\xC2\xA0\t\xF0\x9F\x92\x80"});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.errors.find("zbm: no\\nsuch\\x1B[31m\\x7F\\x80\\x9B"
                                 "file\xC2\xA0\\t\xF0\x9F\x92\x80: "),
              0u)
        << result.errors;
    EXPECT_EQ(result.ErrorLines().size(), 1u) << result.errors;
}

TEST(Messages, ShowWhatTurnsTheDirectionOfTextEscaped) {
    // From U+202A to U+202E, from U+2066 to U+2069, and the characters around them.
    const ToolResult result = RunTool({"info",
                                       "\xE2\x80\xA9\xE2\x80\xAA\xE2\x80\xAEgnp.exe\xE2\x80\xAF"
                                       "\xE2\x81\xA5\xE2\x81\xA6\xE2\x81\xA9\xE2\x81\xAA"});
    EXPECT_EQ(result.errors.find("zbm: \xE2\x80\xA9\\u202A\\u202Egnp.exe\xE2\x80\xAF"
                                 "\xE2\x81\xA5\\u2066\\u2069\xE2\x81\xAA: "),
              0u)
        << result.errors;
}

TEST(Messages, ShowBytesThatAreNoTextEscaped) {
    const ToolResult result = RunTool({"info", "a\x9B\xFFz"});
    EXPECT_EQ(result.errors.find("zbm: a\\x9B\\xFFz: "), 0u) << result.errors;
}

}  // namespace
}  // namespace test
