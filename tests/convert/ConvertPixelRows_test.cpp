#include "zbm/PixelRows.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <utility>
#include <vector>

#include "shr/Exception.h"

namespace zbm {
namespace {

using shr::Color4b;
using Bytes = std::vector<std::uint8_t>;

TEST(ConvertPixelRows, ConvertsThePairThatHasNoConverterToo) {
    const Bytes rgba = {1, 2, 3, 4, 5, 6, 7, 8};
    Bytes bgrx(8, 0xEE);
    ConvertPixelRows({bgrx.data(), shr::BGRX_32, 8}, {rgba.data(), shr::RGBA_32, 8}, 2, 1);
    EXPECT_EQ(bgrx, (Bytes{3, 2, 1, 0, 7, 6, 5, 0}));
}

TEST(ConvertPixelRows, CutsOffStraightColorsAndKeepsThoseOfAlpha0) {
    const Bytes premultiplied = {100, 50, 33, 100, 7, 8, 9, 0};  // 33 * 255 / 100 is 84.15, 50 * 255 / 100 is 127.5
    Bytes straight(8);
    ConvertPixelRows({straight.data(), shr::BGRA_32, 8}, {premultiplied.data(), shr::PBGRA_32, 8}, 2, 1);
    EXPECT_EQ(straight, (Bytes{255, 127, 84, 100, 7, 8, 9, 0}));
}

TEST(ConvertPixelRows, WritesRowsFromTheBottomUp) {
    const Bytes gray = {10, 20, 30, 40};
    Bytes bgr(12);
    ConvertPixelRows({bgr.data() + 6, shr::BGR_24, -6}, {gray.data(), shr::GRAYSCALE_8, 2}, 2, 2);
    EXPECT_EQ(bgr, (Bytes{30, 30, 30, 40, 40, 40, 10, 10, 10, 20, 20, 20}));
}

TEST(ConvertPixelRows, ChoosesColorsByTheQuantizerThatIsNamed) {
    const Bytes colors = {0, 0, 0, 255, 0, 0, 255, 255};
    for (const auto& [quantizer, last] : {std::pair(zpixf::ZPixfType::QuantizeMedian8, Color4b(255, 0, 0)),
                                          std::pair(zpixf::ZPixfType::DitherDiffuse, Color4b(255, 255, 255))}) {
        std::uint8_t indices = 0;
        Color4b table[2];
        ConvertPixelRows({&indices, shr::INDEXED_1, 1, table}, {colors.data(), shr::BGRA_32, 8}, 2, 1, quantizer);
        EXPECT_EQ(table[0], Color4b::Black);
        EXPECT_EQ(table[1], last);
    }
}

template <class Use>
int LineOfError(Use use) {
    try {
        use();
    } catch (const shr::Exception& error) { return error.GetLine(); }
    return 0;
}

TEST(ConvertPixelRows, RefusesIndicesWithoutATableAndWritesNothing) {
    const Bytes source(4, 1);
    Bytes result(16, 0xEE);
    EXPECT_EQ(LineOfError([&] {
                  ConvertPixelRows({result.data(), shr::BGRA_32, 16}, {source.data(), shr::INDEXED_8, 4}, 4, 1);
              }),
              9000);
    EXPECT_EQ(LineOfError([&] {
                  ConvertPixelRows({result.data(), shr::INDEXED_8, 4}, {source.data(), shr::GRAYSCALE_8, 4}, 4, 1);
              }),
              43);
    EXPECT_EQ(LineOfError([&] {
                  ConvertPixelRows({result.data(), shr::INDEXED_8, 4}, {source.data(), shr::INDEXED_8, 4}, 4, 1);
              }),
              43)
        << "the destination's comes first";
    EXPECT_EQ(result, Bytes(16, 0xEE));
}

TEST(ConvertPixelRows, RefusesFormatsThatAreNone) {
    const Bytes source(4, 1);
    Bytes result(16, 0xEE);
    for (const int none : {0, 14, 99, -1}) {
        const auto format = static_cast<shr::ColorFormat>(none);
        EXPECT_EQ(LineOfError([&] {
                      ConvertPixelRows({result.data(), shr::BGRA_32, 16}, {source.data(), format, 4}, 4, 1);
                  }),
                  9001);
        EXPECT_EQ(LineOfError([&] {
                      ConvertPixelRows({result.data(), format, 4}, {source.data(), shr::BGRA_32, 4}, 1, 1);
                  }),
                  9001);
    }
    EXPECT_EQ(result, Bytes(16, 0xEE));
}

}  // namespace
}  // namespace zbm
