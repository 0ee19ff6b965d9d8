// What `info` tells, and how little it reads for that.
#include <gtest/gtest.h>

#include "apps/Image.h"
#include "apps/Scratch.h"
#include "apps/ToolRun.h"

namespace test {
namespace {

class InfoOnAny : public testing::Test {
protected:
    ToolResult Info(const Bytes& bytes) {
        WriteFile(folder.File("f"), bytes);
        return RunTool({"info", folder.File("f")});
    }
    /// The archive of a bitmap of that size, without its tiles.
    static Bytes Frame(std::uint32_t width, std::uint32_t height, shr::ColorFormat format, std::uint32_t tileSide) {
        Bytes bytes{1, 0};
        for (const std::uint32_t number :
             {height, width, static_cast<std::uint32_t>(format), tileSide, tileSide, 0u, 0u, 0u})
            Append32(bytes, number);
        bytes.insert(bytes.end(), {1, 0});
        return bytes;
    }
    static void Append32(Bytes& bytes, std::uint32_t number) {
        for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<std::uint8_t>(number >> shift));
    }
    /// With reductions, each that archive.
    Bytes WithReductions(std::uint32_t count, const Bytes& reduction) {
        zbm::ZBasicMemBitmap bitmap(8, 8, shr::GRAYSCALE_8);
        StoreArchive(bitmap, folder.File("plain"));
        Bytes bytes{1, 0};
        const Bytes plain = ReadFile(folder.File("plain"));
        bytes.insert(bytes.end(), plain.begin(), plain.end());
        Append32(bytes, 1);
        Append32(bytes, count);
        for (std::uint32_t i = 0; i < count; ++i) bytes.insert(bytes.end(), reduction.begin(), reduction.end());
        return bytes;
    }

    ScratchFolder folder;
};

TEST_F(InfoOnAny, TellsWhatAPictureIs) {
    Image image = RandomImage(Kind::palette, 8, 60, 53, 1);
    image.palette.resize(20);
    for (std::uint32_t& sample : image.samples) sample %= 20;
    image.xPixelsPerMeter = 11811;
    image.yPixelsPerMeter = 2835;
    const Bytes png = EncodePng(image);
    const ToolResult result = Info(png);
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(result.out,
              "kind: PNG picture\nsize: 60 x 53\nformat: INDEXED_8\nresolution: 11811 x 2835 pixels per metre (300 x "
              "72 dpi)\n"
              "colour table entries: 20\npicture bytes: " +
                  std::to_string(png.size()) + "\n");
}

TEST_F(InfoOnAny, KnowsPicturesOfAllTypes) {
    const Image image = RandomImage(Kind::rgb, 8, 5, 4, 1);
    for (const auto& [type, bytes] : {std::pair{"PNG", EncodePng(image)},
                                      {"JPEG", EncodeJpeg(image)},
                                      {"TIFF", EncodeTiff(image)},
                                      {"BMP", EncodeBmp(image)}}) {
        const ToolResult result = Info(bytes);
        EXPECT_EQ(result.code, 0) << result.errors;
        const std::string start = std::string("kind: ") + type + " picture\nsize: 5 x 4\nformat: BGR_24\n";
        EXPECT_EQ(result.out.find(start), 0u) << result.out;
    }
}

TEST_F(InfoOnAny, DecodesNoPixelsOfAPicture) {
    Bytes png = EncodePng(RandomImage(Kind::rgb, 8, 50, 40, 1));
    png.resize(png.size() - 100);
    EXPECT_EQ(Info(png).code, 0);
}

TEST_F(InfoOnAny, EndsAtOnceOnAnArchiveWithoutPixels) {
    constexpr std::uint32_t kMost = 0x7FFFFFFF;
    for (const Bytes& frame :
         {Frame(kMost, 0, shr::BGRA_32, 1), Frame(0, kMost, shr::BGR_24, 1), Frame(0, 0, shr::BGR_24, 1)}) {
        const ToolResult result = Info(frame);
        EXPECT_EQ(result.code, 0) << result.errors;
        EXPECT_NE(result.out.find("transparent pixels: no\n"), std::string::npos) << result.out;
        const ToolResult unpacked = RunTool({"unpack", folder.File("f"), folder.File("a.png")});
        ExpectOneErrorAbout(unpacked, folder.File("f"));
        EXPECT_NE(unpacked.errors.find("empty"), std::string::npos) << unpacked.errors;
    }
}

TEST_F(InfoOnAny, RefusesReductionsWithoutPixelsAndMoreThanThereCanBe) {
    zbm::ZBasicMemBitmap half(4, 4, shr::GRAYSCALE_8);
    StoreArchive(half, folder.File("half"));
    const Bytes whole = ReadFile(folder.File("half"));
    struct Case {
        Bytes bytes;
        int code;
    };
    for (const auto& [bytes, code] :
         {Case{WithReductions(1, whole), 0}, Case{WithReductions(31, whole), 0}, Case{WithReductions(32, whole), 1},
          Case{WithReductions(20, Frame(0, 1 << 20, shr::BGRA_32, 512)), 1},
          Case{WithReductions(1, Frame(1 << 20, 0, shr::BGRA_32, 512)), 1}}) {
        EXPECT_EQ(Info(bytes).code, code);
        EXPECT_EQ(RunTool({"unpack", folder.File("f"), folder.File("a.png")}).code, code);
    }
}

TEST_F(InfoOnAny, NeedsOnlyTheFramesOfReductions) {
    zbm::ZBasicMemBitmap half(4, 4, shr::GRAYSCALE_8);
    StoreArchive(half, folder.File("half"));
    Bytes reduction = ReadFile(folder.File("half"));
    reduction.back() ^= 0xFF;  // in a block
    EXPECT_NE(Info(WithReductions(1, reduction)).out.find("reduction: 4 x 4\n"), std::string::npos);
    reduction.pop_back();
    EXPECT_EQ(Info(WithReductions(1, reduction)).code, 1);
}

}  // namespace
}  // namespace test
