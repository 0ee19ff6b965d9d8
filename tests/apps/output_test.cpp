// As what a result is written: by the ending of its name, or as said for standard output and names without one.
#include <gtest/gtest.h>

#include "apps/Image.h"
#include "apps/Scratch.h"
#include "apps/ToolRun.h"

namespace test {
namespace {

class Output : public testing::Test {
protected:
    Output() : picture(RandomImage(Kind::rgb, 8, 9, 7, 1)) { WriteFile(folder.File("in.png"), EncodePng(picture)); }

    /// Each command's way from in.png to a file of that name.
    static std::vector<std::vector<std::string>> Commands() {
        return {{"pack"},
                {"reduce"},
                {"convert"},
                {"resize", "--size", "3x3"},
                {"adjust", "--gray"},
                {"quantize", "--colors", "5"}};
    }
    ToolResult Run(std::vector<std::string> command, const std::string& output,
                   const std::vector<std::string>& options = {}) {
        command.insert(command.begin() + 1, {folder.File("in.png"), output});
        command.insert(command.end(), options.begin(), options.end());
        return RunTool(command);
    }
    /// Makes in.zbm as well.
    void Pack() { ASSERT_EQ(Run({"pack"}, folder.File("in.zbm")).code, 0); }

    ScratchFolder folder;
    Image picture;
};

TEST_F(Output, OfAnUnknownEndingIsWrongUsageForEveryCommand) {
    for (const char* name : {"a.dat", "a.pngg", "rgb.png.bak", "a."}) {
        for (const auto& command : Commands()) {
            const ToolResult result = Run(command, folder.File(name), {"--archive"});
            EXPECT_EQ(result.code, 2) << command[0] << ' ' << name;
            EXPECT_NE(result.errors.find(".zbm"), std::string::npos) << result.errors;
        }
        EXPECT_EQ(RunTool({"unpack", folder.File("in.zbm"), folder.File(name)}).code, 2) << name;
    }
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"in.png"});
}

TEST_F(Output, WithoutEndingIsAnArchiveOnlyWhenThatIsSaid) {
    for (const auto& command : Commands()) {
        const ToolResult result = Run(command, folder.File("a"));
        EXPECT_EQ(result.code, 2) << command[0];
        EXPECT_NE(result.errors.find("--archive"), std::string::npos) << result.errors;
        EXPECT_EQ(folder.Names(), std::vector<std::string>{"in.png"});
        EXPECT_EQ(Run(command, folder.File("a"), {"--archive"}).code, 0) << command[0];
        EXPECT_EQ(RunTool({"unpack", folder.File("a"), folder.File("b.png")}).code, 0);
        std::filesystem::remove(ToPath(folder.File("a")));
        std::filesystem::remove(ToPath(folder.File("b.png")));
    }
}

TEST_F(Output, OfAPicturesEndingIsNoArchive) {
    for (const char* command : {"pack", "reduce"}) EXPECT_EQ(Run({command}, folder.File("in.png")).code, 2);
    for (const char* name : {"a.png", "a.JPG", "a.jpeg", "a.tif", "a.tiff", "a.bmp"}) {
        EXPECT_EQ(Run({"pack"}, folder.File(name)).code, 2) << name;
        EXPECT_EQ(Run({"convert"}, folder.File(name), {"--archive"}).code, 2) << name;
        EXPECT_EQ(Run({"convert"}, folder.File(name)).code, 0) << name;
        const ToolResult info = RunTool({"info", folder.File(name)});
        EXPECT_NE(info.out.find("picture bytes: "), std::string::npos) << info.out;
    }
    EXPECT_EQ(DecodePng(ReadFile(folder.File("in.png"))).samples, picture.samples);
}

TEST_F(Output, OfAnArchivesEndingIsNoPicture) {
    Pack();
    EXPECT_EQ(RunTool({"unpack", folder.File("in.zbm"), folder.File("b.zbm")}).code, 2);
    EXPECT_EQ(RunTool({"unpack", folder.File("in.zbm"), folder.File("b")}).code, 2);
    EXPECT_EQ(Run({"convert"}, folder.File("b.ZBM")).code, 0);
    EXPECT_EQ(LoadArchive(folder.File("b.ZBM"))->GetPixelWidth(), 9);
}

TEST_F(Output, TypeIsOnlyForNamesThatHaveNone) {
    ASSERT_EQ(Run({"convert"}, folder.File("a"), {"--type", "tif"}).code, 0);
    EXPECT_EQ(DecodeTiff(ReadFile(folder.File("a"))).samples, picture.samples);
    EXPECT_EQ(Run({"convert"}, folder.File("a.png"), {"--type", "tif"}).code, 2);
    EXPECT_EQ(Run({"convert"}, folder.File("a.tiff"), {"--type", "tif"}).code, 0);
    EXPECT_EQ(Run({"convert"}, folder.File("a"), {"--type", "gif"}).code, 2);
    EXPECT_EQ(Run({"convert"}, folder.File("a"), {"--type", "png", "--archive"}).code, 2);
}

TEST_F(Output, ToStandardOutputIsTheSameAsToAFile) {
    Pack();
    for (const char* type : {"png", "jpg", "tif", "bmp"}) {
        const std::string file = folder.File(std::string("b.") + type);
        ASSERT_EQ(RunTool({"unpack", folder.File("in.zbm"), file}).code, 0);
        const ToolResult result = RunTool({"unpack", folder.File("in.zbm"), "-", "--type", type});
        EXPECT_EQ(result.code, 0) << result.errors;
        EXPECT_EQ(Bytes(result.out.begin(), result.out.end()), ReadFile(file)) << type;
        std::filesystem::remove(ToPath(file));
    }
    const ToolResult packed = Run({"pack"}, "-");
    EXPECT_EQ(Bytes(packed.out.begin(), packed.out.end()), ReadFile(folder.File("in.zbm")));
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"in.png", "in.zbm"}));
}

TEST_F(Output, ToStandardOutputNeedsAType) {
    Pack();
    for (const ToolResult& result :
         {Run({"convert"}, "-"), RunTool({"unpack", folder.File("in.zbm"), "-"}), Run({"pack"}, "-", {"--type", "png"}),
          RunTool({"unpack", folder.File("in.zbm"), "-", "--type", "zbm"})}) {
        EXPECT_EQ(result.code, 2) << result.errors;
        EXPECT_EQ(result.out, "");
    }
    EXPECT_EQ(Run({"convert"}, "-", {"--archive"}).code, 0);
}

TEST_F(Output, ToStandardOutputIsNothingWhereTheCommandFails) {
    const ToolResult result = RunTool({"unpack", folder.File("in.png"), "-", "--type", "png"});
    ExpectOneErrorAbout(result, folder.File("in.png"));
}

}  // namespace
}  // namespace test
