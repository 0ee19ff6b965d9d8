#include "palette/GreyPalette.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "palette/ColorRefinement.h"
#include "support/pixfilter/ColorPoints.h"

namespace zpixf {
namespace {

ColorPoint GreyPoint(unsigned level, std::uint64_t count) {
    const auto byte = static_cast<std::uint8_t>(level);
    return PointOf({byte, byte, byte}, count);
}

double ErrorOf(const std::vector<ColorPoint>& palette, const std::vector<ColorPoint>& points) {
    PointMap map(points);
    map.Map(palette);
    return map.TotalError();
}

/// The least error of all palettes of three greys, tried one by one.
double LeastErrorOfThree(const std::vector<ColorPoint>& points, unsigned levels) {
    double least = std::numeric_limits<double>::infinity();
    for (unsigned a = 0; a < levels; ++a)
        for (unsigned b = a + 1; b < levels; ++b)
            for (unsigned c = b + 1; c < levels; ++c)
                least = std::min(least, ErrorOf({GreyPoint(a, 1), GreyPoint(b, 1), GreyPoint(c, 1)}, points));
    return least;
}

TEST(BestGreys, HaveTheLeastErrorOfAllPalettes) {
    constexpr unsigned kLevels = 24;
    std::mt19937 random(5);
    for (unsigned round = 0; round < 8; ++round) {
        std::vector<ColorPoint> points;
        for (unsigned level = 0; level < kLevels; ++level)
            if (random() % 3 != 0) points.push_back(GreyPoint(level, 1 + random() % 100));
        EXPECT_EQ(ErrorOf(BestGreys(points, 3), points), LeastErrorOfThree(points, kLevels));
    }
}

TEST(BestGreys, ComeFromDarkToLightWhateverTheOrderOfThePoints) {
    const std::vector<ColorPoint> points = {GreyPoint(200, 5), GreyPoint(3, 1), GreyPoint(100, 9), GreyPoint(1, 3),
                                            GreyPoint(101, 1)};
    EXPECT_EQ(BluesOf(BestGreys(points, 3)), (std::vector<std::uint8_t>{2, 100, 200}));
}

TEST(BestGreys, AreAsManyAsAskedForAndNoTwoAlike) {
    std::vector<ColorPoint> points;
    for (unsigned level = 0; level < 256; ++level) points.push_back(GreyPoint(level, 1 + level * level));
    for (const std::size_t count : {1u, 2u, 100u, 255u, 256u}) {
        const std::vector<std::uint8_t> levels = BluesOf(BestGreys(points, count));
        EXPECT_EQ(levels.size(), count);
        for (std::size_t i = 1; i < count; ++i) EXPECT_LT(levels[i - 1], levels[i]);
    }
}

TEST(AreGreys, TellsWhetherAnyPointHasAColor) {
    EXPECT_TRUE(AreGreys({GreyPoint(3, 2), GreyPoint(255, 1)}));
    EXPECT_FALSE(AreGreys({GreyPoint(3, 2), PointOf({7, 8, 7}), GreyPoint(255, 1)}));
    EXPECT_FALSE(AreGreys({PointOf({7, 7, 8})}));
}

}  // namespace
}  // namespace zpixf
