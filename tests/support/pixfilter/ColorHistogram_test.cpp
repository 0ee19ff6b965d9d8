#include "palette/ColorHistogram.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <random>
#include <vector>

namespace zpixf {
namespace {

using Pixel = std::array<std::uint8_t, 4>;
using Picture = std::vector<Pixel>;

void AddInRows(ColorHistogram& histogram, const Picture& picture, std::size_t width) {
    for (std::size_t x = 0; x < picture.size(); x += width)
        histogram.AddRow(picture[x].data(), std::min(width, picture.size() - x));
}

/// What the visible pixels' colours come to in cells of `bits` a channel, counted one by one.
using Cells = std::map<std::array<unsigned, 3>, ColorPoint>;
Cells CellsOf(const Picture& picture, unsigned bits) {
    Cells cells;
    for (const Pixel& pixel : picture) {
        if (pixel[3] == 0) continue;
        std::array<unsigned, 3> key;
        for (unsigned c = 0; c < 3; ++c) key[c] = static_cast<unsigned>(pixel[c]) >> (8 - bits);
        ColorPoint& point = cells[key];
        ++point.weight;
        for (unsigned c = 0; c < 3; ++c) point.sum[c] += pixel[c];
    }
    return cells;
}

void ExpectPoints(const std::vector<ColorPoint>& points, const Cells& expected, unsigned bits) {
    ASSERT_EQ(points.size(), expected.size());
    for (const ColorPoint& point : points) {
        std::array<unsigned, 3> key;
        for (unsigned c = 0; c < 3; ++c) key[c] = static_cast<unsigned>(point.mean[c]) >> (8 - bits);
        const auto found = expected.find(key);
        ASSERT_NE(found, expected.end());
        EXPECT_EQ(point.weight, found->second.weight);
        for (unsigned c = 0; c < 3; ++c) {
            EXPECT_EQ(point.sum[c], found->second.sum[c]);
            EXPECT_EQ(point.mean[c], (2 * point.sum[c] + point.weight) / (2 * point.weight));
        }
    }
}

Pixel Noise(std::mt19937& random) {
    const auto bits = random();
    return {static_cast<std::uint8_t>(bits), static_cast<std::uint8_t>(bits >> 8),
            static_cast<std::uint8_t>(bits >> 16), 255};
}

Picture NoisePicture(std::size_t count) {
    std::mt19937 random(11);
    Picture picture;
    for (std::size_t i = 0; i < count; ++i) picture.push_back(Noise(random));
    return picture;
}

TEST(ColorHistogram, CountsEachOfFewColors) {
    Picture picture = NoisePicture(9000);
    for (std::size_t i = 0; i < 5000; ++i) picture.push_back(picture[i / 3]);
    ColorHistogram histogram;
    AddInRows(histogram, picture, 100);
    EXPECT_TRUE(histogram.HasAllColors());
    ExpectPoints(histogram.Points(), CellsOf(picture, 8), 8);
}

TEST(ColorHistogram, CountsEachOf16384ColorsAndCellsFromOneMoreOn) {
    Picture picture;
    for (unsigned i = 0; i < 1u << 14; ++i)
        picture.push_back({static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(i >> 8), 0, 255});
    ColorHistogram histogram;
    AddInRows(histogram, picture, 1000);
    EXPECT_TRUE(histogram.HasAllColors());
    ExpectPoints(histogram.Points(), CellsOf(picture, 8), 8);
    picture.push_back({0, 0, 1, 255});
    histogram.AddRow(picture.back().data(), 1);
    EXPECT_FALSE(histogram.HasAllColors());
    ExpectPoints(histogram.Points(), CellsOf(picture, 6), 6);
}

TEST(ColorHistogram, SumsTheFullColorsOfCellsWhenThereAreMany) {
    const Picture picture = NoisePicture(60000);
    ColorHistogram histogram;
    AddInRows(histogram, picture, 777);
    EXPECT_FALSE(histogram.HasAllColors());
    ExpectPoints(histogram.Points(), CellsOf(picture, 6), 6);
}

TEST(ColorHistogram, KeepsCountingInACellThatIsFull) {
    // As many as a count of 16 bits holds, one more, and some times as many, in one row.
    for (const std::size_t count : {65534u, 65535u, 65536u, 131070u, 131071u, 250000u}) {
        Picture picture = NoisePicture(20000);
        picture.insert(picture.end(), count, Pixel{255, 3, 127, 255});
        ColorHistogram histogram;
        AddInRows(histogram, picture, picture.size());
        EXPECT_FALSE(histogram.HasAllColors());
        ExpectPoints(histogram.Points(), CellsOf(picture, 6), 6);
        ExpectPoints(histogram.FinestPoints(), CellsOf(picture, 8), 8);
    }
}

TEST(ColorHistogram, TurnsFromColorsToCellsWithoutLosingAPixel) {
    // The change happens within a row, after colours of many pixels.
    for (const std::size_t count : {65535u, 65536u, 131070u, 131071u, 200000u}) {
        Picture picture(count, Pixel{200, 201, 203, 255});
        const Picture noise = NoisePicture(30000);
        picture.insert(picture.end(), noise.begin(), noise.end());
        picture.insert(picture.end(), 3, Pixel{200, 201, 203, 255});
        ColorHistogram histogram;
        AddInRows(histogram, picture, picture.size());
        ExpectPoints(histogram.Points(), CellsOf(picture, 6), 6);
        ExpectPoints(histogram.FinestPoints(), CellsOf(picture, 8), 8);
    }
}

TEST(ColorHistogram, LeavesOutTransparentPixelsInBothForms) {
    for (const std::size_t count : {5000u, 60000u}) {
        Picture picture = NoisePicture(count);
        for (std::size_t i = 0; i < count; i += 3) picture[i][3] = 0;
        for (std::size_t i = 1; i < count; i += 3) picture[i][3] = 1;
        ColorHistogram histogram;
        AddInRows(histogram, picture, 500);
        EXPECT_EQ(histogram.HasAllColors(), count == 5000u);
        ExpectPoints(histogram.Points(), CellsOf(picture, count == 5000u ? 8 : 6), count == 5000u ? 8 : 6);
    }
}

TEST(ColorHistogram, ForgetsTransparentPixelsAtTheFirstVisibleOne) {
    for (const std::size_t count : {5000u, 60000u}) {
        Picture picture = NoisePicture(count);
        for (Pixel& pixel : picture) pixel[3] = 0;
        picture.back() = {9, 8, 7, 200};
        ColorHistogram histogram;
        AddInRows(histogram, picture, 500);
        const std::vector<ColorPoint> points = histogram.Points();
        ASSERT_EQ(points.size(), 1u);
        EXPECT_EQ(points[0].weight, 1u);
        EXPECT_EQ(points[0].mean[0], 9);
    }
}

TEST(ColorHistogram, CountsTransparentPixelsWhereThereAreNoOthers) {
    for (const std::size_t count : {5000u, 60000u}) {
        Picture picture = NoisePicture(count);
        for (Pixel& pixel : picture) pixel[3] = 0;
        ColorHistogram histogram;
        AddInRows(histogram, picture, 500);
        for (Pixel& pixel : picture) pixel[3] = 255;
        const unsigned bits = count == 5000u ? 8 : 6;
        ExpectPoints(histogram.Points(), CellsOf(picture, bits), bits);
    }
}

TEST(ColorHistogram, HasNoPointsWithoutPixels) {
    ColorHistogram histogram;
    const Pixel none{};
    histogram.AddRow(none.data(), 0);
    EXPECT_TRUE(histogram.Points().empty());
}

TEST(ColorHistogram, HoldsMoreThan256PointsWhenItDoesNotHoldAllColors) {
    // The colours lie as close together as they can.
    ColorHistogram histogram;
    Picture picture;
    for (unsigned b = 0; b < 26; ++b)
        for (unsigned g = 0; g < 26; ++g)
            for (unsigned r = 0; r < 26; ++r)
                picture.push_back(
                    {static_cast<std::uint8_t>(b), static_cast<std::uint8_t>(g), static_cast<std::uint8_t>(r), 255});
    AddInRows(histogram, picture, 26);
    EXPECT_FALSE(histogram.HasAllColors());
    EXPECT_GT(histogram.Points().size(), 256u);
}

/// The first `count` of 2^20 colours that lie in cells of 8 colours each.
Picture PictureOfColors(unsigned count) {
    Picture picture;
    for (unsigned i = 0; i < count; ++i)
        picture.push_back({static_cast<std::uint8_t>((i & 1) | (i >> 3 & 63) << 1),
                           static_cast<std::uint8_t>((i >> 1 & 1) | (i >> 9 & 63) << 1),
                           static_cast<std::uint8_t>((i >> 2 & 1) | (i >> 15 & 63) << 1), 255});
    return picture;
}

TEST(ColorHistogram, HasItsFinestPointsAsFineAsThereIsRoomFor) {
    const struct {
        unsigned count, bits;
    } cases[] = {{1000, 8},           {1u << 14, 8}, {20000, 8},         {1u << 18, 8},
                 {(1u << 18) + 1, 7}, {1u << 19, 7}, {(1u << 19) + 1, 6}};
    for (const auto& [count, bits] : cases) {
        const Picture picture = PictureOfColors(count);
        ColorHistogram histogram;
        AddInRows(histogram, picture, 4096);
        SCOPED_TRACE(count);
        ExpectPoints(histogram.FinestPoints(), CellsOf(picture, bits), bits);
    }
}

TEST(ColorHistogram, ForgetsTheTransparentColorsOfManyToo) {
    Picture picture = NoisePicture(300000);
    for (Pixel& pixel : picture) pixel[3] = 0;
    picture.push_back({1, 2, 3, 255});
    const Picture visible = NoisePicture(20000);
    picture.insert(picture.end(), visible.begin(), visible.end());
    ColorHistogram histogram;
    AddInRows(histogram, picture, 1000);
    ExpectPoints(histogram.FinestPoints(), CellsOf(picture, 8), 8);
}

TEST(ColorHistogram, TellsWhetherThereAreAtMostSoManyColors) {
    ColorHistogram histogram;
    EXPECT_TRUE(histogram.HasAtMost(0));
    AddInRows(histogram, PictureOfColors(20), 5);
    EXPECT_FALSE(histogram.HasAtMost(19));
    EXPECT_TRUE(histogram.HasAtMost(20));
    AddInRows(histogram, PictureOfColors(20000), 500);
    EXPECT_FALSE(histogram.HasAtMost(256));
}

TEST(Merge, PutsTogetherWhatLiesInACell) {
    const Picture picture = NoisePicture(40000);
    ColorHistogram histogram;
    AddInRows(histogram, picture, 400);
    for (unsigned bits = 1; bits <= 5; ++bits)
        ExpectPoints(Merge(histogram.Points(), bits), CellsOf(picture, bits), bits);
}

}  // namespace
}  // namespace zpixf
