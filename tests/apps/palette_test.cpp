// Colours of indexed formats: palettes of the picture, fixed or from files, dithers, and palette files.
#include <gtest/gtest.h>

#include <cmath>
#include <exception>
#include <numeric>
#include <string>
#include <vector>

#include "apps/Image.h"
#include "apps/Scratch.h"
#include "apps/ToolRun.h"
#include "pictures/PaletteFormats.h"

namespace test {
namespace {

using Colors = std::vector<shr::Color4b>;
using tool::DecodePalette;
using tool::EncodePalette;
using tool::PaletteFormat;

Bytes AsBytes(const std::string& text) { return {text.begin(), text.end()}; }
std::string AsText(const Bytes& bytes) { return {bytes.begin(), bytes.end()}; }

/// "" or what is wrong with the bytes.
std::string ErrorOf(PaletteFormat format, const std::string& bytes) {
    try {
        DecodePalette(format, bytes);
    } catch (const std::exception& error) { return error.what(); }
    return "";
}

std::string GimpPalette(int colors) {
    std::string text = "GIMP Palette\n";
    for (int i = 0; i < colors; ++i) text += std::to_string(i % 256) + " 2 3\n";
    return text;
}

std::string ColorTable(int bytes, const std::string& tail = "") {
    std::string table(static_cast<std::size_t>(bytes), '\0');
    std::iota(table.begin(), table.end(), '\0');
    return table + tail;
}

TEST(GimpPalettes, AreReadInEveryUsualForm) {
    const Colors colors{{1, 2, 3}, {255, 0, 17}};
    for (const char* text : {"GIMP Palette\nName: Two\nColumns: 2\n#\n  1   2   3\tA name 7\n255   0  17\tB\n",
                             "GIMP Palette\r\nName: Two\r\n# note\r\n1 2 3\r\n\r\n255\t0\t17\tB\r\n",
                             "GIMP Palette\n1 2 3\n255 0 17", "\xEF\xBB\xBFGIMP Palette \n#\n1 2 3 a: b\n#\n255 0 17\n",
                             "GIMP Palette\nChannels: RGBA\n1 2 3 255\n255 0 17 255 x\n"})
        EXPECT_EQ(DecodePalette(PaletteFormat::gimp, text), colors) << text;
}

TEST(GimpPalettes, DamageIsSaidWithItsLine) {
    EXPECT_EQ(ErrorOf(PaletteFormat::gimp, "GIMP Palett\n1 2 3\n4 5 6\n"), "does not begin with \"GIMP Palette\"");
    for (const char* line : {"1 2", "1 2 256", "1 -2 3", "1 2 3x", "1, 2, 3", "Name: late", "\x01", "99999999999 1 1"})
        EXPECT_EQ(ErrorOf(PaletteFormat::gimp, "GIMP Palette\nName: x\n1 2 3\n" + std::string(line) + "\n7 8 9\n"),
                  "line 4 does not begin with red, green and blue, each 0 to 255")
            << line;
}

TEST(GimpPalettes, HaveOneTo256Colors) {
    EXPECT_EQ(ErrorOf(PaletteFormat::gimp, GimpPalette(0)), "has no colours");
    EXPECT_EQ(DecodePalette(PaletteFormat::gimp, GimpPalette(1)).size(), 1u);
    EXPECT_EQ(DecodePalette(PaletteFormat::gimp, GimpPalette(256)).size(), 256u);
    EXPECT_EQ(ErrorOf(PaletteFormat::gimp, GimpPalette(257)), "has more than 256 colours");
}

TEST(GimpPalettes, AreWrittenAsGimpWritesThem) {
    EXPECT_EQ(EncodePalette(PaletteFormat::gimp, {{1, 20, 255}, {0, 0, 0}}),
              "GIMP Palette\nName: zbm\nColumns: 16\n#\n  1  20 255\tUntitled\n  0   0   0\tUntitled\n");
}

TEST(ColorTables, HoldAll256ColorsOrAsManyAsTheySay) {
    const Colors all = DecodePalette(PaletteFormat::adobe, ColorTable(768));
    EXPECT_EQ(all.size(), 256u);
    EXPECT_EQ(all[85], shr::Color4b(255, 0, 1));
    for (const char* transparent : {"\xFF\xFF", "\x01\x01"}) {
        const Colors three = DecodePalette(PaletteFormat::adobe, ColorTable(768, std::string("\0\3", 2) + transparent));
        EXPECT_EQ(three, (Colors{{0, 1, 2}, {3, 4, 5}, {6, 7, 8}}));
    }
    EXPECT_EQ(DecodePalette(PaletteFormat::adobe, ColorTable(768, std::string("\1\0\xFF\xFF", 4))), all);
}

TEST(ColorTables, OtherSizesAndCountsAreRefused) {
    for (const int size : {0, 1, 767, 769, 771, 773, 1024})
        EXPECT_EQ(ErrorOf(PaletteFormat::adobe, ColorTable(size)),
                  "has " + std::to_string(size) + " bytes, and a colour table 768 or 772");
    const auto withCount = [](char high, char low) { return ColorTable(768, {high, low, '\xFF', '\xFF'}); };
    EXPECT_EQ(ErrorOf(PaletteFormat::adobe, withCount(0, 0)), "has no colours");
    EXPECT_EQ(DecodePalette(PaletteFormat::adobe, withCount(0, 1)), (Colors{{0, 1, 2}}));
    EXPECT_EQ(ErrorOf(PaletteFormat::adobe, withCount(1, 1)), "has more than 256 colours");
    EXPECT_EQ(ErrorOf(PaletteFormat::adobe, withCount('\xFF', '\xFF')), "has more than 256 colours");
}

TEST(ColorTables, AreWrittenWithTheirCountUnlessItIs256) {
    const std::string two = EncodePalette(PaletteFormat::adobe, {{1, 20, 255}, {7, 8, 9}});
    EXPECT_EQ(two,
              std::string("\x01\x14\xFF\x07\x08\x09", 6) + std::string(762, '\0') + std::string("\0\2\xFF\xFF", 4));
    const std::string all = ColorTable(768);
    EXPECT_EQ(EncodePalette(PaletteFormat::adobe, DecodePalette(PaletteFormat::adobe, all)), all);
}

class Palettes : public testing::Test {
protected:
    /// A picture of soft colours.
    Palettes() {
        Image image = RandomImage(Kind::rgb, 8, 60, 40, 1);
        for (int y = 0; y < 40; ++y)
            for (int x = 0; x < 60; ++x)
                for (int c = 0; c < 3; ++c)
                    image.samples[static_cast<std::size_t>((60 * y + x) * 3 + c)] =
                        static_cast<std::uint32_t>(40 * c + 2 * x + (c == 1 ? y : 3 * (40 - y))) & 255;
        WriteFile(folder.File("in.png"), EncodePng(image));
    }
    ToolResult Run(const std::vector<std::string>& options) {
        std::vector<std::string> arguments{"convert", folder.File("in.png"), folder.File("out.zbm")};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return RunTool(arguments);
    }
    BitmapPtr Convert(std::vector<std::string> options, const std::string& format = "INDEXED_8") {
        options.insert(options.end(), {"--format", format});
        const ToolResult result = Run(options);
        EXPECT_EQ(result.code, 0) << result.errors;
        EXPECT_EQ(result.errors, "");
        return LoadArchive(folder.File("out.zbm"));
    }
    double RmsOf(const BitmapPtr& indexed) {
        const Image image = DecodePng(ReadFile(folder.File("in.png")));
        double sum = 0;
        for (int y = 0; y < 40; ++y)
            for (int x = 0; x < 60; ++x) {
                const shr::Color4b color = indexed->GetColorTableItem(PixelAt(*indexed, x, y).value);
                const int levels[] = {color.red, color.green, color.blue};
                for (int c = 0; c < 3; ++c) sum += std::pow(levels[c] - static_cast<int>(image.At(x, y, c)), 2);
            }
        return std::sqrt(sum / (3 * 60 * 40));
    }
    static bool AreSame(const BitmapPtr& a, const BitmapPtr& b) {
        for (int y = 0; y < 40; ++y)
            for (int x = 0; x < 60; ++x)
                if (PixelAt(*a, x, y) != PixelAt(*b, x, y)) return false;
        return TableOf(a) == TableOf(b);
    }
    static Colors TableOf(const BitmapPtr& bitmap) {
        const shr::Color4b* const first = bitmap->GetConstColorTablePtr();
        return {first, first + bitmap->GetNumColorTableItems()};
    }
    void ExpectUsageError(const std::vector<std::string>& options, const std::string& about) {
        const ToolResult result = Run(options);
        EXPECT_EQ(result.code, 2) << result.errors;
        EXPECT_NE(result.errors.find(about), std::string::npos) << result.errors;
        EXPECT_EQ(folder.Names(), names);
    }

