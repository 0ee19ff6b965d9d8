// Pictures in inks: cyan, magenta, yellow and black become red, green and blue by a plain formula.
#include <gtest/gtest.h>

#include "apps/Image.h"
#include "apps/Scratch.h"
#include "apps/ToolRun.h"

namespace test {
namespace {

constexpr int kWidth = 37, kHeight = 29;  // no multiples of anything
constexpr const char* kNote = "note: its CMYK colours are converted to RGB by a plain formula";

class Cmyk : public testing::Test {
protected:
    BitmapPtr Pack(const Bytes& file) {
        WriteFile(folder.File("p"), file);
        result = RunTool({"pack", folder.File("p"), folder.File("p.zbm"), "--tile", "16x8"});
        EXPECT_EQ(result.code, 0) << result.errors;
        EXPECT_NE(result.errors.find(kNote), std::string::npos) << result.errors;
        return LoadArchive(folder.File("p.zbm"));
    }

    ScratchFolder folder;
    ToolResult result;
};

/// One colour, for JPEG does not keep others exactly.
Image Plain(std::array<std::uint32_t, 4> samples) {
    Image image = RandomImage(Kind::rgba, 8, kWidth, kHeight, 1);
    for (std::size_t i = 0; i < image.samples.size(); ++i) image.samples[i] = samples[i % 4];
    return image;
}

void ExpectColor(const zbm::ZBitmap& bitmap, std::array<double, 3> color) {
    ASSERT_EQ(bitmap.GetColorFormat(), shr::BGR_24);
    for (const auto& [x, y] : {std::pair{0, 0}, {kWidth - 1, kHeight - 1}, {20, 10}}) {
        const std::uint32_t value = PixelAt(bitmap, x, y).value;
        for (std::size_t c = 0; c < 3; ++c) {
            EXPECT_NEAR(value >> (16 - 8 * c) & 255, color[c], 3) << x << ", " << y << " channel " << c;
        }
    }
}

TEST_F(Cmyk, JpegWithAdobesMarkerHoldsWhatTheInksLetThrough) {
    // White paper; red by magenta and yellow; half of the light by black.
    const auto pack = [&](std::array<std::uint32_t, 4> samples, bool ycck) {
        return Pack(EncodeJpeg(Plain(samples), {.quality = 100, .cmyk = true, .ycck = ycck}));
    };
    for (const bool ycck : {false, true}) {
        ExpectColor(*pack({255, 255, 255, 255}, ycck), {255, 255, 255});
        ExpectColor(*pack({255, 0, 0, 255}, ycck), {255, 0, 0});
        ExpectColor(*pack({200, 100, 50, 128}, ycck), {100.4, 50.2, 25.1});
        ExpectColor(*pack({255, 255, 255, 0}, ycck), {0, 0, 0});
    }
}

TEST_F(Cmyk, JpegWithoutThatMarkerHoldsTheInks) {
    const JpegOptions options{.quality = 100, .cmyk = true, .adobe = false};
    ExpectColor(*Pack(EncodeJpeg(Plain({0, 0, 0, 0}), options)), {255, 255, 255});
    ExpectColor(*Pack(EncodeJpeg(Plain({0, 255, 255, 0}), options)), {255, 0, 0});
    ExpectColor(*Pack(EncodeJpeg(Plain({55, 155, 205, 127}), options)), {100.4, 50.2, 25.1});
}

TEST_F(Cmyk, TiffHoldsTheInksInStripsTilesAndPlanes) {
    for (const int bits : {8, 16}) {
        Image image = RandomImage(Kind::rgba, bits, kWidth, kHeight, 2);
        for (int x = 0; x < kWidth; ++x) image.At(x, 0, 3) = 0;
        for (int x = 0; x < 5; ++x) image.At(x, 0, x % 3) = 0;
        for (const int tileSize : {0, 16}) {
            for (const bool planar : {false, true}) {
                TiffOptions options;
                options.photometric = 5;
                options.tileSize = tileSize;
                options.planar = planar;
                const BitmapPtr bitmap = Pack(EncodeTiff(image, options));
                ASSERT_EQ(bitmap->GetColorFormat(), shr::BGR_24);
                for (int y = 0; y < kHeight; ++y) {
                    for (int x = 0; x < kWidth; ++x) {
                        const std::uint32_t value = PixelAt(*bitmap, x, y).value;
                        const double clear = 1 - static_cast<double>(image.At(x, y, 3)) / image.Largest();
                        for (int c = 0; c < 3; ++c) {
                            const double ink = static_cast<double>(image.At(x, y, c)) / image.Largest();
                            // Ink and black are rounded before they meet, and so is what comes out.
                            ASSERT_NEAR(value >> (16 - 8 * c) & 255, 255 * (1 - ink) * clear, bits == 8 ? 0.501 : 1.51)
                                << x << ", " << y << " channel " << c;
                        }
                    }
                }
            }
        }
    }
}

TEST_F(Cmyk, TheProfileOfInksIsNotKeptForColors) {
    Image image = Plain({0, 0, 0, 0});
    image.profile = MakeProfile("CMYK", 400);
    WriteFile(folder.File("p"), EncodeJpeg(image, {.cmyk = true}));
    result = RunTool({"convert", folder.File("p"), folder.File("p.png"), "--format", "BGR_24"});
    ASSERT_EQ(result.code, 0) << result.errors;
    EXPECT_EQ(result.errors,
              "zbm: " + folder.File("p") + ": " + kNote + "; its colour profile is neither used nor kept\n");
    EXPECT_TRUE(DecodePng(ReadFile(folder.File("p.png"))).profile.empty());
}

}  // namespace
}  // namespace test
