// Hostile and damaged pictures of every type: an error in one line or a picture, never a crash, and no output after an
// error.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <sstream>

#include "apps/Image.h"
#include "apps/Scratch.h"
#include "apps/ToolRun.h"
#include "commands/BitmapFile.h"
#include "shr/FileFaults.h"

namespace test {
namespace {

struct PictureCase {
    const char* name;
    Bytes (*make)();
};
std::string NameOf(const testing::TestParamInfo<PictureCase>& instance) { return instance.param.name; }

Image Small(Kind kind, int bits = 8) {
    Image image = RandomImage(kind, bits, 21, 13, 1);
    if (image.Channels() >= 3 && bits == 8) image.profile = MakeProfile("RGB ", 400);
    return image;
}

Bytes SmallTiff(Kind kind, int bits, void (*change)(TiffOptions&)) {
    TiffOptions options;
    change(options);
    return EncodeTiff(Small(kind, bits), options);
}

/// EXIF data: orientation 6.
Bytes Turned() { return {'I', 'I', 42, 0, 8, 0, 0, 0, 1, 0, 0x12, 0x01, 3, 0, 1, 0, 0, 0, 6, 0, 0, 0, 0, 0, 0, 0}; }

const PictureCase kPictures[] = {
    {"PngTurned", [] { return EncodePng(Small(Kind::rgba), {.exif = Turned()}); }},
    {"PngTurnedBehindPixels",
     [] { return EncodePng(Small(Kind::grey, 16), {.interlaced = true, .exif = Turned(), .exifBehindPixels = true}); }},
    {"PngPalette", [] { return EncodePng(Small(Kind::palette, 4), {.interlaced = true}); }},
    {"JpegTurned", [] { return EncodeJpeg(Small(Kind::rgb), {.exif = Turned()}); }},
    {"JpegArithmetic", [] { return EncodeJpeg(Small(Kind::rgb), {.arithmetic = true, .restartRows = 1}); }},
    {"JpegArithmeticProgressive",
     [] { return EncodeJpeg(Small(Kind::grey), {.progressive = true, .arithmetic = true}); }},
    {"JpegCmyk", [] { return EncodeJpeg(Small(Kind::rgba), {.cmyk = true, .ycck = true}); }},
    {"TiffTurned",
     [] {
         return SmallTiff(Kind::rgb, 8, [](TiffOptions& options) {
             options.orientation = 7;
             options.tileSize = 16;
         });
     }},
    {"TiffCmyk",
     [] {
         return SmallTiff(Kind::rgba, 8, [](TiffOptions& options) {
             options.photometric = 5;
             options.planar = true;
         });
     }},
    {"TiffFax",
     [] {
         return SmallTiff(Kind::grey, 1, [](TiffOptions& options) {
             options.compression = 4;
             options.inverted = true;
         });
     }},
    {"TiffJpeg",
     [] {
         return SmallTiff(Kind::rgb, 8, [](TiffOptions& options) {
             options.compression = 7;
             options.photometric = 6;
         });
     }},
    {"TiffDeflate",
     [] { return SmallTiff(Kind::greyAlpha, 16, [](TiffOptions& options) { options.compression = 8; }); }},
    {"Bmp", [] { return EncodeBmp(Small(Kind::rgba)); }},
    {"BmpPaletteTopDown", [] { return EncodeBmp(Small(Kind::palette, 4), true); }},
};

class Damaged : public testing::TestWithParam<PictureCase> {
protected:
    ~Damaged() override { shr::SetFileFaultHook(nullptr); }

    /// Converts the picture, which must end well or with one error that names it.
    void Try(const Bytes& picture) {
        WriteFile(folder.File("in"), picture);
        // Putting a result on the device takes longer than all else; so most runs fail when they come to that.
        if (++runs % 8 != 0) shr::SetFileFaultHook([](shr::FileCall call) { return call == shr::FileCall::sync; });
        const ToolResult result = RunTool({"convert", folder.File("in"), folder.File("out.png"), "--format", "BGR_24"});
        shr::SetFileFaultHook(nullptr);
        ASSERT_TRUE(result.code == 0 || result.code == 1) << result.code;
        ASSERT_LE(result.ErrorLines().size(), 14u) << result.errors;
        ASSERT_EQ(folder.Names().size(), result.code == 0 ? 2u : 1u) << result.errors;
        if (result.code == 0) {
            std::filesystem::remove(ToPath(folder.File("out.png")));
        } else {
            ASSERT_EQ(result.ErrorLines().back().find("zbm: " + folder.File("")), 0u) << result.errors;
        }
    }

