// JPEG pictures of which a part is missing: the library shows something made up in its place, and the tool must not.
#include <gtest/gtest.h>

#include "apps/Image.h"
#include "apps/Scratch.h"
#include "apps/ToolRun.h"

namespace test {
namespace {

struct CodingCase {
    const char* name;
    JpegOptions options;
};

class JpegDamage : public testing::Test {
protected:
    ToolResult Pack(const Bytes& picture) {
        WriteFile(folder.File("p.jpg"), picture);
        return RunTool({"pack", folder.File("p.jpg"), folder.File("p.zbm")});
    }
    void ExpectRefused(const Bytes& picture) {
        const ToolResult result = Pack(picture);
        ExpectOneErrorAbout(result, folder.File("p.jpg"));
        EXPECT_EQ(folder.Names(), std::vector<std::string>{"p.jpg"});
    }
    void ExpectPixelsOf(const Image& image) {
        const BitmapPtr bitmap = LoadArchive(folder.File("p.zbm"));
        for (int y = 0; y < image.height; ++y) {
            for (int x = 0; x < image.width; ++x) {
                std::uint32_t value = 0;
                for (int c = 0; c < image.Channels(); ++c) value = value << 8 | image.At(x, y, c);
                ASSERT_EQ(PixelAt(*bitmap, x, y).value, value) << x << ", " << y;
            }
        }
    }

    ScratchFolder folder;
};

/// Where the file's n-th start of a scan is, of marker FF DA; the file's end if there are fewer.
std::size_t ScanStart(const Bytes& file, int n) {
    for (std::size_t i = 0; i + 1 < file.size(); ++i) {
        if (file[i] == 0xFF && file[i + 1] == 0xDA && --n == 0) return i;
    }
    return file.size();
}

/// The first `length` bytes, made to look whole by the marker of the end.
Bytes Closed(const Bytes& file, std::size_t length) {
    Bytes cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length));
    // A mark of which only the first half is left would swallow the marker.
    while (cut.back() == 0xFF) cut.pop_back();
    cut.insert(cut.end(), {0xFF, 0xD9});
    return cut;
}

/// Grey with a soft structure, like a photograph; below `solidFrom` a single colour.
Image Structured(Kind kind, int width, int height, int solidFrom) {
    Image image = RandomImage(kind, 8, width, height, 1);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            for (int c = 0; c < image.Channels(); ++c) {
                std::uint32_t& sample = image.At(x, y, c);
                sample = y < solidFrom ? (sample / 4 + static_cast<unsigned>(x * (c + 1) + y)) & 255 : 250;
            }
        }
    }
    return image;
}

class JpegCodings : public JpegDamage, public testing::WithParamInterface<CodingCase> {};

TEST_P(JpegCodings, ACutPictureThatWasClosedIsRefused) {
    for (const Kind kind : {Kind::grey, Kind::rgb}) {
        const Bytes whole = EncodeJpeg(Structured(kind, 200, 150, 150), GetParam().options);
        const std::size_t data = ScanStart(whole, 1) + 14;
        for (std::size_t percent = 1; percent < 100; percent += 7) {
            SCOPED_TRACE(percent);
            ExpectRefused(Closed(whole, data + (whole.size() - 2 - data) * percent / 100));
        }
    }
}

TEST_P(JpegCodings, APictureCutBetweenScansIsRefused) {
    const Bytes whole = EncodeJpeg(Structured(Kind::rgb, 64, 48, 48), GetParam().options);
    for (int n = 2; ScanStart(whole, n) < whole.size(); ++n) {
        SCOPED_TRACE(n);
        ExpectRefused(Closed(whole, ScanStart(whole, n)));
    }
}

TEST_P(JpegCodings, AWholePictureIsTaken) {
    for (const Kind kind : {Kind::grey, Kind::rgb}) {
        // Arithmetic coding leaves out nearly all of an end of a single colour.
        for (const int solidFrom : {150, 149, 100, 10, 0}) {
            JpegOptions options = GetParam().options;
            for (const int restartRows : {0, 1}) {
                options.restartRows = restartRows;
                const Bytes whole = EncodeJpeg(Structured(kind, 200, 150, solidFrom), options);
                const ToolResult result = Pack(whole);
                ASSERT_EQ(result.code, 0) << result.errors;
                EXPECT_EQ(result.errors, "");
                ExpectPixelsOf(DecodeJpeg(whole));
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Codings, JpegCodings,
    testing::Values(CodingCase{"Huffman", {}}, CodingCase{"HuffmanProgressive", {.progressive = true}},
                    CodingCase{"Arithmetic", {.arithmetic = true}},
                    CodingCase{"ArithmeticProgressive", {.progressive = true, .arithmetic = true}}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST_F(JpegDamage, ASizeThatTheDataCannotHoldIsRefusedInEveryCoding) {
    for (const bool arithmetic : {false, true}) {
        Bytes file = EncodeJpeg(Structured(Kind::grey, 64, 64, 0), {.arithmetic = arithmetic});
        SetJpegSize(file, 64832, 64832);
        WriteFile(folder.File("p.jpg"), file);
        const ToolResult result = RunTool({"pack", folder.File("p.jpg"), folder.File("p.zbm")});
        ExpectOneErrorAbout(result, folder.File("p.jpg"));
        EXPECT_NE(result.errors.find("too short for its picture of 64832 x 64832"), std::string::npos) << result.errors;
    }
}

TEST_F(JpegDamage, PixelsAreNotMadeUpOnceTheDataHasEnded) {
    for (const bool restarts : {false, true}) {
        Bytes file = EncodeJpeg(Structured(Kind::grey, 64, 64, 64), {.arithmetic = true, .restartRows = restarts});
        SetJpegSize(file, 8000, 8000);
        WriteFile(folder.File("p.jpg"), file);
        // On a terminal each hundredth of the rows is told.
        const ToolResult result = RunTool({"pack", folder.File("p.jpg"), folder.File("p.zbm")}, 80);
        EXPECT_EQ(result.code, 1);
        EXPECT_NE(result.errors.find(" 0 %"), std::string::npos) << result.errors;
        EXPECT_EQ(result.errors.find(" 2 %"), std::string::npos) << result.errors;
    }
}

TEST_F(JpegDamage, APictureOfMeansAloneIsTakenWithAWarning) {
    const Bytes file = EncodeJpeg(Structured(Kind::rgb, 64, 64, 64), {.onlyMeans = true});
    const ToolResult result = Pack(file);
    EXPECT_EQ(result.code, 0);
    EXPECT_NE(result.errors.find("warning: it holds no fine details"), std::string::npos) << result.errors;
}

TEST_F(JpegDamage, BytesBetweenSegmentsCostNothingButAWarning) {
    Bytes file = EncodeJpeg(Structured(Kind::grey, 64, 64, 64), {});
    file.insert(file.begin() + static_cast<std::ptrdiff_t>(ScanStart(file, 1)), {1, 2, 3});
    const ToolResult result = Pack(file);
    EXPECT_EQ(result.code, 0);
    EXPECT_NE(result.errors.find("warning: "), std::string::npos) << result.errors;
    ExpectPixelsOf(DecodeJpeg(file));
}

}  // namespace
}  // namespace test
