// What a picture file tells beside its pixels is kept where the other file can hold it, and noted where it cannot.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "apps/Image.h"
#include "apps/Scratch.h"
#include "apps/ToolRun.h"

namespace test {
namespace {

struct FileType {
    const char* extension;
    Bytes (*encode)(const Image&);
    Image (*decode)(const Bytes&);
};
const FileType kTypes[] = {{".png", [](const Image& image) { return EncodePng(image); }, &DecodePng},
                           {".jpg", [](const Image& image) { return EncodeJpeg(image); }, &DecodeJpeg},
                           {".tif", [](const Image& image) { return EncodeTiff(image); }, &DecodeTiff}};

Image SmallImage(Kind kind = Kind::rgb) { return RandomImage(kind, 8, 9, 7, 1); }

class KeepingMetadata : public testing::Test {
protected:
    /// Converts a file to another, in the format of that name.
    Bytes Convert(const Bytes& file, const std::string& extension, const std::string& format = "BGR_24") {
        WriteFile(folder.File("in"), file);
        const std::string out = folder.File("out" + extension);
        result = RunTool({"convert", folder.File("in"), out, "--format", format});
        EXPECT_EQ(result.code, 0) << result.errors;
        return ReadFile(out);
    }
    bool HasNote(const std::string& text) const { return result.errors.find("note: " + text) != std::string::npos; }

