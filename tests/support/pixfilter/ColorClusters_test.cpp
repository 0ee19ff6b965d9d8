#include "palette/ColorClusters.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "support/pixfilter/ColorPoints.h"

namespace zpixf {
namespace {

FineColor Fine(std::int32_t blue, std::int32_t green = 0, std::int32_t red = 0) {
    return {kFine * blue, kFine * green, kFine * red};
}

std::vector<ColorPoint> RandomPoints(std::size_t count) {
    std::mt19937 random(3);
    std::vector<ColorPoint> points;
    for (std::size_t i = 0; i < count; ++i) {
        const auto bits = random();
        points.push_back(PointOf({static_cast<std::uint8_t>(bits), static_cast<std::uint8_t>(bits >> 8 & 63),
                                  static_cast<std::uint8_t>(bits >> 16 & 127)},
                                 1 + (bits >> 24)));
    }
    return points;
}

double ErrorByTrial(const std::vector<ColorPoint>& points, const std::vector<FineColor>& centers) {
    double sum = 0;
    for (const ColorPoint& point : points) {
        const FineColor mean = FineMean(point);
        double least = std::numeric_limits<double>::infinity();
        for (const FineColor& center : centers) {
            double distance = 0;
            for (unsigned c = 0; c < 3; ++c) distance += (mean[c] - center[c]) * (mean[c] - center[c]);
            least = std::min(least, distance);
        }
        sum += static_cast<double>(point.weight) * least;
    }
    return sum;
}

std::vector<FineColor> FirstMeans(const std::vector<ColorPoint>& points, std::size_t count) {
    std::vector<FineColor> means;
    for (std::size_t i = 0; i < count; ++i) means.push_back(FineMean(points[i]));
    return means;
}

TEST(FineMean, IsInSixteenthsHalvesUp) {
    ColorPoint point = PointOf({10, 0, 255}, 31);
    EXPECT_EQ(FineMean(point), (FineColor{160, 0, 4080}));
    Add(point, PointOf({11, 1, 255}));
    EXPECT_EQ(FineMean(point), (FineColor{161, 1, 4080}));
}

TEST(ColorClusters, HoldEveryPointAtItsNearestCenter) {
    const std::vector<ColorPoint> points = RandomPoints(3000);
    for (const std::size_t count : {1u, 2u, 7u, 256u}) {
        ColorClusters clusters(points);
        clusters.SetCenters(FirstMeans(points, count));
        EXPECT_EQ(clusters.Error(), ErrorByTrial(points, clusters.Centers()));
    }
}

TEST(ColorClusters, HoldEveryPointAtItsNearestCenterAfterTheseMoved) {
    const std::vector<ColorPoint> points = RandomPoints(3000);
    ColorClusters clusters(points);
    clusters.SetCenters(FirstMeans(points, 100));
    for (unsigned round = 0; round < 5; ++round) {
        const double before = clusters.Error();
        clusters.Settle(1);
        EXPECT_LT(clusters.Error(), before);
        EXPECT_EQ(clusters.Error(), ErrorByTrial(points, clusters.Centers()));
    }
}

TEST(ColorClusters, SettleAtTheMeansOfTheirPoints) {
    const std::vector<ColorPoint> points = {PointOf({0, 0, 0}, 3), PointOf({8, 0, 0}), PointOf({100, 9, 0}),
                                            PointOf({101, 10, 0})};
    ColorClusters clusters(points);
    clusters.SetCenters({Fine(0), Fine(100)});
    clusters.Settle(1);
    EXPECT_EQ(clusters.Centers(), (std::vector<FineColor>{{32, 0, 0}, {1608, 152, 0}}));
}

TEST(ColorClusters, SettleForSoManyRoundsOrUntilNothingMoves) {
    const std::vector<ColorPoint> points = BluePoints({0, 10, 20, 30, 200});
    ColorClusters clusters(points);
    clusters.SetCenters({Fine(0), Fine(1)});
    clusters.Settle(1);
    EXPECT_EQ(clusters.Centers(), (std::vector<FineColor>{Fine(0), Fine(65)}));
    clusters.Settle(50);
    EXPECT_EQ(clusters.Centers(), (std::vector<FineColor>{Fine(15), Fine(200)}));
}

TEST(ColorClusters, LeaveACenterWithoutPointsWhereItIs) {
    const std::vector<ColorPoint> points = BluePoints({0, 10});
    ColorClusters clusters(points);
    clusters.SetCenters({Fine(2), Fine(200)});
    clusters.Settle(9);
    EXPECT_EQ(clusters.Centers(), (std::vector<FineColor>{Fine(5), Fine(200)}));
}

/// Two centres share what one could hold, and one holds what needs two; no settling changes it.
std::vector<ColorPoint> PairsOfPoints() { return BluePoints({0, 4, 100, 140, 240}); }
const std::vector<FineColor> kBadCenters = {Fine(0), Fine(4), Fine(120), Fine(240)};

TEST(ColorClusters, ExchangeACenterOfLittleUseForOneOfMore) {
    const std::vector<ColorPoint> points = PairsOfPoints();
    ColorClusters clusters(points);
    clusters.SetCenters(kBadCenters);
    clusters.Settle(20);
    EXPECT_EQ(clusters.Centers(), kBadCenters);
    clusters.Exchange(1);
    EXPECT_EQ(clusters.Error(), ErrorByTrial(points, {Fine(2), Fine(100), Fine(140), Fine(240)}));
    EXPECT_EQ(clusters.Error(), ErrorByTrial(points, clusters.Centers()));
}

TEST(ColorClusters, ExchangeNothingThatDoesNotLowerTheError) {
    const std::vector<ColorPoint> points = PairsOfPoints();
    ColorClusters clusters(points);
    const std::vector<FineColor> best = {Fine(2), Fine(100), Fine(140), Fine(240)};
    clusters.SetCenters(best);
    clusters.Exchange(100);
    EXPECT_EQ(clusters.Centers(), best);
    EXPECT_EQ(clusters.Error(), ErrorByTrial(points, best));
}

TEST(ColorClusters, ExchangeNothingWhereThereIsOneCenterOrNoTry) {
    const std::vector<ColorPoint> points = PairsOfPoints();
    ColorClusters clusters(points);
    clusters.SetCenters(kBadCenters);
    clusters.Exchange(0);
    EXPECT_EQ(clusters.Centers(), kBadCenters);
    clusters.SetCenters({Fine(7)});
    clusters.Exchange(5);
    EXPECT_EQ(clusters.Centers(), (std::vector<FineColor>{Fine(7)}));
}

}  // namespace
}  // namespace zpixf
