// Packing: every kind of picture file becomes the closest format, every pixel of it.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "apps/Image.h"
#include "apps/Scratch.h"
#include "apps/ToolRun.h"

namespace test {
namespace {

constexpr int kWidth = 37, kHeight = 29;  // no multiples of anything

std::uint32_t To8(std::uint32_t sample, int bits) {
    return bits == 16 ? static_cast<std::uint32_t>(std::lround(sample * 255.0 / 65535.0)) : sample;
}

/// The pixel of a bitmap that the image's pixel has to become.
Pixel Expected(const Image& image, int x, int y, shr::ColorFormat format) {
    const std::uint32_t first = image.At(x, y, 0);
    if (format == shr::GRAYSCALE_4 && image.bits == 2) return {first * 5};
    if (format < shr::BGR_24) return {first};
    const auto sample = [&](int channel) { return To8(image.At(x, y, channel), image.bits); };
    const int green = image.Channels() > 2 ? 1 : 0, blue = image.Channels() > 2 ? 2 : 0;
    std::uint32_t value = sample(blue) | sample(green) << 8 | sample(0) << 16;
    if (format == shr::BGRA_32 || format == shr::PBGRA_32) {
        value |= (image.Channels() % 2 == 0 ? sample(image.Channels() - 1) : 255) << 24;
    }
    return {value};
}

void ExpectPixels(const zbm::ZBitmap& bitmap, const Image& image) {
    ASSERT_EQ(bitmap.GetPixelWidth(), image.width);
    ASSERT_EQ(bitmap.GetPixelHeight(), image.height);
    for (int y = 0; y < image.height; ++y) {
        for (int x = 0; x < image.width; ++x) {
            ASSERT_EQ(PixelAt(bitmap, x, y), Expected(image, x, y, bitmap.GetColorFormat())) << x << ", " << y;
        }
    }
}

void ExpectPalette(const zbm::ZBitmap& bitmap, const Image& image) {
    ASSERT_EQ(bitmap.GetNumColorTableItems(), image.palette.size());
    for (unsigned i = 0; i < image.palette.size(); ++i) {
        const auto& color = image.palette[i];
        EXPECT_EQ(bitmap.GetColorTableItem(i), shr::Color4b(color[0], color[1], color[2])) << i;
    }
}

class Packing : public testing::Test {
protected:
    /// Packs the file; the bitmap of the archive.
    BitmapPtr Pack(const Bytes& picture, const std::string& tile = "16x8") {
        WriteFile(folder.File("picture"), picture);
        result = RunTool({"pack", folder.File("picture"), folder.File("archive.zbm"), "--tile", tile});
        EXPECT_EQ(result.code, 0) << result.errors;
        return LoadArchive(folder.File("archive.zbm"));
    }
    void ExpectRefused(const Bytes& picture, const std::string& reason) {
        WriteFile(folder.File("picture"), picture);
        result = RunTool({"pack", folder.File("picture"), folder.File("archive.zbm")});
        ExpectOneErrorAbout(result, folder.File("picture"));
        EXPECT_NE(result.errors.find(reason), std::string::npos) << result.errors;
        EXPECT_EQ(folder.Names(), std::vector<std::string>{"picture"});
    }
    bool HasNote(const std::string& text) const { return result.errors.find(text) != std::string::npos; }

