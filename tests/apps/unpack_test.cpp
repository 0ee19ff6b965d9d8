// Unpacking: every format becomes the closest representation of every file type, every pixel of it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "apps/Image.h"
#include "apps/Scratch.h"
#include "apps/ToolRun.h"

namespace test {
namespace {

constexpr int kWidth = 37, kHeight = 29;  // no multiples of anything

/// How the pixels of a made bitmap are transparent.
enum class Transparency { none, byValue, anywhere };

struct FormatCase {
    const char* name;
    shr::ColorFormat format;
    Transparency transparency;
};

bool IsGrey(shr::ColorFormat format) { return format <= shr::GRAYSCALE_32; }
bool IsIndexed(shr::ColorFormat format) { return format >= shr::INDEXED_1 && format <= shr::INDEXED_8; }
bool HasAlpha(shr::ColorFormat format) { return shr::ColorFmtHasAlphaChannel[format]; }

std::uint32_t RandomPixelBytes(std::mt19937& random, const FormatCase& param) {
    auto value = static_cast<std::uint32_t>(random());
    if (param.format == shr::BGRX_32) value &= 0xFFFFFF;
    if (HasAlpha(param.format) && param.transparency == Transparency::none) value |= 0xFF000000;
    if (param.format != shr::PBGRA_32) return value;
    const std::uint32_t alpha = value >> 24;
    std::uint32_t pixel = alpha << 24;
    for (int shift = 0; shift < 24; shift += 8) pixel |= ((value >> shift & 255) * alpha + 127) / 255 << shift;
    return pixel;
}

BitmapPtr MakeBitmap(const FormatCase& param, unsigned seed) {
    auto bitmap = std::make_unique<zbm::ZBasicMemBitmap>(kWidth, kHeight, param.format, 16, 8);
    std::mt19937 random(seed);
    if (IsIndexed(param.format)) {
        std::vector<shr::Color4b> colors(static_cast<std::size_t>(shr::ColorFmtToTblSize[param.format]));
        for (shr::Color4b& color : colors) {
            const auto value = static_cast<std::uint32_t>(random());
            color = {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8),
                     static_cast<std::uint8_t>(value >> 16)};
        }
        bitmap->FillColorTable(colors.data(), static_cast<unsigned>(colors.size()));
    }
    const int bits = shr::ColorFmtToBPP[param.format];
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            Pixel pixel;
            pixel.value = RandomPixelBytes(random, param);
            if (bits < 32) pixel.value &= (1u << bits) - 1;
            if (param.transparency == Transparency::anywhere) pixel.opaque = random() % 3 != 0;
            if (param.transparency == Transparency::byValue) pixel.opaque = pixel.value % 2 == 0;
            SetPixel(*bitmap, x, y, pixel);
        }
    }
    bitmap->SetXResolution(11811);
    bitmap->SetYResolution(2835);
    return bitmap;
}

/// Red, green, blue and alpha of a pixel, 0 .. 255 each; premultiplied ones as they are.
std::array<std::uint32_t, 4> ColorAt(const zbm::ZBitmap& bitmap, int x, int y) {
    const shr::ColorFormat format = bitmap.GetColorFormat();
    const Pixel pixel = PixelAt(bitmap, x, y);
    const std::uint32_t alpha = HasAlpha(format) ? pixel.value >> 24 : pixel.opaque ? 255 : 0;
    if (IsIndexed(format)) {
        const shr::Color4b color = bitmap.GetColorTableItem(pixel.value);
        return {color.red, color.green, color.blue, alpha};
    }
    const std::uint32_t first = pixel.value & 255, green = pixel.value >> 8 & 255, third = pixel.value >> 16 & 255;
    if (format == shr::RGBA_32) return {first, green, third, alpha};
    return {third, green, first, alpha};
}

/// A grey level in another depth, rounded; full scale stays full scale.
std::uint32_t Rescaled(std::uint32_t level, int bits, int newBits) {
    if (newBits == bits) return level;
    return static_cast<std::uint32_t>(std::llround(level * (std::exp2(newBits) - 1) / (std::exp2(bits) - 1)));
}

