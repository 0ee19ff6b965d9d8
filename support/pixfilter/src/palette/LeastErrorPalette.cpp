// Moving the entries to the means of what is nearest to them finds the best palette around, not the best of all: that
// depends on where they start. So two starts are compared, and entries exchanged where this helps, on points so few
// that it takes little time; then all points have their say.
#include "palette/LeastErrorPalette.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "palette/ColorBoxes.h"
#include "palette/ColorClusters.h"
#include "palette/ColorRefinement.h"
#include "palette/GreyPalette.h"
#include "palette/PairwiseMerge.h"

namespace zpixf {
namespace {

// Each step to a bit less leaves an eighth of the points at least: more than entries, and enough to choose among.
constexpr std::size_t kLeastCoarsePoints = std::size_t{1} << 13, kCoarsePointsPerEntry = 128;
constexpr unsigned kFinestMerge = 7;

constexpr std::size_t kBoxes = 512, kBoxesPerEntry = 2;

// With more entries exchanges gain little, and take long.
constexpr std::size_t kMostToExchange = 64;
constexpr unsigned kExchanges = 48;

// Few entries have no room for niceties.
constexpr std::size_t kLeastToEmphasize = 32;
constexpr double kEmphasisUnit = 16;

constexpr unsigned kRoundsToCompare = 6, kRoundsOfCoarse = 40, kRoundsOfFine = 10, kRoundsOfWhole = 6;

std::vector<ColorPoint> CoarsePoints(const std::vector<ColorPoint>& points, std::size_t count) {
    const std::size_t most = std::max(kLeastCoarsePoints, kCoarsePointsPerEntry * count);
    std::vector<ColorPoint> coarse = points;
    for (unsigned bits = kFinestMerge; coarse.size() > most; --bits) coarse = Merge(coarse, bits);
    return coarse;
}

/// Frequent colours with a little more weight, the number of pixels to the power of 9/8 about: for a squared error that
/// is hardly greater, shades of even surfaces come out nearer to what they are.
std::vector<ColorPoint> WithEmphasis(std::vector<ColorPoint> points) {
    for (ColorPoint& point : points) {
        const double eighthPower = std::sqrt(std::sqrt(std::sqrt(static_cast<double>(point.weight))));
        const auto factor = static_cast<std::uint64_t>(kEmphasisUnit * eighthPower);
        point.weight *= factor;
        for (std::uint64_t& sum : point.sum) sum *= factor;
    }
    return points;
}

std::vector<FineColor> FineMeans(const std::vector<ColorPoint>& points) {
    std::vector<FineColor> means(points.size());
    std::transform(points.begin(), points.end(), means.begin(), FineMean);
    return means;
}

std::vector<FineColor> ByCutting(std::vector<ColorPoint> points, std::size_t count) {
    return FineMeans(CutIntoBoxes(points, count, CutRule::variance));
}

std::vector<FineColor> ByMerging(std::vector<ColorPoint> points, std::size_t count) {
    return FineMeans(MergeInPairs(CutIntoBoxes(points, kBoxes + kBoxesPerEntry * count, CutRule::variance), count));
}

std::vector<FineColor> BestOfCoarse(const std::vector<ColorPoint>& points, std::size_t count) {
    ColorClusters clusters(points);
    clusters.SetCenters(ByCutting(points, count));
    clusters.Settle(kRoundsToCompare);
    const std::vector<FineColor> cut = clusters.Centers();
    const double errorOfCut = clusters.Error();
    clusters.SetCenters(ByMerging(points, count));
    clusters.Settle(kRoundsToCompare);
    if (errorOfCut < clusters.Error()) clusters.SetCenters(cut);
    if (count <= kMostToExchange) clusters.Exchange(kExchanges);
    clusters.Settle(kRoundsOfCoarse);
    return clusters.Centers();
}

/// An entry of that colour, halves of levels up.
ColorPoint Entry(const FineColor& color) {
    ColorPoint entry;
    for (unsigned c = 0; c < 3; ++c) entry.mean[c] = static_cast<std::uint8_t>((color[c] + kFine / 2) / kFine);
    return entry;
}

}  // namespace

std::vector<ColorPoint> LeastErrorPalette(const std::vector<ColorPoint>& points, std::size_t count) {
    if (AreGreys(points)) return BestGreys(points, count);
    const std::vector<ColorPoint> weighed = count < kLeastToEmphasize ? points : WithEmphasis(points);
    ColorClusters clusters(weighed);
    clusters.SetCenters(BestOfCoarse(CoarsePoints(weighed, count), count));
    clusters.Settle(kRoundsOfFine);
    std::vector<ColorPoint> palette(count);
    std::transform(clusters.Centers().begin(), clusters.Centers().end(), palette.begin(), Entry);
    RefinePalette(palette, points, kRoundsOfWhole);
    return palette;
}

}  // namespace zpixf
