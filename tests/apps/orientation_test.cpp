// Pictures that are marked to be shown turned: they are turned upright when they are read.
#include <gtest/gtest.h>

#include <sstream>

#include "apps/Image.h"
#include "apps/Scratch.h"
#include "apps/ToolRun.h"

namespace test {
namespace {

// Wider than a band of rows that is stored at once, and no multiples of anything.
constexpr int kWidth = 43, kHeight = 37;

/// EXIF data of one directory: the orientation, and 72 by 300 pixels an inch.
Bytes ExifWith(int orientation) {
    return {'M',  'M',  0, 42, 0, 0,  0, 8,  //
            0,    4,                         // entries
            0x01, 0x12, 0, 3,  0, 0,  0, 1,  0, static_cast<std::uint8_t>(orientation),
            0,    0,  //
            0x01, 0x1A, 0, 5,  0, 0,  0, 1,  0, 0,
            0,    62,  // x resolution
            0x01, 0x1B, 0, 5,  0, 0,  0, 1,  0, 0,
            0,    70,  // y resolution
            0x01, 0x28, 0, 3,  0, 0,  0, 1,  0, 2,
            0,    0,  // unit: inch
            0,    0,    0, 0,  0, 0,  0, 72, 0, 0,
            0,    1,    0, 0,  1, 44, 0, 0,  0, 1};
}

struct Place {
    int x, y;
};

/// Where pixel (x, y) of a file of w x h pixels is shown. The standard says on which side of the shown picture the
/// file's first row and its first column are: 1 top, left; 2 top, right; 3 bottom, right; 4 bottom, left; 5 left, top;
/// 6 right, top; 7 right, bottom; 8 left, bottom.
Place Shown(int orientation, int x, int y, int w, int h) {
    switch (orientation) {
        case 2: return {w - 1 - x, y};
        case 3: return {w - 1 - x, h - 1 - y};
        case 4: return {x, h - 1 - y};
        case 5: return {y, x};
        case 6: return {h - 1 - y, x};
        case 7: return {h - 1 - y, w - 1 - x};
        case 8: return {y, w - 1 - x};
        default: return {x, y};
    }
}

class Turning : public testing::TestWithParam<int> {
protected:
    bool SwapsSides() const { return GetParam() >= 5; }

    BitmapPtr Pack(const Bytes& file) {
        WriteFile(folder.File("p"), file);
        const ToolResult result = RunTool({"pack", folder.File("p"), folder.File("p.zbm"), "--tile", "16x24"});
        EXPECT_EQ(result.code, 0);
        EXPECT_EQ(result.errors, "");
        return LoadArchive(folder.File("p.zbm"));
    }
    /// The marked file gives the pixels of the plain one, turned.
    void ExpectTurned(const Bytes& plain, const Bytes& marked) {
        const BitmapPtr lying = Pack(plain), shown = Pack(marked);
        const int w = lying->GetPixelWidth(), h = lying->GetPixelHeight();
        ASSERT_EQ(shown->GetPixelWidth(), SwapsSides() ? h : w);
        ASSERT_EQ(shown->GetPixelHeight(), SwapsSides() ? w : h);
        ASSERT_EQ(shown->GetColorFormat(), lying->GetColorFormat());
        for (int y = 0; y < h; ++y) {
            for (int x = 0; x < w; ++x) {
                const Place place = Shown(GetParam(), x, y, w, h);
                ASSERT_EQ(PixelAt(*shown, place.x, place.y), PixelAt(*lying, x, y)) << x << ", " << y;
            }
        }
    }

    ScratchFolder folder;
};

TEST_P(Turning, TurnsPngPicturesOfEveryDepth) {
    for (const auto& [kind, bits] : {std::pair{Kind::grey, 1},
                                     {Kind::grey, 4},
                                     {Kind::grey, 8},
                                     {Kind::grey, 16},
                                     {Kind::palette, 2},
                                     {Kind::rgb, 8},
                                     {Kind::rgba, 8}}) {
        const Image image = RandomImage(kind, bits, kWidth, kHeight, 1);
        for (const bool interlaced : {false, true}) {
            SCOPED_TRACE(interlaced);
            ExpectTurned(EncodePng(image), EncodePng(image, {.interlaced = interlaced, .exif = ExifWith(GetParam())}));
        }
    }
}

TEST_P(Turning, TurnsMasksToo) {
    const Image image = RandomImage(Kind::grey, 2, kWidth, kHeight, 2);
    ExpectTurned(EncodePng(image, {.transparent = {1}}),
                 EncodePng(image, {.transparent = {1}, .exif = ExifWith(GetParam())}));
}

TEST_P(Turning, FindsTheMarkBehindThePixelsOfAPng) {
    const Image image = RandomImage(Kind::rgb, 8, kWidth, kHeight, 3);
    ExpectTurned(EncodePng(image), EncodePng(image, {.exif = ExifWith(GetParam()), .exifBehindPixels = true}));
}

TEST_P(Turning, TurnsJpegPictures) {
    for (const bool progressive : {false, true}) {
        const Image image = RandomImage(Kind::rgb, 8, kWidth, kHeight, 4);
        ExpectTurned(EncodeJpeg(image, {.progressive = progressive}),
                     EncodeJpeg(image, {.progressive = progressive, .exif = ExifWith(GetParam())}));
    }
}

TEST_P(Turning, TurnsTiffPicturesInStripsTilesAndPlanes) {
    for (const Kind kind : {Kind::grey, Kind::rgb, Kind::rgba}) {
        const Image image = RandomImage(kind, 8, kWidth, kHeight, 5);
        for (const int tileSize : {0, 16, 64}) {
            for (const bool planar : {false, true}) {
                TiffOptions options;
                options.tileSize = tileSize;
                options.planar = planar;
                options.orientation = GetParam();
                ExpectTurned(EncodeTiff(image), EncodeTiff(image, options));
            }
        }
    }
}

TEST_P(Turning, TurnsTheResolution) {
    const Bytes file = EncodeJpeg(RandomImage(Kind::rgb, 8, 8, 8, 6), {.exif = ExifWith(GetParam())});
    const BitmapPtr bitmap = Pack(file);
    EXPECT_EQ(bitmap->GetXResolution(), SwapsSides() ? 11811 : 2835);
    EXPECT_EQ(bitmap->GetYResolution(), SwapsSides() ? 2835 : 11811);
}

TEST_P(Turning, LeavesPixelsAsTheyLieWhenAsked) {
    const Image image = RandomImage(Kind::grey, 8, kWidth, kHeight, 7);
    WriteFile(folder.File("p"), EncodePng(image, {.exif = ExifWith(GetParam())}));
    const ToolResult result = RunTool({"pack", folder.File("p"), folder.File("p.zbm"), "--keep-orientation"});
    const std::string note = "(orientation " + std::to_string(GetParam()) + ")";
    EXPECT_EQ(result.errors.find(note) != std::string::npos, GetParam() != 1) << result.errors;
    const BitmapPtr bitmap = LoadArchive(folder.File("p.zbm"));
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) ASSERT_EQ(PixelAt(*bitmap, x, y).value, image.At(x, y, 0));
    }
}

INSTANTIATE_TEST_SUITE_P(Orientations, Turning, testing::Range(1, 9));

}  // namespace
}  // namespace test
