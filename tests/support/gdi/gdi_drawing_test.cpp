// DIBs are drawn: which pixel shows where, and what comes of depths and tables. The same on both systems.
#include <gtest/gtest.h>

#include <limits>

#include "support/gdi/Section.h"

namespace {

using testkit::Columns;
using testkit::IsUntouched;
using testkit::kUntouched;
using testkit::PlacesDib;
using testkit::Rows;
using testkit::Section;

constexpr int kMax = std::numeric_limits<int>::max();

struct StretchCase {
    const char* name;
    int x, y, width, height;
    int sourceX, sourceY, sourceWidth, sourceHeight;
    int dibHeight;  ///< of a DIB of 8 columns
    int drawn;
    const char* columns;  ///< in row `atY` of the section, what column of the DIB shows
    const char* rows;     ///< in column `atX`, what row of the DIB's memory shows
    int atX, atY;
};

class Stretches : public testing::TestWithParam<StretchCase> {};

TEST_P(Stretches, ShowsTheStatedPixels) {
    const StretchCase& c = GetParam();
    Section section(16, 16);
    SetStretchBltMode(section.dc, COLORONCOLOR);
    const PlacesDib dib(8, c.dibHeight);
    EXPECT_EQ(StretchDIBits(section.dc, c.x, c.y, c.width, c.height, c.sourceX, c.sourceY, c.sourceWidth,
                            c.sourceHeight, dib.bits.data(), &dib.info, DIB_RGB_COLORS, SRCCOPY),
              c.drawn);
    EXPECT_EQ(Columns(section, c.atY), c.columns);
    EXPECT_EQ(Rows(section, c.atX), c.rows);
}

INSTANTIATE_TEST_SUITE_P(
    HandMade, Stretches,
    testing::Values(
        StretchCase{"Unscaled", 2, 2, 8, 8, 0, 0, 8, 8, 8, 8, "..01234567......", "..76543210......", 2, 2},
        StretchCase{"TopDown", 2, 2, 8, 8, 0, 0, 8, 8, -8, 8, "..01234567......", "..01234567......", 2, 2},
        StretchCase{"Doubled", 2, 2, 8, 8, 0, 0, 4, 4, 8, 8, "..00112233......", "..33221100......", 2, 2},
        StretchCase{"DoubledTopDown", 2, 2, 8, 8, 0, 0, 4, 4, -8, 8, "..00112233......", "..44556677......", 2, 2},
        StretchCase{"Halved", 2, 2, 4, 4, 0, 0, 8, 8, 8, 8, "..1357..........", "..7531..........", 2, 2},
        StretchCase{"HalvedTopDown", 2, 2, 4, 4, 0, 0, 8, 8, -8, 8, "..1357..........", "..0246..........", 2, 2},
        StretchCase{"ToThree", 2, 2, 3, 3, 0, 0, 8, 8, 8, 8, "..247...........", "..742...........", 2, 2},
        StretchCase{"Mirrored", 10, 10, -4, -4, 0, 0, 4, 4, 8, 8, ".......3210.....", ".......0123.....", 7, 7},
        StretchCase{"MirroredToThree", 10, 10, -3, -3, 0, 0, 8, 8, 8, 8, "........742.....", "........247.....", 8, 8},
        StretchCase{"MirroredAcross", 10, 10, -4, 4, 0, 0, 4, 4, 8, 8, ".......3210.....", "..........3210..", 7, 10},
        StretchCase{"OutLeftAndBelow", 2, 2, 8, 8, -2, -2, 8, 8, 8, 8, "....012345......", "..543210........", 4, 2},
        StretchCase{"OutRightAndAbove", 2, 2, 8, 8, 4, 4, 8, 8, 8, 8, "..4567..........", "......7654......", 2, 6},
        StretchCase{"DoubledOut", 2, 2, 12, 12, 5, 5, 6, 6, 8, 8, "..556677........", "........776655..", 2, 8},
        StretchCase{"ReducedOut", 2, 2, 4, 4, -4, -4, 16, 16, 8, 8, "...37...........", "...73...........", 3, 3},
        StretchCase{"PartsOfReducedOut", 2, 2, 5, 5, -3, -3, 14, 14, 8, 8, "...247..........", "...742..........", 3,
                    3},
        StretchCase{"Beyond", 2, 2, 4, 4, 20, 0, 4, 4, 8, 0, "................", "................", 2, 2},
        StretchCase{"ToNothing", 2, 2, 0, 5, 0, 0, 4, 4, 8, 8, "................", "................", 2, 2},
        StretchCase{"OfNothing", 2, 2, 5, 5, 0, 0, 0, 4, 8, 0, "................", "................", 2, 2},
        StretchCase{"CutBySection", -3, -3, 16, 16, 0, 0, 8, 8, 8, 8, "1223344556677...", "6554433221100...", 0, 0},
        StretchCase{"ReducedCutBySection", -3, -3, 5, 5, 0, 0, 8, 8, 8, 8, "57..............", "21..............", 0,
                    0}),
    [](const auto& tested) { return std::string(tested.param.name); });

struct SetCase {
    const char* name;
    int x, y;
    DWORD width, height;
    int sourceX, sourceY;
    UINT firstLine, lines;
    int dibHeight, answer;
    const char* columns;
    const char* rows;
    int atX, atY;
};

class Sets : public testing::TestWithParam<SetCase> {};

TEST_P(Sets, ShowsTheStatedPixels) {
    const SetCase& c = GetParam();
    Section section(16, 16);
    const PlacesDib dib(8, c.dibHeight);
    EXPECT_EQ(SetDIBitsToDevice(section.dc, c.x, c.y, c.width, c.height, c.sourceX, c.sourceY, c.firstLine, c.lines,
                                dib.bits.data(), &dib.info, DIB_RGB_COLORS),
              c.answer);
    EXPECT_EQ(Columns(section, c.atY), c.columns);
    EXPECT_EQ(Rows(section, c.atX), c.rows);
}

INSTANTIATE_TEST_SUITE_P(
    HandMade, Sets,
    testing::Values(
        SetCase{"Whole", 2, 2, 8, 8, 0, 0, 0, 8, 8, 8, "..01234567......", "..76543210......", 2, 2},
        SetCase{"WholeTopDown", 2, 2, 8, 8, 0, 0, 0, 8, -8, 8, "..01234567......", "..01234567......", 2, 2},
        SetCase{"Part", 2, 2, 4, 4, 2, 1, 0, 8, 8, 5, "..2345..........", "..4321..........", 2, 2},
        SetCase{"PartTopDown", 2, 2, 4, 4, 2, 1, 0, 8, -8, 8, "..2345..........", "..3456..........", 2, 2},
        SetCase{"OutRightAndAbove", 2, 2, 8, 8, 2, 2, 0, 8, 8, 8, "..234567........", "....765432......", 2, 4},
        SetCase{"OutLeftAndBelow", 2, 2, 8, 8, -2, -2, 0, 8, 8, 6, "....012345......", "..543210........", 4, 2},
        SetCase{"SomeLines", 2, 2, 8, 8, 0, 0, 2, 3, 8, 3, "..01234567......", ".....210........", 2, 5},
        SetCase{"SomeLinesTopDown", 2, 2, 8, 8, 0, 0, 2, 3, -8, 3, "..01234567......", ".....012........", 2, 5},
        SetCase{"MoreLinesThanThereAre", 2, 2, 8, 8, 0, 0, 6, 8, 8, 2, "..01234567......", "..10............", 2, 2},
        SetCase{"LinesBeyond", 2, 2, 8, 8, 0, 0, 8, 1, 8, 0, "................", "................", 2, 2},
        SetCase{"NoLines", 2, 2, 8, 8, 0, 0, 0, 0, 8, 0, "................", "................", 2, 2},
        SetCase{"HigherThanTheDib", 2, 2, 12, 12, 0, 0, 0, 8, 8, 8, "..01234567......", "......76543210..", 2, 6},
        SetCase{"NoWidth", 2, 2, 0, 8, 0, 0, 0, 8, 8, 0, "................", "................", 2, 2},
        SetCase{"Far", kMax, kMax, 8, 8, 0, 0, 0, 8, 8, 8, "................", "................", 2, 2},
        SetCase{"SourceFar", 2, 2, 8, 8, kMax, kMax, 0, 8, 8, 0, "................", "................", 2, 2}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST(GdiDrawing, AClipChangesNoPixelsChoice) {
    const PlacesDib dib(8, 8);
    for (const int size : {3, 5, 8, 13}) {
        Section whole(16, 16), pieces(16, 16);
        const auto draw = [&](HDC dc) {
            SetStretchBltMode(dc, COLORONCOLOR);
            StretchDIBits(dc, 1, 2, size, size, 0, 0, 8, 8, dib.bits.data(), &dib.info, 0, SRCCOPY);
        };
        draw(whole.dc);
        for (int y = 0; y < 16; y += 3)
            for (int x = 0; x < 16; x += 3) {
                SaveDC(pieces.dc);
                IntersectClipRect(pieces.dc, x, y, x + 3, y + 3);
                draw(pieces.dc);
                RestoreDC(pieces.dc, -1);
            }
        for (int i = 0; i < 256; ++i) ASSERT_EQ(pieces.pixels[i], whole.pixels[i]) << size;
    }
}

TEST(GdiDrawing, UnscaledDrawingMapsItsCornerAlone) {
    Section section(16, 16);
    SetMapMode(section.dc, MM_ANISOTROPIC);
    SetViewportExtEx(section.dc, 2, 3, nullptr);
    const PlacesDib dib(8, 4);
    SetDIBitsToDevice(section.dc, 2, 1, 8, 4, 0, 0, 0, 4, dib.bits.data(), &dib.info, 0);
    EXPECT_EQ(Columns(section, 3), "....01234567....");
    EXPECT_EQ(Rows(section, 4), "...3210.........");
}

/// A row of 8 pixels of each depth: indices 0, 1 and for more than 1 bit some that the table of 2 colours lacks.
struct DepthCase {
    const char* name;
    WORD bits;
    std::vector<std::uint8_t> row;
    std::vector<std::uint32_t> pixels;
};

class Depths : public testing::TestWithParam<DepthCase> {};

TEST_P(Depths, BecomePixels) {
    struct {
        BITMAPINFOHEADER header{};
        RGBQUAD colors[256]{};
    } dib;
    dib.header = {sizeof(BITMAPINFOHEADER), 8, 1, 1, GetParam().bits, BI_RGB, 0, 0, 0, 0, 0};
    if (GetParam().bits <= 8) dib.header.biClrUsed = 2;
    dib.colors[0] = {1, 2, 3, 4};
    dib.colors[1] = {5, 6, 7, 8};
    dib.colors[2] = {9, 9, 9, 9};
    const auto* info = reinterpret_cast<const BITMAPINFO*>(&dib);
    std::vector<std::uint8_t> row = GetParam().row;
    row.resize(32);
    Section section(8, 2);
    SetStretchBltMode(section.dc, COLORONCOLOR);
    EXPECT_EQ(SetDIBitsToDevice(section.dc, 0, 0, 8, 1, 0, 0, 0, 1, row.data(), info, 0), 1);
    EXPECT_EQ(StretchDIBits(section.dc, 0, 1, 8, 1, 0, 0, 8, 1, row.data(), info, 0, SRCCOPY), 1);
    for (int x = 0; x < 8; ++x)
        for (int y = 0; y < 2; ++y) EXPECT_EQ(section.At(x, y), GetParam().pixels[static_cast<std::size_t>(x)]) << x;
}

constexpr std::uint32_t kZero = 0x00030201, kOne = 0x00070605, kBlack = 0;

INSTANTIATE_TEST_SUITE_P(
    All, Depths,
    testing::Values(
        DepthCase{"One", 1, {0x5A}, {kZero, kOne, kZero, kOne, kOne, kZero, kOne, kZero}},
        DepthCase{"Four", 4, {0x01, 0x23, 0xF0}, {kZero, kOne, kBlack, kBlack, kBlack, kZero, kZero, kZero}},
        DepthCase{"Eight", 8, {0, 1, 2, 3, 200}, {kZero, kOne, kBlack, kBlack, kBlack, kZero, kZero, kZero}},
        DepthCase{"TwentyFour", 24, {1, 2, 3, 4, 5, 6}, {0x00030201, 0x00060504, 0, 0, 0, 0, 0, 0}},
        DepthCase{"ThirtyTwo", 32, {1, 2, 3, 4, 5, 6, 7, 8}, {0x04030201, 0x08070605, 0, 0, 0, 0, 0, 0}}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST(GdiDrawing, RefusesWhatIsNoPlainDib) {
    Section section(8, 8);
    const PlacesDib dib(8, 8);
    const auto draws = [&](const BITMAPINFO* info, const void* bits, DWORD operation) {
        return SetDIBitsToDevice(section.dc, 0, 0, 8, 8, 0, 0, 0, 8, bits, info, 0) +
               StretchDIBits(section.dc, 0, 0, 8, 8, 0, 0, 8, 8, bits, info, 0, operation);
    };
    const auto changed = [&](auto change) {
        BITMAPINFO info = dib.info;
        change(info.bmiHeader);
        return draws(&info, dib.bits.data(), SRCCOPY);
    };
    EXPECT_EQ(changed([](auto& header) { header.biSize = 0; }), 0);
    EXPECT_EQ(changed([](auto& header) { header.biPlanes = 0; }), 0);
    EXPECT_EQ(changed([](auto& header) { header.biBitCount = 7; }), 0);
    EXPECT_EQ(changed([](auto& header) { header.biBitCount = 0; }), 0);
    EXPECT_EQ(changed([](auto& header) { header.biCompression = BI_RLE8; }), 0);
    EXPECT_EQ(changed([](auto& header) { header.biWidth = 0; }), 0);
    EXPECT_EQ(changed([](auto& header) { header.biWidth = -8; }), 0);
    EXPECT_EQ(changed([](auto& header) { header.biHeight = 0; }), 0);
    EXPECT_EQ(draws(&dib.info, nullptr, SRCCOPY), 0);
    EXPECT_EQ(draws(nullptr, dib.bits.data(), SRCCOPY), 0);
    EXPECT_TRUE(IsUntouched(section));
}

TEST(GdiDrawing, DrawsNothingOutsideOfAClip) {
    Section section(8, 8);
    const PlacesDib dib(8, 8);
    IntersectClipRect(section.dc, 20, 20, 30, 30);
    SetDIBitsToDevice(section.dc, 0, 0, 8, 8, 0, 0, 0, 8, dib.bits.data(), &dib.info, 0);
    StretchDIBits(section.dc, 0, 0, 16, 16, 0, 0, 8, 8, dib.bits.data(), &dib.info, 0, SRCCOPY);
    EXPECT_TRUE(IsUntouched(section));
}

}  // namespace
