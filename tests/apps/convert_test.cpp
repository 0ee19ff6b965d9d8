// Converting files between pixel formats: what becomes of colours, indices and transparency.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <set>

#include "apps/Image.h"
#include "apps/Scratch.h"
#include "apps/ToolRun.h"

namespace test {
namespace {

constexpr int kWidth = 37, kHeight = 29;  // no multiples of anything

using Rgba = std::array<std::uint32_t, 4>;

const char* NameOf(int format) {
    constexpr const char* kNames[] = {"GRAYSCALE_1", "GRAYSCALE_4", "GRAYSCALE_8", "GRAYSCALE_16", "GRAYSCALE_32",
                                      "INDEXED_1",   "INDEXED_4",   "INDEXED_8",   "BGR_24",       "BGRA_32",
                                      "RGBA_32",     "BGRX_32",     "PBGRA_32"};
    return kNames[format - 1];
}

bool IsIndexed(int format) { return format >= shr::INDEXED_1 && format <= shr::INDEXED_8; }

/// A bitmap whose pixels are given by a function of x and y.
template <class PixelOf>
BitmapPtr MakeBitmap(shr::ColorFormat format, const PixelOf& pixelOf) {
    auto bitmap = std::make_unique<zbm::ZBasicMemBitmap>(kWidth, kHeight, format, 16, 8);
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) SetPixel(*bitmap, x, y, pixelOf(x, y));
    }
    bitmap->SetXResolution(11811);
    bitmap->SetYResolution(2835);
    return bitmap;
}

/// Random colours with some transparent, some translucent and mostly opaque pixels.
BitmapPtr RandomBgra() {
    auto random = std::make_shared<std::mt19937>(1);
    return MakeBitmap(shr::BGRA_32, [random](int, int) {
        const auto color = static_cast<std::uint32_t>((*random)()) & 0xFFFFFF;
        constexpr std::uint32_t kAlphas[] = {255, 255, 255, 255, 0, 100, 127, 128};
        return Pixel{color | kAlphas[(*random)() % 8] << 24};
    });
}

/// The colour of a straight one's pixel.
Rgba StraightAt(const zbm::ZBitmap& bgra, int x, int y) {
    const std::uint32_t value = PixelAt(bgra, x, y).value;
    return {value >> 16 & 255, value >> 8 & 255, value & 255, value >> 24};
}

/// What a straight colour is in a format that is not indexed.
Pixel ExpectedPixel(Rgba color, shr::ColorFormat format) {
    const auto [red, green, blue, alpha] = color;
    const bool opaque = alpha >= 128;
    const std::uint64_t sum = 299 * red + 587 * green + 114 * blue;
    const auto level = [&](std::uint64_t full) { return static_cast<std::uint32_t>(sum * full / 255000); };
    const auto times = [](std::uint32_t c, std::uint32_t a) { return (c * a + 127) / 255; };
    switch (format) {
        case shr::GRAYSCALE_1: return {sum >= 127500 ? 1u : 0u, opaque};
        case shr::GRAYSCALE_4: return {level(15), opaque};
        case shr::GRAYSCALE_8: return {level(255), opaque};
        case shr::GRAYSCALE_16: return {level(65535), opaque};
        case shr::GRAYSCALE_32: return {level(4294967295), opaque};
        case shr::BGR_24:
        case shr::BGRX_32: return {red << 16 | green << 8 | blue, opaque};
        case shr::RGBA_32: return {alpha << 24 | blue << 16 | green << 8 | red};
        case shr::PBGRA_32:
            return {alpha << 24 | times(red, alpha) << 16 | times(green, alpha) << 8 | times(blue, alpha)};
        default: return {alpha << 24 | red << 16 | green << 8 | blue};
    }
}

class Converting : public testing::Test {
protected:
    ToolResult Run(const std::string& input, const std::string& output, const std::string& format,
                   const std::string& quantizer = "") {
        std::vector<std::string> arguments{"convert", folder.File(input), folder.File(output), "--format", format};
        if (!quantizer.empty()) arguments.insert(arguments.end(), {"--quantizer", quantizer});
        return RunTool(arguments);
    }
    BitmapPtr Convert(zbm::ZBasicMemBitmap& source, const std::string& format, const std::string& quantizer = "") {
        StoreArchive(source, folder.File("in"));
        const ToolResult result = Run("in", "out.zbm", format, quantizer);
        EXPECT_EQ(result.code, 0) << result.errors;
        errors = result.errors;
        return LoadArchive(folder.File("out.zbm"));
    }

    ScratchFolder folder;
    std::string errors;  // of the last conversion
};