void ExpectGrey(const zbm::ZBitmap& bitmap, const Image& image) {
    const int bits = shr::ColorFmtToBPP[bitmap.GetColorFormat()];
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const Pixel pixel = PixelAt(bitmap, x, y);
            ASSERT_EQ(image.At(x, y, 0), Rescaled(pixel.value, bits, image.bits)) << x << ", " << y;
            if (image.kind == Kind::greyAlpha) { ASSERT_EQ(image.At(x, y, 1), pixel.opaque ? image.Largest() : 0); }
        }
    }
}

/// Indices and colours; or, for greys in a file type that has them as indices only, the levels and the ramp.
void ExpectIndices(const zbm::ZBitmap& bitmap, const Image& image) {
    const shr::ColorFormat format = bitmap.GetColorFormat();
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const Pixel pixel = PixelAt(bitmap, x, y);
            const std::uint32_t index = image.At(x, y, 0);
            ASSERT_EQ(index,
                      IsGrey(format) ? Rescaled(pixel.value, shr::ColorFmtToBPP[format], image.bits) : pixel.value);
            ASSERT_EQ(image.palette.at(index)[3], pixel.opaque ? 255 : 0);
        }
    }
    for (std::uint32_t i = 0; i < image.palette.size(); ++i) {
        const auto grey = static_cast<std::uint8_t>(i * 255 / image.Largest());
        const shr::Color4b color = IsGrey(format) ? shr::Color4b(grey, grey, grey) : bitmap.GetColorTableItem(i);
        EXPECT_EQ((shr::Color4b(image.palette[i][0], image.palette[i][1], image.palette[i][2])), color) << i;
    }
}

void ExpectColors(const zbm::ZBitmap& bitmap, const Image& image) {
    const bool premultiplied = bitmap.GetColorFormat() == shr::PBGRA_32 && !image.associated;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            std::array<std::uint32_t, 4> expected{};
            if (IsGrey(bitmap.GetColorFormat())) {
                const Pixel pixel = PixelAt(bitmap, x, y);
                const std::uint32_t level = Rescaled(pixel.value, shr::ColorFmtToBPP[bitmap.GetColorFormat()], 8);
                expected = {level, level, level, pixel.opaque ? 255u : 0u};
            } else {
                expected = ColorAt(bitmap, x, y);
                // A straight colour is cut off to a whole number.
                if (premultiplied && expected[3] != 0)
                    for (std::size_t c = 0; c < 3; ++c) expected[c] = expected[c] * 255 / expected[3];
            }
            for (int c = 0; c < image.Channels(); ++c) {
                ASSERT_EQ(image.At(x, y, c), expected[static_cast<std::size_t>(c)])
                    << x << ", " << y << " channel " << c;
            }
        }
    }
}

void ExpectPixels(const zbm::ZBitmap& bitmap, const Image& image) {
    ASSERT_EQ(image.width, kWidth);
    ASSERT_EQ(image.height, kHeight);
    EXPECT_EQ(image.xPixelsPerMeter, 11811);
    EXPECT_EQ(image.yPixelsPerMeter, 2835);
    switch (image.kind) {
        case Kind::palette: ExpectIndices(bitmap, image); break;
        case Kind::grey:
        case Kind::greyAlpha: ExpectGrey(bitmap, image); break;
        default: ExpectColors(bitmap, image); break;
    }
}

class Unpacking : public testing::TestWithParam<FormatCase> {
protected:
    /// Stores the bitmap and unpacks it to a file of that name; the file's bytes.
    Bytes Unpack(zbm::ZBasicMemBitmap& bitmap, const std::string& name) {
        StoreArchive(bitmap, folder.File("archive"));
        result = RunTool({"unpack", folder.File("archive"), folder.File(name)});
        EXPECT_EQ(result.code, 0) << result.errors;
        EXPECT_EQ(folder.Names().size(), 2u);
        Bytes bytes = ReadFile(folder.File(name));
        std::filesystem::remove(ToPath(folder.File(name)));
        return bytes;
    }
    bool IsTransparent() const { return GetParam().transparency != Transparency::none; }
    int Bits() const { return shr::ColorFmtToBPP[GetParam().format]; }
    void ExpectReductionNoted(bool reduced) const {
        EXPECT_EQ(result.errors.find("note: grey levels are reduced") != std::string::npos, reduced) << result.errors;
        EXPECT_EQ(result.ErrorLines().size(), reduced ? 1u : 0u);
    }

