// Bitmaps in files: pictures are paged in, changed in place or into other files, reduced, and shown in parts.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "Cancel.h"
#include "apps/Image.h"
#include "apps/Scratch.h"
#include "apps/ToolRun.h"
#include "shr/FileFaults.h"
#include "zbm/ZScanRectFileBitmap.h"

namespace test {
namespace {

constexpr int kWidth = 600, kHeight = 530;  // more than a tile either way

class Paging : public testing::Test {
protected:
    ~Paging() override {
        shr::SetFileTransferHook(nullptr);
        tool::SetCancelRequested(false);
    }
    std::string File(const std::string& name) const { return folder.File(name); }
    /// Runs the tool, which must succeed and say nothing but what it was asked for; gives that.
    static std::string Do(const std::vector<std::string>& arguments) {
        const ToolResult result = RunTool(arguments);
        EXPECT_EQ(result.code, 0) << result.errors;
        EXPECT_EQ(result.errors, "");
        return result.out;
    }
    void Put(const std::string& name, const Bytes& bytes) const { WriteFile(File(name), bytes); }
    Bytes Get(const std::string& name) const { return ReadFile(File(name)); }
    /// "in.png", and of it "in.zbf".
    void PageIn(const Image& image) const {
        Put("in.png", EncodePng(image));
        Do({"page", File("in.png"), File("in.zbf")});
    }
    std::string Info(const std::string& name) const { return Do({"info", File(name)}); }
    bool InfoSays(const std::string& name, const std::string& line) const {
        std::istringstream lines(Info(name));
        for (std::string found; std::getline(lines, found);)
            if (found == line) return true;
        return false;
    }
    /// The picture that a file holds, whatever its type.
    Image Shown(const std::string& name) const {
        Do({"convert", File(name), File("shown.png")});
        const Image image = DecodePng(Get("shown.png"));
        std::filesystem::remove(ToPath(File("shown.png")));
        return image;
    }

    ScratchFolder folder;
};

Image Palette(int bits) {
    Image image = RandomImage(Kind::palette, bits, kWidth, kHeight, 3);
    for (std::size_t i = 0; i < image.palette.size(); ++i) image.palette[i][3] = i % 3 == 0 ? 0 : 255;
    return image;
}

Image OnlyPart(const Image& image, int left, int top, int width, int height) {
    Image part = image;
    part.width = width;
    part.height = height;
    part.samples.clear();
    for (int y = top; y < top + height; ++y)
        for (int x = left; x < left + width; ++x)
            for (int c = 0; c < image.Channels(); ++c) part.samples.push_back(image.At(x, y, c));
    return part;
}

TEST_F(Paging, GivesTheSamePictureAsDirectConversion) {
    Image resolved = RandomImage(Kind::rgb, 8, kWidth, kHeight, 1);
    resolved.xPixelsPerMeter = 11811;
    resolved.yPixelsPerMeter = 2835;
    const Image grey = RandomImage(Kind::grey, 2, kWidth, kHeight, 2);
    TiffOptions turned;
    turned.orientation = 6;
    turned.tileSize = 64;
    for (const Bytes& picture :
         {EncodePng(resolved), EncodePng(RandomImage(Kind::rgba, 8, kWidth, kHeight, 2)), EncodePng(Palette(1)),
          EncodePng(Palette(4)), EncodePng(Palette(8)), EncodePng(grey, {.transparent = {1}}),
          EncodePng(RandomImage(Kind::grey, 16, kWidth, kHeight, 2), {.interlaced = true}),
          EncodePng(RandomImage(Kind::grey, 1, kWidth, kHeight, 2)), EncodeBmp(resolved),
          EncodeTiff(RandomImage(Kind::rgba, 8, kWidth, kHeight, 4), turned)}) {
        Put("in", picture);
        Do({"page", File("in"), File("in.zbf")});
        for (const char* ending : {"png", "tif"}) {
            const std::string there = std::string("there.") + ending, direct = std::string("direct.") + ending;
            Do({"unpack", File("in.zbf"), File(there)});
            Do({"convert", File("in"), File(direct)});
            ASSERT_EQ(Get(there), Get(direct));
        }
        // And the same archive: tiles, colours, resolution.
        Do({"convert", File("in.zbf"), File("there.zbm")});
        Do({"pack", File("in"), File("direct.zbm")});
        ASSERT_EQ(Get("there.zbm"), Get("direct.zbm"));
    }
}

TEST_F(Paging, KeepsTheOrientationIfAsked) {
    TiffOptions turned;
    turned.orientation = 8;
    Put("in", EncodeTiff(RandomImage(Kind::rgb, 8, 30, 20, 1), turned));
    Do({"page", File("in"), File("turned.zbf")});
    EXPECT_TRUE(InfoSays("turned.zbf", "size: 20 x 30"));
    const ToolResult kept = RunTool({"page", File("in"), File("kept.zbf"), "--keep-orientation"});
    EXPECT_EQ(kept.code, 0);
    EXPECT_NE(kept.errors.find("note: its mark to be shown turned"), std::string::npos) << kept.errors;
    EXPECT_TRUE(InfoSays("kept.zbf", "size: 30 x 20"));
}

TEST_F(Paging, NotesWhatTheFileCannotHold) {
    Image image = RandomImage(Kind::rgb, 8, 30, 20, 1);
    image.profile = MakeProfile("RGB ", 200);
    Put("in", EncodePng(image));
    const ToolResult result = RunTool({"page", File("in"), File("in.zbf")});
    EXPECT_EQ(result.code, 0);
    EXPECT_NE(result.errors.find("note: its colour profile is not kept"), std::string::npos) << result.errors;
}

TEST_F(Paging, WritesToStandardOutput) {
    Put("in", EncodePng(RandomImage(Kind::rgb, 8, 30, 20, 1)));
    const std::string out = Do({"page", File("in"), "-"});
    Do({"page", File("in"), File("in.zbf")});
    EXPECT_EQ(Bytes(out.begin(), out.end()), Get("in.zbf"));
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"in", "in.zbf"}));
}

