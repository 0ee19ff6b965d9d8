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

TEST(MergeInPairs, UnitesWhatLosesLeast) {
    EXPECT_EQ(BluesOf(MergeInPairs(BluePoints({0, 10, 13, 30}), 3)), (Levels{0, 12, 30}));
    EXPECT_EQ(BluesOf(MergeInPairs(BluePoints({0, 10, 13, 30}), 2)), (Levels{8, 30}));
}

TEST(MergeInPairs, UnitesPointsOfFewPixelsRatherThanOfMany) {
    const std::vector<ColorPoint> points = {PointOf({0, 0, 0}, 1000), PointOf({10, 0, 0}, 1000), PointOf({35, 0, 0}),
                                            PointOf({60, 0, 0})};
    EXPECT_EQ(BluesOf(MergeInPairs(points, 3)), (Levels{0, 10, 48}));
}

TEST(MergeInPairs, KeepsEveryPixelAndAsManyPointsAsAskedFor) {
    std::vector<ColorPoint> points;
    for (std::uint8_t i = 0; i < 100; ++i)
        points.push_back(PointOf({i, static_cast<std::uint8_t>(i * 7), static_cast<std::uint8_t>(i * i)}, i + 1u));
    for (const std::size_t count : {1u, 17u, 99u, 100u, 200u}) {
        const std::vector<ColorPoint> merged = MergeInPairs(points, count);
        EXPECT_EQ(merged.size(), std::min<std::size_t>(count, 100));
        std::uint64_t weight = 0, blues = 0;
        for (const ColorPoint& point : merged) {
            weight += point.weight;
            blues += point.sum[0];
        }
        EXPECT_EQ(weight, 5050u);
        EXPECT_EQ(blues, 333300u);
    }
}

/// After each union the least loss of all pairs, sought anew.
std::vector<ColorPoint> MergedByTrial(std::vector<ColorPoint> points, std::size_t count) {
    while (points.size() > count) {
        std::size_t kept = 0, gone = 1;
        for (std::size_t i = 0; i < points.size(); ++i)
            for (std::size_t j = i + 1; j < points.size(); ++j)
                if (Gain(points[i], points[j]) < Gain(points[kept], points[gone])) kept = i, gone = j;
        Add(points[kept], points[gone]);
        SetMean(points[kept]);
        points.erase(points.begin() + static_cast<std::ptrdiff_t>(gone));
    }
    return points;
}

TEST(MergeInPairs, IsRightAfterEveryUnion) {
    std::vector<ColorPoint> points;
    for (unsigned i = 0; i < 90; ++i)
        points.push_back(PointOf({static_cast<std::uint8_t>(i * 83 % 251), static_cast<std::uint8_t>(i * i % 241),
                                  static_cast<std::uint8_t>(i * 57 % 239)},
                                 1 + i * 31 % 17));
    for (const std::size_t count : {60u, 20u, 5u}) {
        const std::vector<ColorPoint> merged = MergeInPairs(points, count), expected = MergedByTrial(points, count);
        ASSERT_EQ(merged.size(), expected.size());
        for (std::size_t i = 0; i < merged.size(); ++i) {
            EXPECT_EQ(merged[i].weight, expected[i].weight);
            EXPECT_EQ(merged[i].sum[1], expected[i].sum[1]);
            EXPECT_EQ(merged[i].mean[2], expected[i].mean[2]);
        }
    }
}

}  // namespace
}  // namespace zpixf