TEST_F(Converting, SaysThatSoftTransparencyBecomesOnOrOff) {
    const auto bitmapWithAlphas = [](shr::ColorFormat format, std::uint32_t alpha) {
        return MakeBitmap(format, [alpha](int x, int y) {
            return Pixel{(x == 30 && y == 28 ? alpha : x % 2 == 0 ? 0u : 255u) << 24};
        });
    };
    const std::string note = "zbm: " + folder.File("in") + ": note: its soft transparency becomes on or off\n";
    for (const auto source : {shr::BGRA_32, shr::RGBA_32, shr::PBGRA_32}) {
        for (int i = shr::GRAYSCALE_1; i <= shr::PBGRA_32; ++i) {
            const bool holdsAlpha = shr::ColorFmtHasAlphaChannel[i];
            for (const std::uint32_t soft : {1u, 127u, 128u, 254u}) {
                Convert(*bitmapWithAlphas(source, soft), NameOf(i));
                EXPECT_EQ(errors, holdsAlpha ? "" : note) << NameOf(i) << ' ' << soft;
            }
            Convert(*bitmapWithAlphas(source, 255), NameOf(i));
            EXPECT_EQ(errors, "") << NameOf(i);
        }
    }
    Convert(*bitmapWithAlphas(shr::BGRA_32, 100), "INDEXED_4", "diffuse");
    EXPECT_EQ(errors, note);
}

TEST_F(Converting, GivesEveryFormatItsPixelsAndKeepsTransparency) {
    const BitmapPtr source = RandomBgra();
    for (int i = shr::GRAYSCALE_1; i <= shr::PBGRA_32; ++i) {
        if (IsIndexed(i)) continue;
        const auto format = static_cast<shr::ColorFormat>(i);
        const BitmapPtr result = Convert(*source, NameOf(i));
        ASSERT_EQ(result->GetColorFormat(), format);
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                const Pixel expected = ExpectedPixel(StraightAt(*source, x, y), format);
                ASSERT_EQ(PixelAt(*result, x, y).value, expected.value) << NameOf(i) << ' ' << x << ", " << y;
                ASSERT_EQ(PixelAt(*result, x, y).opaque, expected.opaque) << NameOf(i) << ' ' << x << ", " << y;
            }
        }
    }
}

TEST_F(Converting, KeepsSizeTilesAndResolution) {
    const BitmapPtr result = Convert(*RandomBgra(), "INDEXED_8");
    EXPECT_EQ(result->GetPixelWidth(), kWidth);
    EXPECT_EQ(result->GetPixelHeight(), kHeight);
    EXPECT_EQ(result->GetScanRectWidth(), 16);
    EXPECT_EQ(result->GetScanRectHeight(), 8);
    EXPECT_EQ(result->GetXResolution(), 11811);
    EXPECT_EQ(result->GetYResolution(), 2835);
}

TEST_F(Converting, AMaskBecomesAlphaThatColorsAreMultipliedBy) {
    const BitmapPtr source = MakeBitmap(shr::BGR_24, [](int x, int y) {
        return Pixel{static_cast<std::uint32_t>(x * 0x070301 + y * 0x010905 + 0x101010), (x + y) % 3 != 0};
    });
    for (const auto format : {shr::BGRA_32, shr::RGBA_32, shr::PBGRA_32}) {
        const BitmapPtr result = Convert(*source, NameOf(format));
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                const Pixel pixel = PixelAt(*source, x, y);
                Rgba color = StraightAt(*source, x, y);
                color[3] = pixel.opaque ? 255 : 0;
                ASSERT_EQ(PixelAt(*result, x, y).value, ExpectedPixel(color, format).value) << x << ", " << y;
            }
        }
    }
}

TEST_F(Converting, FewColorsComeOutExactWithEachQuantizer) {
    constexpr std::uint32_t kColors[] = {0x102030, 0xFFFFFF, 0x000000, 0x80FF01, 0x112030, 0x0000FF, 0xFF8000};
    const BitmapPtr source = MakeBitmap(shr::BGR_24, [&](int x, int y) {
        return Pixel{kColors[static_cast<std::size_t>(3 * x + y * y) % std::size(kColors)], x != y};
    });
    for (const char* quantizer : {"", "median5", "median8", "popularity"}) {
        const BitmapPtr result = Convert(*source, "INDEXED_4", quantizer);
        EXPECT_LE(result->GetNumColorTableItems(), 16u);
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                const Pixel pixel = PixelAt(*result, x, y);
                const shr::Color4b color = result->GetColorTableItem(pixel.value);
                const std::uint32_t value = static_cast<std::uint32_t>(color.red << 16 | color.green << 8 | color.blue);
                ASSERT_EQ(value, PixelAt(*source, x, y).value) << quantizer << ' ' << x << ", " << y;
                ASSERT_EQ(pixel.opaque, x != y);
            }
        }
    }
}