TEST_F(Paging, InfoTellsOfAPictureWithoutRows) {
    PageIn(RandomImage(Kind::rgb, 8, 20, 20, 1));
    zbm::ZScanRectFileBitmap source(L"", L"", false), empty(L"", L"", false);
    source.Open(shr::ZString::FromUtf8(File("in.zbf")), true);
    ASSERT_TRUE(empty.Create(shr::ZString::FromUtf8(File("empty.zbf")), 5, 0, source, {0, 0, 20, 20},
                             zbm::ResizeBilinear, nullptr));
    empty.Close();
    EXPECT_TRUE(InfoSays("empty.zbf", "size: 5 x 0"));
    EXPECT_TRUE(InfoSays("empty.zbf", "tiles: 1 x 0"));
}

TEST_F(Paging, ALevelOfAnotherSizeIsNotShownAndIsMadeAnew) {
    PageIn(RandomImage(Kind::rgb, 8, kWidth, kHeight, 1));
    Do({"levels", File("in.zbf")});
    Do({"view", File("in.zbf"), File("right.png"), "--level", "1"});
    Bytes bytes = Get("in.zbf");
    const std::string text = "ZVSRFS{";
    const auto level0 = std::search(bytes.begin(), bytes.end(), text.begin(), text.end());
    const auto level1 = std::search(level0 + 1, bytes.end(), text.begin(), text.end());
    ASSERT_EQ(level1[49 + 4], kWidth / 2 % 256);
    --level1[49 + 4];
    Put("in.zbf", bytes);
    const ToolResult result = RunTool({"view", File("in.zbf"), File("view.png"), "--level", "1"});
    EXPECT_EQ(result.code, 1);
    EXPECT_NE(result.errors.find("299 x 265 instead of 300 x 265"), std::string::npos) << result.errors;
    Do({"levels", File("in.zbf"), "--rebuild"});
    Do({"view", File("in.zbf"), File("view.png"), "--level", "1"});
    EXPECT_EQ(DecodePng(Get("view.png")).samples, DecodePng(Get("right.png")).samples);
}

TEST_F(Paging, InfoTellsWhatTheFileHolds) {
    Image image = RandomImage(Kind::palette, 8, 1030, kHeight, 1);
    image.xPixelsPerMeter = image.yPixelsPerMeter = 11811;
    PageIn(image);
    const auto bytes = [&] { return "file bytes: " + std::to_string(Get("in.zbf").size()) + "\n"; };
    const std::string frame =
        "kind: bitmap in a file (.zbf)\nsize: 1030 x 530\nformat: INDEXED_8\ntile size: 512 x 512\ntiles: 3 x 2\n"
        "resolution: 11811 x 11811 pixels per metre (300 x 300 dpi)\ncolour table entries: 256\n";
    EXPECT_EQ(Info("in.zbf"), frame + bytes() + "levels: none\n");
    Do({"levels", File("in.zbf")});
    EXPECT_EQ(Info("in.zbf"), frame + bytes() +
                                  "level 1: 515 x 265\nlevel 2: 257 x 132\nlevel 3: 128 x 66\nlevel 4: 64 x 33\n"
                                  "levels: up to date\n");
}

TEST_F(Paging, IsToldByItsContentWhateverItsName) {
    PageIn(RandomImage(Kind::rgb, 8, 30, 20, 1));
    std::filesystem::rename(ToPath(File("in.zbf")), ToPath(File("other.png")));
    EXPECT_TRUE(InfoSays("other.png", "levels: none"));
    EXPECT_EQ(Shown("other.png").samples, DecodePng(Get("in.png")).samples);
}

TEST_F(Paging, TakesOnlyPicturesAndGivesOnlyFiles) {
    PageIn(RandomImage(Kind::rgb, 8, 30, 20, 1));
    ExpectOneErrorAbout(RunTool({"page", File("in.zbf"), File("b.zbf")}), File("in.zbf"));
    EXPECT_EQ(RunTool({"page", File("in.png"), File("b.png")}).code, 2);
    EXPECT_EQ(RunTool({"page", File("in.png"), File("b.zbm")}).code, 2);
    EXPECT_EQ(RunTool({"pack", File("in.png"), File("b.zbf")}).code, 2);
    EXPECT_EQ(RunTool({"unpack", File("in.zbf"), File("b.zbf")}).code, 2);
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"in.png", "in.zbf"}));
}

TEST_F(Paging, RefusesMorePixelsThanAllowed) {
    PageIn(RandomImage(Kind::rgb, 8, 30, 20, 1));
    ExpectOneErrorAbout(RunTool({"page", File("in.png"), File("b.zbf"), "--max-pixels", "599"}), File("in.png"));
    ExpectOneErrorAbout(RunTool({"convert", File("in.zbf"), File("b.png"), "--max-pixels", "599"}), File("in.zbf"));
    ExpectOneErrorAbout(RunTool({"view", File("in.zbf"), File("b.png"), "--max-pixels", "9", "--rect", "0,0,5,2"}),
                        File("in.zbf"));
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"in.png", "in.zbf"}));
    Do({"page", File("in.png"), File("b.zbf"), "--max-pixels", "600"});
}

