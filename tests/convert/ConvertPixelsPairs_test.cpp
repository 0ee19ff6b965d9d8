// Every pair of formats at every level of kernels, against the plain reference: shapes, addresses and values.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "convert/EachKernelLevel.h"
#include "convert/Reference.h"
#include "convert/RowKernels.h"
#include "convert/TestRows.h"
#include "convert/ZBMColorFormat.h"

namespace zbm {
namespace {

using shr::Color4b;
using shr::ColorFormat;
using testkit::RowLayout;
using testkit::RowOrder;
using testkit::TestRows;
using Bytes = std::vector<std::uint8_t>;

ColorFormat FormatAt(int value) { return static_cast<ColorFormat>(value); }

std::string PairName(ColorFormat dst, ColorFormat src) {
    return "format " + std::to_string(src) + " to " + std::to_string(dst);
}

template <class Use>
void ForEachPair(Use use) {
    for (int dst = 1; dst < shr::kColorFormats; ++dst)
        for (int src = 1; src < shr::kColorFormats; ++src)
            if (!reference::Quantizes(FormatAt(dst), FormatAt(src))) use(FormatAt(dst), FormatAt(src));
}

struct Shape {
    std::uint32_t width, height;
    RowLayout dst, src;
};

void ExpectLikeReference(ColorFormat dstFormat, ColorFormat srcFormat, const Shape& shape) {
    const TestRows src(srcFormat, shape.width, shape.height, shape.src, shape.width + 7);
    TestRows dst(dstFormat, shape.width, shape.height, shape.dst, 1), expected = dst;
    ConvertPixels(dst.Rows(), src.ConstRows(), shape.width, shape.height);
    reference::ConvertPixels(expected.Rows(), src.ConstRows(), shape.width, shape.height);
    ASSERT_EQ(dst.bytes, expected.bytes) << PairName(dstFormat, srcFormat) << ", width " << shape.width;
    ASSERT_EQ(dst.table, expected.table) << PairName(dstFormat, srcFormat);
}

class ConvertPixelsPairs : public testkit::EachKernelLevel {};

TEST_P(ConvertPixelsPairs, GiveWhatTheReferenceGivesAtEveryWidthAndNothingElse) {
    ForEachPair([](ColorFormat dst, ColorFormat src) {
        for (std::uint32_t width = 0; width <= 67; ++width) {
            // Memory of the exact size on one side at a time, odd addresses, gaps and none.
            const std::size_t odd = width % 4;
            ExpectLikeReference(dst, src, {width, 2, {RowOrder::down, odd, odd, 9}, {RowOrder::down, 0, 0, 0}});
            ExpectLikeReference(dst, src, {width, 2, {RowOrder::down, 0, 0, 0}, {RowOrder::down, 5, odd, 0}});
        }
    });
}

TEST_P(ConvertPixelsPairs, TakeNegativeAndZeroStrides) {
    ForEachPair([](ColorFormat dst, ColorFormat src) {
        for (const std::uint32_t width : {1u, 5u, 32u, 33u, 63u, 101u}) {
            ExpectLikeReference(dst, src, {width, 3, {RowOrder::down, 3, 1, 1}, {RowOrder::up, 2, 0, 0}});
            ExpectLikeReference(dst, src, {width, 3, {RowOrder::up, 0, 0, 0}, {RowOrder::up, 0, 3, 0}});
            ExpectLikeReference(dst, src, {width, 3, {RowOrder::onTopOfEachOther, 0, 5, 5}, {RowOrder::down, 1, 0, 0}});
            ExpectLikeReference(dst, src, {width, 3, {RowOrder::down, 1, 5, 5}, {RowOrder::onTopOfEachOther, 0, 1, 0}});
        }
    });
}

TEST_P(ConvertPixelsPairs, TakeLongRowsAndRowsWithoutGaps) {
    ForEachPair([](ColorFormat dst, ColorFormat src) {
        ExpectLikeReference(dst, src, {2003, 1, {RowOrder::down, 0, 3, 3}, {RowOrder::down, 0, 1, 0}});
        ExpectLikeReference(dst, src, {72, 9, {RowOrder::down, 0, 0, 0}, {RowOrder::down, 0, 0, 0}});
    });
}

/// One row of `values` in a format, converted.
Bytes Converted(ColorFormat dst, ColorFormat src, const Bytes& pixels, const Color4b* srcTable = nullptr) {
    const auto width = static_cast<std::uint32_t>(pixels.size() * 8 / static_cast<unsigned>(shr::ColorFmtToBPP[src]));
    Bytes result(shr::PixelBytes(width, dst));
    std::vector<Color4b> table(256);
    ConvertPixels({result.data(), dst, 0, table.data()}, {pixels.data(), src, 0, srcTable}, width, 1);
    return result;
}
Bytes ReferenceConverted(ColorFormat dst, ColorFormat src, const Bytes& pixels, const Color4b* srcTable = nullptr) {
    const auto width = static_cast<std::uint32_t>(pixels.size() * 8 / static_cast<unsigned>(shr::ColorFmtToBPP[src]));
    Bytes result(shr::PixelBytes(width, dst));
    std::vector<Color4b> table(256);
    reference::ConvertPixels({result.data(), dst, 0, table.data()}, {pixels.data(), src, 0, srcTable}, width, 1);
    return result;
}

/// Every value of one or two bytes, as pixels of the source.
TEST_P(ConvertPixelsPairs, ConvertEveryValueOfEveryLevelAndIndex) {
    const TestRows indexed(shr::INDEXED_8, 1, 1, {}, 77);
    for (int src = shr::GRAYSCALE_1; src <= shr::INDEXED_8; ++src) {
        Bytes pixels;
        for (unsigned value = 0; value < 65536; ++value) {
            const auto low = static_cast<std::uint8_t>(value), high = static_cast<std::uint8_t>(value >> 8);
            if (src == shr::GRAYSCALE_32) pixels.insert(pixels.end(), {static_cast<std::uint8_t>(~low), low});
            pixels.insert(pixels.end(), {low, high});
        }
        for (int dst = 1; dst < shr::kColorFormats; ++dst) {
            if (reference::Quantizes(FormatAt(dst), FormatAt(src))) continue;
            const auto* table = indexed.table.data();
            ASSERT_EQ(Converted(FormatAt(dst), FormatAt(src), pixels, table),
                      ReferenceConverted(FormatAt(dst), FormatAt(src), pixels, table))
                << PairName(FormatAt(dst), FormatAt(src));
        }
    }
}

TEST_P(ConvertPixelsPairs, PremultiplyAndUnpremultiplyEveryColorByEveryAlpha) {
    Bytes pixels;
    for (unsigned alpha = 0; alpha < 256; ++alpha)
        for (unsigned color = 0; color < 256; ++color)
            for (const unsigned byte : {color, 255 - color, color ^ 0x5Au, alpha})
                pixels.push_back(static_cast<std::uint8_t>(byte));
    for (const ColorFormat src : {shr::BGRA_32, shr::RGBA_32})
        ASSERT_EQ(Converted(shr::PBGRA_32, src, pixels), ReferenceConverted(shr::PBGRA_32, src, pixels));
    for (const ColorFormat dst : {shr::BGR_24, shr::BGRA_32, shr::RGBA_32, shr::BGRX_32})
        ASSERT_EQ(Converted(dst, shr::PBGRA_32, pixels), ReferenceConverted(dst, shr::PBGRA_32, pixels));
}

/// A colour for each sum of weighted channels: the first and the last that has it.
Bytes ColorsOfEveryLuminance() {
    constexpr std::uint32_t kSums = 255001, kNone = 0xFFFFFFFF;
    std::vector<std::uint32_t> first(kSums, kNone), last(kSums, kNone);
    for (std::uint32_t color = 0; color < 1u << 24; ++color) {
        const std::uint32_t sum = 299 * (color >> 16) + 587 * (color >> 8 & 255) + 114 * (color & 255);
        if (first[sum] == kNone) first[sum] = color;
        last[sum] = color;
    }
    Bytes pixels;
    for (std::uint32_t sum = 0; sum < kSums; ++sum)
        for (const std::uint32_t color : {first[sum], last[sum]})
            for (int shift = 0; color != kNone && shift < 32; shift += 8)
                pixels.push_back(static_cast<std::uint8_t>((color | color << 24) >> shift));
    return pixels;
}

TEST_P(ConvertPixelsPairs, TruncateEveryLuminanceAsFloatingPointDoes) {
    static const Bytes pixels = ColorsOfEveryLuminance();
    for (int dst = shr::GRAYSCALE_1; dst <= shr::GRAYSCALE_32; ++dst)
        ASSERT_EQ(Converted(FormatAt(dst), shr::BGRA_32, pixels),
                  ReferenceConverted(FormatAt(dst), shr::BGRA_32, pixels))
            << "to format " << dst;
}

/// Converts so many rows that the result goes past the caches.
TEST_P(ConvertPixelsPairs, GiveTheSameForPicturesThatAreLargerThanCaches) {
    constexpr std::uint32_t kWidth = 4096 + 13, kHeight = 1400;
    for (const auto& [dst, src] : {std::pair{shr::RGBA_32, shr::BGRA_32},
                                   {shr::BGR_24, shr::BGRA_32},
                                   {shr::BGRA_32, shr::INDEXED_4},
                                   {shr::BGRA_32, shr::GRAYSCALE_1}})
        for (const std::size_t gap : {std::size_t{0}, std::size_t{1}}) {
            const TestRows from(src, kWidth, kHeight, {RowOrder::down, 0, 0, 0}, 3);
            TestRows to(dst, kWidth, kHeight, {RowOrder::down, gap, 3 * gap, 7}, 4), plain = to;
            ConvertPixels(to.Rows(), from.ConstRows(), kWidth, kHeight);
            for (std::uint32_t y = 0; y < kHeight; ++y) {  // single rows are small
                const PixelRows toRows = plain.Rows();
                const ConstPixelRows fromRows = from.ConstRows();
                ConvertPixels({toRows.first + std::ptrdiff_t{y} * toRows.stride, dst, 0, toRows.colorTable},
                              {fromRows.first + std::ptrdiff_t{y} * fromRows.stride, src, 0, fromRows.colorTable},
                              kWidth, 1);
            }
            ASSERT_TRUE(to.bytes == plain.bytes) << PairName(dst, src) << ", gap " << gap;
        }
}

TEST_P(ConvertPixelsPairs, WriteTheSameBlocksPastTheCachesAsIntoThem) {
    constexpr std::size_t kBlocks = 5;
    const RowKernels& kernels = ActiveRowKernels();
    const Bytes src = testkit::NoiseBytes(kBlocks * kMaxBlockBytes, 5),
                noise = testkit::NoiseBytes(sizeof(IndexMap), 6);
    IndexMap map;
    std::memcpy(map.bytes, noise.data(), sizeof map.bytes);
    alignas(kStreamAlignment) std::uint8_t streamed[kBlocks * kMaxBlockBytes], converted[kBlocks * kMaxBlockBytes];
    ForEachPair([&](ColorFormat to, ColorFormat from) {
        if (kernels.stream[to][from] == nullptr) return;
        std::memset(streamed, 0xA5, sizeof streamed);
        std::memset(converted, 0xA5, sizeof converted);
        kernels.stream[to][from](streamed, src.data(), kBlocks, &map);
        kernels.convert[to][from](converted, src.data(), kBlocks, &map);
        ASSERT_EQ(std::memcmp(streamed, converted, sizeof converted), 0) << PairName(to, from);
    });
}

INSTANTIATE_TEST_SUITE_P(Levels, ConvertPixelsPairs, testing::ValuesIn(testkit::LevelsHere()), testkit::kLevelName);

}  // namespace
}  // namespace zbm
