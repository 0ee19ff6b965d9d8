// The rules of conversion, each by bytes written by hand.
#include <gtest/gtest.h>

#include "convert/EachKernelLevel.h"
#include "convert/TestRows.h"
#include "convert/ZBMColorFormat.h"
#include "core/checks/ColorFormatChecks.h"
#include "support_code/ExpectError.h"

namespace zbm {
namespace {

using shr::Color4b;
using shr::ColorFormat;
using Bytes = std::vector<std::uint8_t>;
using Table = std::vector<Color4b>;

const Color4b kPoison(1, 2, 3, 4);

std::uint32_t Width(const Bytes& pixels, ColorFormat format) {
    return static_cast<std::uint32_t>(pixels.size() * 8 / static_cast<unsigned>(shr::ColorFmtToBPP[format]));
}

/// A row of whole bytes, converted.
struct Row {
    Bytes bytes;
    Table table;
};
Row Convert(const Bytes& pixels, ColorFormat src, ColorFormat dst, const Table& srcTable = {}) {
    const std::uint32_t width = Width(pixels, src);
    Row row{Bytes(shr::PixelBytes(width, dst)), Table(static_cast<std::size_t>(shr::ColorFmtToTblSize[dst]), kPoison)};
    ConvertPixels({row.bytes.data(), dst, 0, row.table.data()}, {pixels.data(), src, 0, srcTable.data()}, width, 1);
    return row;
}
Bytes Pixels(const Bytes& pixels, ColorFormat src, ColorFormat dst, const Table& srcTable = {}) {
    return Convert(pixels, src, dst, srcTable).bytes;
}

Table GreyRamp(unsigned levels, std::size_t size) {
    Table ramp(size, Color4b::Black);
    for (unsigned i = 0; i < levels; ++i) {
        const auto grey = static_cast<std::uint8_t>(i * 255 / (levels - 1));
        ramp[i] = Color4b(grey, grey, grey);
    }
    return ramp;
}

class ConvertPixelsRules : public testkit::EachKernelLevel {};

TEST_P(ConvertPixelsRules, RefuseAnIndexedDestinationWithoutATableBeforeAnythingElse) {
    for (const ColorFormat dst : {shr::INDEXED_1, shr::INDEXED_4, shr::INDEXED_8})
        for (const ColorFormat src : {shr::GRAYSCALE_1, shr::BGRA_32, dst, static_cast<ColorFormat>(99)}) {
            std::uint8_t pixels[4] = {1, 2, 3, 4}, result[4] = {5, 6, 7, 8};
            const Table table(256);
            for (const std::uint32_t width : {0u, 1u})
                EXPECT_TRUE(testkit::RaisesInternalError(
                    [&] {
                        ConvertPixels({result, dst, 4}, {pixels, src, 4, table.data()}, width, 1);
                    },
                    ColorFormatCheck::colorTable));
            EXPECT_EQ(result[0], 5);
        }
}

TEST_P(ConvertPixelsRules, CopyEqualFormatsByTheBytesThatHoldPixelsWithTheTable) {
    const Table table = {Color4b(1, 1, 1), Color4b(2, 2, 2)};
    const Bytes src = {0xA5, 0x5A, 0x11, 0x3C, 0xC3, 0x22};
    Bytes dst(10, 0xEE);
    Table dstTable(2, kPoison);
    ConvertPixels({dst.data(), shr::INDEXED_1, 5, dstTable.data()}, {src.data(), shr::INDEXED_1, 3, table.data()}, 11,
                  2);
    EXPECT_EQ(dst, (Bytes{0xA5, 0x5A, 0xEE, 0xEE, 0xEE, 0x3C, 0xC3, 0xEE, 0xEE, 0xEE}));
    EXPECT_EQ(dstTable, table);
}

TEST_P(ConvertPixelsRules, CopyEveryEqualFormat) {
    for (int value = 1; value < shr::kColorFormats; ++value) {
        const auto format = static_cast<ColorFormat>(value);
        const testkit::TestRows src(format, 24, 3, {}, 1);
        testkit::TestRows dst(format, 24, 3, {}, 2);
        ConvertPixels(dst.Rows(), src.ConstRows(), 24, 3);
        EXPECT_EQ(dst.bytes, src.bytes) << value;
        EXPECT_EQ(dst.table, src.table) << value;
    }
}

TEST_P(ConvertPixelsRules, WriteNothingForValuesThatAreNoFormat) {
    const Bytes untouched(64, 0x77);
    for (const int unknown : {0, 14, 99, -1, INT32_MIN, INT32_MAX}) {
        const auto none = static_cast<ColorFormat>(unknown);
        for (int known = 0; known <= shr::kColorFormats; ++known) {
            const auto format = static_cast<ColorFormat>(known);
            Bytes bytes = untouched;
            Table table(256, kPoison), blackened(256, kPoison);
            ConvertPixels({bytes.data(), none, 16, table.data()}, {untouched.data(), format, 16, table.data()}, 3, 3);
            EXPECT_EQ(bytes, untouched);
            EXPECT_EQ(table, Table(256, kPoison));
            ConvertPixels({bytes.data(), format, 16, table.data()}, {untouched.data(), none, 16, table.data()}, 3, 3);
            EXPECT_EQ(bytes, untouched);
            const auto colors = shr::IsColorFormat(format) ? shr::ColorFmtToTblSize[format] : 0;
            std::fill_n(blackened.begin(), colors, Color4b::Black);
            EXPECT_EQ(table, blackened);
        }
    }
}

TEST_P(ConvertPixelsRules, MakeTheTableBlackWhereNoPixelsAreProduced) {
    const Table source(256, kPoison);
    std::uint8_t pixel = 0x3C;
    const std::uint8_t from[] = {9, 9, 9, 9};
    for (const auto type : {zpixf::ZPixfType::Null, zpixf::ZPixfType::MakesAlpha, zpixf::ZPixfType(99)}) {
        Table table(16, kPoison);
        ConvertPixels({&pixel, shr::INDEXED_4, 4, table.data()}, {from, shr::INDEXED_8, 4, source.data()}, 1, 1, type);
        EXPECT_EQ(pixel, 0x3C);
        EXPECT_EQ(table, Table(16, Color4b::Black));
    }
}

TEST_P(ConvertPixelsRules, SetTheTableEvenOfAnEmptyRectangle) {
    struct Case {
        ColorFormat dst, src;
        Table table;
    };
    const Table source = {Color4b(9, 8, 7, 6), Color4b(5, 4, 3, 2)};
    Table copied(16, Color4b::Black);
    copied[0] = source[0];
    copied[1] = source[1];
    for (const Case& c :
         {Case{shr::INDEXED_8, shr::BGR_24, Table(256, Color4b::Black)},
          Case{shr::INDEXED_8, shr::GRAYSCALE_4, GreyRamp(16, 256)}, Case{shr::INDEXED_4, shr::INDEXED_1, copied}}) {
        for (const auto& [width, height] : {std::pair{0u, 0u}, {0u, 5u}, {5u, 0u}}) {
            Table table(c.table.size(), kPoison);
            ConvertPixels({nullptr, c.dst, 4, table.data()}, {nullptr, c.src, 4, source.data()}, width, height);
            EXPECT_EQ(table, c.table) << c.src << " to " << c.dst;
        }
    }
}

TEST_P(ConvertPixelsRules, KeepTheBitsOfPackedBytesThatHoldNoPixels) {
    const Bytes whites(15, 0xFF), blacks(15, 0x00);
    struct Case {
        ColorFormat dst;
        std::uint32_t width;
        Bytes whiteOverZeros, blackOverOnes;
    };
    for (const Case& c : {Case{shr::GRAYSCALE_1, 3, {0xE0, 0x00}, {0x1F, 0xFF}},
                          Case{shr::GRAYSCALE_4, 3, {0xFF, 0xF0}, {0x00, 0x0F}}}) {
        Bytes zeros(2, 0x00), ones(2, 0xFF);
        ConvertPixels({zeros.data(), c.dst, 2}, {whites.data(), shr::BGR_24, 15}, c.width, 1);
        ConvertPixels({ones.data(), c.dst, 2}, {blacks.data(), shr::BGR_24, 15}, c.width, 1);
        EXPECT_EQ(zeros, c.whiteOverZeros);
        EXPECT_EQ(ones, c.blackOverOnes);
    }
}

TEST_P(ConvertPixelsRules, LeaveTheLowNibbleAfterAnOddWidth) {
    const Bytes greys = {0x10, 0x20, 0x30, 0x40, 0x50};
    Bytes nibbles(3, 0xAA);
    Table table(16);
    ConvertPixels({nibbles.data(), shr::INDEXED_4, 4, table.data()}, {greys.data(), shr::GRAYSCALE_8, 8}, 5, 1);
    EXPECT_EQ(nibbles, (Bytes{0x12, 0x34, 0x5A}));
}

TEST_P(ConvertPixelsRules, CopyBitsAndNibblesOfGreysAsIndicesAndNoMore) {
    const Bytes src = {0xFF, 0x9F, 0xFF};
    Bytes bits(3, 0), nibbles(3, 0);
    Table table(16);
    ConvertPixels({bits.data(), shr::INDEXED_1, 4, table.data()}, {src.data(), shr::GRAYSCALE_1, 4}, 11, 1);
    ConvertPixels({nibbles.data(), shr::INDEXED_4, 4, table.data()}, {src.data(), shr::GRAYSCALE_4, 4}, 3, 1);
    EXPECT_EQ(bits, (Bytes{0xFF, 0x80, 0}));
    EXPECT_EQ(nibbles, (Bytes{0xFF, 0x90, 0}));
}

TEST_P(ConvertPixelsRules, LayColorsOutAsTheFormatsSay) {
    const Bytes bgra = {10, 20, 30, 128};
    EXPECT_EQ(Pixels(bgra, shr::BGRA_32, shr::BGR_24), (Bytes{10, 20, 30}));
    EXPECT_EQ(Pixels(bgra, shr::BGRA_32, shr::RGBA_32), (Bytes{30, 20, 10, 128}));
    EXPECT_EQ(Pixels(bgra, shr::BGRA_32, shr::BGRX_32), (Bytes{10, 20, 30, 0}));
    EXPECT_EQ(Pixels(bgra, shr::BGRA_32, shr::PBGRA_32), (Bytes{5, 10, 15, 128}));
    EXPECT_EQ(Pixels({200, 200, 200, 128}, shr::BGRA_32, shr::PBGRA_32), (Bytes{100, 100, 100, 128}));
}

TEST_P(ConvertPixelsRules, MakeColorsWithoutAlphaOpaque) {
    const Bytes bgr = {10, 20, 30};
    EXPECT_EQ(Pixels(bgr, shr::BGR_24, shr::BGRA_32), (Bytes{10, 20, 30, 255}));
    EXPECT_EQ(Pixels(bgr, shr::BGR_24, shr::RGBA_32), (Bytes{30, 20, 10, 255}));
    EXPECT_EQ(Pixels(bgr, shr::BGR_24, shr::BGRX_32), (Bytes{10, 20, 30, 0}));
    EXPECT_EQ(Pixels(bgr, shr::BGR_24, shr::PBGRA_32), (Bytes{10, 20, 30, 255}));
}

TEST_P(ConvertPixelsRules, NeverTakeTheUnusedByteForAlpha) {
    const Bytes bgrx = {10, 20, 30, 0x40};
    EXPECT_EQ(Pixels(bgrx, shr::BGRX_32, shr::BGR_24), (Bytes{10, 20, 30}));
    EXPECT_EQ(Pixels(bgrx, shr::BGRX_32, shr::BGRA_32), (Bytes{10, 20, 30, 255}));
    EXPECT_EQ(Pixels(bgrx, shr::BGRX_32, shr::RGBA_32), (Bytes{30, 20, 10, 255}));
    EXPECT_EQ(Pixels(bgrx, shr::BGRX_32, shr::PBGRA_32), (Bytes{10, 20, 30, 255}));
}

TEST_P(ConvertPixelsRules, SwapTheChannelsOfRgba) {
    const Bytes rgba = {30, 20, 10, 128};
    EXPECT_EQ(Pixels(rgba, shr::RGBA_32, shr::BGR_24), (Bytes{10, 20, 30}));
    EXPECT_EQ(Pixels(rgba, shr::RGBA_32, shr::BGRA_32), (Bytes{10, 20, 30, 128}));
    EXPECT_EQ(Pixels(rgba, shr::RGBA_32, shr::PBGRA_32), (Bytes{5, 10, 15, 128}));
}

TEST_P(ConvertPixelsRules, LeaveRgbaToBgrxUnwritten) {
    for (const std::uint32_t width : {1u, 64u}) {
        const Bytes src(4 * width, 0x12);
        Bytes dst(4 * width, 0xAB);
        ConvertPixels({dst.data(), shr::BGRX_32, 0}, {src.data(), shr::RGBA_32, 0}, width, 1);
        EXPECT_EQ(dst, Bytes(4 * width, 0xAB));
    }
}

TEST_P(ConvertPixelsRules, UnpremultiplyTruncatingAndKeepTheLowByte) {
    const Bytes premultiplied = {200, 50, 33, 100};  // 200 * 255 / 100 is 510
    EXPECT_EQ(Pixels(premultiplied, shr::PBGRA_32, shr::BGRA_32), (Bytes{254, 127, 84, 100}));
    EXPECT_EQ(Pixels(premultiplied, shr::PBGRA_32, shr::BGR_24), (Bytes{254, 127, 84}));
    EXPECT_EQ(Pixels(premultiplied, shr::PBGRA_32, shr::RGBA_32), (Bytes{84, 127, 254, 100}));
    EXPECT_EQ(Pixels(premultiplied, shr::PBGRA_32, shr::BGRX_32), (Bytes{254, 127, 84, 0}));
}

TEST_P(ConvertPixelsRules, KeepThePremultipliedColorOfAlpha0AndSpareItsNeighbours) {
    const Bytes pixels = {200, 50, 33, 100, 7, 8, 9, 0, 0, 0, 0, 0, 1, 2, 3, 255};
    EXPECT_EQ(Pixels(pixels, shr::PBGRA_32, shr::BGRA_32),
              (Bytes{254, 127, 84, 100, 7, 8, 9, 0, 0, 0, 0, 0, 1, 2, 3, 255}));
}

TEST_P(ConvertPixelsRules, MakeTransparentColorsBlackByPremultiplyingAndKeepThemByDroppingAlpha) {
    const Bytes clear = {10, 20, 30, 0};
    EXPECT_EQ(Pixels(clear, shr::BGRA_32, shr::PBGRA_32), (Bytes{0, 0, 0, 0}));
    EXPECT_EQ(Pixels(clear, shr::BGRA_32, shr::BGRX_32), (Bytes{10, 20, 30, 0}));
}

TEST_P(ConvertPixelsRules, TruncateTheLuminanceOfColors) {
    const Bytes green = {0, 255, 0};  // 149685 of 255000
    EXPECT_EQ(Pixels(green, shr::BGR_24, shr::GRAYSCALE_1), (Bytes{0x80}));
    EXPECT_EQ(Pixels(green, shr::BGR_24, shr::GRAYSCALE_4), (Bytes{0x80}));
    EXPECT_EQ(Pixels(green, shr::BGR_24, shr::GRAYSCALE_8), (Bytes{149}));
    EXPECT_EQ(Pixels(green, shr::BGR_24, shr::GRAYSCALE_16), (Bytes{0x45, 0x96}));
    EXPECT_EQ(Pixels(green, shr::BGR_24, shr::GRAYSCALE_32), (Bytes{0xCA, 0xA1, 0x45, 0x96}));
    EXPECT_EQ(Pixels({128, 128, 127}, shr::BGR_24, shr::GRAYSCALE_1), (Bytes{0x80}));  // 127701
    EXPECT_EQ(Pixels({126, 127, 128}, shr::BGR_24, shr::GRAYSCALE_1), (Bytes{0x00}));  // 127185
}

TEST_P(ConvertPixelsRules, GiveFullScaleToWhiteAlone) {
    EXPECT_EQ(Pixels({255, 255, 255}, shr::BGR_24, shr::GRAYSCALE_16), (Bytes{0xFF, 0xFF}));
    EXPECT_EQ(Pixels({255, 255, 255}, shr::BGR_24, shr::GRAYSCALE_32), (Bytes{0xFF, 0xFF, 0xFF, 0xFF}));
    EXPECT_EQ(Pixels({254, 255, 255}, shr::BGR_24, shr::GRAYSCALE_8), (Bytes{254}));
    EXPECT_EQ(Pixels({254, 255, 255}, shr::BGR_24, shr::GRAYSCALE_4), (Bytes{0xE0}));
    EXPECT_EQ(Pixels({254, 255, 255}, shr::BGR_24, shr::GRAYSCALE_16), (Bytes{0xE1, 0xFF}));
}

TEST_P(ConvertPixelsRules, BringGreysBackFromColors) {
    for (const ColorFormat grey : {shr::GRAYSCALE_1, shr::GRAYSCALE_4, shr::GRAYSCALE_8}) {
        Bytes all(256);
        for (unsigned i = 0; i < 256; ++i) all[i] = static_cast<std::uint8_t>(i);
        EXPECT_EQ(Pixels(Pixels(all, grey, shr::BGRA_32), shr::BGRA_32, grey), all);
    }
}

TEST_P(ConvertPixelsRules, IgnoreAlphaInTheGreyOfBgraAndUnpremultiplyThatOfPbgra) {
    for (int dst = shr::GRAYSCALE_1; dst <= shr::GRAYSCALE_32; ++dst) {
        const auto grey = static_cast<ColorFormat>(dst);
        const Bytes opaque = Pixels({50, 100, 150, 255}, shr::BGRX_32, grey);
        EXPECT_EQ(Pixels({50, 100, 150, 0}, shr::BGRA_32, grey), opaque);
        EXPECT_EQ(Pixels({150, 100, 50, 7}, shr::RGBA_32, grey), opaque);
        EXPECT_EQ(Pixels({10, 20, 30, 51}, shr::PBGRA_32, grey), opaque);
    }
}

TEST_P(ConvertPixelsRules, MapIndicesToTheGreyOfTheirColor) {
    const Table table = {Color4b(255, 0, 0, 3), Color4b(0, 0, 255)};  // 76245 and 29070 of 255000
    EXPECT_EQ(Pixels({0x40}, shr::INDEXED_1, shr::GRAYSCALE_8, table), (Bytes{76, 29, 76, 76, 76, 76, 76, 76}));
    EXPECT_EQ(Pixels({0x40}, shr::INDEXED_1, shr::GRAYSCALE_4, table), (Bytes{0x41, 0x44, 0x44, 0x44}));
    EXPECT_EQ(Pixels({0x40}, shr::INDEXED_1, shr::GRAYSCALE_1, {Color4b::Black, Color4b::White}), (Bytes{0x40}));
}

TEST_P(ConvertPixelsRules, WidenOneBitToFullScale) {
    EXPECT_EQ(Pixels({0x40}, shr::GRAYSCALE_1, shr::GRAYSCALE_4), (Bytes{0x0F, 0, 0, 0}));
    EXPECT_EQ(Pixels({0x40}, shr::GRAYSCALE_1, shr::GRAYSCALE_8), (Bytes{0, 255, 0, 0, 0, 0, 0, 0}));
    Bytes words(16), numbers(32);
    words[2] = words[3] = 0xFF;
    std::fill_n(&numbers[4], 4, std::uint8_t{0xFF});
    EXPECT_EQ(Pixels({0x40}, shr::GRAYSCALE_1, shr::GRAYSCALE_16), words);
    EXPECT_EQ(Pixels({0x40}, shr::GRAYSCALE_1, shr::GRAYSCALE_32), numbers);
}

TEST_P(ConvertPixelsRules, ShiftSixteenBitsIntoThirtyTwo) {
    EXPECT_EQ(Pixels({0xFF, 0xFF, 0x34, 0x12}, shr::GRAYSCALE_16, shr::GRAYSCALE_32),
              (Bytes{0, 0, 0xFF, 0xFF, 0, 0, 0x34, 0x12}));
}

TEST_P(ConvertPixelsRules, NarrowGreysToTheirTopBits) {
    EXPECT_EQ(Pixels({0xFF, 0x80}, shr::GRAYSCALE_16, shr::GRAYSCALE_8), (Bytes{0x80}));
    EXPECT_EQ(Pixels({0xFF, 0x8F}, shr::GRAYSCALE_16, shr::GRAYSCALE_4), (Bytes{0x80}));
    EXPECT_EQ(Pixels({0xFF, 0xFF, 0xFF, 0xFF}, shr::GRAYSCALE_32, shr::GRAYSCALE_8), (Bytes{0xFF}));
    EXPECT_EQ(Pixels({0xFF, 0xFF, 0xFF, 0x7F}, shr::GRAYSCALE_32, shr::GRAYSCALE_16), (Bytes{0xFF, 0x7F}));
}

TEST_P(ConvertPixelsRules, TakeGreysFromHalfOfFullScaleOnForWhite) {
    EXPECT_EQ(Pixels({0x78}, shr::GRAYSCALE_4, shr::GRAYSCALE_1), (Bytes{0x40}));
    EXPECT_EQ(Pixels({127, 128}, shr::GRAYSCALE_8, shr::GRAYSCALE_1), (Bytes{0x40}));
    EXPECT_EQ(Pixels({0xFF, 0x7F, 0x00, 0x80}, shr::GRAYSCALE_16, shr::GRAYSCALE_1), (Bytes{0x40}));
    EXPECT_EQ(Pixels({0xFF, 0xFF, 0xFF, 0x7F, 0, 0, 0, 0x80}, shr::GRAYSCALE_32, shr::GRAYSCALE_1), (Bytes{0x40}));
}

TEST_P(ConvertPixelsRules, TakeTheTopByteOfDeepGreysForColors) {
    EXPECT_EQ(Pixels({0xFF, 0x12}, shr::GRAYSCALE_16, shr::BGRA_32), (Bytes{0x12, 0x12, 0x12, 255}));
    EXPECT_EQ(Pixels({0xFF, 0xFF, 0xFF, 0x34}, shr::GRAYSCALE_32, shr::PBGRA_32), (Bytes{0x34, 0x34, 0x34, 255}));
    EXPECT_EQ(Pixels({0x00, 0xFF}, shr::GRAYSCALE_16, shr::BGRX_32), (Bytes{0xFF, 0xFF, 0xFF, 0}));
}

TEST_P(ConvertPixelsRules, GiveIndicesTheirColorWithItsAlpha) {
    Table table(16);
    table[2] = Color4b(200, 100, 50, 128);
    const Bytes index = {0x20};
    EXPECT_EQ(Pixels(index, shr::INDEXED_4, shr::BGR_24, table), (Bytes{50, 100, 200, 0, 0, 0}));
    EXPECT_EQ(Pixels(index, shr::INDEXED_4, shr::BGRA_32, table), (Bytes{50, 100, 200, 128, 0, 0, 0, 255}));
    EXPECT_EQ(Pixels(index, shr::INDEXED_4, shr::RGBA_32, table), (Bytes{200, 100, 50, 128, 0, 0, 0, 255}));
    EXPECT_EQ(Pixels(index, shr::INDEXED_4, shr::BGRX_32, table), (Bytes{50, 100, 200, 0, 0, 0, 0, 0}));
    EXPECT_EQ(Pixels(index, shr::INDEXED_4, shr::PBGRA_32, table), (Bytes{25, 50, 100, 128, 0, 0, 0, 255}));
}

struct RampCase {
    ColorFormat src, dst;
    Bytes pixels, indices;
    unsigned levels;
};
TEST_P(ConvertPixelsRules, GiveGreysARampForATable) {
    for (const RampCase& c : {
             RampCase{shr::GRAYSCALE_1, shr::INDEXED_1, {0xA5}, {0xA5}, 2},
             RampCase{shr::GRAYSCALE_1, shr::INDEXED_4, {0xA5}, {0x10, 0x10, 0x01, 0x01}, 2},
             RampCase{shr::GRAYSCALE_1, shr::INDEXED_8, {0xA5}, {1, 0, 1, 0, 0, 1, 0, 1}, 2},
             RampCase{shr::GRAYSCALE_4, shr::INDEXED_1, {0x78, 0xF0, 0x9A, 0x34}, {0x6C}, 2},
             RampCase{shr::GRAYSCALE_4, shr::INDEXED_4, {0x7F}, {0x7F}, 16},
             RampCase{shr::GRAYSCALE_4, shr::INDEXED_8, {0x7F}, {7, 15}, 16},
             RampCase{shr::GRAYSCALE_8, shr::INDEXED_1, {0x7F, 0x80}, {0x40}, 2},
             RampCase{shr::GRAYSCALE_8, shr::INDEXED_4, {0x7F, 0x80}, {0x78}, 16},
             RampCase{shr::GRAYSCALE_8, shr::INDEXED_8, {0x7F, 0x80}, {0x7F, 0x80}, 256},
             RampCase{shr::GRAYSCALE_16, shr::INDEXED_1, {0xFF, 0x7F, 0x00, 0x80}, {0x40}, 2},
             RampCase{shr::GRAYSCALE_16, shr::INDEXED_4, {0xFF, 0x7F, 0x00, 0x80}, {0x78}, 16},
             RampCase{shr::GRAYSCALE_16, shr::INDEXED_8, {0xFF, 0x7F, 0x00, 0x80}, {0x7F, 0x80}, 256},
             RampCase{shr::GRAYSCALE_32, shr::INDEXED_1, {0, 0, 0, 0x7F, 0, 0, 0, 0x80}, {0x40}, 2},
             RampCase{shr::GRAYSCALE_32, shr::INDEXED_4, {0, 0, 0, 0x7F, 0, 0, 0, 0x80}, {0x78}, 16},
             RampCase{shr::GRAYSCALE_32, shr::INDEXED_8, {0, 0, 0, 0x7F, 0, 0, 0, 0x80}, {0x7F, 0x80}, 256},
         }) {
        const Row row = Convert(c.pixels, c.src, c.dst);
        EXPECT_EQ(row.bytes, c.indices) << c.src << " to " << c.dst;
        EXPECT_EQ(row.table, GreyRamp(c.levels, row.table.size())) << c.src << " to " << c.dst;
    }
}

TEST_P(ConvertPixelsRules, WidenIndicesUnchangedUnderTheSameColors) {
    const Table two = {kPoison, Color4b::White};
    Table sixteen(16, Color4b(7, 7, 7, 7));
    const auto padded = [](Table table, std::size_t size) {
        table.resize(size, Color4b::Black);
        return table;
    };
    const Row bitsToNibbles = Convert({0xA5}, shr::INDEXED_1, shr::INDEXED_4, two);
    EXPECT_EQ(bitsToNibbles.bytes, (Bytes{0x10, 0x10, 0x01, 0x01}));
    EXPECT_EQ(bitsToNibbles.table, padded(two, 16));
    const Row bitsToBytes = Convert({0xA5}, shr::INDEXED_1, shr::INDEXED_8, two);
    EXPECT_EQ(bitsToBytes.bytes, (Bytes{1, 0, 1, 0, 0, 1, 0, 1}));
    EXPECT_EQ(bitsToBytes.table, padded(two, 256));
    const Row nibblesToBytes = Convert({0x7F}, shr::INDEXED_4, shr::INDEXED_8, sixteen);
    EXPECT_EQ(nibblesToBytes.bytes, (Bytes{7, 15}));
    EXPECT_EQ(nibblesToBytes.table, padded(sixteen, 256));
}

TEST_P(ConvertPixelsRules, FlipAPictureByANegativeStride) {
    const Bytes greys = {1, 2, 3, 4, 5, 6};
    Bytes deep(12);
    ConvertPixels({deep.data(), shr::GRAYSCALE_16, 4}, {&greys[4], shr::GRAYSCALE_8, -2}, 2, 3);
    EXPECT_EQ(deep, (Bytes{5, 5, 6, 6, 3, 3, 4, 4, 1, 1, 2, 2}));
    ConvertPixels({&deep[8], shr::GRAYSCALE_16, -4}, {greys.data(), shr::GRAYSCALE_8, 2}, 2, 3);
    EXPECT_EQ(deep, (Bytes{5, 5, 6, 6, 3, 3, 4, 4, 1, 1, 2, 2}));
}

INSTANTIATE_TEST_SUITE_P(Levels, ConvertPixelsRules, testing::ValuesIn(testkit::LevelsHere()), testkit::kLevelName);

}  // namespace
}  // namespace zbm