TEST_F(Paging, LevelsAreHalfTheSizeOfTheOneBefore) {
    PageIn(RandomImage(Kind::rgba, 8, kWidth, kHeight, 1));
    Do({"levels", File("in.zbf")});
    Do({"resize", File("in.png"), File("half.png"), "--size", "300x265"});
    Do({"resize", File("half.png"), File("quarter.png"), "--size", "150x132"});
    for (const auto& [level, name] : {std::pair{"0", "in.png"}, {"1", "half.png"}, {"2", "quarter.png"}}) {
        Do({"view", File("in.zbf"), File("view.png"), "--level", level});
        EXPECT_EQ(DecodePng(Get("view.png")).samples, DecodePng(Get(name)).samples) << level;
    }
}

TEST_F(Paging, LevelsOfIndexedColoursLeaveNothingBehind) {
    PageIn(RandomImage(Kind::palette, 8, kWidth, kHeight, 1));
    const auto temporary = [] {
        std::size_t count = 0;
        for (const auto& entry : std::filesystem::directory_iterator(std::filesystem::temp_directory_path()))
            count += entry.path().extension() == ".tmp" ? 1 : 0;
        return count;
    };
    const std::size_t before = temporary();
    Do({"levels", File("in.zbf")});
    EXPECT_TRUE(InfoSays("in.zbf", "levels: up to date"));
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"in.png", "in.zbf"}));
    EXPECT_EQ(temporary(), before);
}

TEST_F(Paging, LevelsAreBuiltOnlyWhereTheyAreMissingOrStaleOrOnDemand) {
    PageIn(RandomImage(Kind::rgb, 8, kWidth, kHeight, 1));
    Do({"levels", File("in.zbf")});
    const Bytes built = Get("in.zbf");
    Do({"levels", File("in.zbf")});
    EXPECT_EQ(Get("in.zbf"), built);

    Do({"view", File("in.zbf"), File("good.png"), "--level", "1"});
    {
        // A level with other pixels, of which its file does not know that they are others.
        zbm::ZScanRectFileBitmap file(L"", L"", false);
        file.Open(shr::ZString::FromUtf8(File("in.zbf")), false);
        zbm::ZBitmap& level = *file.GetPtrToPOTReduction(1);
        const unsigned char pixel[3] = {1, 2, 3};
        level.StoreRegion(pixel, 3, 7, 7, 1, 1);
        file.Close();
    }
    const auto isGood = [&] {
        Do({"view", File("in.zbf"), File("now.png"), "--level", "1"});
        return Get("now.png") == Get("good.png");
    };
    EXPECT_FALSE(isGood());
    Do({"levels", File("in.zbf")});
    EXPECT_FALSE(isGood());
    Do({"levels", File("in.zbf"), "--rebuild"});
    EXPECT_TRUE(isGood());
}

TEST_F(Paging, StaleLevelsAreToldAndRefreshed) {
    const Image image = RandomImage(Kind::rgb, 8, kWidth, kHeight, 1);
    PageIn(image);
    Do({"levels", File("in.zbf")});
    {
        zbm::ZScanRectFileBitmap file(L"", L"", false);
        file.Open(shr::ZString::FromUtf8(File("in.zbf")), false);
        const std::vector<unsigned char> white(3 * kWidth * kHeight, 255);
        file.StoreRegion(white.data(), 3 * kWidth, 0, 0, kWidth, kHeight);
        file.Close();
    }
    EXPECT_TRUE(InfoSays("in.zbf", "levels: stale"));
    Do({"levels", File("in.zbf")});
    EXPECT_TRUE(InfoSays("in.zbf", "levels: up to date"));
    Do({"view", File("in.zbf"), File("view.png"), "--level", "2"});
    for (const std::uint32_t sample : DecodePng(Get("view.png")).samples) ASSERT_EQ(sample, 255u);
}

TEST_F(Paging, AViewIsAPartOfTheLevel) {
    const Image rgba = RandomImage(Kind::rgba, 8, kWidth, kHeight, 1), grey = RandomImage(Kind::grey, 1, 90, 70, 1);
    for (const auto& [image, transparent] : {std::pair{rgba, false}, {Palette(4), false}, {grey, false}}) {
        PageIn(image);
        const Image whole = Shown("in.zbf");
        for (const auto& [x, y, w, h] : {std::array{0, 0, 1, 1}, {3, 5, 61, 47}, {image.width - 7, 0, 7, 9}}) {
            const std::string rect =
                std::to_string(x) + "," + std::to_string(y) + "," + std::to_string(w) + "," + std::to_string(h);
            Do({"view", File("in.zbf"), File("view.png"), "--rect", rect});
            const Image part = DecodePng(Get("view.png"));
            ASSERT_EQ(part.width, w);
            ASSERT_EQ(part.height, h);
            // In colours: the part may have others in its table.
            Do({"convert", File("view.png"), File("part.png"), "--format", "BGRA_32"});
            Do({"convert", File("in.zbf"), File("whole.png"), "--format", "BGRA_32"});
            EXPECT_EQ(DecodePng(Get("part.png")).samples, OnlyPart(DecodePng(Get("whole.png")), x, y, w, h).samples)
                << rect;
        }
    }
    // Across the borders of tiles, and of a reduction.
    PageIn(rgba);
    Do({"levels", File("in.zbf")});
    Do({"view", File("in.zbf"), File("a.png"), "--rect", "500,490,90,40"});
    EXPECT_EQ(DecodePng(Get("a.png")).samples, OnlyPart(rgba, 500, 490, 90, 40).samples);
    Do({"view", File("in.zbf"), File("half.png"), "--level", "1"});
    Do({"view", File("in.zbf"), File("a.png"), "--level", "1", "--rect", "10,20,30,40"});
    EXPECT_EQ(DecodePng(Get("a.png")).samples, OnlyPart(DecodePng(Get("half.png")), 10, 20, 30, 40).samples);
    // Of any type.
    Do({"view", File("in.zbf"), File("a.zbf"), "--level", "1", "--rect", "10,20,30,40"});
    EXPECT_EQ(Shown("a.zbf").samples, DecodePng(Get("a.png")).samples);
}