    ScratchFolder folder;
    ToolResult result;
};

TEST_P(Unpacking, ToPngKeepsEveryPixel) {
    const shr::ColorFormat format = GetParam().format;
    const BitmapPtr bitmap = MakeBitmap(GetParam(), 1);
    const Image image = DecodePng(Unpack(*bitmap, "picture.png"));
    if (IsGrey(format)) {
        EXPECT_EQ(image.kind, IsTransparent() ? Kind::greyAlpha : Kind::grey);
        EXPECT_EQ(image.bits, std::min(16, IsTransparent() ? std::max(8, Bits()) : Bits()));
    } else if (IsIndexed(format) && GetParam().transparency != Transparency::anywhere) {
        EXPECT_EQ(image.kind, Kind::palette);
        EXPECT_EQ(image.bits, Bits());
    } else {
        EXPECT_EQ(image.kind, IsTransparent() || HasAlpha(format) ? Kind::rgba : Kind::rgb);
    }
    ExpectPixels(*bitmap, image);
    ExpectReductionNoted(Bits() == 32 && IsGrey(format));
}

TEST_P(Unpacking, ToTiffKeepsEveryPixel) {
    const shr::ColorFormat format = GetParam().format;
    const BitmapPtr bitmap = MakeBitmap(GetParam(), 2);
    const Image image = DecodeTiff(Unpack(*bitmap, "picture.tif"));
    if (IsGrey(format)) {
        EXPECT_EQ(image.kind, IsTransparent() ? Kind::greyAlpha : Kind::grey);
        EXPECT_EQ(image.bits, IsTransparent() ? std::max(8, Bits()) : Bits());
    } else if (IsIndexed(format) && !IsTransparent()) {
        EXPECT_EQ(image.kind, Kind::palette);
        EXPECT_EQ(image.bits, Bits());
    } else {
        EXPECT_EQ(image.kind, IsTransparent() || HasAlpha(format) ? Kind::rgba : Kind::rgb);
        EXPECT_EQ(image.associated, format == shr::PBGRA_32);
    }
    ExpectPixels(*bitmap, image);
    ExpectReductionNoted(false);
}

TEST_P(Unpacking, ToBmpKeepsEveryPixel) {
    const shr::ColorFormat format = GetParam().format;
    const BitmapPtr bitmap = MakeBitmap(GetParam(), 3);
    const Image image = DecodeBmp(Unpack(*bitmap, "picture.bmp"));
    if (IsTransparent() || HasAlpha(format)) {
        EXPECT_EQ(image.kind, Kind::rgba);
    } else if (IsGrey(format) || IsIndexed(format)) {
        EXPECT_EQ(image.kind, Kind::palette);
        EXPECT_EQ(image.bits, std::min(8, Bits()));
    } else {
        EXPECT_EQ(image.kind, Kind::rgb);
    }
    ExpectPixels(*bitmap, image);
    ExpectReductionNoted(Bits() > 8 && IsGrey(format));
}

/// A sample of the picture over white.
std::uint32_t OverWhite(std::uint32_t sample, std::uint32_t alpha, bool premultiplied) {
    const std::uint32_t part = premultiplied ? sample * 255 : sample * alpha;
    return (part + 255 * (255 - alpha) + 127) / 255;
}

