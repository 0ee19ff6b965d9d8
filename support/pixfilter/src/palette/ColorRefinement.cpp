#include "palette/ColorRefinement.h"

#include <algorithm>
#include <cstring>
#include <numeric>

namespace zpixf {
namespace {

std::vector<ColorPoint> SumsOfNearest(const PointMap& map, const std::vector<ColorPoint>& points, std::size_t count) {
    std::vector<ColorPoint> sums(count);
    for (std::size_t i = 0; i < points.size(); ++i) Add(sums[map.Nearest(i)], points[i]);
    return sums;
}

/// The `count` points that add most to the error, of equal ones that of the least mean. It must not be their order that
/// decides, for the library that partitioned them made it.
std::vector<ColorPoint> WorstPoints(const PointMap& map, const std::vector<ColorPoint>& points, std::size_t count) {
    std::vector<std::size_t> places(points.size());
    std::iota(places.begin(), places.end(), std::size_t{0});
    const auto isWorse = [&](std::size_t a, std::size_t b) {
        const double errorA = map.Error(a), errorB = map.Error(b);
        if (errorA != errorB) return errorA > errorB;
        return std::memcmp(points[a].mean, points[b].mean, sizeof points[a].mean) < 0;
    };
    std::partial_sort(places.begin(), places.begin() + static_cast<std::ptrdiff_t>(count), places.end(), isWorse);
    std::vector<ColorPoint> worst;
    for (std::size_t i = 0; i < count; ++i) worst.push_back(points[places[i]]);
    return worst;
}

/// Returns whether any entry changed.
bool MoveToMeans(std::vector<ColorPoint>& palette, const std::vector<ColorPoint>& sums) {
    bool hasMoved = false;
    for (std::size_t i = 0; i < palette.size(); ++i) {
        if (sums[i].weight == 0) continue;
        ColorPoint moved = sums[i];
        SetMean(moved);
        hasMoved = hasMoved || std::memcmp(moved.mean, palette[i].mean, sizeof moved.mean) != 0;
        palette[i] = moved;
    }
    return hasMoved;
}

/// Gives each entry that is nearest to no point a point of its own. Returns whether there were such entries.
bool FillEmptyEntries(std::vector<ColorPoint>& palette, const std::vector<ColorPoint>& sums, const PointMap& map,
                      const std::vector<ColorPoint>& points) {
    const auto isEmpty = [](const ColorPoint& sum) { return sum.weight == 0; };
    const auto numEmpty = static_cast<std::size_t>(std::count_if(sums.begin(), sums.end(), isEmpty));
    if (numEmpty == 0) return false;
    const std::vector<ColorPoint> worst = WorstPoints(map, points, numEmpty);
    auto next = worst.begin();
    for (std::size_t i = 0; i < palette.size(); ++i)
        if (isEmpty(sums[i])) palette[i] = *next++;
    return true;
}

}  // namespace

PointMap::PointMap(const std::vector<ColorPoint>& newPoints)
    : points(newPoints), pixels(4 * newPoints.size()), nearest(newPoints.size()) {
    for (std::size_t i = 0; i < points.size(); ++i) std::memcpy(&pixels[4 * i], points[i].mean, sizeof points[i].mean);
}

void PointMap::Map(const std::vector<ColorPoint>& palette) {
    entries.clear();
    for (const ColorPoint& point : palette) entries.push_back({point.mean[0], point.mean[1], point.mean[2], 0});
    map.Build(entries.data(), static_cast<unsigned>(entries.size()));
    map.MapRow(pixels.data(), points.size(), nearest.data());
}

double PointMap::Error(std::size_t i) const {
    const RGBQUAD& entry = entries[nearest[i]];
    const int b = points[i].mean[0] - entry.rgbBlue, g = points[i].mean[1] - entry.rgbGreen,
              r = points[i].mean[2] - entry.rgbRed;
    return static_cast<double>(points[i].weight) * (b * b + g * g + r * r);
}

double PointMap::TotalError() const {
    double sum = 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const double error = Error(i);
        sum += error;
    }
    return sum;
}

void RefinePalette(std::vector<ColorPoint>& palette, const std::vector<ColorPoint>& points, unsigned rounds) {
    PointMap map(points);
    for (unsigned round = 0; round <= rounds; ++round) {
        map.Map(palette);
        const std::vector<ColorPoint> sums = SumsOfNearest(map, points, palette.size());
        // The last look is only for entries that have become of no use: those that came to be like others, too.
        const bool hasMoved = round < rounds && MoveToMeans(palette, sums);
        const bool hasFilled = FillEmptyEntries(palette, sums, map, points);
        if (!hasMoved && !hasFilled) return;
    }
}

}  // namespace zpixf
