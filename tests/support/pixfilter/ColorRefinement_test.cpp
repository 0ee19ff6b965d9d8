#include "palette/ColorRefinement.h"

#include <gtest/gtest.h>

#include "support/pixfilter/ColorPoints.h"

namespace zpixf {
namespace {

using Levels = std::vector<std::uint8_t>;

/// What becomes of entries along an edge of the cube.
Levels Refined(const Levels& entries, const std::vector<ColorPoint>& points, unsigned rounds) {
    std::vector<ColorPoint> palette = BluePoints(entries);
    RefinePalette(palette, points, rounds);
    return BluesOf(palette);
}

TEST(RefinePalette, MovesEntriesToTheMeansOfWhatIsNearestToThem) {
    EXPECT_EQ(Refined({0, 50}, BluePoints({0, 10, 100, 120}), 1), (Levels{5, 110}));
}

TEST(RefinePalette, WeighsPointsByTheirPixels) {
    const std::vector<ColorPoint> points = {PointOf({0, 0, 0}, 3), PointOf({8, 0, 0}), PointOf({100, 0, 0})};
    EXPECT_EQ(Refined({0, 100}, points, 1), (Levels{2, 100}));
}

TEST(RefinePalette, GoesOnUntilNothingMoves) {
    const std::vector<ColorPoint> points = BluePoints({0, 10, 20, 30, 200});
    EXPECT_EQ(Refined({0, 1}, points, 1), (Levels{0, 65}));
    EXPECT_EQ(Refined({0, 1}, points, 12), (Levels{15, 200}));
}

TEST(RefinePalette, GivesAnEntryWithoutPointsTheOneThatAddsMostToTheErrorAndMovesOnFromThere) {
    // All go to the first of two like entries, which is their mean already; then 0 draws off none of the others.
    EXPECT_EQ(Refined({70, 70}, BluePoints({100, 0, 110}), 12), (Levels{105, 0}));
    // 255 lies further away than 60, but is one pixel against many.
    const std::vector<ColorPoint> points = {PointOf({0, 0, 0}, 1000), PointOf({60, 0, 0}, 20), PointOf({255, 0, 0})};
    EXPECT_EQ(Refined({0, 0}, points, 0), (Levels{0, 60}));
}

TEST(RefinePalette, GivesEachEntryWithoutPointsAnotherOfTheWorst) {
    EXPECT_EQ(Refined({70, 70, 70}, BluePoints({100, 72, 0, 120}), 0), (Levels{70, 0, 120}));
}

TEST(RefinePalette, TakesOfPointsThatAreEquallyWorstTheLeastWhateverTheirOrder) {
    EXPECT_EQ(Refined({50, 50}, BluePoints({60, 50, 40}), 0), (Levels{50, 40}));
    EXPECT_EQ(Refined({50, 50}, BluePoints({40, 50, 60}), 0), (Levels{50, 40}));
}

TEST(RefinePalette, LooksForEntriesWithoutPointsOnceMoreAfterTheLastMove) {
    // The only round moves the outer entries next to what was the middle one's.
    const std::vector<ColorPoint> points = {PointOf({9, 0, 0}, 100), PointOf({10, 0, 0}), PointOf({20, 0, 0}),
                                            PointOf({21, 0, 0}, 100)};
    EXPECT_EQ(Refined({4, 15, 26}, points, 1), (Levels{9, 10, 21}));
}

}  // namespace
}  // namespace zpixf