TEST_F(Converting, LeavesAtMostThatManyColors) {
    const BitmapPtr grey = MakeBitmap(
        shr::GRAYSCALE_8, [](int x, int y) { return Pixel{static_cast<std::uint32_t>(7 * x + y * y) & 255}; });
    const BitmapPtr colors = RandomBgra();
    for (zbm::ZBasicMemBitmap* source : {grey.get(), colors.get()}) {
        for (const char* quantizer : {"median5", "median8", "popularity"}) {
            StoreArchive(*source, folder.File("in"));
            ASSERT_EQ(RunTool({"convert", folder.File("in"), folder.File("out.zbm"), "--format", "INDEXED_8",
                               "--quantizer", quantizer, "--colors", "7"})
                          .code,
                      0);
            const BitmapPtr result = LoadArchive(folder.File("out.zbm"));
            EXPECT_EQ(result->GetNumColorTableItems(), 7u) << quantizer;
            std::set<std::uint32_t> indices;
            for (int y = 0; y < kHeight; ++y)
                for (int x = 0; x < kWidth; ++x) indices.insert(PixelAt(*result, x, y).value);
            EXPECT_EQ(indices.size(), 7u) << quantizer;
            EXPECT_LT(*indices.rbegin(), 7u) << quantizer;
        }
    }
}

TEST_F(Converting, ACountOfColorsThatCannotBeHadIsWrongUsage) {
    StoreArchive(*RandomBgra(), folder.File("in"));
    for (const std::vector<std::string>& options :
         {std::vector<std::string>{"--colors", "5"},
          {"--colors", "5", "--format", "BGR_24"},
          {"--colors", "17", "--format", "INDEXED_4"},
          {"--colors", "0", "--format", "INDEXED_4"},
          {"--colors", "5", "--format", "INDEXED_4", "--quantizer", "ordered"},
          {"--colors", "5", "--format", "INDEXED_4", "--quantizer", "diffuse"}}) {
        std::vector<std::string> arguments{"convert", folder.File("in"), folder.File("out.zbm")};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const ToolResult result = RunTool(arguments);
        EXPECT_EQ(result.code, 2);
        EXPECT_NE(result.errors.find("--colors"), std::string::npos) << result.errors;
    }
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"in"});
}

TEST_F(Converting, DitheringKeepsTheMeanOfAGreyAsBlackAndWhite) {
    const BitmapPtr source = MakeBitmap(shr::BGRA_32, [](int, int) { return Pixel{0xFF404040}; });
    for (const char* quantizer : {"ordered", "diffuse"}) {
        const BitmapPtr result = Convert(*source, "INDEXED_1", quantizer);
        int white = 0;
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                white += result->GetColorTableItem(PixelAt(*result, x, y).value) == shr::Color4b::White ? 1 : 0;
            }
        }
        EXPECT_NEAR(255.0 * white / (kWidth * kHeight), 0x40, 4) << quantizer;
    }
}

TEST_F(Converting, GreyBecomesIndicesIntoARamp) {
    const BitmapPtr source = MakeBitmap(shr::GRAYSCALE_4, [](int x, int y) {
        return Pixel{static_cast<std::uint32_t>(x + y) % 16, x % 5 != 0};
    });
    for (const char* format : {"INDEXED_4", "INDEXED_8"}) {
        const BitmapPtr result = Convert(*source, format);
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) ASSERT_EQ(PixelAt(*result, x, y), PixelAt(*source, x, y));
        }
        for (unsigned i = 0; i < 16; ++i) {
            const auto grey = static_cast<std::uint8_t>(17 * i);
            EXPECT_EQ(result->GetColorTableItem(i), shr::Color4b(grey, grey, grey));
        }
    }
}

TEST_F(Converting, IndicesThatFitStayWhatTheyAre) {
    const BitmapPtr source =
        MakeBitmap(shr::INDEXED_4, [](int x, int y) { return Pixel{static_cast<std::uint32_t>(x * y) % 16}; });
    std::vector<shr::Color4b> colors;
    for (int i = 0; i < 16; ++i) colors.emplace_back(static_cast<std::uint8_t>(i), std::uint8_t{7}, std::uint8_t{9});
    source->FillColorTable(colors.data(), 16);
    for (const char* format : {"INDEXED_4", "INDEXED_8"}) {
        const BitmapPtr result = Convert(*source, format);
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) ASSERT_EQ(PixelAt(*result, x, y), PixelAt(*source, x, y));
        }
        for (unsigned i = 0; i < 16; ++i) EXPECT_EQ(result->GetColorTableItem(i), colors[i]);
    }
}

