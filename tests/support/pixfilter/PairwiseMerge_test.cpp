#include "palette/PairwiseMerge.h"

#include <gtest/gtest.h>

#include "support/pixfilter/ColorPoints.h"

namespace zpixf {
namespace {

using Levels = std::vector<std::uint8_t>;

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

double Loss(const ColorPoint& a, const ColorPoint& b) {
    double square = 0;
    for (unsigned c = 0; c < 3; ++c) {
        const double apart = double(a.sum[c]) / double(a.weight) - double(b.sum[c]) / double(b.weight);
        square += apart * apart;
    }
    return square * (double(a.weight) * double(b.weight) / double(a.weight + b.weight));
}

/// After each union the least loss of all pairs, sought anew.
std::vector<ColorPoint> MergedByTrial(std::vector<ColorPoint> points, std::size_t count) {
    while (points.size() > count) {
        std::size_t kept = 0, gone = 1;
        for (std::size_t i = 0; i < points.size(); ++i)
            for (std::size_t j = i + 1; j < points.size(); ++j)
                if (Loss(points[i], points[j]) < Loss(points[kept], points[gone])) kept = i, gone = j;
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