TEST_F(Paging, AViewOfWhatIsNotThereSaysWhatIs) {
    PageIn(RandomImage(Kind::rgb, 8, kWidth, kHeight, 1));
    const auto view = [&](const char* option, const char* value) {
        return RunTool({"view", File("in.zbf"), File("view.png"), option, value});
    };
    ToolResult result = view("--level", "1");
    ExpectOneErrorAbout(result, File("in.zbf"));
    EXPECT_NE(result.errors.find("has no level 1: it has 1"), std::string::npos) << result.errors;
    Do({"levels", File("in.zbf")});
    result = view("--level", "5");
    ExpectOneErrorAbout(result, File("in.zbf"));
    EXPECT_NE(result.errors.find("has no level 5: it has 5"), std::string::npos) << result.errors;
    for (const char* rect : {"600,0,1,1", "0,530,1,1", "1,0,600,1", "2147483647,0,2147483647,1"}) {
        result = view("--rect", rect);
        ExpectOneErrorAbout(result, File("in.zbf"));
        EXPECT_NE(result.errors.find("600 x 530"), std::string::npos) << result.errors;
    }
    for (const char* rect : {"", "1", "1,2,3", "1,2,3,4,5", "-1,0,3,3", "0,0,0,3", "1,2,3,x", "1 2 3 4"})
        EXPECT_EQ(view("--rect", rect).code, 2) << rect;
    for (const char* level : {"-1", "", " ", "1.5", "x", "4294967296"}) {
        result = view("--level", level);
        EXPECT_EQ(result.code, 2) << level;
        EXPECT_NE(result.errors.find("--level"), std::string::npos) << result.errors;
        EXPECT_EQ(result.ErrorLines().size(), 1u) << result.errors;
    }
    ExpectOneErrorAbout(RunTool({"view", File("in.png"), File("view.png")}), File("in.png"));
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"in.png", "in.zbf"}));
}

struct Adjusting {
    const char* name;
    std::vector<std::string> options;
};
const std::vector<Adjusting> kAdjustings{{"brightness", {"--brightness", "0.2"}},
                                         {"median", {"--median", "3"}},
                                         {"several", {"--gray", "--contrast", "-0.3", "--sharpen", "0.5"}}};

TEST_F(Paging, AdjustsFilesAsItAdjustsArchives) {
    const Image image = RandomImage(Kind::rgba, 8, kWidth, kHeight, 1);
    PageIn(image);
    Do({"pack", File("in.png"), File("in.zbm")});
    const auto adjust = [&](const Adjusting& adjusting, const std::string& from, const std::string& to) {
        std::vector<std::string> arguments{"adjust", File(from), File(to)};
        arguments.insert(arguments.end(), adjusting.options.begin(), adjusting.options.end());
        Do(arguments);
    };
    for (const Adjusting& adjusting : kAdjustings) {
        SCOPED_TRACE(adjusting.name);
        adjust(adjusting, "in.zbm", "judge.png");
        adjust(adjusting, "in.zbf", "a.png");
        EXPECT_EQ(Get("a.png"), Get("judge.png"));
        adjust(adjusting, "in.zbf", "a.zbf");
        adjust(adjusting, "in.png", "b.zbf");
        adjust(adjusting, "in.zbm", "c.zbf");
        adjust(adjusting, "in.zbf", "d.zbm");
        for (const char* result : {"a.zbf", "b.zbf", "c.zbf", "d.zbm"})
            EXPECT_EQ(Shown(result).samples, DecodePng(Get("judge.png")).samples) << result;
    }
    EXPECT_EQ(Shown("in.zbf").samples, image.samples) << "the input is only read";
}

TEST_F(Paging, AdjustsMaskedPicturesAsItAdjustsArchives) {
    PageIn(RandomImage(Kind::grey, 8, kWidth, kHeight, 1));
    Put("in.png", EncodePng(RandomImage(Kind::grey, 8, kWidth, kHeight, 1), {.transparent = {77}}));
    Do({"page", File("in.png"), File("in.zbf")});
    Do({"adjust", File("in.png"), File("judge.png"), "--brightness", "0.3"});
    Do({"adjust", File("in.zbf"), File("a.png"), "--brightness", "0.3"});
    EXPECT_EQ(Get("a.png"), Get("judge.png"));
}

TEST_F(Paging, ChangesAFileInPlaceAndRefreshesItsLevels) {
    PageIn(RandomImage(Kind::rgb, 8, kWidth, kHeight, 1));
    Do({"levels", File("in.zbf")});
    Do({"adjust", File("in.zbf"), File("judge.zbf"), "--contrast", "0.4", "--gray"});
    Do({"adjust", "--in-place", File("in.zbf"), "--contrast", "0.4", "--gray"});
    EXPECT_EQ(Shown("in.zbf").samples, Shown("judge.zbf").samples);
    EXPECT_TRUE(InfoSays("in.zbf", "levels: up to date"));
    EXPECT_TRUE(InfoSays("judge.zbf", "levels: up to date")) << "a new file gets them where the input has some";
    for (const char* name : {"in", "judge"})
        Do({"view", File(std::string(name) + ".zbf"), File(std::string(name) + "-1.png"), "--level", "1"});
    EXPECT_EQ(Get("in-1.png"), Get("judge-1.png"));
}

