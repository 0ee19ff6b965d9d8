// What goes wrong ends in one clear line and exit code 1, and leaves no trace: no half-written file, and an old one as
// it was.
#include <gtest/gtest.h>

#include "Cancel.h"
#include "apps/Image.h"
#include "apps/Scratch.h"
#include "apps/ToolRun.h"
#include "shr/FileFaults.h"

namespace test {
namespace {

class Failing : public testing::Test {
protected:
    ~Failing() override {
        shr::SetFileFaultHook(nullptr);
        shr::SetFileTransferHook(nullptr);
        tool::SetCancelRequested(false);
    }
    ToolResult Pack() { return RunTool({"pack", folder.File("in"), folder.File("out.zbm"), "--tile", "8x8"}); }
    ToolResult Unpack() { return RunTool({"unpack", folder.File("in"), folder.File("out.png")}); }
    /// Makes "in" an archive of that bitmap.
    void MakeArchive(shr::ColorFormat format = shr::BGR_24, int width = 20, int height = 12) {
        zbm::ZBasicMemBitmap bitmap(width, height, format, 8, 8);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) SetPixel(bitmap, x, y, {static_cast<std::uint32_t>(7 * x + 31 * y) & 1});
        }
        StoreArchive(bitmap, folder.File("in"));
    }

    ScratchFolder folder;
};

TEST_F(Failing, NamesAMissingInput) {
    ExpectOneErrorAbout(Pack(), folder.File("in"));
    ExpectOneErrorAbout(Unpack(), folder.File("in"));
    ExpectOneErrorAbout(RunTool({"info", folder.File("in")}), folder.File("in"));
    EXPECT_TRUE(folder.Names().empty());
}

TEST_F(Failing, RefusesAFolderAsInputAndAsOutput) {
    WriteFile(folder.File("in"), EncodePng(RandomImage(Kind::grey, 8, 5, 5, 1)));
    std::filesystem::create_directory(ToPath(folder.File("out.zbm")));
    ExpectOneErrorAbout(Pack(), folder.File("out.zbm"));
    ExpectOneErrorAbout(RunTool({"pack", folder.File("out.zbm"), folder.File("x.zbm")}), folder.File("out.zbm"));
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"in", "out.zbm"}));
}

TEST_F(Failing, NamesAnOutputInAFolderThatIsNotThere) {
    WriteFile(folder.File("in"), EncodePng(RandomImage(Kind::grey, 8, 5, 5, 1)));
    const std::string output = folder.File("none/out.zbm");
    ExpectOneErrorAbout(RunTool({"pack", folder.File("in"), output}), output);
}

TEST_F(Failing, RefusesWhatIsNoArchive) {
    for (const Bytes& bytes : {Bytes{}, Bytes{1}, Bytes{1, 0}, Bytes(1000, 0xFF), Bytes(1000, 0),
                               EncodePng(RandomImage(Kind::grey, 8, 5, 5, 1))}) {
        WriteFile(folder.File("in"), bytes);
        ExpectOneErrorAbout(Unpack(), folder.File("in"));
        const bool isPicture = bytes.size() > 1 && bytes[1] == 'P';
        if (!isPicture) ExpectOneErrorAbout(RunTool({"info", folder.File("in")}), folder.File("in"));
    }
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"in"});
}

TEST_F(Failing, SaysThatAFileIsEmpty) {
    WriteFile(folder.File("in"), {});
    for (const ToolResult& result : {Pack(), Unpack(), RunTool({"info", folder.File("in")}),
                                     RunTool({"convert", folder.File("in"), folder.File("out.png")})}) {
        EXPECT_EQ(result.code, 1);
        EXPECT_EQ(result.errors, "zbm: " + folder.File("in") + ": is empty\n");
    }
}