    ScratchFolder folder;
    ToolResult result;
};

TEST_F(KeepingMetadata, TheColorProfileGoesFromEveryTypeToEveryType) {
    for (const std::size_t length : {400u, 3000u, 150000u}) {  // the last takes three segments of a JPEG
        Image image = SmallImage();
        image.profile = MakeProfile("RGB ", length);
        for (const FileType& from : kTypes) {
            for (const FileType& to : kTypes) {
                SCOPED_TRACE(std::string(from.extension) + to.extension + std::to_string(length));
                EXPECT_EQ(to.decode(Convert(from.encode(image), to.extension)).profile, image.profile);
                EXPECT_EQ(result.errors, "");
            }
        }
    }
}

TEST_F(KeepingMetadata, AProfileOfGreyStaysWithGrey) {
    Image image = SmallImage(Kind::grey);
    image.profile = MakeProfile("GRAY", 400);
    for (const FileType& type : kTypes) {
        EXPECT_EQ(type.decode(Convert(type.encode(image), type.extension, "GRAYSCALE_8")).profile, image.profile);
        EXPECT_EQ(result.errors, "");
        EXPECT_EQ(type.decode(Convert(type.encode(image), type.extension)).profile, Bytes());
        EXPECT_TRUE(HasNote("its colour profile is not kept: it is not for RGB colours")) << result.errors;
    }
}

TEST_F(KeepingMetadata, AProfileOfColorsDoesNotGoToGrey) {
    Image image = SmallImage();
    image.profile = MakeProfile("RGB ", 400);
    for (const FileType& type : kTypes) {
        EXPECT_EQ(type.decode(Convert(type.encode(image), type.extension, "GRAYSCALE_8")).profile, Bytes());
        EXPECT_TRUE(HasNote("its colour profile is not kept: it is not for grey pictures")) << result.errors;
    }
}

TEST_F(KeepingMetadata, ADamagedProfileIsNoted) {
    TiffOptions options;
    options.profile = true;
    for (const FileType& to : kTypes) {
        EXPECT_EQ(to.decode(Convert(EncodeTiff(SmallImage(), options), to.extension)).profile, Bytes());
        EXPECT_TRUE(HasNote("its colour profile is damaged and not kept")) << result.errors;
    }
}

struct ProfileDamage {
    const char* name;
    void (*damage)(Bytes& profile);
};
constexpr ProfileDamage kProfileDamages[] = {
    {"padded", [](Bytes& profile) { profile.push_back(0); }},
    {"cut", [](Bytes& profile) { profile.resize(300); }},
    {"cut to its header", [](Bytes& profile) { profile.resize(128); }},
    {"length 0", [](Bytes& profile) { std::fill_n(profile.begin(), 4, std::uint8_t{0}); }},
    {"length beyond", [](Bytes& profile) { profile[0] = 0xFF; }},
    {"no signature", [](Bytes& profile) { profile[36] = 'x'; }},
    {"a tag beyond its end", [](Bytes& profile) { profile[131] = 1, profile[136] = profile[140] = 0x7F; }},
    {"more tags than it holds", [](Bytes& profile) { profile[128] = 0xFF; }},
    {"another white", [](Bytes& profile) { profile[68] = 1; }},
    {"of a link between devices", [](Bytes& profile) { std::copy_n("link", 4, profile.begin() + 12); }},
    {"for unknown connections", [](Bytes& profile) { std::copy_n("wxyz", 4, profile.begin() + 20); }},
};

TEST_F(KeepingMetadata, APictureWithADamagedProfileIsWrittenWithoutIt) {
    for (const ProfileDamage& kind : kProfileDamages) {
        SCOPED_TRACE(kind.name);
        Image image = SmallImage();
        image.profile = MakeProfile("RGB ", 400);
        kind.damage(image.profile);
        for (const Bytes& file : {EncodeTiff(image), EncodeJpeg(image)}) {
            const Image written = DecodePng(Convert(file, ".png"));
            EXPECT_EQ(written.width, image.width);
            EXPECT_EQ(written.profile, Bytes());
            EXPECT_TRUE(HasNote("its colour profile is damaged and not kept")) << result.errors;
            EXPECT_EQ(result.ErrorLines().size(), 1u) << result.errors;
        }
    }
}

TEST_F(KeepingMetadata, ArchivesAndBmpHoldNoProfileAndSaySo) {
    Image image = SmallImage();
    image.profile = MakeProfile("RGB ", 400);
    Convert(EncodePng(image), ".bmp");
    EXPECT_TRUE(HasNote("its colour profile is not kept")) << result.errors;
    Convert(EncodePng(image), ".zbm");
    EXPECT_TRUE(HasNote("its colour profile is not kept")) << result.errors;
}

TEST_F(KeepingMetadata, TheShapeOfPixelsGoesFromEveryTypeToEveryType) {
    Image image = SmallImage();
    image.xAspect = 3;
    image.yAspect = 2;
    for (const FileType& from : kTypes) {
        for (const FileType& to : kTypes) {
            SCOPED_TRACE(std::string(from.extension) + to.extension);
            const Image back = to.decode(Convert(from.encode(image), to.extension));
            EXPECT_GT(back.xAspect, 0);
            EXPECT_EQ(back.xAspect * 2, back.yAspect * 3);
            EXPECT_EQ(back.xPixelsPerMeter, 0);
            EXPECT_EQ(result.errors, "");
        }
        Convert(from.encode(image), ".bmp");
        EXPECT_TRUE(HasNote("that its pixels are not square is not kept")) << result.errors;
    }
}

void Append32(Bytes& bytes, std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<std::uint8_t>(value >> shift));
}

/// The file with one more chunk, behind the header's.
Bytes WithChunk(Bytes png, const std::string& name, const Bytes& data) {
    Bytes chunk;
    Append32(chunk, static_cast<std::uint32_t>(data.size()));
    chunk.insert(chunk.end(), name.begin(), name.end());
    chunk.insert(chunk.end(), data.begin(), data.end());
    std::uint32_t sum = 0xFFFFFFFF;
    for (std::size_t i = 4; i < chunk.size(); ++i) {
        sum ^= chunk[i];
        for (int bit = 0; bit < 8; ++bit) sum = (sum & 1) != 0 ? 0xEDB88320 ^ sum >> 1 : sum >> 1;
    }
    Append32(chunk, ~sum);
    png.insert(png.begin() + 33, chunk.begin(), chunk.end());
    return png;
}

/// The data of the chunk of that name; nothing if there is none.
Bytes ChunkOf(const Bytes& png, const std::string& name) {
    for (std::size_t at = 8; at + 12 <= png.size();) {
        std::size_t length = 0;
        for (std::size_t i = 0; i < 4; ++i) length = length << 8 | png[at + i];
        const auto data = png.begin() + static_cast<std::ptrdiff_t>(at + 8);
        if (std::equal(name.begin(), name.end(), data - 4)) return {data, data + static_cast<std::ptrdiff_t>(length)};
        at += length + 12;
    }
    return {};
}

Bytes Numbers(const std::vector<std::uint32_t>& values) {
    Bytes bytes;
    for (const std::uint32_t value : values) Append32(bytes, value);
    return bytes;
}

struct MarkCase {
    const char* name;
    Bytes data;
    bool isSrgb;
};

TEST_F(KeepingMetadata, ColorMarksStayInPngAndAreNotedElsewhereUnlessTheyMeanSrgb) {
    const MarkCase cases[] = {
        {"gAMA", Numbers({100000}), false},
        {"gAMA", Numbers({45455}), true},
        {"cHRM", Numbers({31270, 32900, 68000, 32000, 26500, 69000, 15000, 6000}), false},  // Display P3
        {"cHRM", Numbers({31270, 32900, 64000, 33000, 30000, 60000, 15000, 6000}), true},
        {"sRGB", {1}, true},
        {"cICP", {9, 16, 0, 1}, false},  // BT.2100 PQ
        {"cICP", {1, 13, 0, 1}, true},
    };
    for (const MarkCase& mark : cases) {
        SCOPED_TRACE(mark.name);
        const Bytes png = WithChunk(EncodePng(SmallImage()), mark.name, mark.data);
        EXPECT_EQ(ChunkOf(Convert(png, ".png"), mark.name), mark.data);
        EXPECT_EQ(result.errors, "");
        for (const char* other : {".jpg", ".tif", ".bmp", ".zbm"}) {
            Convert(png, other);
            EXPECT_EQ(HasNote("that its colours are not those of sRGB is not kept"), !mark.isSrgb) << result.errors;
            EXPECT_EQ(result.ErrorLines().size(), mark.isSrgb ? 0u : 1u) << result.errors;
        }
    }
}

TEST_F(KeepingMetadata, TheMarkToBeShownTurnedStaysWithPixelsThatAreNotTurned) {
    // What the tool gives for itself to read again.
    TiffOptions options;
    options.orientation = 6;
    WriteFile(folder.File("in"), EncodeTiff(SmallImage(), options));
    const auto keep = [&](const std::string& from, const std::string& to) {
        result = RunTool({"convert", folder.File(from), folder.File(to), "--keep-orientation"});
        EXPECT_EQ(result.code, 0) << result.errors;
        return HasNote("its mark to be shown turned (orientation 6) is not kept");
    };
    for (const char* name : {"out.png", "out.jpg", "out.tif"}) {
        EXPECT_FALSE(keep("in", name)) << name;
        EXPECT_TRUE(keep(name, "out.bmp")) << name;  // where there is no place for it
        EXPECT_EQ(DecodeBmp(ReadFile(folder.File("out.bmp"))).width, 9);
    }
}

}  // namespace
}  // namespace test
