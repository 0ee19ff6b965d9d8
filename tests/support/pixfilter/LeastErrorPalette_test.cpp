#include "palette/LeastErrorPalette.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <random>
#include <set>

#include "palette/ColorBoxes.h"
#include "palette/ColorRefinement.h"
#include "support/pixfilter/ColorPoints.h"

namespace zpixf {
namespace {

/// Soft surfaces of unlike sizes, with grain: a palette has places to be wrong in.
std::vector<ColorPoint> Landscape(unsigned pixels, unsigned grain) {
    std::mt19937 random(77);
    const auto noise = [&] { return static_cast<unsigned>((random() % grain + random() % grain) / 2); };
    std::map<Color, std::uint64_t> counts;
    for (unsigned i = 0; i < pixels; ++i) {
        const unsigned t = i * 160 / pixels;
        const unsigned surface = t % 7 < 4 ? 0 : t % 7 < 6 ? 1 : 2;
        const unsigned at = i % 97;
        const unsigned levels[3][3] = {{180 + at / 3, 120 + at / 4, 70 + at / 2},
                                       {20 + at / 4, 60 + at / 2, 30 + at / 5},
                                       {40 + at, 50 + at, 200 - at}};
        Color color;
        for (unsigned c = 0; c < 3; ++c) color[c] = static_cast<std::uint8_t>(levels[surface][c] + noise());
        ++counts[color];
    }
    std::vector<ColorPoint> points;
    for (const auto& [color, count] : counts) points.push_back(PointOf(color, count));
    return points;
}

double ErrorOf(const std::vector<ColorPoint>& palette, const std::vector<ColorPoint>& points) {
    PointMap map(points);
    map.Map(palette);
    return map.TotalError();
}

using Place = std::array<double, 3>;

std::size_t NearestTo(const ColorPoint& point, const std::vector<Place>& places) {
    std::size_t nearest = 0;
    double least = 1e30;
    for (std::size_t i = 0; i < places.size(); ++i) {
        double distance = 0;
        for (unsigned c = 0; c < 3; ++c) distance += (point.mean[c] - places[i][c]) * (point.mean[c] - places[i][c]);
        if (distance < least) {
            least = distance;
            nearest = i;
        }
    }
    return nearest;
}

/// What a hundred rounds of k-means, in full precision and from that palette on, come to when rounded.
double ErrorAfterKMeans(const std::vector<ColorPoint>& palette, const std::vector<ColorPoint>& points) {
    std::vector<Place> places;
    for (const ColorPoint& entry : palette)
        places.push_back({double(entry.mean[0]), double(entry.mean[1]), double(entry.mean[2])});
    for (unsigned round = 0; round < 100; ++round) {
        std::vector<ColorPoint> sums(places.size());
        for (const ColorPoint& point : points) Add(sums[NearestTo(point, places)], point);
        for (std::size_t i = 0; i < places.size(); ++i)
            for (unsigned c = 0; c < 3 && sums[i].weight != 0; ++c)
                places[i][c] = double(sums[i].sum[c]) / double(sums[i].weight);
    }
    std::vector<ColorPoint> rounded;
    for (const Place& place : places)
        rounded.push_back(PointOf({static_cast<std::uint8_t>(place[0] + 0.5), static_cast<std::uint8_t>(place[1] + 0.5),
                                   static_cast<std::uint8_t>(place[2] + 0.5)}));
    return ErrorOf(rounded, points);
}

TEST(LeastErrorPalette, IsCloseToWhatKMeansGoesOnTo) {
    const std::vector<ColorPoint> points = Landscape(60000, 12);
    ASSERT_GT(points.size(), 8192u);
    for (const std::size_t count : {8u, 16u, 64u, 256u}) {
        const std::vector<ColorPoint> palette = LeastErrorPalette(points, count);
        EXPECT_LE(ErrorOf(palette, points), 1.015 * ErrorAfterKMeans(palette, points)) << count;
    }
}

/// Cutting by variance, and Lloyd's rounds until nothing moves.
double ErrorOfRefinedCuts(std::vector<ColorPoint> points, std::size_t count) {
    std::vector<ColorPoint> palette = CutIntoBoxes(points, count, CutRule::variance);
    RefinePalette(palette, points, 200);
    return ErrorOf(palette, points);
}

// (As good, to what the last rounds would still gain.)
TEST(LeastErrorPalette, IsAsGoodAsRefinedCutsOrBetter) {
    for (const unsigned grain : {3u, 12u, 30u}) {
        const std::vector<ColorPoint> points = Landscape(60000, grain);
        for (const std::size_t count : {4u, 8u, 16u, 64u, 256u})
            EXPECT_LE(ErrorOf(LeastErrorPalette(points, count), points), 1.003 * ErrorOfRefinedCuts(points, count))
                << grain << " " << count;
    }
}

TEST(LeastErrorPalette, HasAsManyEntriesAsAskedForAndNoTwoAlike) {
    for (const unsigned grain : {1u, 2u, 12u}) {
        const std::vector<ColorPoint> points = Landscape(5000, grain);
        for (const std::size_t count : {1u, 2u, 31u, 32u, 64u, 65u, 255u, 256u}) {
            if (count >= points.size()) continue;
            std::set<std::array<std::uint8_t, 3>> colors;
            for (const ColorPoint& entry : LeastErrorPalette(points, count))
                colors.insert({entry.mean[0], entry.mean[1], entry.mean[2]});
            EXPECT_EQ(colors.size(), count);
        }
    }
}

TEST(LeastErrorPalette, FindsTheGroupsOfADrawing) {
    // Twelve shades of each of eight colours; the shades of some are far more frequent.
    std::vector<ColorPoint> points;
    const auto byte = [](unsigned level) { return static_cast<std::uint8_t>(level); };
    for (unsigned group = 0; group < 8; ++group)
        for (unsigned shade = 0; shade < 12; ++shade) {
            const Color color = {byte((group & 1) * 200 + shade), byte((group >> 1 & 1) * 120 + shade % 5),
                                 byte((group >> 2) * 90 + shade % 3)};
            points.push_back(PointOf(color, group % 3 == 0 ? 5000 : 40));
        }
    std::set<unsigned> groups;
    for (const ColorPoint& entry : LeastErrorPalette(points, 8))
        groups.insert(entry.mean[0] / 100u + 4u * (entry.mean[1] / 60u) + 16u * (entry.mean[2] / 45u));
    EXPECT_EQ(groups.size(), 8u);
}

TEST(LeastErrorPalette, GivesGreysTheBestPaletteFromDarkToLight) {
    std::vector<ColorPoint> points;
    const std::uint8_t levels[] = {0, 2, 50, 54, 200, 210};
    for (const std::uint8_t level : levels) points.push_back(PointOf({level, level, level}));
    EXPECT_EQ(BluesOf(LeastErrorPalette(points, 3)), (std::vector<std::uint8_t>{1, 52, 205}));
}

}  // namespace
}  // namespace zpixf