TEST_F(Failing, SaysThatATiffOfAHeaderAloneIsDamaged) {
    WriteFile(folder.File("in"), {'I', 'I', 42, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(Pack().errors, "zbm: " + folder.File("in") + ": the file is damaged\n");
}

TEST_F(Failing, RefusesAnArchiveOfAnEmptyBitmap) {
    zbm::ZBasicMemBitmap bitmap(1, 1, shr::BGR_24);
    bitmap.Create(0, 5, shr::BGR_24);
    StoreArchive(bitmap, folder.File("in"));
    ExpectOneErrorAbout(Unpack(), folder.File("in"));
}

TEST_F(Failing, RefusesPicturesAndArchivesOfMorePixelsThanAllowed) {
    MakeArchive(shr::BGR_24, 20, 12);
    const auto unpack = [&](const char* most) {
        return RunTool({"unpack", folder.File("in"), folder.File("out.png"), "--max-pixels", most});
    };
    const ToolResult result = unpack("239");
    ExpectOneErrorAbout(result, folder.File("in"));
    EXPECT_NE(result.errors.find("20 x 12"), std::string::npos) << result.errors;
    EXPECT_NE(result.errors.find("--max-pixels"), std::string::npos) << result.errors;
    EXPECT_EQ(unpack("240").code, 0);
    const auto pack = [&](const char* most) {
        return RunTool({"pack", folder.File("out.png"), folder.File("out.zbm"), "--max-pixels", most});
    };
    ExpectOneErrorAbout(pack("239"), folder.File("out.png"));
    EXPECT_EQ(pack("240").code, 0);
}

TEST_F(Failing, RefusesABitmapThatNoMachineHolds) {
    MakeArchive();
    Bytes bytes = ReadFile(folder.File("in"));
    for (const std::size_t offset : {2u, 6u, 14u, 18u}) {  // height, width, tile height, tile width
        bytes[offset + 2] = bytes[offset + 3] = 0x7F;
    }
    WriteFile(folder.File("in"), bytes);
    ExpectOneErrorAbout(Unpack(), folder.File("in"));
    const ToolResult result =
        RunTool({"unpack", folder.File("in"), folder.File("out.png"), "--max-pixels", "9000000000000000000"});
    ExpectOneErrorAbout(result, folder.File("in"));
    EXPECT_NE(result.errors.find("memory"), std::string::npos) << result.errors;
}

/// The output's name without its folder.
std::string OutputOf(const std::vector<std::string>& arguments) { return ToPath(arguments.at(2)).filename().string(); }

/// Runs the tool on every prefix of the file, each of which has to fail.
void TryEveryPrefix(const ScratchFolder& folder, const Bytes& whole, const std::vector<std::string>& arguments) {
    const std::string output = OutputOf(arguments);
    WriteFile(folder.File(output), {1, 2, 3});
    for (std::size_t length = 0; length < whole.size(); ++length) {
        WriteFile(folder.File("in"), Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
        const ToolResult result = RunTool(arguments);
        ASSERT_EQ(result.code, 1) << length << " of " << whole.size() << " bytes: " << result.errors;
        const std::string last = result.ErrorLines().back();
        ASSERT_EQ(last.find("zbm: " + folder.File("in") + ": "), 0u) << last;
        ASSERT_EQ(last.find(": warning: "), std::string::npos) << last;
        ASSERT_EQ(last.find(": note: "), std::string::npos) << last;
        ASSERT_EQ(folder.Names(), (std::vector<std::string>{"in", output}));
    }
    EXPECT_EQ(ReadFile(folder.File(output)), (Bytes{1, 2, 3}));
    // And the whole file is fine.
    WriteFile(folder.File("in"), whole);
    EXPECT_EQ(RunTool(arguments).code, 0);
}

/// Runs the tool on the file with single bits turned, one or two of every byte, which must end well or with an error.
void TryTurnedBits(const ScratchFolder& folder, Bytes bytes, const std::vector<std::string>& arguments) {
    constexpr std::size_t kStep = 5, kStepOfWholeRuns = 7;
    for (std::size_t i = 0; kStep * i < 8 * bytes.size(); ++i) {
        const std::size_t byte = kStep * i / 8, bit = kStep * i % 8;
        bytes[byte] = static_cast<std::uint8_t>(bytes[byte] ^ 1 << bit);
        WriteFile(folder.File("in"), bytes);
        bytes[byte] = static_cast<std::uint8_t>(bytes[byte] ^ 1 << bit);
        // Putting a result on the device takes longer than all else, so most runs fail when they come to that.
        if (i % kStepOfWholeRuns != 0)
            shr::SetFileFaultHook([](shr::FileCall call) { return call == shr::FileCall::sync; });
        const ToolResult result = RunTool(arguments);
        shr::SetFileFaultHook(nullptr);
        ASSERT_TRUE(result.code == 0 || result.code == 1) << "byte " << byte << ", bit " << bit;
        ASSERT_LE(result.ErrorLines().size(), 12u) << "byte " << byte << ", bit " << bit << ": " << result.errors;
        const bool made = result.code == 0;
        ASSERT_EQ(folder.Names().size(), made ? 2u : 1u) << "byte " << byte << ", bit " << bit;
        if (made) std::filesystem::remove(ToPath(arguments[2]));
    }
}

struct FileCase {
    const char* name;
    Bytes (*make)();
};
Image Small(Kind kind, int bits) {
    Image image = RandomImage(kind, bits, 9, 5, 2);
    image.xPixelsPerMeter = image.yPixelsPerMeter = 2835;
    return image;
}
class FailingOnDamaged : public Failing, public testing::WithParamInterface<FileCase> {
protected:
    std::vector<std::string> PackArguments() const {
        return {"pack", folder.File("in"), folder.File("out.zbm"), "--tile", "8x8"};
    }
};

TEST_P(FailingOnDamaged, EveryPrefixIsRefused) { TryEveryPrefix(folder, GetParam().make(), PackArguments()); }

TEST_P(FailingOnDamaged, TurnedBitsEndWellOrWithAnError) { TryTurnedBits(folder, GetParam().make(), PackArguments()); }

INSTANTIATE_TEST_SUITE_P(
    Pictures, FailingOnDamaged,
    testing::Values(
        FileCase{"Png", [] { return EncodePng(Small(Kind::rgba, 8)); }},
        FileCase{"PngInterlacedPalette", [] { return EncodePng(Small(Kind::palette, 2), {.interlaced = true}); }},
        FileCase{"Tiff", [] { return EncodeTiff(Small(Kind::rgb, 8)); }},
        FileCase{"TiffLzwPalette",
                 [] {
                     TiffOptions options;
                     options.compression = 5;
                     options.rowsPerStrip = 2;
                     return EncodeTiff(Small(Kind::palette, 1), options);
                 }},
        FileCase{"TiffTiledPlanes",
                 [] {
                     TiffOptions options;
                     options.tileSize = 16;
                     options.planar = true;
                     return EncodeTiff(Small(Kind::greyAlpha, 8), options);
                 }},
        FileCase{"Jpeg", [] { return EncodeJpeg(Small(Kind::grey, 8)); }},
        FileCase{"JpegProgressive",
                 [] { return EncodeJpeg(Small(Kind::grey, 8), {.fullColor = false, .progressive = true}); }},
        FileCase{"Bmp", [] { return EncodeBmp(Small(Kind::rgb, 8)); }},
        FileCase{"BmpPalette", [] { return EncodeBmp(Small(Kind::palette, 1)); }},
        FileCase{"BmpAlpha", [] { return EncodeBmp(Small(Kind::rgba, 8)); }}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST_F(Failing, EveryPrefixOfAnArchiveIsRefused) {
    for (const shr::ColorFormat format : {shr::GRAYSCALE_1, shr::INDEXED_4, shr::BGRA_32}) {
        MakeArchive(format);
        TryEveryPrefix(folder, ReadFile(folder.File("in")), {"unpack", folder.File("in"), folder.File("out.png")});
        std::filesystem::remove(ToPath(folder.File("out.png")));
    }
}

TEST_F(Failing, TurnedBitsOfAnArchiveEndWellOrWithAnError) {
    for (const shr::ColorFormat format : {shr::GRAYSCALE_1, shr::INDEXED_4, shr::BGRA_32}) {
        MakeArchive(format);
        TryTurnedBits(folder, ReadFile(folder.File("in")), {"unpack", folder.File("in"), folder.File("out.png")});
    }
}

TEST_F(Failing, RefusesADamagedBlockInsteadOfShowingZeroes) {
    zbm::ZBasicMemBitmap bitmap(3, 1, shr::BGRA_32);
    StoreArchive(bitmap, folder.File("in"));
    Bytes bytes = ReadFile(folder.File("in"));
    // The block's length stands after the format information (34 bytes), a version, and the tile's version and shape.
    const std::size_t block = 34 + 2 + 2 + 12 + 4;
    for (std::size_t i = block; i < bytes.size(); ++i) bytes[i] = 0xEE;
    WriteFile(folder.File("in"), bytes);
    const ToolResult result = Unpack();
    ExpectOneErrorAbout(result, folder.File("in"));
    EXPECT_NE(result.errors.find("damaged"), std::string::npos) << result.errors;
}

TEST_F(Failing, NotesBytesAfterTheArchiveButUnpacksIt) {
    MakeArchive();
    Bytes bytes = ReadFile(folder.File("in"));
    bytes.insert(bytes.end(), {1, 2, 3});
    WriteFile(folder.File("in"), bytes);
    for (const ToolResult& result : {Unpack(), RunTool({"info", folder.File("in")})}) {
        EXPECT_EQ(result.code, 0);
        EXPECT_EQ(result.errors,
                  "zbm: " + folder.File("in") + ": note: 3 byte(s) after the end of the archive are ignored\n");
    }
}

int callsLeft = 0;
int callsSeen = 0;
bool FailOneCall(shr::FileCall) {
    ++callsSeen;
    return --callsLeft == 0;
}

/// Lets the n-th file call fail, for every n. Returns how many calls there are.
int FailEveryCall(const ScratchFolder& folder, const std::vector<std::string>& arguments) {
    const Bytes old{1, 2, 3};
    int failures = 0;
    for (int n = 1;; ++n) {
        WriteFile(arguments[2], old);
        callsLeft = n;
        callsSeen = 0;
        shr::SetFileFaultHook(&FailOneCall);
        const ToolResult result = RunTool(arguments);
        shr::SetFileFaultHook(nullptr);
        EXPECT_EQ(folder.Names(), (std::vector<std::string>{"in", OutputOf(arguments)})) << "call " << n;
        if (result.code != 0) {
            EXPECT_EQ(result.code, 1) << "call " << n;
            EXPECT_EQ(result.ErrorLines().size(), 1u) << result.errors;
            EXPECT_EQ(result.errors.find(".zv"), std::string::npos) << "names a temporary file: " << result.errors;
            const bool isInPlace = result.errors.find("is written, but") != std::string::npos;
            EXPECT_NE(ReadFile(arguments[2]) == old, isInPlace) << "call " << n;
            ++failures;
        } else {
            EXPECT_NE(ReadFile(arguments[2]), old) << "call " << n;
        }
        if (callsSeen < n) break;  // there was no n-th call
    }
    return failures;
}

TEST_F(Failing, AtAnyFileCallKeepsTheOldFileAndNothingElse) {
    WriteFile(folder.File("in"), EncodePng(RandomImage(Kind::rgb, 8, 50, 40, 3)));
    EXPECT_GT(FailEveryCall(folder, {"pack", folder.File("in"), folder.File("out.zbm")}), 5);
    WriteFile(folder.File("in"), EncodeTiff(RandomImage(Kind::rgb, 8, 50, 40, 3)));
    EXPECT_GT(FailEveryCall(folder, {"pack", folder.File("in"), folder.File("out.zbm")}), 5);
    WriteFile(folder.File("in"), EncodeJpeg(RandomImage(Kind::rgb, 8, 50, 40, 3)));
    EXPECT_GT(FailEveryCall(folder, {"pack", folder.File("in"), folder.File("out.zbm")}), 5);
    MakeArchive(shr::BGR_24, 50, 40);
    std::filesystem::remove(ToPath(folder.File("out.zbm")));
    EXPECT_GT(FailEveryCall(folder, {"unpack", folder.File("in"), folder.File("out.png")}), 5);
}

TEST_F(Failing, AtAnyFileCallNeverReportsAPictureThatIsNotWhole) {
    MakeArchive(shr::BGR_24, 50, 40);
    for (const char* name : {"out.tif", "out.jpg", "out.bmp"}) {
        ASSERT_EQ(RunTool({"unpack", folder.File("in"), folder.File(name)}).code, 0);
        const Bytes whole = ReadFile(folder.File(name));
        for (int n = 1;; ++n) {
            std::filesystem::remove(ToPath(folder.File(name)));
            callsLeft = n;
            callsSeen = 0;
            shr::SetFileFaultHook(&FailOneCall);
            const ToolResult result = RunTool({"unpack", folder.File("in"), folder.File(name)});
            shr::SetFileFaultHook(nullptr);
            if (result.code == 0) {
                ASSERT_EQ(ReadFile(folder.File(name)), whole) << name << ", call " << n;
            } else {
                const bool isInPlace = result.errors.find("is written, but") != std::string::npos;
                ASSERT_EQ(folder.Names().size(), isInPlace ? 2u : 1u) << name << ", call " << n;
                if (isInPlace) { ASSERT_EQ(ReadFile(folder.File(name)), whole) << name << ", call " << n; }
            }
            if (callsSeen < n) break;
        }
        std::filesystem::remove(ToPath(folder.File(name)));
    }
}

TEST_F(Failing, OnAFullDiskSaysSoOnceAndNamesTheTarget) {
    const shr::FileTransferHook full = [](shr::FileCall call) {
        return call == shr::FileCall::write ? shr::FileTransfer::diskFull : shr::FileTransfer::whole;
    };
    MakeArchive(shr::BGR_24, 50, 40);
    for (const char* name : {"out.png", "out.tif", "out.jpg", "out.bmp"}) {
        shr::SetFileTransferHook(full);
        const ToolResult result = RunTool({"unpack", folder.File("in"), folder.File(name)});
        shr::SetFileTransferHook(nullptr);
        ExpectOneErrorAbout(result, folder.File(name));
        EXPECT_EQ(folder.Names(), std::vector<std::string>{"in"});
    }
    WriteFile(folder.File("in"), EncodePng(RandomImage(Kind::rgb, 8, 50, 40, 3)));
    shr::SetFileTransferHook(full);
    const ToolResult result = Pack();
    shr::SetFileTransferHook(nullptr);
    ExpectOneErrorAbout(result, folder.File("out.zbm"));
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"in"});
}

TEST_F(Failing, ShortAndInterruptedTransfersChangeNothing) {
    WriteFile(folder.File("in"), EncodePng(RandomImage(Kind::rgb, 8, 50, 40, 3)));
    ASSERT_EQ(Pack().code, 0);
    const Bytes expected = ReadFile(folder.File("out.zbm"));
    static int count;
    count = 0;
    shr::SetFileTransferHook(
        [](shr::FileCall) { return ++count % 3 == 0 ? shr::FileTransfer::interrupted : shr::FileTransfer::part; });
    EXPECT_EQ(Pack().code, 0);
    shr::SetFileTransferHook(nullptr);
    EXPECT_GT(count, 10);
    EXPECT_EQ(ReadFile(folder.File("out.zbm")), expected);
}

/// Requests cancelling at the n-th file call, for every n.
void CancelAtEveryCall(const ScratchFolder& folder, const std::vector<std::string>& arguments, const Bytes& old) {
    int cancelled = 0;
    for (int n = 1;; ++n) {
        WriteFile(arguments[2], old);
        callsLeft = n;
        callsSeen = 0;
        shr::SetFileFaultHook([](shr::FileCall) {
            ++callsSeen;
            if (--callsLeft == 0) tool::SetCancelRequested(true);
            return false;
        });
        const ToolResult result = RunTool(arguments);
        shr::SetFileFaultHook(nullptr);
        tool::SetCancelRequested(false);
        ASSERT_EQ(folder.Names(), (std::vector<std::string>{"in", OutputOf(arguments)})) << "call " << n;
        ASSERT_EQ(result.errors, "");
        // Once the result is whole, it is too late to cancel.
        ASSERT_TRUE(result.code == 130 || result.code == 0) << "call " << n;
        ASSERT_EQ(ReadFile(arguments[2]) == old, result.code == 130) << "call " << n;
        cancelled += result.code == 130;
        if (callsSeen < n) break;
    }
    EXPECT_GT(cancelled, 3);
}

TEST_F(Failing, CancellingAtAnyTimeLeavesNothingBehind) {
    WriteFile(folder.File("in"), EncodePng(RandomImage(Kind::rgb, 8, 300, 200, 3)));
    CancelAtEveryCall(folder, {"pack", folder.File("in"), folder.File("out.zbm")}, {1, 2, 3});
    WriteFile(folder.File("in"), EncodeTiff(RandomImage(Kind::rgb, 8, 300, 200, 3)));
    CancelAtEveryCall(folder, {"pack", folder.File("in"), folder.File("out.zbm")}, {1, 2, 3});
    std::filesystem::remove(ToPath(folder.File("out.zbm")));
    MakeArchive(shr::BGR_24, 100, 60);
    CancelAtEveryCall(folder, {"unpack", folder.File("in"), folder.File("out.png")}, {1, 2, 3});
    CancelAtEveryCall(folder, {"adjust", folder.File("in"), folder.File("out.png"), "--gray", "--median", "3"},
                      {1, 2, 3});
    CancelAtEveryCall(folder, {"resize", folder.File("in"), folder.File("out.png"), "--size", "9x9"}, {1, 2, 3});
    for (const char* format : {"BGRA_32", "INDEXED_4"})
        CancelAtEveryCall(folder, {"convert", folder.File("in"), folder.File("out.png"), "--format", format},
                          {1, 2, 3});
    std::filesystem::remove(ToPath(folder.File("out.png")));
    CancelAtEveryCall(folder, {"reduce", folder.File("in"), folder.File("out.zbm")}, {1, 2, 3});
}

}  // namespace
}  // namespace test
