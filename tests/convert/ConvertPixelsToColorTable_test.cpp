#include <gtest/gtest.h>

#include <array>
#include <memory>

#include "convert/PlainMatcher.h"
#include "convert/Reference.h"
#include "convert/ZBMColorFormat.h"
#include "core/Kernels.h"
#include "support_code/KernelLevels.h"
#include "support_code/Pixels.h"
#include "zbm/ColorTableMatcher.h"

namespace zbm {
namespace {

using shr::Color4b;
using shr::ColorFormat;
using testkit::Colors;
using testkit::kFormats;

using Bytes = std::vector<std::uint8_t>;

constexpr ColorFormat kIndexed[] = {shr::INDEXED_1, shr::INDEXED_4, shr::INDEXED_8};

bool IsHandledSource(ColorFormat format) {
    return format != shr::GRAYSCALE_1 && format != shr::GRAYSCALE_4 && format != shr::PBGRA_32;
}

/// A table for each indexed format, and its matcher: one each, for they are large.
struct Target {
    explicit Target(ColorFormat indexed)
        : format(indexed),
          table(testkit::RandomTable(static_cast<unsigned>(testkit::TableSize(indexed)), 2026)),
          matcher(table.data(), static_cast<unsigned>(table.size())) {}
    ColorFormat format;
    Colors table;
    ColorTableMatcher matcher;
};

const Target& TargetOf(ColorFormat format) {
    static const Target targets[] = {Target(shr::INDEXED_1), Target(shr::INDEXED_4), Target(shr::INDEXED_8)};
    return targets[format - shr::INDEXED_1];
}

Bytes RandomBytes(std::size_t count, unsigned seed) {
    std::mt19937 random(seed);
    Bytes bytes(count);
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
    return bytes;
}

/// Source pixels of which some are colours of the destination's table.
Bytes SourcePixels(ColorFormat format, std::size_t bytes, const Colors& table) {
    Bytes pixels = RandomBytes(bytes, 99);
    const std::size_t step = static_cast<std::size_t>(testkit::BitsPerPixel(format)) / 8;
    if (step < 3) return pixels;
    for (std::size_t i = 0; i + step <= bytes; i += 2 * step) {
        const Color4b color = table[i * 7 % table.size()];
        pixels[i + 1] = color.green;
        pixels[i] = format == shr::RGBA_32 ? color.red : color.blue;
        pixels[i + 2] = format == shr::RGBA_32 ? color.blue : color.red;
    }
    return pixels;
}

struct Shape {
    std::uint32_t width, height;
    int dstSlack, srcSlack;  // bytes between a row's pixels and the next row
    bool upwards;            // rows from the last to the first, in both buffers
};

std::size_t RowLength(const Shape& shape, ColorFormat format) {
    return static_cast<std::size_t>(shr::PixelBytes(shape.width, format));
}

/// Converts into a poisoned block of the exact size, and compares all of it with what pixel by pixel gives.
void ExpectLikePlain(const Target& target, ColorFormat srcFormat, const Colors& srcTable, const Shape& shape) {
    const std::size_t dstRow = RowLength(shape, target.format), srcRow = RowLength(shape, srcFormat);
    const std::size_t dstStep = dstRow + static_cast<std::size_t>(shape.dstSlack);
    const std::size_t srcStep = srcRow + static_cast<std::size_t>(shape.srcSlack);
    // One byte in front makes every address odd; nothing follows the last row's last pixel.
    const std::size_t dstSize = 1 + dstStep * (shape.height - 1) + dstRow;
    const std::size_t srcSize = 1 + srcStep * (shape.height - 1) + srcRow;
    const Bytes source = SourcePixels(srcFormat, srcSize, target.table);
    const Bytes poison = RandomBytes(dstSize, 3);
    Bytes plain = poison;
    const auto rowAt = [](std::size_t step, std::uint32_t y) { return 1 + step * y; };
    const auto match = [&](Color4b color) {
        return static_cast<std::uint8_t>(testkit::PlainMatchExactOrApproximate(target.table, color));
    };
    reference::ConvertPixelsToColorTable({plain.data() + 1, target.format, static_cast<int>(dstStep)},
                                         {source.data() + 1, srcFormat, static_cast<int>(srcStep), srcTable.data()},
                                         static_cast<std::uint32_t>(srcTable.size()), shape.width, shape.height, match);
    const std::uint32_t firstRow = shape.upwards ? shape.height - 1 : 0;
    const int sign = shape.upwards ? -1 : 1;
    const auto block = std::make_unique<std::uint8_t[]>(dstSize);
    for (const cpu::Level level : testkit::LevelsHere()) {
        ASSERT_TRUE(UseKernels(level));
        std::copy(poison.begin(), poison.end(), block.get());
        ConvertPixelsToColorTable(
            {block.get() + rowAt(dstStep, firstRow), target.format, sign * static_cast<int>(dstStep)},
            static_cast<std::uint32_t>(target.table.size()),
            {source.data() + rowAt(srcStep, firstRow), srcFormat, sign * static_cast<int>(srcStep), srcTable.data()},
            static_cast<std::uint32_t>(srcTable.size()), shape.width, shape.height, target.matcher);
        ASSERT_EQ(Bytes(block.get(), block.get() + dstSize), plain)
            << testkit::FormatName(srcFormat) << " to " << testkit::FormatName(target.format) << ", " << shape.width
            << " x " << shape.height << ", level " << testkit::NameOf(level);
    }
    UseKernels(cpu::Choose());
}

TEST(ConvertPixelsToColorTable, MatchesEveryPixelAsThePlainSearchDoes) {
    for (const ColorFormat dstFormat : kIndexed)
        for (const ColorFormat srcFormat : kFormats) {
            if (!IsHandledSource(srcFormat)) continue;
            const Colors srcTable = testkit::RandomTable(static_cast<unsigned>(testkit::TableSize(srcFormat)), 31);
            for (std::uint32_t width = 1; width <= 67; ++width)
                ExpectLikePlain(TargetOf(dstFormat), srcFormat, srcTable,
                                {width, 2, static_cast<int>(width % 5), static_cast<int>(width % 3), width % 2 == 0});
            for (const std::uint32_t width : {255u, 256u, 257u, 511u, 519u})
                ExpectLikePlain(TargetOf(dstFormat), srcFormat, srcTable, {width, 1, 0, 0, false});
            if (testing::Test::HasFatalFailure()) return;
        }
}

TEST(ConvertPixelsToColorTable, TakesIndicesBeyondTheSourceTableForBlack) {
    for (const ColorFormat srcFormat : kIndexed)
        for (const unsigned count : {0u, 1u, 2u, 5u}) {
            // Memory of exactly that many entries: reads past them show under a sanitizer.
            const Colors srcTable(count, Color4b(200, 100, 50));
            ExpectLikePlain(TargetOf(shr::INDEXED_8), srcFormat, srcTable, {40, 2, 0, 0, false});
            if (testing::Test::HasFatalFailure()) return;
        }
    const std::uint8_t source[] = {200, 0};
    std::uint8_t index[2] = {};
    ConvertPixelsToColorTable({index, shr::INDEXED_8, 4}, 256, {source, shr::INDEXED_8, 4, nullptr}, 256, 2, 1,
                              TargetOf(shr::INDEXED_8).matcher);
    const auto black = TargetOf(shr::INDEXED_8).matcher.MatchExactOrApproximate(Color4b::Black);
    EXPECT_EQ(index[0], black);
    EXPECT_EQ(index[1], black);
}

TEST(ConvertPixelsToColorTable, WritesOnlyIndexedDestinations) {
    const Bytes source = RandomBytes(64, 1);
    for (int format = -1; format <= 20; ++format) {
        if (format >= shr::INDEXED_1 && format <= shr::INDEXED_8) continue;
        Bytes destination(64, 0xA5);
        ConvertPixelsToColorTable({destination.data(), static_cast<ColorFormat>(format), 16}, 256,
                                  {source.data(), shr::BGRA_32, 16}, 0, 4, 4, TargetOf(shr::INDEXED_8).matcher);
        EXPECT_EQ(destination, Bytes(64, 0xA5)) << format;
    }
}

TEST(ConvertPixelsToColorTable, WritesNothingFromSourcesThatItDoesNotKnow) {
    const Bytes source = RandomBytes(64, 1);
    for (const ColorFormat dstFormat : kIndexed)
        for (const int format : {-1, 0, 1, 2, 13, 14, 99}) {
            Bytes destination(64, 0xA5);
            ConvertPixelsToColorTable({destination.data(), dstFormat, 16}, 256,
                                      {source.data(), static_cast<ColorFormat>(format), 16}, 0, 4, 4,
                                      TargetOf(dstFormat).matcher);
            EXPECT_EQ(destination, Bytes(64, 0xA5)) << format;
        }
}

TEST(ConvertPixelsToColorTable, WritesNothingForAnEmptyRectangle) {
    Bytes bytes(16, 0x5A);
    const ConstPixelRows source{bytes.data(), shr::BGRA_32, 4};
    const ColorTableMatcher& matcher = TargetOf(shr::INDEXED_1).matcher;
    ConvertPixelsToColorTable({bytes.data(), shr::INDEXED_1, 4}, 2, source, 0, 0, 3, matcher);
    ConvertPixelsToColorTable({bytes.data(), shr::INDEXED_1, 4}, 2, source, 0, 3, 0, matcher);
    EXPECT_EQ(bytes, Bytes(16, 0x5A));
}

// Cases worked by hand.

constexpr Color4b kFour[] = {{0, 0, 0}, {255, 0, 0}, {0, 255, 0}, {0, 0, 255}};

TEST(ConvertPixelsToColorTable, PutsTheFirstPixelIntoTheHighNibbleAndKeepsTheLastLowOne) {
    const ColorTableMatcher matcher(kFour, 4);
    const std::uint8_t bgr[] = {0, 0, 255, 255, 0, 0, 0, 255, 0};  // red, blue, green
    std::uint8_t row[] = {0xFF, 0xFF, 0xFF};
    ConvertPixelsToColorTable({row, shr::INDEXED_4, 4}, 4, {bgr, shr::BGR_24, 12}, 0, 3, 1, matcher);
    EXPECT_EQ(row[0], 0x13);
    EXPECT_EQ(row[1], 0x2F);
    EXPECT_EQ(row[2], 0xFF);
}

TEST(ConvertPixelsToColorTable, SetsABitForEveryIndexButZero) {
    const ColorTableMatcher matcher(kFour, 4);
    const std::uint8_t rgba[] = {0, 0, 0, 255, 255, 0, 0, 0, 0, 255, 0, 9, 0, 0, 255, 255, 1, 1, 1, 255};
    std::uint8_t row[] = {0x07, 0xFF};
    ConvertPixelsToColorTable({row, shr::INDEXED_1, 4}, 2, {rgba, shr::RGBA_32, 20}, 0, 5, 1, matcher);
    EXPECT_EQ(row[0], 0x77);
    EXPECT_EQ(row[1], 0xFF);
}

TEST(ConvertPixelsToColorTable, KeepsIndicesTooLargeForANibbleOutOfTheirNeighbors) {
    Colors table(256, Color4b(0, 0, 0));
    table[0xAB] = {255, 255, 255};
    table[0xCD] = {255, 0, 0};
    const ColorTableMatcher matcher(table.data(), 256);
    const std::uint8_t bgra[] = {0, 0, 255, 255, 255, 255, 255, 255};
    std::uint8_t row[] = {0};
    ConvertPixelsToColorTable({row, shr::INDEXED_4, 4}, 256, {bgra, shr::BGRA_32, 8}, 0, 2, 1, matcher);
    EXPECT_EQ(row[0], 0xDB);
}

TEST(ConvertPixelsToColorTable, TakesTheHighestByteOfWideGrays) {
    Colors table;
    for (int i = 0; i < 256; ++i) table.push_back(shr::GRAYSCALE_8_Color4bTable[255 - i]);
    const ColorTableMatcher matcher(table.data(), 256);
    const std::uint8_t bytes[] = {0x01, 0x02, 0x03, 0x04};
    std::uint8_t index[4] = {};
    ConvertPixelsToColorTable({index, shr::INDEXED_8, 4}, 256, {bytes, shr::GRAYSCALE_8, 4}, 0, 4, 1, matcher);
    EXPECT_EQ(Bytes(index, index + 4), (Bytes{0xFE, 0xFD, 0xFC, 0xFB}));
    ConvertPixelsToColorTable({index, shr::INDEXED_8, 4}, 256, {bytes, shr::GRAYSCALE_16, 4}, 0, 2, 1, matcher);
    EXPECT_EQ(Bytes(index, index + 2), (Bytes{0xFD, 0xFB}));
    ConvertPixelsToColorTable({index, shr::INDEXED_8, 4}, 256, {bytes, shr::GRAYSCALE_32, 4}, 0, 1, 1, matcher);
    EXPECT_EQ(index[0], 0xFB);
}

TEST(ConvertPixelsToColorTable, TakesNoAccountOfTheFourthByte) {
    const ColorTableMatcher matcher(kFour, 4);
    for (const ColorFormat format : {shr::BGRA_32, shr::BGRX_32, shr::RGBA_32})
        for (int alpha = 0; alpha < 256; ++alpha) {
            const std::uint8_t green[] = {0, 255, 0, static_cast<std::uint8_t>(alpha)};
            std::uint8_t index = 0;
            ConvertPixelsToColorTable({&index, shr::INDEXED_8, 4}, 256, {green, format, 4}, 0, 1, 1, matcher);
            ASSERT_EQ(index, 2);
        }
}

TEST(ConvertPixelsToColorTable, AgreesWithTheMatcherForEveryColorOfACrowdedTable) {
    // 256 colours in eight cells: neighbours that only an exact match tells apart.
    Colors table;
    for (int i = 0; i < 256; ++i)
        table.push_back({static_cast<std::uint8_t>(100 + i % 8), static_cast<std::uint8_t>(100 + i / 8 % 8),
                         static_cast<std::uint8_t>(100 + i / 64)});
    const ColorTableMatcher matcher(table.data(), 256);
    Bytes source, plain;
    for (int red = 94; red < 112; ++red)
        for (int green = 94; green < 112; ++green)
            for (int blue = 94; blue < 112; ++blue) {
                const Color4b color(static_cast<std::uint8_t>(red), static_cast<std::uint8_t>(green),
                                    static_cast<std::uint8_t>(blue));
                source.insert(source.end(), {color.blue, color.green, color.red, 255});
                plain.push_back(matcher.MatchExactOrApproximate(color));
            }
    const auto count = static_cast<std::uint32_t>(plain.size());
    for (const cpu::Level level : testkit::LevelsHere()) {
        ASSERT_TRUE(UseKernels(level));
        Bytes indices(count);
        ConvertPixelsToColorTable({indices.data(), shr::INDEXED_8, 0}, 256, {source.data(), shr::BGRA_32, 0}, 0, count,
                                  1, matcher);
        EXPECT_EQ(indices, plain) << testkit::NameOf(level);
    }
    UseKernels(cpu::Choose());
}

}  // namespace
}  // namespace zbm
