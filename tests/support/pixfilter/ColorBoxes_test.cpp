#include "palette/ColorBoxes.h"

#include <gtest/gtest.h>

#include "support/pixfilter/ColorPoints.h"

namespace zpixf {
namespace {

using Levels = std::vector<std::uint8_t>;

class EveryCutRule : public testing::TestWithParam<CutRule> {};

TEST_P(EveryCutRule, GivesAsManyBoxesAsAskedFor) {
    for (std::size_t count = 1; count <= 5; ++count) {
        std::vector<ColorPoint> points = BluePoints({1, 2, 3, 100, 200});
        EXPECT_EQ(CutIntoBoxes(points, count, GetParam()).size(), count);
    }
}

TEST_P(EveryCutRule, GivesABoxAPointWhereThereAreNoMore) {
    std::vector<ColorPoint> points = {PointOf({1, 2, 3}, 5), PointOf({9, 9, 9}, 1)};
    EXPECT_EQ(CutIntoBoxes(points, 3, GetParam()).size(), 2u);
    std::vector<ColorPoint> single = {PointOf({1, 2, 3}, 5)};
    EXPECT_EQ(CutIntoBoxes(single, 256, GetParam()).size(), 1u);
}

TEST_P(EveryCutRule, KeepsEveryPixelInOneBox) {
    std::vector<ColorPoint> points;
    for (std::uint8_t i = 0; i < 100; ++i)
        points.push_back(PointOf({i, static_cast<std::uint8_t>(i * 7), static_cast<std::uint8_t>(i * i)}, i + 1u));
    std::uint64_t weight = 0, greens = 0;
    for (const ColorPoint& box : CutIntoBoxes(points, 17, GetParam())) {
        weight += box.weight;
        greens += box.sum[1];
    }
    std::uint64_t expectedGreens = 0;
    for (std::uint64_t i = 0; i < 100; ++i) expectedGreens += (i * 7 % 256) * (i + 1);
    EXPECT_EQ(weight, 5050u);
    EXPECT_EQ(greens, expectedGreens);
}

INSTANTIATE_TEST_SUITE_P(Rules, EveryCutRule, testing::Values(CutRule::median, CutRule::variance),
                         [](const auto& rule) { return rule.param == CutRule::median ? "Median" : "Variance"; });

/// The means along an edge of the cube, box by box.
Levels Cut(std::vector<ColorPoint> points, std::size_t count, CutRule rule) {
    return BluesOf(CutIntoBoxes(points, count, rule));
}

TEST(CutIntoBoxes, AtTheMedianHasAboutAsManyPixelsOnBothSides) {
    EXPECT_EQ(Cut(BluePoints({0, 1, 2, 250}), 2, CutRule::median), (Levels{1, 126}));  // halves up
    const std::vector<ColorPoint> heavy = {PointOf({0, 0, 0}, 2), PointOf({10, 0, 0}, 100), PointOf({20, 0, 0}, 2)};
    EXPECT_EQ(Cut(heavy, 2, CutRule::median), (Levels{0, 10}));
}

TEST(CutIntoBoxes, AtTheMedianLeavesTheGreatestValueAboveHoweverHeavyItIs) {
    const std::vector<ColorPoint> heavy = {PointOf({0, 0, 0}), PointOf({10, 0, 0}), PointOf({20, 0, 0}, 1000)};
    EXPECT_EQ(Cut(heavy, 2, CutRule::median), (Levels{5, 20}));
}

TEST(CutIntoBoxes, ByVarianceCutsWhereTheColorsLieFarthestApart) {
    EXPECT_EQ(Cut(BluePoints({0, 1, 2, 250}), 2, CutRule::variance), (Levels{1, 250}));
}

TEST(CutIntoBoxes, PutsTheUpperPartOfABoxAtTheEnd) {
    EXPECT_EQ(Cut(BluePoints({0, 10, 100, 110}), 4, CutRule::variance), (Levels{0, 100, 10, 110}));
}

TEST(CutInTwo, GivesWhatTheCutOfLeastVarianceLeavesOnItsSides) {
    std::vector<ColorPoint> points = {PointOf({250, 0, 0}), PointOf({0, 0, 0}, 3), PointOf({2, 0, 0})};
    const TwoParts parts = CutInTwo(points.data(), points.data() + points.size());
    EXPECT_EQ(parts.lower.weight, 4u);
    EXPECT_EQ(parts.lower.sum[0], 2u);
    EXPECT_EQ(parts.upper.weight, 1u);
    EXPECT_EQ(parts.upper.sum[0], 250u);
    EXPECT_DOUBLE_EQ(parts.gain, 249.5 * 249.5 * 4 / 5);
}

TEST(CutInTwo, HasNothingToGainOfLessThanTwoPoints) {
    std::vector<ColorPoint> points = {PointOf({250, 0, 0}, 9)};
    EXPECT_EQ(CutInTwo(points.data(), points.data() + 1).gain, 0);
    EXPECT_EQ(CutInTwo(points.data(), points.data()).gain, 0);
}

}  // namespace
}  // namespace zpixf