TEST_F(Converting, ReadsPicturesAndWritesThemByTheirExtension) {
    Image image = RandomImage(Kind::rgb, 8, kWidth, kHeight, 3);
    WriteFile(folder.File("in.png"), EncodePng(image));
    ASSERT_EQ(Run("in.png", "out.png", "grayscale_8").code, 0);
    const Image grey = DecodePng(ReadFile(folder.File("out.png")));
    ASSERT_EQ(grey.kind, Kind::grey);
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const std::uint32_t sum = 299 * image.At(x, y, 0) + 587 * image.At(x, y, 1) + 114 * image.At(x, y, 2);
            ASSERT_EQ(grey.At(x, y, 0), sum / 1000);
        }
    }
    ASSERT_EQ(Run("in.png", "out.zbm", "INDEXED_8", "median5").code, 0);
    EXPECT_EQ(LoadArchive(folder.File("out.zbm"))->GetColorFormat(), shr::INDEXED_8);
}

TEST_F(Converting, ToAnotherFileTypeNeedsNoFormat) {
    const Image image = RandomImage(Kind::grey, 4, kWidth, kHeight, 4);
    WriteFile(folder.File("in.png"), EncodePng(image));
    ASSERT_EQ(RunTool({"convert", folder.File("in.png"), folder.File("out.TIF")}).code, 0);
    const Image result = DecodeTiff(ReadFile(folder.File("out.TIF")));
    EXPECT_EQ(result.bits, 4);
    EXPECT_EQ(result.samples, image.samples);
    ASSERT_EQ(RunTool({"convert", folder.File("out.TIF"), folder.File("a.zbm")}).code, 0);
    EXPECT_EQ(LoadArchive(folder.File("a.zbm"))->GetColorFormat(), shr::GRAYSCALE_4);
}

TEST_F(Converting, TakesTheJpegQualityAskedFor) {
    const Image image = RandomImage(Kind::rgb, 8, kWidth, kHeight, 4);
    WriteFile(folder.File("in.png"), EncodePng(image));
    ASSERT_EQ(RunTool({"convert", folder.File("in.png"), folder.File("out.jpg"), "--quality", "20"}).code, 0);
    EXPECT_EQ(DecodeJpeg(ReadFile(folder.File("out.jpg"))).samples,
              DecodeJpeg(EncodeJpeg(image, {.quality = 20, .fullColor = false})).samples);
}

TEST_F(Converting, AJpegHasACodeOfItsOwn) {
    Image image = RandomImage(Kind::rgb, 8, 200, 150, 4);
    for (std::uint32_t& sample : image.samples) sample = sample / 8 + 100;
    const Bytes usual = EncodeJpeg(image);  // in the code that suits most pictures
    WriteFile(folder.File("in.png"), EncodePng(image));
    ASSERT_EQ(RunTool({"convert", folder.File("in.png"), folder.File("out.jpg"), "--quality", "90"}).code, 0);
    const Bytes own = ReadFile(folder.File("out.jpg"));
    EXPECT_EQ(DecodeJpeg(own).samples, DecodeJpeg(usual).samples);
    EXPECT_LT(own.size(), usual.size() * 97 / 100);
}

TEST_F(Converting, AnUnknownFormatIsWrongUsageAndTheKnownOnesAreTold) {
    StoreArchive(*RandomBgra(), folder.File("in"));
    const ToolResult result = Run("in", "out.zbm", "BGRA");
    EXPECT_EQ(result.code, 2);
    for (int i = shr::GRAYSCALE_1; i <= shr::PBGRA_32; ++i)
        EXPECT_NE(result.errors.find(NameOf(i)), std::string::npos) << NameOf(i);
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"in"});
}

TEST_F(Converting, AQuantizerForAFormatWithoutColorTableIsWrongUsage) {
    StoreArchive(*RandomBgra(), folder.File("in"));
    EXPECT_EQ(Run("in", "out.zbm", "BGR_24", "median8").code, 2);
    EXPECT_EQ(Run("in", "out.zbm", "INDEXED_8", "octree").code, 2);
    EXPECT_EQ(RunTool({"convert", folder.File("in"), folder.File("out.zbm"), "--quantizer", "median8"}).code, 2);
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"in"});
}

TEST_F(Converting, WhatIsNeitherPictureNorArchiveEndsInOneError) {
    for (const Bytes& bytes : {Bytes{}, Bytes{1}, Bytes(1000, 0xFF), Bytes{0x89, 'P', 'N', 'G', 13, 10, 26, 10, 0}}) {
        WriteFile(folder.File("in"), bytes);
        ExpectOneErrorAbout(Run("in", "out.zbm", "BGR_24"), folder.File("in"));
    }
    ExpectOneErrorAbout(Run("missing", "out.zbm", "BGR_24"), folder.File("missing"));
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"in"});
}

}  // namespace
}  // namespace test