    ScratchFolder folder;
    ToolResult result;
};

struct KindCase {
    const char* name;
    Kind kind;
    int bits;
    shr::ColorFormat format;
};
std::string NameOf(const testing::TestParamInfo<KindCase>& instance) { return instance.param.name; }

class PackingPng : public Packing, public testing::WithParamInterface<KindCase> {};

TEST_P(PackingPng, KeepsEveryPixelInTheClosestFormat) {
    const Image image = RandomImage(GetParam().kind, GetParam().bits, kWidth, kHeight, 1);
    for (const char* tile : {"16x8", "1x1", "500x500"}) {
        const BitmapPtr bitmap = Pack(EncodePng(image), tile);
        EXPECT_EQ(bitmap->GetColorFormat(), GetParam().format);
        ExpectPixels(*bitmap, image);
        if (GetParam().kind == Kind::palette) ExpectPalette(*bitmap, image);
        EXPECT_EQ(HasNote("reduced"), GetParam().bits == 16 && GetParam().kind != Kind::grey);
    }
}

TEST_P(PackingPng, MergesTheSevenPassesOfAnInterlacedPicture) {
    for (const int width : {kWidth, 8, 5, 1}) {
        const Image image = RandomImage(GetParam().kind, GetParam().bits, width, kHeight, 2);
        const BitmapPtr bitmap = Pack(EncodePng(image, {.interlaced = true}));
        ExpectPixels(*bitmap, image);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, PackingPng,
    testing::Values(
        KindCase{"Grey1", Kind::grey, 1, shr::GRAYSCALE_1}, KindCase{"Grey2", Kind::grey, 2, shr::GRAYSCALE_4},
        KindCase{"Grey4", Kind::grey, 4, shr::GRAYSCALE_4}, KindCase{"Grey8", Kind::grey, 8, shr::GRAYSCALE_8},
        KindCase{"Grey16", Kind::grey, 16, shr::GRAYSCALE_16}, KindCase{"Palette1", Kind::palette, 1, shr::INDEXED_1},
        KindCase{"Palette2", Kind::palette, 2, shr::INDEXED_4}, KindCase{"Palette4", Kind::palette, 4, shr::INDEXED_4},
        KindCase{"Palette8", Kind::palette, 8, shr::INDEXED_8}, KindCase{"Rgb8", Kind::rgb, 8, shr::BGR_24},
        KindCase{"Rgb16", Kind::rgb, 16, shr::BGR_24}, KindCase{"Rgba8", Kind::rgba, 8, shr::BGRA_32},
        KindCase{"Rgba16", Kind::rgba, 16, shr::BGRA_32}, KindCase{"GreyAlpha8", Kind::greyAlpha, 8, shr::BGRA_32},
        KindCase{"GreyAlpha16", Kind::greyAlpha, 16, shr::BGRA_32}),
    NameOf);

TEST_F(Packing, KeepsAShortPaletteShort) {
    Image image = RandomImage(Kind::palette, 8, kWidth, kHeight, 3);
    image.palette.resize(200);
    for (std::uint32_t& sample : image.samples) sample %= 200;
    const BitmapPtr bitmap = Pack(EncodePng(image));
    EXPECT_EQ(bitmap->GetColorFormat(), shr::INDEXED_8);
    ExpectPixels(*bitmap, image);
    ExpectPalette(*bitmap, image);
}

class PackingTransparency : public Packing, public testing::WithParamInterface<bool> {
protected:
    PngOptions Options() const { return {.interlaced = GetParam()}; }
};

TEST_P(PackingTransparency, PutsFullyTransparentPaletteEntriesIntoTheMask) {
    for (const int bits : {1, 2, 4, 8}) {
        Image image = RandomImage(Kind::palette, bits, kWidth, kHeight, 4);
        image.palette[1][3] = 0;
        const BitmapPtr bitmap = Pack(EncodePng(image, Options()));
        EXPECT_LE(bitmap->GetColorFormat(), shr::INDEXED_8);
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                const std::uint32_t index = image.At(x, y, 0);
                ASSERT_EQ(PixelAt(*bitmap, x, y), (Pixel{index, index != 1})) << bits << " bits at " << x << ", " << y;
            }
        }
    }
}

TEST_P(PackingTransparency, WidensAPaletteWithHalfTransparentEntriesToAlpha) {
    for (const int bits : {1, 2, 4, 8}) {
        Image image = RandomImage(Kind::palette, bits, kWidth, kHeight, 5);
        image.palette[0][3] = 0;
        image.palette[1][3] = 77;
        const BitmapPtr bitmap = Pack(EncodePng(image, Options()));
        ASSERT_EQ(bitmap->GetColorFormat(), shr::BGRA_32);
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                const auto& color = image.palette[image.At(x, y, 0)];
                std::uint32_t value = 0;
                for (const std::size_t c : {3u, 0u, 1u, 2u}) value = value << 8 | color[c];
                ASSERT_EQ(PixelAt(*bitmap, x, y).value, value) << bits << " bits at " << x << ", " << y;
            }
        }
    }
}