TEST_F(Paging, WithoutLevelsAChangeInPlaceBuildsNone) {
    PageIn(RandomImage(Kind::rgb, 8, kWidth, kHeight, 1));
    Do({"quantize", "--in-place", File("in.zbf"), "--colors", "9"});
    EXPECT_TRUE(InfoSays("in.zbf", "levels: none"));
    Do({"quantize", File("in.png"), File("judge.png"), "--colors", "9"});
    EXPECT_EQ(Shown("in.zbf").samples, DecodePng(Get("judge.png")).samples);
}

TEST_F(Paging, OnlyFilesAreChangedInPlaceAndWithoutOutput) {
    const Image image = RandomImage(Kind::rgb, 8, 30, 20, 1);
    PageIn(image);
    Do({"pack", File("in.png"), File("in.zbm")});
    for (const char* name : {"in.png", "in.zbm"}) {
        const Bytes before = Get(name);
        ExpectOneErrorAbout(RunTool({"adjust", "--in-place", File(name), "--gray"}), File(name));
        EXPECT_EQ(Get(name), before);
    }
    for (const std::vector<std::string>& wrong :
         {std::vector<std::string>{"adjust", "--in-place", File("in.zbf"), File("out.zbf"), "--gray"},
          {"adjust", File("in.zbf"), "--gray"},
          {"adjust", "--in-place", File("in.zbf")},
          {"quantize", File("in.zbf")},
          {"convert", "--in-place", File("in.zbf"), "--format", "BGRA_32"}}) {
        const ToolResult result = RunTool(wrong);
        EXPECT_EQ(result.code, 2) << result.errors;
        EXPECT_EQ(result.ErrorLines().size(), 1u) << result.errors;
    }
    EXPECT_EQ(Shown("in.zbf").samples, image.samples);
    EXPECT_NE(Do({"adjust", "--help"}).find("interrupted leaves the picture"), std::string::npos);
}

TEST_F(Paging, ConvertsToEveryFormatAsInMemory) {
    for (const Bytes& picture : {EncodePng(RandomImage(Kind::rgba, 8, kWidth, kHeight, 1)), EncodePng(Palette(4)),
                                 EncodePng(RandomImage(Kind::grey, 8, kWidth, kHeight, 2), {.transparent = {9}})}) {
        Put("in.png", picture);
        Do({"page", File("in.png"), File("in.zbf")});
        for (int i = shr::GRAYSCALE_1; i < shr::kColorFormats; ++i) {
            const std::string format = shr::kColorFormatTraits[i].name;
            // What of it is lost, soft transparency, is noted for both.
            ASSERT_EQ(RunTool({"convert", File("in.png"), File("judge.zbm"), "--format", format}).code, 0);
            ASSERT_EQ(RunTool({"convert", File("in.zbf"), File("a.zbm"), "--format", format}).code, 0);
            ASSERT_EQ(Get("a.zbm"), Get("judge.zbm")) << format;
        }
    }
    Do({"convert", File("in.zbf"), File("a.zbf"), "--format", "BGR_24"});
    EXPECT_TRUE(InfoSays("a.zbf", "format: BGR_24"));
}

TEST_F(Paging, ConvertsBetweenFilesOfOtherTiles) {
    Put("in.png", EncodePng(RandomImage(Kind::grey, 8, kWidth, kHeight, 2), {.transparent = {9}}));
    Do({"pack", File("in.png"), File("in.zbm"), "--tile", "100x37"});
    Do({"convert", File("in.zbm"), File("a.zbf"), "--format", "INDEXED_8"});
    Do({"convert", File("in.zbm"), File("judge.png"), "--format", "INDEXED_8"});
    Do({"unpack", File("a.zbf"), File("a.png")});
    EXPECT_EQ(Get("a.png"), Get("judge.png"));
    EXPECT_TRUE(InfoSays("a.zbf", "tile size: 512 x 512"));
}

TEST_F(Paging, ResizesAndQuantizesAsInMemory) {
    PageIn(RandomImage(Kind::rgb, 8, kWidth, kHeight, 1));
    const std::vector<std::vector<std::string>> commands{{"resize", "--size", "40%", "--method", "mitchell"},
                                                         {"resize", "--fit", "900x900"},
                                                         {"quantize", "--colors", "12"}};
    for (const std::vector<std::string>& command : commands) {
        const auto run = [&](const char* from, const char* to) {
            std::vector<std::string> arguments{command[0], File(from), File(to)};
            arguments.insert(arguments.end(), command.begin() + 1, command.end());
            Do(arguments);
        };
        run("in.png", "judge.png");
        run("in.zbf", "a.png");
        run("in.zbf", "a.zbf");
        EXPECT_EQ(Get("a.png"), Get("judge.png")) << command[0];
        EXPECT_EQ(Shown("a.zbf").samples, DecodePng(Get("judge.png")).samples) << command[0];
    }
}

TEST_F(Paging, StoresReductionsInAnArchiveToo) {
    PageIn(RandomImage(Kind::rgb, 8, kWidth, kHeight, 1));
    Do({"reduce", File("in.png"), File("judge.zbm")});
    Do({"reduce", File("in.zbf"), File("a.zbm")});
    EXPECT_EQ(Get("a.zbm"), Get("judge.zbm"));
    Do({"convert", File("a.zbm"), File("a.zbf")});
    EXPECT_TRUE(InfoSays("a.zbf", "levels: up to date"));
}