TEST_P(Unpacking, ToJpegEncodesTheSamePictureOverWhite) {
    const shr::ColorFormat format = GetParam().format;
    const BitmapPtr bitmap = MakeBitmap(GetParam(), 4);
    const Image image = DecodeJpeg(Unpack(*bitmap, "picture.jpg"));
    // The same picture, encoded by the library with the same settings.
    Image source;
    source.kind = IsGrey(format) ? Kind::grey : Kind::rgb;
    source.width = kWidth;
    source.height = kHeight;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const Pixel pixel = PixelAt(*bitmap, x, y);
            if (IsGrey(format)) {
                source.samples.push_back(pixel.opaque ? Rescaled(pixel.value, Bits(), 8) : 255);
                continue;
            }
            const auto color = ColorAt(*bitmap, x, y);
            for (std::size_t c = 0; c < 3; ++c) {
                source.samples.push_back(OverWhite(color[c], color[3], format == shr::PBGRA_32));
            }
        }
    }
    EXPECT_EQ(image.kind, source.kind);
    EXPECT_EQ(image.samples, DecodeJpeg(EncodeJpeg(source)).samples);
    const auto has = [&](const char* text) { return result.errors.find(text) != std::string::npos; };
    EXPECT_EQ(has("note: transparent pixels are laid over white"), IsTransparent()) << result.errors;
    EXPECT_EQ(has("note: grey levels are reduced to 8 bits"), Bits() > 8 && IsGrey(format)) << result.errors;
}

INSTANTIATE_TEST_SUITE_P(Formats, Unpacking,
                         testing::Values(FormatCase{"Grayscale1", shr::GRAYSCALE_1, Transparency::none},
                                         FormatCase{"Grayscale1Masked", shr::GRAYSCALE_1, Transparency::anywhere},
                                         FormatCase{"Grayscale4", shr::GRAYSCALE_4, Transparency::none},
                                         FormatCase{"Grayscale4Masked", shr::GRAYSCALE_4, Transparency::anywhere},
                                         FormatCase{"Grayscale8", shr::GRAYSCALE_8, Transparency::none},
                                         FormatCase{"Grayscale8Masked", shr::GRAYSCALE_8, Transparency::anywhere},
                                         FormatCase{"Grayscale16", shr::GRAYSCALE_16, Transparency::none},
                                         FormatCase{"Grayscale16Masked", shr::GRAYSCALE_16, Transparency::anywhere},
                                         FormatCase{"Grayscale32", shr::GRAYSCALE_32, Transparency::none},
                                         FormatCase{"Grayscale32Masked", shr::GRAYSCALE_32, Transparency::anywhere},
                                         FormatCase{"Indexed1", shr::INDEXED_1, Transparency::none},
                                         FormatCase{"Indexed1MaskedByIndex", shr::INDEXED_1, Transparency::byValue},
                                         FormatCase{"Indexed1Masked", shr::INDEXED_1, Transparency::anywhere},
                                         FormatCase{"Indexed4", shr::INDEXED_4, Transparency::none},
                                         FormatCase{"Indexed4MaskedByIndex", shr::INDEXED_4, Transparency::byValue},
                                         FormatCase{"Indexed4Masked", shr::INDEXED_4, Transparency::anywhere},
                                         FormatCase{"Indexed8", shr::INDEXED_8, Transparency::none},
                                         FormatCase{"Indexed8MaskedByIndex", shr::INDEXED_8, Transparency::byValue},
                                         FormatCase{"Indexed8Masked", shr::INDEXED_8, Transparency::anywhere},
                                         FormatCase{"Bgr24", shr::BGR_24, Transparency::none},
                                         FormatCase{"Bgr24Masked", shr::BGR_24, Transparency::anywhere},
                                         FormatCase{"Bgra32", shr::BGRA_32, Transparency::anywhere},
                                         FormatCase{"Bgra32Opaque", shr::BGRA_32, Transparency::none},
                                         FormatCase{"Rgba32", shr::RGBA_32, Transparency::anywhere},
                                         FormatCase{"Rgba32Opaque", shr::RGBA_32, Transparency::none},
                                         FormatCase{"Bgrx32", shr::BGRX_32, Transparency::none},
                                         FormatCase{"Bgrx32Masked", shr::BGRX_32, Transparency::anywhere},
                                         FormatCase{"Pbgra32", shr::PBGRA_32, Transparency::anywhere},
                                         FormatCase{"Pbgra32Opaque", shr::PBGRA_32, Transparency::none}),
                         [](const auto& instance) { return std::string(instance.param.name); });