TEST_P(PackingTransparency, PutsATransparentGreyIntoTheMask) {
    for (const int bits : {1, 2, 4, 8, 16}) {
        Image image = RandomImage(Kind::grey, bits, kWidth, kHeight, 6);
        const std::uint32_t level = image.At(3, 3, 0);
        image.At(20, 20, 0) = level;
        PngOptions options = Options();
        options.transparent = {static_cast<std::uint16_t>(level)};
        const BitmapPtr bitmap = Pack(EncodePng(image, options));
        EXPECT_LE(bitmap->GetColorFormat(), shr::GRAYSCALE_16);
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                Pixel expected = Expected(image, x, y, bitmap->GetColorFormat());
                expected.opaque = image.At(x, y, 0) != level;
                ASSERT_EQ(PixelAt(*bitmap, x, y), expected) << bits << " bits at " << x << ", " << y;
            }
        }
    }
}

TEST_P(PackingTransparency, PutsATransparentColorIntoTheMaskJudgedInFullDepth) {
    for (const int bits : {8, 16}) {
        Image image = RandomImage(Kind::rgb, bits, kWidth, kHeight, 7);
        PngOptions options = Options();
        for (int c = 0; c < 3; ++c) {
            image.At(5, 6, c) = image.At(7, 8, c) = image.At(3, 3, c);
            options.transparent.push_back(static_cast<std::uint16_t>(image.At(3, 3, c)));
        }
        image.At(7, 8, 0) ^= 1;  // with 16 bits the same colour, but for a bit that 8 bits do not show
        const BitmapPtr bitmap = Pack(EncodePng(image, options));
        ASSERT_EQ(bitmap->GetColorFormat(), shr::BGR_24);
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                Pixel expected = Expected(image, x, y, shr::BGR_24);
                expected.opaque = !((x == 3 && y == 3) || (x == 5 && y == 6));
                ASSERT_EQ(PixelAt(*bitmap, x, y), expected) << bits << " bits at " << x << ", " << y;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Png, PackingTransparency, testing::Bool(),
                         [](const auto& instance) { return instance.param ? "Interlaced" : "Plain"; });

class PackingTiff : public Packing, public testing::WithParamInterface<KindCase> {};

TEST_P(PackingTiff, KeepsEveryPixelInTheClosestFormat) {
    Image image = RandomImage(GetParam().kind, GetParam().bits, kWidth, kHeight, 8);
    image.associated = GetParam().format == shr::PBGRA_32;
    TiffOptions variants[7];
    variants[1].rowsPerStrip = 5;
    variants[2].compression = 5;      // LZW
    variants[3].compression = 32773;  // PackBits
    variants[4].tileSize = 16;
    variants[5].bigEndian = true;
    variants[6].tileSize = 48;  // larger than the picture
    for (const TiffOptions& options : variants) {
        const BitmapPtr bitmap = Pack(EncodeTiff(image, options));
        EXPECT_EQ(bitmap->GetColorFormat(), GetParam().format);
        ExpectPixels(*bitmap, image);
        if (GetParam().kind == Kind::palette && GetParam().bits != 2) ExpectPalette(*bitmap, image);
    }
}

TEST_P(PackingTiff, MergesPlanes) {
    Image image = RandomImage(GetParam().kind, GetParam().bits, kWidth, kHeight, 9);
    image.associated = GetParam().format == shr::PBGRA_32;
    if (image.Channels() == 1) image = RandomImage(Kind::rgb, 8, kWidth, kHeight, 9);
    for (const int tileSize : {0, 16}) {
        TiffOptions options;
        options.planar = true;
        options.tileSize = tileSize;
        options.rowsPerStrip = 7;
        ExpectPixels(*Pack(EncodeTiff(image, options)), image);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, PackingTiff,
    testing::Values(
        KindCase{"Grey1", Kind::grey, 1, shr::GRAYSCALE_1}, KindCase{"Grey2", Kind::grey, 2, shr::GRAYSCALE_4},
        KindCase{"Grey4", Kind::grey, 4, shr::GRAYSCALE_4}, KindCase{"Grey8", Kind::grey, 8, shr::GRAYSCALE_8},
        KindCase{"Grey16", Kind::grey, 16, shr::GRAYSCALE_16}, KindCase{"Grey32", Kind::grey, 32, shr::GRAYSCALE_32},
        KindCase{"Palette1", Kind::palette, 1, shr::INDEXED_1}, KindCase{"Palette2", Kind::palette, 2, shr::INDEXED_4},
        KindCase{"Palette4", Kind::palette, 4, shr::INDEXED_4}, KindCase{"Palette8", Kind::palette, 8, shr::INDEXED_8},
        KindCase{"Rgb8", Kind::rgb, 8, shr::BGR_24}, KindCase{"Rgb16", Kind::rgb, 16, shr::BGR_24},
        KindCase{"Rgba8", Kind::rgba, 8, shr::BGRA_32}, KindCase{"Rgba16", Kind::rgba, 16, shr::BGRA_32},
        KindCase{"RgbaPremultiplied8", Kind::rgba, 8, shr::PBGRA_32},
        KindCase{"GreyAlpha8", Kind::greyAlpha, 8, shr::BGRA_32},
        KindCase{"GreyAlpha16", Kind::greyAlpha, 16, shr::BGRA_32}),
    NameOf);

TEST_F(Packing, TurnsGreysWhereZeroIsWhite) {
    for (const int bits : {1, 2, 4, 8, 16, 32}) {
        const Image image = RandomImage(Kind::grey, bits, kWidth, kHeight, 10);
        TiffOptions options;
        options.inverted = true;
        ExpectPixels(*Pack(EncodeTiff(image, options)), image);
    }
    const Image image = RandomImage(Kind::greyAlpha, 8, kWidth, kHeight, 10);
    TiffOptions options;
    options.inverted = true;
    ExpectPixels(*Pack(EncodeTiff(image, options)), image);
}

TEST_F(Packing, ReadsFaxCompression) {
    const Image image = RandomImage(Kind::grey, 1, kWidth, kHeight, 11);
    TiffOptions options;
    options.compression = 4;  // Group 4
    options.inverted = true;
    ExpectPixels(*Pack(EncodeTiff(image, options)), image);
}

TEST_F(Packing, ReadsJpegInTiff) {
    Image image = RandomImage(Kind::rgb, 8, 32, 16, 12);
    for (std::uint32_t& sample : image.samples) sample = 100;
    TiffOptions options;
    options.compression = 7;
    options.photometric = 6;  // YCbCr
    const BitmapPtr bitmap = Pack(EncodeTiff(image, options));
    EXPECT_EQ(bitmap->GetColorFormat(), shr::BGR_24);
    ExpectPixels(*bitmap, image);
}

TEST_F(Packing, LeavesOutTiffSamplesThatAreNoAlphaAndSaysSo) {
    const Image image = RandomImage(Kind::greyAlpha, 16, kWidth, kHeight, 13);
    TiffOptions options;
    options.extraSampleKind = 0;  // unspecified
    const BitmapPtr bitmap = Pack(EncodeTiff(image, options));
    EXPECT_EQ(bitmap->GetColorFormat(), shr::GRAYSCALE_16);
    EXPECT_TRUE(HasNote("note: its 1 additional sample(s)")) << result.errors;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) ASSERT_EQ(PixelAt(*bitmap, x, y).value, image.At(x, y, 0));
    }
}