TEST_F(Paging, TheOutputMayReplaceTheInput) {
    const Image image = RandomImage(Kind::rgb, 8, kWidth, kHeight, 1);
    PageIn(image);
    Do({"convert", File("in.zbf"), File("in.zbf"), "--format", "BGRA_32"});
    EXPECT_TRUE(InfoSays("in.zbf", "format: BGRA_32"));
    Do({"convert", File("in.zbf"), File("in.zbf"), "--format", "BGR_24"});
    EXPECT_EQ(Shown("in.zbf").samples, image.samples);
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"in.png", "in.zbf"}));
}

TEST_F(Paging, CleanTempRemovesOnlyLeftBitmapsAndCountsThem) {
    PageIn(RandomImage(Kind::rgb, 8, 30, 20, 1));
    std::filesystem::create_directory(ToPath(File("temp")));
    for (const char* name : {"temp/zvA.tmp", "temp/zvB.tmp", "temp/mine.tmp", "temp/zvC.txt"}) Put(name, Get("in.zbf"));
    Put("temp/zvD.tmp", {1, 2, 3});
    EXPECT_EQ(Do({"clean-temp", File("temp")}), "removed: 2\n");
    EXPECT_EQ(Do({"clean-temp", File("temp")}), "removed: 0\n");
    std::size_t left = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(ToPath(File("temp")))) ++left;
    EXPECT_EQ(left, 3u);
    ExpectOneErrorAbout(RunTool({"clean-temp", File("none")}), File("none"));
}

TEST_F(Paging, CleanTempRemovesResultsThatAKilledCommandHadHalfWrittenButNoneThatIsBeingWritten) {
    const char *const left = ".a b.png.zv0123456789abcdef.tmp", *const used = ".c.png.zvabcdefghijklmnop.tmp";
    const std::vector<std::string> others = {".a.png.zv0123456789abcde.tmp", ".a.png.zv0123456789ABCDEF.tmp",
                                             "a.png.zv0123456789abcdef.tmp", ".a.png.zv0123456789abcdef.tmp2"};
    for (const std::string& name : others) Put(name, {1});
    Put(left, {1, 2, 3});
    Put(used, {});
    {
        shr::CBufferedFile open;
        open.Open(shr::ZString::FromUtf8(File(used)), shr::FileAccess::readWrite, shr::FileMode::openExisting,
                  shr::FileSharing::none);
        EXPECT_EQ(Do({"clean-temp", File("")}), "removed: 1\n");
    }
    for (const std::string& name : others) EXPECT_TRUE(std::filesystem::exists(ToPath(File(name)))) << name;
    EXPECT_FALSE(std::filesystem::exists(ToPath(File(left))));
    EXPECT_EQ(Do({"clean-temp", File("")}), "removed: 1\n");
    EXPECT_FALSE(std::filesystem::exists(ToPath(File(used))));
}

TEST_F(Paging, ErrorsAboutDamagedFilesEndWithoutALooseColon) {
    PageIn(RandomImage(Kind::rgb, 8, 900, 800, 1));
    const Bytes whole = Get("in.zbf");
    Put("cut.zbf", Bytes(whole.begin(), whole.begin() + 5000));
    const ToolResult result = RunTool({"unpack", File("cut.zbf"), File("out.png")});
    EXPECT_EQ(result.errors, "zbm: " + File("cut.zbf") + ": Damaged file or file of another kind.\n");
}

TEST_F(Paging, CleanTempFindsTheCopyOfAPaletteBitmapWhoseLevelsWereBeingBuilt) {
    PageIn(RandomImage(Kind::rgb, 8, 20, 20, 1));
    std::filesystem::create_directories(ToPath(File("temp/zvA.tmp.d")));
    std::filesystem::create_directories(ToPath(File("temp/zvB.tmp.d")));
    Put("temp/zvA.tmp", {});
    Put("temp/zvA.tmp.d/zvC.tmp", Get("in.zbf"));
    Put("temp/zvB.tmp.d/mine", {1});
    EXPECT_EQ(Do({"clean-temp", File("temp")}), "removed: 1\n");
    EXPECT_FALSE(std::filesystem::exists(ToPath(File("temp/zvA.tmp.d"))));
    EXPECT_FALSE(std::filesystem::exists(ToPath(File("temp/zvA.tmp"))));
    EXPECT_TRUE(std::filesystem::exists(ToPath(File("temp/zvB.tmp.d/mine"))));
}

