#include "convert/ConvertEveryPair.h"

#include <gtest/gtest.h>

#include "convert/PlainMatcher.h"
#include "convert/Reference.h"
#include "support_code/Pixels.h"
#include "zbm/ColorTableMatcher.h"

namespace zbm {
namespace {

using shr::Color4b;
using shr::ColorFormat;
using testkit::Colors;
using testkit::kFormats;

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t kWidths[] = {1, 2, 7, 8, 9, 33, 67, 2047, 2048, 2049, 5000};
constexpr std::uint32_t kHeight = 3;

/// Pixels without padding between the rows; valid ones also of PBGRA_32.
Bytes SourcePixels(ColorFormat format, std::uint32_t width) {
    std::mt19937 random(width);
    Bytes pixels(shr::PixelBytes(width, format) * kHeight);
    for (auto& byte : pixels) byte = static_cast<std::uint8_t>(random());
    if (format == shr::PBGRA_32)
        for (std::size_t i = 0; i < pixels.size(); ++i)
            pixels[i] = i % 4 == 3 ? pixels[i] : std::min(pixels[i], pixels[i | 3]);
    return pixels;
}

int StepOf(ColorFormat format, std::uint32_t width) { return static_cast<int>(shr::PixelBytes(width, format)); }

TEST(ConvertEveryPair, ConvertsEveryPairThatNeedsNoQuantizer) {
    const Colors srcTable = testkit::RandomTable(256, 5);
    for (const ColorFormat srcFormat : kFormats)
        for (const ColorFormat dstFormat : kFormats) {
            if (reference::Quantizes(dstFormat, srcFormat)) continue;
            for (const std::uint32_t width : kWidths) {
                const Bytes source = SourcePixels(srcFormat, width);
                Bytes converted(shr::PixelBytes(width, dstFormat) * kHeight, 0xC3), plain = converted;
                Colors colors(256), plainColors(256);
                const ConstPixelRows from{source.data(), srcFormat, StepOf(srcFormat, width), srcTable.data()};
                ConvertEveryPair({converted.data(), dstFormat, StepOf(dstFormat, width), colors.data()}, from, width,
                                 kHeight);
                const PixelRows to{plain.data(), dstFormat, StepOf(dstFormat, width), plainColors.data()};
                if (srcFormat == shr::RGBA_32 && dstFormat == shr::BGRX_32) {
                    for (std::size_t i = 0; i < plain.size(); i += 4) {
                        for (std::size_t k = 0; k < 3; ++k) plain[i + k] = source[i + 2 - k];
                        plain[i + 3] = 0;
                    }
                } else {
                    reference::ConvertPixels(to, from, width, kHeight);
                }
                ASSERT_EQ(converted, plain) << testkit::FormatName(srcFormat) << " to "
                                            << testkit::FormatName(dstFormat) << ", width " << width;
                ASSERT_EQ(colors, plainColors);
            }
        }
}

TEST(ConvertEveryPair, HandsTheQuantizerToTheConverter) {
    const Bytes source = SourcePixels(shr::BGRA_32, 64);
    Bytes indices(64 * kHeight, 0xC3);
    Colors colors(256);
    ConvertEveryPair({indices.data(), shr::INDEXED_8, 64, colors.data()}, {source.data(), shr::BGRA_32, 256}, 64,
                     kHeight, zpixf::ZPixfType::Null);
    EXPECT_EQ(indices, Bytes(64 * kHeight, 0xC3));  // it is none: no pixels
    ConvertEveryPair({indices.data(), shr::INDEXED_8, 64, colors.data()}, {source.data(), shr::BGRA_32, 256}, 64,
                     kHeight);
    EXPECT_NE(indices, Bytes(64 * kHeight, 0xC3));
}

TEST(ConvertEveryPairToColorTable, MatchesThePixelsOfEverySource) {
    const Colors srcTable = testkit::RandomTable(256, 6);
    for (const ColorFormat dstFormat : {shr::INDEXED_1, shr::INDEXED_4, shr::INDEXED_8}) {
        const auto dstColors = static_cast<std::uint32_t>(testkit::TableSize(dstFormat));
        const Colors table = testkit::RandomTable(dstColors, 7);
        const ColorTableMatcher matcher(table.data(), dstColors);
        for (const ColorFormat srcFormat : kFormats)
            for (const std::uint32_t width : kWidths) {
                const Bytes source = SourcePixels(srcFormat, width);
                Bytes converted(shr::PixelBytes(width, dstFormat) * kHeight, 0xC3), plain = converted;
                const int step = StepOf(dstFormat, width), srcStep = StepOf(srcFormat, width);
                ConvertEveryPairToColorTable({converted.data(), dstFormat, step}, dstColors,
                                             {source.data(), srcFormat, srcStep, srcTable.data()}, 256, width, kHeight,
                                             matcher);
                for (std::uint32_t y = 0; y < kHeight; ++y)
                    for (std::uint32_t x = 0; x < width; ++x) {
                        const std::uint32_t value =
                            reference::ReadPixel(source.data() + y * static_cast<std::size_t>(srcStep), srcFormat, x);
                        const unsigned index =
                            matcher.MatchExactOrApproximate(reference::ColorOf(value, srcFormat, srcTable.data()));
                        reference::WritePixel(plain.data() + y * static_cast<std::size_t>(step), dstFormat, x,
                                              dstFormat == shr::INDEXED_1 ? index != 0 : index);
                    }
                ASSERT_EQ(converted, plain) << testkit::FormatName(srcFormat) << " to "
                                            << testkit::FormatName(dstFormat) << ", width " << width;
            }
    }
}

TEST(ConvertEveryPairToColorTable, WritesOnlyIndexedDestinations) {
    const Color4b table[] = {{0, 0, 0}, {255, 255, 255}};
    const ColorTableMatcher matcher(table, 2);
    const Bytes source(16, 0xFF);
    for (const ColorFormat srcFormat : {shr::GRAYSCALE_1, shr::GRAYSCALE_4, shr::PBGRA_32, shr::BGRA_32}) {
        Bytes destination(16, 0xC3);
        ConvertEveryPairToColorTable({destination.data(), shr::BGRA_32, 16}, 2, {source.data(), srcFormat, 16}, 0, 4, 1,
                                     matcher);
        EXPECT_EQ(destination, Bytes(16, 0xC3));
    }
}

}  // namespace
}  // namespace zbm