TEST_F(Packing, ReadsTheFirstOfSeveralTiffPicturesAndSaysSo) {
    const Image image = RandomImage(Kind::grey, 8, kWidth, kHeight, 14);
    TiffOptions options;
    options.pictures = 2;
    ExpectPixels(*Pack(EncodeTiff(image, options)), image);
    EXPECT_TRUE(HasNote("only the first of its pictures")) << result.errors;
}

TEST_F(Packing, RefusesTiffPicturesThatNoFormatHolds) {
    const Image grey = RandomImage(Kind::grey, 32, 4, 4, 15);
    TiffOptions floating;
    floating.sampleFormat = 3;
    ExpectRefused(EncodeTiff(grey, floating), "floating-point");
    TiffOptions isSigned;
    isSigned.sampleFormat = 2;
    ExpectRefused(EncodeTiff(grey, isSigned), "signed");
    TiffOptions lab;
    lab.photometric = 8;
    ExpectRefused(EncodeTiff(RandomImage(Kind::rgb, 8, 4, 4, 15), lab), "colour model");
    ExpectRefused(EncodeTiff(RandomImage(Kind::rgb, 32, 4, 4, 15)), "32 bits");
}

TEST_F(Packing, KeepsWhatTheJpegDecoderGives) {
    for (const Kind kind : {Kind::grey, Kind::rgb}) {
        for (const bool progressive : {false, true}) {
            const Bytes bytes = EncodeJpeg(RandomImage(kind, 8, kWidth, kHeight, 16),
                                           {.fullColor = !progressive, .progressive = progressive});
            const BitmapPtr bitmap = Pack(bytes);
            EXPECT_EQ(bitmap->GetColorFormat(), kind == Kind::grey ? shr::GRAYSCALE_8 : shr::BGR_24);
            ExpectPixels(*bitmap, DecodeJpeg(bytes));
        }
    }
}

