// Transparent pixels laid over a colour: when asked for, and over white for a file type that holds none.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <optional>
#include <random>
#include <sstream>

#include "apps/Image.h"
#include "apps/Scratch.h"
#include "apps/ToolRun.h"

namespace test {
namespace {

constexpr int kWidth = 37, kHeight = 29;  // no multiples of anything

using Rgb = std::array<double, 3>;

bool IsGrey(shr::ColorFormat format) { return format <= shr::GRAYSCALE_32; }
bool IsIndexed(shr::ColorFormat format) { return format >= shr::INDEXED_1 && format <= shr::INDEXED_8; }

/// Random pixels and masks; premultiplied ones are valid.
BitmapPtr RandomBitmap(shr::ColorFormat format) {
    auto bitmap = std::make_unique<zbm::ZBasicMemBitmap>(kWidth, kHeight, format, 16, 8);
    std::mt19937 random(1);
    if (IsIndexed(format)) {
        std::vector<shr::Color4b> colors(static_cast<std::size_t>(shr::ColorFmtToTblSize[format]));
        for (shr::Color4b& color : colors) {
            const auto value = static_cast<std::uint32_t>(random());
            color = {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8),
                     static_cast<std::uint8_t>(value >> 16)};
        }
        bitmap->FillColorTable(colors.data(), static_cast<unsigned>(colors.size()));
    }
    const int bits = shr::ColorFmtToBPP[format];
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            auto value = static_cast<std::uint32_t>(random());
            if (bits < 32) value &= (1u << bits) - 1;
            if (format == shr::BGRX_32) value &= 0xFFFFFF;
            if (format == shr::PBGRA_32) {
                const std::uint32_t alpha = value >> 24, color = value;
                value = alpha << 24;
                for (int shift = 0; shift < 24; shift += 8) {
                    value |= ((color >> shift & 255) * alpha + 127) / 255 << shift;
                }
            }
            SetPixel(*bitmap, x, y, {value, random() % 3 != 0});
        }
    }
    return bitmap;
}

/// Red, green and blue of the bitmap's pixel over the background, exact.
Rgb Over(const zbm::ZBitmap& bitmap, int x, int y, const Rgb& background) {
    const shr::ColorFormat format = bitmap.GetColorFormat();
    const Pixel pixel = PixelAt(bitmap, x, y);
    const bool hasAlpha = shr::ColorFmtHasAlphaChannel[format];
    const double alpha = hasAlpha ? (pixel.value >> 24) / 255.0 : pixel.opaque ? 1 : 0;
    Rgb color{};
    for (std::size_t c = 0; c < 3; ++c) {
        const std::size_t byte = format == shr::RGBA_32 ? c : 2 - c;
        color[c] = pixel.value >> (8 * byte) & 255;
        if (IsGrey(format)) color[c] = 255.0 * pixel.value / (std::exp2(shr::ColorFmtToBPP[format]) - 1);
        if (IsIndexed(format)) {
            const shr::Color4b entry = bitmap.GetColorTableItem(pixel.value);
            color[c] = c == 0 ? entry.red : c == 1 ? entry.green : entry.blue;
        }
        const double part = format == shr::PBGRA_32 ? color[c] : color[c] * alpha;
        color[c] = part + background[c] * (1 - alpha);
    }
    return color;
}

class Background : public testing::TestWithParam<shr::ColorFormat> {
protected:
    Bytes Write(BitmapPtr bitmap, const std::string& name, std::optional<shr::Color4b> color) {
        StoreArchive(*bitmap, folder.File("source"));
        std::vector<std::string> words{"unpack", folder.File("source"), folder.File(name), "--quality", "100"};
        if (color) {
            char text[8];
            std::snprintf(text, sizeof text, "#%02X%02x%02X", color->red, color->green, color->blue);
            words.insert(words.end(), {"--background", text});
        }
        const ToolResult result = RunTool(words);
        EXPECT_EQ(result.code, 0) << result.errors;
        errors << result.errors;
        return ReadFile(folder.File(name));
    }
    void ExpectColors(const Image& image, const Rgb& background, double tolerance) {
        const BitmapPtr bitmap = RandomBitmap(GetParam());
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                const Rgb expected = Over(*bitmap, x, y, background);
                for (int c = 0; c < 3; ++c) {
                    double level = image.At(x, y, image.Channels() == 1 ? 0 : c);
                    if (image.kind == Kind::palette) {
                        level = image.palette.at(image.At(x, y, 0)).at(static_cast<std::size_t>(c));
                    } else {
                        level *= 255.0 / image.Largest();
                    }
                    ASSERT_NEAR(level, expected[static_cast<std::size_t>(c)], tolerance) << x << ", " << y;
                }
            }
        }
    }

    ScratchFolder folder;
    std::ostringstream errors;
};

/// Exact but for the rounding.
constexpr double kRounding = 0.5000001;