class UnpackingAny : public testing::Test {
protected:
    ScratchFolder folder;
};

TEST_F(UnpackingAny, GivesIndicesPastTheColorTableBlackEntries) {
    zbm::ZBasicMemBitmap bitmap(4, 1, shr::INDEXED_8);
    const shr::Color4b colors[] = {{10, 20, 30}, {40, 50, 60}};
    bitmap.FillColorTable(colors, 2);
    for (int x = 0; x < 4; ++x) SetPixel(bitmap, x, 0, {static_cast<std::uint32_t>(x)});
    StoreArchive(bitmap, folder.File("archive"));
    for (const char* name : {"p.png", "p.bmp"}) {
        ASSERT_EQ(RunTool({"unpack", folder.File("archive"), folder.File(name)}).code, 0);
        const Bytes bytes = ReadFile(folder.File(name));
        const Image image = name[2] == 'p' ? DecodePng(bytes) : DecodeBmp(bytes);
        ASSERT_EQ(image.palette.size(), 4u) << name;
        EXPECT_EQ(image.palette[1], (std::array<std::uint8_t, 4>{40, 50, 60, 255}));
        EXPECT_EQ(image.palette[3], (std::array<std::uint8_t, 4>{0, 0, 0, 255}));
        EXPECT_EQ(image.samples, (std::vector<std::uint32_t>{0, 1, 2, 3}));
    }
}

TEST_F(UnpackingAny, TellsTheFileTypeByTheExtensionWhateverItsCase) {
    zbm::ZBasicMemBitmap bitmap(3, 3, shr::BGR_24);
    StoreArchive(bitmap, folder.File("archive"));
    const struct {
        const char* name;
        std::uint8_t first;
    } cases[] = {{"a.png", 0x89}, {"b.PNG", 0x89}, {"c.jpg", 0xFF}, {"d.JPeG", 0xFF},
                 {"e.tif", 'I'},  {"f.TIFF", 'I'}, {"g.bmp", 'B'},  {"h.x.Bmp", 'B'}};
    for (const auto& test : cases) {
        ASSERT_EQ(RunTool({"unpack", folder.File("archive"), folder.File(test.name)}).code, 0) << test.name;
        EXPECT_EQ(ReadFile(folder.File(test.name)).at(0), test.first) << test.name;
    }
}

TEST_F(UnpackingAny, WritesNoResolutionWhereNoneIsKnown) {
    zbm::ZBasicMemBitmap bitmap(3, 3, shr::BGR_24);
    bitmap.SetXResolution(0);
    bitmap.SetYResolution(0);
    StoreArchive(bitmap, folder.File("archive"));
    for (const char* name : {"a.png", "a.jpg", "a.tif", "a.bmp"}) {
        ASSERT_EQ(RunTool({"unpack", folder.File("archive"), folder.File(name)}).code, 0) << name;
    }
    EXPECT_EQ(DecodePng(ReadFile(folder.File("a.png"))).xPixelsPerMeter, 0);
    EXPECT_EQ(DecodeJpeg(ReadFile(folder.File("a.jpg"))).xPixelsPerMeter, 0);
    EXPECT_EQ(DecodeTiff(ReadFile(folder.File("a.tif"))).xPixelsPerMeter, 0);
    EXPECT_EQ(DecodeBmp(ReadFile(folder.File("a.bmp"))).xPixelsPerMeter, 0);
}

TEST_F(UnpackingAny, WritesJpegDensityInTheUnitThatFits) {
    zbm::ZBasicMemBitmap bitmap(3, 3, shr::BGR_24);
    for (const int resolution : {11811, 11800, 2835, 7200}) {  // 300, -, 72 dpi, -
        bitmap.SetXResolution(resolution);
        bitmap.SetYResolution(resolution);
        StoreArchive(bitmap, folder.File("archive"));
        ASSERT_EQ(RunTool({"unpack", folder.File("archive"), folder.File("a.jpg")}).code, 0);
        EXPECT_EQ(DecodeJpeg(ReadFile(folder.File("a.jpg"))).xPixelsPerMeter, resolution);
    }
}