    ScratchFolder folder;
    std::vector<std::string> names{"in.png"};
};

TEST_F(Palettes, ADitherUsesThePicturesOwnColorsUnlessToldOtherwise) {
    for (const char* dither : {"ordered", "diffusion", "blue"}) {
        const BitmapPtr own = Convert({"--dither", dither});
        EXPECT_TRUE(AreSame(own, Convert({"--dither", dither, "--palette", "picture", "--strength", "1"})));
        EXPECT_LT(3 * RmsOf(own), RmsOf(Convert({"--dither", dither, "--palette", "fixed"}))) << dither;
        EXPECT_EQ(Convert({"--dither", dither, "--colors", "9"})->GetNumColorTableItems(), 9u);
    }
    EXPECT_TRUE(AreSame(Convert({"--dither", "none"}), Convert({})));
    EXPECT_TRUE(AreSame(Convert({"--palette", "picture"}), Convert({"--quantizer", "median8"})));
}

TEST_F(Palettes, TheQuantizersMeanWhatTheyAlwaysMeant) {
    EXPECT_TRUE(AreSame(Convert({"--quantizer", "ordered"}), Convert({"--palette", "fixed", "--dither", "ordered"})));
    EXPECT_TRUE(AreSame(Convert({"--quantizer", "diffuse"}), Convert({"--palette", "fixed", "--dither", "diffusion"})));
    const BitmapPtr chosen = Convert({"--quantizer", "median5"});
    EXPECT_EQ(TableOf(Convert({"--quantizer", "median5", "--dither", "diffusion"})), TableOf(chosen));
    EXPECT_NE(TableOf(chosen), TableOf(Convert({"--quantizer", "median8"})));
}

TEST_F(Palettes, FixedPalettesAreTheLargestThatSuit) {
    EXPECT_EQ(Convert({"--palette", "fixed"})->GetNumColorTableItems(), 256u);
    EXPECT_EQ(Convert({"--palette", "fixed", "--colors", "255"})->GetNumColorTableItems(), 16u);
    EXPECT_EQ(Convert({"--palette", "fixed"}, "INDEXED_1")->GetNumColorTableItems(), 2u);
}

TEST_F(Palettes, AFilesColorsAreUsedAndWrittenColorsAreThoseOfTheResult) {
    for (const char* file : {"p.gpl", "p.ACT"}) {
        const std::string name = folder.File(file);
        const BitmapPtr own = Convert({"--colors", "13", "--write-palette", name});
        EXPECT_EQ(Convert({"--palette", name})->GetNumColorTableItems(), 13u);
        EXPECT_TRUE(AreSame(own, Convert({"--palette", name}))) << file;
        EXPECT_EQ(TableOf(Convert({"--palette", name, "--dither", "blue"}, "INDEXED_4")), TableOf(own));
    }
    EXPECT_EQ(AsText(ReadFile(folder.File("p.ACT"))).substr(768), std::string("\0\15\xFF\xFF", 4));
    Convert({"--palette", "fixed", "--write-palette", folder.File("f.act")});
    EXPECT_EQ(ReadFile(folder.File("f.act")).size(), 768u);
}

TEST_F(Palettes, AQuantizerThatDithersDoesSoWithTheStrengthThatIsSaid) {
    EXPECT_TRUE(AreSame(Convert({"--quantizer", "ordered", "--strength", "0.4"}),
                        Convert({"--palette", "fixed", "--dither", "ordered", "--strength", "0.4"})));
    EXPECT_FALSE(
        AreSame(Convert({"--quantizer", "diffuse", "--strength", "0.4"}), Convert({"--quantizer", "diffuse"})));
}

TEST_F(Palettes, APaletteOfOneColorThatWasWrittenIsReadAgain) {
    for (const char* file : {"p.gpl", "p.act"}) {
        const std::string name = folder.File(file);
        const BitmapPtr own = Convert({"--colors", "1", "--write-palette", name});
        ASSERT_EQ(own->GetNumColorTableItems(), 1u);
        for (const char* dither : {"none", "ordered", "diffusion", "blue"})
            EXPECT_TRUE(AreSame(own, Convert({"--palette", name, "--dither", dither}))) << file << " " << dither;
    }
}

TEST_F(Palettes, ThePaletteOfAnIndexedPictureIsWrittenWithoutAnyConversion) {
    Convert({}, "INDEXED_4");
    ASSERT_EQ(
        RunTool({"convert", folder.File("out.zbm"), folder.File("out.png"), "--write-palette", folder.File("p.gpl")})
            .code,
        0);
    EXPECT_EQ(DecodePalette(PaletteFormat::gimp, AsText(ReadFile(folder.File("p.gpl")))),
              TableOf(LoadArchive(folder.File("out.zbm"))));
}

TEST_F(Palettes, WhatDoesNotGoTogetherIsWrongUsage) {
    const auto expect = [&](std::vector<std::string> options, const std::string& about) {
        options.insert(options.end(), {"--format", "INDEXED_4"});
        ExpectUsageError(options, about);
    };
    const std::string file = folder.File("p.gpl");
    expect({"--strength", "0.5"}, "--strength");
    expect({"--strength", "0.5", "--dither", "none"}, "--strength");
    expect({"--strength", "0.5", "--quantizer", "median8"}, "--strength");
    for (const char* strength : {"-0.1", "1.1", "nan", "strong"})
        expect({"--dither", "ordered", "--strength", strength}, "--strength");
    expect({"--dither", "diffuse"}, "--dither");
    expect({"--palette", "web"}, "--palette");
    expect({"--palette", "p.png"}, "--palette");
    expect({"--write-palette", "p.pal"}, "--write-palette");
    for (const char* quantizer : {"ordered", "diffuse"}) {
        expect({"--quantizer", quantizer, "--palette", "picture"}, "--quantizer");
        expect({"--quantizer", quantizer, "--dither", "none"}, "--quantizer");
    }
    expect({"--quantizer", "median8", "--palette", "fixed"}, "--quantizer");
    expect({"--quantizer", "median8", "--palette", file}, "--quantizer");
    expect({"--colors", "5", "--palette", file}, "--colors");
    expect({"--colors", "1", "--palette", "fixed"}, "--colors");
    expect({"--colors", "17", "--dither", "blue"}, "--colors");
}

TEST_F(Palettes, OtherFormatsHaveNoColorsToFind) {
    for (const std::vector<std::string>& options :
         {std::vector<std::string>{"--palette", "fixed"}, {"--dither", "blue"}, {"--write-palette", "p.gpl"}}) {
        std::vector<std::string> withFormat = options;
        withFormat.insert(withFormat.end(), {"--format", "BGR_24"});
        ExpectUsageError(withFormat, options[0]);
    }
    ExpectUsageError({"--palette", "fixed"}, "--palette");
    ExpectUsageError({"--write-palette", folder.File("p.gpl")}, "only a result in an INDEXED format has a palette");
}

TEST_F(Palettes, APaletteFileThatCannotBeUsedIsNamedAndNothingIsWritten) {
    const std::string name = folder.File("p.act");
    const auto run = [&] { return Run({"--format", "INDEXED_4", "--palette", name}); };
    ExpectOneErrorAbout(run(), name);
    names.emplace_back("p.act");
    for (const std::string& bytes : {std::string(), std::string(767, 'x'), std::string(2000000, 'x')}) {
        WriteFile(name, AsBytes(bytes));
        ExpectOneErrorAbout(run(), name);
        EXPECT_EQ(folder.Names(), names);
    }
    WriteFile(name, AsBytes(ColorTable(768)));
    ExpectUsageError({"--format", "INDEXED_4", "--palette", name}, "p.act: has 256 colours, and the format at most 16");
}

TEST_F(Palettes, APaletteThatCannotBeWrittenLeavesNothing) {
    const std::string name = folder.File("no folder/p.act");
    ExpectOneErrorAbout(Run({"--format", "INDEXED_4", "--write-palette", name}), name);
    EXPECT_EQ(folder.Names(), names);
    WriteFile(folder.File("in.png"), AsBytes("no picture"));
    EXPECT_EQ(Run({"--format", "INDEXED_4", "--write-palette", folder.File("p.act")}).code, 1);
    EXPECT_EQ(folder.Names(), names);
}

}  // namespace
}  // namespace test