TEST_F(Packing, KeepsEveryPixelOfABmp) {
    const KindCase cases[] = {{"", Kind::palette, 1, shr::INDEXED_1},
                              {"", Kind::palette, 4, shr::INDEXED_4},
                              {"", Kind::palette, 8, shr::INDEXED_8},
                              {"", Kind::rgb, 8, shr::BGR_24},
                              {"", Kind::rgba, 8, shr::BGRA_32}};
    for (const KindCase& kind : cases) {
        for (const bool topDown : {false, true}) {
            const Image image = RandomImage(kind.kind, kind.bits, kWidth, kHeight, 18);
            const BitmapPtr bitmap = Pack(EncodeBmp(image, topDown));
            EXPECT_EQ(bitmap->GetColorFormat(), kind.format);
            ExpectPixels(*bitmap, image);
            if (kind.kind == Kind::palette) ExpectPalette(*bitmap, image);
        }
    }
}

/// A BMP file with an info header of 40 bytes, 2 x 1 pixels, whose rest is `tail`.
Bytes SmallBmp(int bits, int compression, const Bytes& tail, std::size_t bitsOffset) {
    Bytes bytes{'B', 'M', 0, 0, 0, 0, 0, 0, 0, 0, static_cast<std::uint8_t>(bitsOffset), 0, 0, 0, 40, 0, 0, 0,
                2,   0,   0, 0, 1, 0, 0, 0, 1, 0};
    bytes.push_back(static_cast<std::uint8_t>(bits));
    bytes.push_back(0);
    bytes.push_back(static_cast<std::uint8_t>(compression));
    bytes.resize(54);
    bytes.insert(bytes.end(), tail.begin(), tail.end());
    return bytes;
}

TEST_F(Packing, ReadsBmpPixelsOf16Bits) {
    // 5-5-5: 0x7FFF is white, 0x7C10 has red 31, blue 16.
    BitmapPtr bitmap = Pack(SmallBmp(16, 0, {0xFF, 0x7F, 0x10, 0x7C}, 54));
    EXPECT_EQ(bitmap->GetColorFormat(), shr::BGR_24);
    EXPECT_EQ(PixelAt(*bitmap, 0, 0).value, 0xFFFFFFu);
    EXPECT_EQ(PixelAt(*bitmap, 1, 0).value, 0xFF0084u);
    // 5-6-5 by masks: 0xFFFF is white, 0x0400 has green 32.
    const Bytes masks{0, 0xF8, 0, 0, 0xE0, 0x07, 0, 0, 0x1F, 0, 0, 0};
    Bytes tail = masks;
    tail.insert(tail.end(), {0xFF, 0xFF, 0x00, 0x04});
    bitmap = Pack(SmallBmp(16, 3, tail, 66));
    EXPECT_EQ(PixelAt(*bitmap, 0, 0).value, 0xFFFFFFu);
    EXPECT_EQ(PixelAt(*bitmap, 1, 0).value, 0x008200u);
}