TEST_F(Paging, InPlaceRefusesWhatItCannotHonour) {
    PageIn(RandomImage(Kind::rgb, 8, 20, 20, 1));
    const Bytes before = Get("in.zbf");
    const auto adjust = [&](const std::vector<std::string>& more) {
        std::vector<std::string> arguments = {"adjust", "--in-place", File("in.zbf"), "--brightness", "0.1"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return RunTool(arguments);
    };
    for (const std::vector<std::string>& more : std::vector<std::vector<std::string>>{
             {"--background", "white"}, {"--quality", "50"}, {"--type", "png"}, {"--archive"}, {"--keep-orientation"}})
        EXPECT_EQ(adjust(more).code, 2) << more[0];
    ExpectOneErrorAbout(adjust({"--max-pixels", "399"}), File("in.zbf"));
    EXPECT_EQ(Get("in.zbf"), before);
    EXPECT_EQ(adjust({"--max-pixels", "400"}).code, 0);
}

TEST_F(Paging, ALevelThatIsOlderThanThePictureIsNoted) {
    PageIn(RandomImage(Kind::rgb, 8, kWidth, kHeight, 1));
    Do({"levels", File("in.zbf")});
    {
        zbm::ZScanRectFileBitmap file(L"", L"", false);
        file.Open(shr::ZString::FromUtf8(File("in.zbf")), false);
        const unsigned char pixel[3] = {1, 2, 3};
        file.StoreRegion(pixel, 3, 7, 7, 1, 1);
    }
    const ToolResult result = RunTool({"view", File("in.zbf"), File("view.png"), "--level", "1"});
    EXPECT_EQ(result.code, 0);
    EXPECT_NE(result.errors.find("its levels are older than the picture"), std::string::npos) << result.errors;
    Do({"view", File("in.zbf"), File("view.png")});
    ExpectOneErrorAbout(RunTool({"view", File("in.zbf"), File("a.png"), "--max-pixels", "10"}), File("in.zbf"));
}

int writesThatSucceed = 0;

TEST_F(Paging, ALackOfRoomForLevelsAloneIsTold) {
    PageIn(RandomImage(Kind::palette, 8, 40, 40, 3));
    Do({"levels", File("in.zbf")});
    const Bytes before = Get("in.zbf");
    Do({"adjust", File("in.zbf"), File("judge.zbf"), "--brightness", "0.3"});
    int told = 0;
    for (int count = 0, code = 1; code != 0; ++count) {
        Put("in.zbf", before);
        writesThatSucceed = count;
        shr::SetFileTransferHook([](shr::FileCall call) {
            const bool fails = call == shr::FileCall::write && writesThatSucceed-- == 0;
            return fails ? shr::FileTransfer::diskFull : shr::FileTransfer::whole;
        });
        const ToolResult result = RunTool({"adjust", "--in-place", File("in.zbf"), "--brightness", "0.3"});
        shr::SetFileTransferHook(nullptr);
        code = result.code;
        if (result.errors.find("the picture is changed") == std::string::npos) continue;
        ++told;
        ExpectOneErrorAbout(result, File("in.zbf"));
        EXPECT_EQ(Shown("in.zbf").samples, Shown("judge.zbf").samples);
        Do({"levels", File("in.zbf"), "--rebuild"});
        EXPECT_EQ(Shown("in.zbf").samples, Shown("judge.zbf").samples);
    }
    EXPECT_GT(told, 0);
}

TEST_F(Paging, DamagedFilesAreRefusedOrShownAsFarAsTheyGo) {
    PageIn(RandomImage(Kind::rgb, 8, 40, 30, 1));
    Do({"levels", File("in.zbf")});
    const Bytes whole = Get("in.zbf");
    for (std::size_t length = 45; length < whole.size(); length += length < 1900 ? 61 : 403) {
        Put("in.zbf", Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
        for (const std::vector<std::string>& arguments :
             {std::vector<std::string>{"info", File("in.zbf")},
              {"unpack", File("in.zbf"), File("out.png")},
              {"adjust", File("in.zbf"), File("out.zbf"), "--brightness", "0.1"},
              {"view", File("in.zbf"), File("out.png"), "--rect", "0,0,4,4"}}) {
            const ToolResult result = RunTool(arguments);
            ASSERT_TRUE(result.code == 0 || result.code == 1) << length;
            if (result.code == 1) {
                ExpectOneErrorAbout(result, File("in.zbf"));
            } else if (arguments[0] == "unpack") {
                EXPECT_EQ(DecodePng(Get("out.png")).samples, DecodePng(Get("in.png")).samples) << length;
            }
            for (const char* made : {"out.png", "out.zbf"}) std::filesystem::remove(ToPath(File(made)));
            ASSERT_EQ(folder.Names(), (std::vector<std::string>{"in.png", "in.zbf"})) << length;
        }
        // What is cut is not changed any further.
        ExpectOneErrorAbout(RunTool({"adjust", "--in-place", File("in.zbf"), "--brightness", "0.1"}), File("in.zbf"));
        EXPECT_EQ(Get("in.zbf").size(), length);
    }
}

TEST_F(Paging, TurnedBitsEndWellOrWithAnError) {
    PageIn(RandomImage(Kind::palette, 4, 40, 30, 1));
    const Bytes whole = Get("in.zbf");
    for (std::size_t bit = 0; bit < 8 * std::min<std::size_t>(whole.size(), 1900); bit += 37) {
        Bytes damaged = whole;
        damaged[bit / 8] = static_cast<std::uint8_t>(damaged[bit / 8] ^ 1 << bit % 8);
        Put("in.zbf", damaged);
        const ToolResult result = RunTool({"unpack", File("in.zbf"), File("out.bmp")});
        ASSERT_TRUE(result.code == 0 || result.code == 1) << bit;
        if (result.code == 1) { ExpectOneErrorAbout(result, File("in.zbf")); }
        std::filesystem::remove(ToPath(File("out.bmp")));
        ASSERT_EQ(folder.Names(), (std::vector<std::string>{"in.png", "in.zbf"})) << bit;
    }
}

/// Of the calls that move bytes, which ends all: by Ctrl-C, or by a full disk.
int callsLeft = 0;
void CancelAtCall(int call) {
    callsLeft = call;
    shr::SetFileTransferHook([](shr::FileCall) {
        if (--callsLeft == 0) tool::SetCancelRequested(true);
        return shr::FileTransfer::whole;
    });
}
void FillDiskAtWrite(int write) {
    callsLeft = write;
    shr::SetFileTransferHook([](shr::FileCall kind) {
        const bool isFull = kind == shr::FileCall::write && --callsLeft < 0;
        return isFull ? shr::FileTransfer::diskFull : shr::FileTransfer::whole;
    });
}

/// What each of these leaves under its name is what was there before.
std::vector<std::vector<std::string>> CommandsWithOutput(const ScratchFolder& folder) {
    const auto file = [&](const char* name) { return folder.File(name); };
    return {{"page", file("in.png"), file("out.zbf")},
            {"unpack", file("in.zbf"), file("out.zbf.png")},
            {"adjust", file("in.zbf"), file("out.zbf"), "--brightness", "0.1"},
            {"adjust", file("in.zbf"), file("out.zbf.png"), "--brightness", "0.1"},
            {"convert", file("in.zbf"), file("out.zbf"), "--format", "INDEXED_8"},
            {"resize", file("in.zbf"), file("out.zbf"), "--size", "50%"},
            {"convert", file("in.zbf"), file("out.zbm")}};
}

TEST_F(Paging, CancelledRunsLeaveNothing) {
    PageIn(RandomImage(Kind::palette, 8, kWidth, kHeight, 1));
    Do({"levels", File("in.zbf")});
    for (const std::vector<std::string>& command : CommandsWithOutput(folder)) {
        int cancelled = 0;
        for (int call = 1;; call += call < 12 ? 1 : 9) {
            Put(ToPath(command[2]).filename().string(), {1, 2, 3});
            CancelAtCall(call);
            const ToolResult result = RunTool(command);
            shr::SetFileTransferHook(nullptr);
            tool::SetCancelRequested(false);
            if (result.code == 0) break;
            ++cancelled;
            ASSERT_EQ(result.code, 130) << command[0] << " at " << call << ": " << result.errors;
            EXPECT_EQ(result.errors, "");
            EXPECT_EQ(ReadFile(command[2]), (Bytes{1, 2, 3})) << command[0];
            ASSERT_EQ(folder.Names().size(), 3u) << command[0] << " at " << call;
        }
        EXPECT_GT(cancelled, 3) << command[0];
        std::filesystem::remove(ToPath(command[2]));
    }
}

TEST_F(Paging, AFullDiskIsToldOfTheOutputAndLeavesNothing) {
    PageIn(RandomImage(Kind::palette, 8, kWidth, kHeight, 1));
    Do({"levels", File("in.zbf")});
    for (const std::vector<std::string>& command : CommandsWithOutput(folder)) {
        int failed = 0;
        for (int write = 0;; write += write < 9 ? 1 : 7) {
            FillDiskAtWrite(write);
            const ToolResult result = RunTool(command);
            shr::SetFileTransferHook(nullptr);
            if (result.code == 0) break;
            ++failed;
            ExpectOneErrorAbout(result, command[2]);
            EXPECT_EQ(result.errors.find(".tmp"), std::string::npos) << result.errors;
            ASSERT_EQ(folder.Names(), (std::vector<std::string>{"in.png", "in.zbf"})) << command[0] << " at " << write;
        }
        EXPECT_GT(failed, 1) << command[0];
        std::filesystem::remove(ToPath(command[2]));
    }
}

TEST_F(Paging, WhatIsInterruptedInPlaceCanBeUsed) {
    const Image image = RandomImage(Kind::grey, 8, kWidth, 1100, 1);
    PageIn(image);
    Do({"levels", File("in.zbf")});
    const Bytes whole = Get("in.zbf");
    Do({"adjust", File("in.zbf"), File("judge.png"), "--brightness", "0.2"});
    const Image judge = DecodePng(Get("judge.png"));
    int cancelled = 0;
    for (int call = 1;; call += 3) {
        Put("in.zbf", whole);
        CancelAtCall(call);
        const ToolResult result = RunTool({"adjust", "--in-place", File("in.zbf"), "--brightness", "0.2"});
        shr::SetFileTransferHook(nullptr);
        tool::SetCancelRequested(false);
        if (result.code == 0) break;
        ++cancelled;
        ASSERT_EQ(result.code, 130) << result.errors;
        const Image now = Shown("in.zbf");
        for (std::size_t i = 0; i < now.samples.size(); ++i)
            ASSERT_TRUE(now.samples[i] == image.samples[i] || now.samples[i] == judge.samples[i]) << call;
        if (now.samples != image.samples) { EXPECT_TRUE(InfoSays("in.zbf", "levels: stale")); }
        Do({"levels", File("in.zbf")});
        ASSERT_EQ(folder.Names(), (std::vector<std::string>{"in.png", "in.zbf", "judge.png"}));
    }
    EXPECT_GT(cancelled, 3);
}

TEST_F(Paging, CancelledLevelsLeaveThePicture) {
    const Image image = RandomImage(Kind::palette, 8, kWidth, kHeight, 1);
    PageIn(image);
    const Bytes whole = Get("in.zbf");
    int cancelled = 0;
    for (int call = 1;; call += 3) {
        Put("in.zbf", whole);
        CancelAtCall(call);
        const ToolResult result = RunTool({"levels", File("in.zbf")});
        shr::SetFileTransferHook(nullptr);
        tool::SetCancelRequested(false);
        if (result.code == 0) break;
        ++cancelled;
        ASSERT_EQ(result.code, 130) << result.errors;
        EXPECT_TRUE(InfoSays("in.zbf", "levels: none"));
        EXPECT_EQ(Shown("in.zbf").samples, Shown("in.png").samples);
        ASSERT_EQ(folder.Names(), (std::vector<std::string>{"in.png", "in.zbf"}));
    }
    EXPECT_GT(cancelled, 3);
}

}  // namespace
}  // namespace test