TEST_P(Background, LaysTransparentPixelsOverTheColorInEveryFileType) {
    const shr::Color4b color(200, 100, 7);
    const Rgb background{200, 100, 7};
    const Image png = DecodePng(Write(RandomBitmap(GetParam()), "a.png", color));
    EXPECT_EQ(png.kind, Kind::rgb);
    ExpectColors(png, background, kRounding);
    const Image tiff = DecodeTiff(Write(RandomBitmap(GetParam()), "a.tif", color));
    EXPECT_EQ(tiff.kind, Kind::rgb);
    ExpectColors(tiff, background, kRounding);
    const Image bmp = DecodeBmp(Write(RandomBitmap(GetParam()), "a.bmp", color));
    EXPECT_EQ(bmp.kind, Kind::rgb);
    ExpectColors(bmp, background, kRounding);
}

TEST_P(Background, KeepsGreyGreyOverGrey) {
    const Image png = DecodePng(Write(RandomBitmap(GetParam()), "a.png", shr::Color4b(77, 77, 77)));
    EXPECT_EQ(png.kind, IsGrey(GetParam()) ? Kind::grey : Kind::rgb);
    ExpectColors(png, {77, 77, 77}, kRounding);
}

TEST_P(Background, IsWhiteForJpegWithANote) {
    const Bytes file = Write(RandomBitmap(GetParam()), "a.jpg", std::nullopt);
    EXPECT_EQ(errors.str(), "zbm: " + folder.File("a.jpg") +
                                ": note: transparent pixels are laid over white: the file type holds none\n" +
                                (shr::ColorFmtToBPP[GetParam()] > 8 && IsGrey(GetParam())
                                     ? "zbm: " + folder.File("a.jpg") +
                                           ": note: grey levels are reduced to 8 bits: the file type holds no more\n"
                                     : ""));
    const Image image = DecodeJpeg(file);
    EXPECT_EQ(image.kind, IsGrey(GetParam()) ? Kind::grey : Kind::rgb);
    ExpectColors(image, {255, 255, 255}, 4);  // the best quality is not exact
}

TEST_P(Background, ForJpegIsTheOneAskedForWithoutANote) {
    const Image image = DecodeJpeg(Write(RandomBitmap(GetParam()), "a.jpg", shr::Color4b(0, 0, 0)));
    EXPECT_EQ(errors.str().find("white"), std::string::npos) << errors.str();
    ExpectColors(image, {0, 0, 0}, 4);
}

std::string NameOf(const testing::TestParamInfo<shr::ColorFormat>& instance) {
    constexpr const char* kNames[] = {"Grayscale1", "Grayscale4", "Grayscale8", "Grayscale16", "Grayscale32",
                                      "Indexed1",   "Indexed4",   "Indexed8",   "Bgr24",       "Bgra32",
                                      "Rgba32",     "Bgrx32",     "Pbgra32"};
    return kNames[instance.param - 1];
}
INSTANTIATE_TEST_SUITE_P(Formats, Background,
                         testing::Values(shr::GRAYSCALE_1, shr::GRAYSCALE_4, shr::GRAYSCALE_8, shr::GRAYSCALE_16,
                                         shr::GRAYSCALE_32, shr::INDEXED_1, shr::INDEXED_4, shr::INDEXED_8, shr::BGR_24,
                                         shr::BGRA_32, shr::RGBA_32, shr::BGRX_32, shr::PBGRA_32),
                         &NameOf);

class BackgroundOfOpaque : public Background {};

TEST_F(BackgroundOfOpaque, ChangesNothingWithoutTransparentPixels) {
    const Image image = RandomImage(Kind::palette, 8, 9, 7, 1);
    WriteFile(folder.File("p.png"), EncodePng(image));
    ASSERT_EQ(RunTool({"pack", folder.File("p.png"), folder.File("p.zbm")}).code, 0);
    const Image back = DecodePng(Write(LoadArchive(folder.File("p.zbm")), "a.png", shr::Color4b::Black));
    EXPECT_EQ(back.kind, Kind::palette);
    EXPECT_EQ(back.samples, image.samples);
    EXPECT_EQ(errors.str(), "");
}

TEST_F(BackgroundOfOpaque, TakesAnAlphaChannelAwayThatIsFullThroughout) {
    auto bitmap = std::make_unique<zbm::ZBasicMemBitmap>(3, 2, shr::BGRA_32);
    for (int i = 0; i < 6; ++i) SetPixel(*bitmap, i % 3, i / 3, {0xFF102030u + static_cast<unsigned>(i)});
    const Image image = DecodePng(Write(std::move(bitmap), "a.png", shr::Color4b::White));
    EXPECT_EQ(image.kind, Kind::rgb);
    EXPECT_EQ(image.At(1, 1, 2), 0x34u);
}

}  // namespace
}  // namespace test