TEST_F(Packing, ReadsBmpPixelsOf32BitsByTheirMasks) {
    // Without masks the fourth byte means nothing.
    BitmapPtr bitmap = Pack(SmallBmp(32, 0, {1, 2, 3, 4, 5, 6, 7, 8}, 54));
    EXPECT_EQ(bitmap->GetColorFormat(), shr::BGRX_32);
    EXPECT_EQ(PixelAt(*bitmap, 0, 0), (Pixel{0x030201, true}));
    EXPECT_EQ(PixelAt(*bitmap, 1, 0), (Pixel{0x070605, true}));
    // Red in the first byte, green in the second, blue in the third.
    Bytes tail{0xFF, 0, 0, 0, 0, 0xFF, 0, 0, 0, 0, 0xFF, 0};
    tail.insert(tail.end(), {1, 2, 3, 4, 5, 6, 7, 8});
    bitmap = Pack(SmallBmp(32, 3, tail, 66));
    EXPECT_EQ(bitmap->GetColorFormat(), shr::BGRX_32);
    EXPECT_EQ(PixelAt(*bitmap, 0, 0).value, 0x010203u);
}

TEST_F(Packing, ReadsBmpOfTheOldHeader) {
    const Bytes bytes{'B',  'M', 0, 0, 0, 0, 0, 0, 0, 0, 32, 0, 0, 0, 12, 0,
                      0,    0,   2, 0, 1, 0, 1, 0, 1, 0, 1,  2, 3, 4, 5,  6,  // colours of three bytes: B, G, R
                      0x40, 0,   0, 0};                                       // indices 0, 1
    const BitmapPtr bitmap = Pack(bytes);
    EXPECT_EQ(bitmap->GetColorFormat(), shr::INDEXED_1);
    EXPECT_EQ(bitmap->GetColorTableItem(0), shr::Color4b(3, 2, 1));
    EXPECT_EQ(bitmap->GetColorTableItem(1), shr::Color4b(6, 5, 4));
    EXPECT_EQ(PixelAt(*bitmap, 0, 0).value, 0u);
    EXPECT_EQ(PixelAt(*bitmap, 1, 0).value, 1u);
}

TEST_F(Packing, RefusesRunLengthBmp) { ExpectRefused(SmallBmp(8, 1, Bytes(1100), 1078), "run-length"); }

TEST_F(Packing, RefusesWhatIsNoPicture) {
    ExpectRefused({}, "is empty");
    ExpectRefused({'B'}, "is no PNG, JPEG, TIFF or BMP picture");
    ExpectRefused({'G', 'I', 'F', '8', '9', 'a', 0, 0, 0, 0}, "is no PNG, JPEG, TIFF or BMP picture");
}

TEST_F(Packing, KeepsTheResolutionInPixelsPerMeter) {
    Image image = RandomImage(Kind::rgb, 8, 8, 8, 19);
    image.xPixelsPerMeter = 11811;
    image.yPixelsPerMeter = 2835;
    TiffOptions perInch;
    perInch.perInch = true;
    for (const Bytes& bytes : {EncodePng(image), EncodeBmp(image), EncodeTiff(image), EncodeTiff(image, perInch)}) {
        const BitmapPtr bitmap = Pack(bytes);
        EXPECT_EQ(bitmap->GetXResolution(), 11811);
        EXPECT_EQ(bitmap->GetYResolution(), 2835);
    }
    EXPECT_EQ(Pack(EncodeJpeg(image, {.densityUnit = 1, .density = 300}))->GetXResolution(), 11811);
    EXPECT_EQ(Pack(EncodeJpeg(image, {.densityUnit = 2, .density = 118}))->GetYResolution(), 11800);
}

TEST_F(Packing, LeavesAnUnknownResolutionUnknown) {
    const Image image = RandomImage(Kind::rgb, 8, 8, 8, 20);
    for (const Bytes& bytes : {EncodePng(image), EncodeBmp(image), EncodeTiff(image), EncodeJpeg(image)}) {
        const BitmapPtr bitmap = Pack(bytes);
        EXPECT_EQ(bitmap->GetXResolution(), 0);
        EXPECT_EQ(bitmap->GetYResolution(), 0);
    }
}