    ScratchFolder folder;
    int runs = 0;
};

TEST_P(Damaged, WholePicturesAreTaken) {
    WriteFile(folder.File("in"), GetParam().make());
    EXPECT_EQ(RunTool({"convert", folder.File("in"), folder.File("out.png"), "--format", "BGR_24"}).code, 0);
}

TEST_P(Damaged, EveryPrefixIsRefused) {
    const Bytes whole = GetParam().make();
    for (std::size_t length = 0; length < whole.size(); ++length) {
        WriteFile(folder.File("in"), Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
        const ToolResult result = RunTool({"convert", folder.File("in"), folder.File("out.png"), "--format", "BGR_24"});
        ASSERT_EQ(result.code, 1) << length << " of " << whole.size() << " bytes";
        ASSERT_EQ(result.ErrorLines().back().find("zbm: " + folder.File("in") + ": "), 0u) << result.errors;
        ASSERT_EQ(folder.Names(), std::vector<std::string>{"in"});
    }
}

TEST_P(Damaged, EachByteChangedEndsWellOrWithAnError) {
    const Bytes whole = GetParam().make();
    for (std::size_t i = 0; i < whole.size(); ++i) {
        SCOPED_TRACE(i);
        Bytes changed = whole;
        constexpr std::uint8_t kValues[] = {0x00, 0xFF, 0x7F, 0x01};
        changed[i] = i % 5 < 4 ? kValues[i % 5] : static_cast<std::uint8_t>(changed[i] ^ 1u << i % 8);
        Try(changed);
        if (HasFatalFailure()) return;
    }
}

TEST_P(Damaged, PartsMovedLostOrMixedEndWellOrWithAnError) {
    const Bytes whole = GetParam().make();
    std::mt19937 random(1);
    for (int n = 0; n < 300; ++n) {
        SCOPED_TRACE(n);
        Bytes changed = whole;
        const auto at = [&] { return changed.begin() + static_cast<std::ptrdiff_t>(random() % changed.size()); };
        auto from = at(), to = at();
        if (to < from) std::swap(from, to);
        switch (n % 3) {
            case 0: changed.erase(from, to); break;
            case 1: changed.insert(at(), from, from + std::min<std::ptrdiff_t>(to - from, 40)); break;
            default: std::rotate(from, from + (to - from) / 2, to); break;
        }
        Try(changed);
        if (HasFatalFailure()) return;
    }
}

INSTANTIATE_TEST_SUITE_P(Pictures, Damaged, testing::ValuesIn(kPictures), &NameOf);

/// TIFF pictures whose library makes up what is missing, and only warns.
class DamagedStrip : public testing::TestWithParam<PictureCase> {};

TEST_P(DamagedStrip, IsRefused) {
    const ScratchFolder folder;
    Bytes file = GetParam().make();
    // The strip follows the header, and the directory, whose place the header tells, the strip.
    std::uint32_t end = 0;
    std::memcpy(&end, &file[4], 4);
    for (const std::uint32_t begin : {8 + (end - 8) / 2, 8 + (end - 8) * 3 / 4}) {
        std::fill(file.begin() + begin, file.begin() + end, std::uint8_t{0});
        WriteFile(folder.File("in"), file);
        ExpectOneErrorAbout(RunTool({"pack", folder.File("in"), folder.File("out.zbm")}), folder.File("in"));
        EXPECT_EQ(folder.Names(), std::vector<std::string>{"in"});
    }
}

Bytes FaxTiff(int compression) {
    TiffOptions options;
    options.compression = compression;
    options.inverted = true;
    return EncodeTiff(RandomImage(Kind::grey, 1, 200, 100, 1), options);
}

INSTANTIATE_TEST_SUITE_P(Compressions, DamagedStrip,
                         testing::Values(PictureCase{"FaxRuns", [] { return FaxTiff(2); }},
                                         PictureCase{"Fax3", [] { return FaxTiff(3); }},
                                         PictureCase{"Fax4", [] { return FaxTiff(4); }},
                                         PictureCase{"Jpeg",
                                                     [] {
                                                         TiffOptions options;
                                                         options.compression = 7;
                                                         options.photometric = 6;
                                                         return EncodeTiff(RandomImage(Kind::rgb, 8, 64, 64, 1),
                                                                           options);
                                                     }}),
                         &NameOf);

TEST(LargestPicture, IsRefusedByItsPixelsBeforeAnythingIsMadeOfIt) {
    const ScratchFolder folder;
    std::ostringstream errors;
    tool::Console console(errors, [] { return 0; });
    tool::ConsoleProgress progress(console);
    const tool::OutputFile output(shr::ZString::FromUtf8(folder.File("out")), errors);
    const auto read = [&](const Bytes& file, std::uint64_t maxPixels) {
        WriteFile(folder.File("in"), file);
        tool::Paging place(output, UINT64_MAX);
        const tool::Input input{shr::ZString::FromUtf8(folder.File("in")), {.maxPixels = maxPixels}, {}};
        return tool::ReadPicture(input, {}, place, console, progress);
    };
    const Image image = RandomImage(Kind::rgb, 8, 21, 13, 1);
    for (const Bytes& file : {EncodePng(image), EncodeJpeg(image), EncodeTiff(image), EncodeBmp(image)}) {
        EXPECT_EQ(read(file, 21 * 13).bitmap->GetPixelWidth(), 21);
        try {
            read(file, 21 * 13 - 1);
            ADD_FAILURE() << "not refused";
        } catch (const tool::ToolError& error) {
            EXPECT_NE(std::string(error.what()).find("its 21 x 13 pixels are 273 in all, more than the limit of 272"),
                      std::string::npos)
                << error.what();
        }
    }
}

}  // namespace
}  // namespace test