TEST_F(UnpackingAny, UsesTheJpegQualityAskedFor) {
    WriteFile(folder.File("p.png"), EncodePng(RandomImage(Kind::rgb, 8, 40, 40, 5)));
    ASSERT_EQ(RunTool({"pack", folder.File("p.png"), folder.File("archive.zbm")}).code, 0);
    const Image image = DecodePng(ReadFile(folder.File("p.png")));
    for (const int quality : {20, 90, 100}) {
        ASSERT_EQ(
            RunTool({"unpack", folder.File("archive.zbm"), folder.File("a.jpg"), "--quality", std::to_string(quality)})
                .code,
            0);
        const Bytes expected = EncodeJpeg(image, {.quality = quality, .fullColor = quality >= 90});
        EXPECT_EQ(DecodeJpeg(ReadFile(folder.File("a.jpg"))).samples, DecodeJpeg(expected).samples) << quality;
    }
}

TEST_F(UnpackingAny, RefusesAJpegLargerThanJpegGoes) {
    zbm::ZBasicMemBitmap bitmap(65501, 1, shr::GRAYSCALE_1);
    StoreArchive(bitmap, folder.File("archive"));
    const ToolResult result = RunTool({"unpack", folder.File("archive"), folder.File("a.jpg")});
    ExpectOneErrorAbout(result, folder.File("a.jpg"));
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"archive"});
}

TEST_F(UnpackingAny, OntoTheArchiveItselfWorks) {
    zbm::ZBasicMemBitmap bitmap(5, 5, shr::GRAYSCALE_8);
    StoreArchive(bitmap, folder.File("same.png"));
    ASSERT_EQ(RunTool({"unpack", folder.File("same.png"), folder.File("same.png")}).code, 0);
    EXPECT_EQ(DecodePng(ReadFile(folder.File("same.png"))).width, 5);
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"same.png"});
}

struct RoundTripCase {
    const char* name;
    Kind kind;
    int bits;
};
class RoundTrip : public testing::TestWithParam<RoundTripCase> {};

TEST_P(RoundTrip, ThroughPngAndTiffGivesTheSamePicture) {
    const ScratchFolder folder;
    for (const auto& [width, height] : {std::pair{1, 1}, {7, 3}, {64, 64}, {200, 131}}) {
        Image image = RandomImage(GetParam().kind, GetParam().bits, width, height, 6);
        image.xPixelsPerMeter = image.yPixelsPerMeter = 3937;
        for (const bool png : {true, false}) {
            const std::string picture = folder.File(png ? "a.png" : "a.tif"),
                              back = folder.File(png ? "b.png" : "b.tif");
            WriteFile(picture, png ? EncodePng(image) : EncodeTiff(image));
            ASSERT_EQ(RunTool({"pack", picture, folder.File("z.zbm"), "--tile", "64x48"}).code, 0);
            ASSERT_EQ(RunTool({"unpack", folder.File("z.zbm"), back}).code, 0);
            const Image result = png ? DecodePng(ReadFile(back)) : DecodeTiff(ReadFile(back));
            EXPECT_EQ(result.kind, image.kind);
            EXPECT_EQ(result.bits, image.bits);
            EXPECT_EQ(result.samples, image.samples);
            EXPECT_EQ(result.palette, image.palette);
            EXPECT_EQ(result.xPixelsPerMeter, 3937);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, RoundTrip,
                         testing::Values(RoundTripCase{"Grey1", Kind::grey, 1}, RoundTripCase{"Grey4", Kind::grey, 4},
                                         RoundTripCase{"Grey8", Kind::grey, 8}, RoundTripCase{"Grey16", Kind::grey, 16},
                                         RoundTripCase{"Palette1", Kind::palette, 1},
                                         RoundTripCase{"Palette4", Kind::palette, 4},
                                         RoundTripCase{"Palette8", Kind::palette, 8},
                                         RoundTripCase{"Rgb", Kind::rgb, 8}, RoundTripCase{"Rgba", Kind::rgba, 8}),
                         [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
}  // namespace test