TEST_F(Packing, NotesAColorProfileThatIsNotKept) {
    const Image image = RandomImage(Kind::rgb, 8, 8, 8, 21);
    Pack(EncodeJpeg(image, {.profile = true}));
    EXPECT_TRUE(HasNote("note: its colour profile is not kept")) << result.errors;
    TiffOptions options;
    options.profile = true;
    Pack(EncodeTiff(image, options));
    EXPECT_TRUE(HasNote("note: its colour profile is not kept")) << result.errors;
}

TEST_F(Packing, RefusesSizesThatTheFileCannotHold) {
    Bytes png = EncodePng(RandomImage(Kind::rgb, 8, 8, 8, 23));
    // The size stands at bytes 16 to 23; the checksum of the header, at 29, is made to fit.
    const auto forge = [&](std::uint8_t high) {
        png[16] = png[20] = high;
        std::uint32_t sum = 0xFFFFFFFF;
        for (std::size_t i = 12; i < 29; ++i) {
            sum ^= png[i];
            for (int bit = 0; bit < 8; ++bit) sum = (sum & 1) != 0 ? 0xEDB88320 ^ sum >> 1 : sum >> 1;
        }
        for (std::size_t i = 0; i < 4; ++i) png[29 + i] = static_cast<std::uint8_t>(~sum >> (24 - 8 * i));
    };
    forge(0x7F);
    ExpectRefused(png, "the file is too short for its picture of 2130706440 x 2130706440 pixels");
    forge(0x01);
    ExpectRefused(png, "too short");
    Bytes bmp = EncodeBmp(RandomImage(Kind::rgb, 8, 8, 8, 23));
    bmp[21] = 0x7F;
    bmp[25] = 0x7F;
    ExpectRefused(bmp, "too short");
    Bytes tiff = EncodeTiff(RandomImage(Kind::rgb, 8, 8, 8, 23));
    // Width and length are the first two entries of the directory, whose place the header tells.
    std::uint32_t directory;
    std::memcpy(&directory, &tiff[4], 4);
    for (const std::uint32_t entry : {0u, 1u}) {
        std::uint8_t* field = &tiff[directory + 2 + 12 * entry];
        field[2] = 4;  // 32 bits
        std::memcpy(field + 8, "\xFF\xFF\xFF\x7F", 4);
    }
    ExpectRefused(tiff, "");
}

TEST_F(Packing, AcceptsAnyUnicodeFileName) {
    const Image image = RandomImage(Kind::grey, 8, 8, 8, 24);
    const std::string picture = folder.File("gr\xC3\xBC\xC3\x9F \xE5\x9B\xBE \xF0\x9F\x96\xBC.png");
    const std::string archive = folder.File("\xD0\xB0\xD1\x80\xD1\x85\xD0\xB8\xD0\xB2.zbm");
    WriteFile(picture, EncodePng(image));
    ASSERT_EQ(RunTool({"pack", picture, archive}).code, 0);
    ExpectPixels(*LoadArchive(archive), image);
    EXPECT_EQ(folder.Names().size(), 2u);
}

TEST_F(Packing, OntoThePictureItselfWorks) {
    const Image image = RandomImage(Kind::grey, 8, 8, 8, 25);
    WriteFile(folder.File("same.zbm"), EncodePng(image));
    ASSERT_EQ(RunTool({"pack", folder.File("same.zbm"), folder.File("same.zbm")}).code, 0);
    ExpectPixels(*LoadArchive(folder.File("same.zbm")), image);
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"same.zbm"});
}

TEST_F(Packing, EveryMethodGivesTheSameBitmap) {
    const Image image = RandomImage(Kind::rgba, 8, 100, 50, 26);
    WriteFile(folder.File("picture"), EncodePng(image));
    for (const char* method : {"stored", "fast", "balanced", "small"}) {
        ASSERT_EQ(RunTool({"pack", folder.File("picture"), folder.File("a.zbm"), "--method", method}).code, 0);
        ExpectPixels(*LoadArchive(folder.File("a.zbm")), image);
    }
}

}  // namespace
}  // namespace test
