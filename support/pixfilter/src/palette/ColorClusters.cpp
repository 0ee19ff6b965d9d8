#include "palette/ColorClusters.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <utility>

#include "palette/ColorBoxes.h"

namespace zpixf {
namespace {

constexpr unsigned kRoundsOfATry = 4;
// Of so little a gain there is no use.
constexpr double kWorthwhile = 0.9999;

std::int32_t SquaredDistance(const std::int32_t* a, const std::int32_t* b) {
    const std::int32_t blue = a[0] - b[0], green = a[1] - b[1], red = a[2] - b[2];
    return blue * blue + green * green + red * red;
}

/// Rounded to the nearest, halves up.
std::int32_t Quotient(std::uint64_t sum, std::uint64_t weight) {
    return static_cast<std::int32_t>((sum + weight / 2) / weight);
}

}  // namespace

FineColor FineMean(const ColorPoint& point) noexcept {
    FineColor mean;
    for (unsigned c = 0; c < 3; ++c) mean[c] = Quotient(point.sum[c] * kFine, point.weight);
    return mean;
}

ColorClusters::ColorClusters(const std::vector<ColorPoint>& newColors) : colors(newColors), clusters(newColors.size()) {
    points.reserve(colors.size());
    for (const ColorPoint& color : colors) {
        const FineColor mean = FineMean(color);
        points.push_back({{mean[0], mean[1], mean[2]}, color.weight});
    }
}

void ColorClusters::SetCenters(std::vector<FineColor> newCenters) {
    centers = std::move(newCenters);
    neighbors.clear();
    neighbors.reserve(centers.size() * centers.size());
    for (std::uint32_t i = 0; i < centers.size(); ++i)
        for (std::uint32_t j = 0; j < centers.size(); ++j)
            if (j != i) neighbors.push_back({0, j});
    OrderNeighbors();
    std::uint32_t nearest = 0;  // points come in an order in which the next one is like the last, more often than not
    for (std::size_t i = 0; i < points.size(); ++i) {
        nearest = NearestTo(points[i], nearest);
        clusters[i] = static_cast<std::uint8_t>(nearest);
    }
}

void ColorClusters::Settle(unsigned rounds) {
    for (unsigned round = 0; round < rounds && MoveToMeans(); ++round) Assign();
}

double ColorClusters::Error() const {
    double sum = 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const double error = ErrorOf(i);
        sum += error;
    }
    return sum;
}

double ColorClusters::ErrorOf(std::size_t point) const {
    const std::int32_t distance = SquaredDistance(points[point].at, centers[clusters[point]].data());
    return static_cast<double>(points[point].weight) * distance;
}

void ColorClusters::Assign() {
    OrderNeighbors();
    for (std::size_t i = 0; i < points.size(); ++i)
        clusters[i] = static_cast<std::uint8_t>(NearestTo(points[i], clusters[i]));
}

/// They are nearly in order when the centres have moved a little only.
void ColorClusters::OrderNeighbors() {
    const std::size_t count = centers.size() - 1;
    for (std::size_t i = 0; i < centers.size(); ++i) {
        Neighbor* const first = neighbors.data() + i * count;
        for (std::size_t j = 0; j < count; ++j) {
            Neighbor neighbor = first[j];
            neighbor.distance = SquaredDistance(centers[i].data(), centers[neighbor.center].data());
            std::size_t at = j;
            for (; at > 0 && neighbor < first[at - 1]; --at) first[at] = first[at - 1];
            first[at] = neighbor;
        }
    }
}

/// What lies twice as far from the guessed centre as the point does is no nearer to the point (S. J. Phillips,
/// Acceleration of K-Means and Related Clustering Algorithms, 2002).
std::uint32_t ColorClusters::NearestTo(const Point& point, std::uint32_t guess) const {
    const std::size_t count = centers.size() - 1;
    const Neighbor* const first = neighbors.data() + guess * count;
    const std::int32_t toGuess = SquaredDistance(point.at, centers[guess].data());
    std::int32_t least = toGuess;
    std::uint32_t nearest = guess;
    for (std::size_t j = 0; j < count && first[j].distance <= 4 * toGuess; ++j) {
        const std::uint32_t center = first[j].center;
        const std::int32_t distance = SquaredDistance(point.at, centers[center].data());
        if (distance < least || (distance == least && center < nearest)) {
            least = distance;
            nearest = center;
        }
    }
    return nearest;
}

ColorClusters::Sums ColorClusters::SumUp() const {
    Sums sums{};
    for (std::size_t i = 0; i < points.size(); ++i) {
        const Point& point = points[i];
        Sum& sum = sums[clusters[i]];
        sum.weight += point.weight;
        for (unsigned c = 0; c < 3; ++c) sum.sum[c] += point.weight * static_cast<std::uint64_t>(point.at[c]);
    }
    return sums;
}

/// Returns whether any centre moved.
bool ColorClusters::MoveToMeans() {
    const Sums sums = SumUp();
    bool hasMoved = false;
    for (std::size_t i = 0; i < centers.size(); ++i) {
        if (sums[i].weight == 0) continue;
        const FineColor before = centers[i];
        for (unsigned c = 0; c < 3; ++c) centers[i][c] = Quotient(sums[i].sum[c], sums[i].weight);
        hasMoved = hasMoved || centers[i] != before;
    }
    return hasMoved;
}

struct ColorClusters::Swap {
    double gain;
    std::size_t removed, cut;
    FineColor lower, upper;
};

/// How much the error grows, for each centre, if its points go to the nearest of the others.
std::vector<double> ColorClusters::CostsOfRemoval() const {
    std::vector<double> costs(centers.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        std::int32_t second = std::numeric_limits<std::int32_t>::max();
        for (std::size_t j = 0; j < centers.size(); ++j)
            if (j != clusters[i]) second = std::min(second, SquaredDistance(points[i].at, centers[j].data()));
        const std::int32_t first = SquaredDistance(points[i].at, centers[clusters[i]].data());
        const double cost = static_cast<double>(points[i].weight) * (second - first);
        costs[clusters[i]] += cost;
    }
    return costs;
}

/// What the clusters hold, one after the other, and where each begins: one place more than there are.
ColorClusters::Members ColorClusters::GatherMembers() const {
    Members members{std::vector<ColorPoint>(points.size()), std::vector<std::size_t>(centers.size() + 1)};
    for (const std::uint8_t cluster : clusters) ++members.begins[cluster + 1u];
    std::partial_sum(members.begins.begin(), members.begins.end(), members.begins.begin());
    std::vector<std::size_t> next = members.begins;
    for (std::size_t i = 0; i < points.size(); ++i) members.points[next[clusters[i]]++] = colors[i];
    return members;
}

std::vector<ColorClusters::Swap> ColorClusters::BestSwaps() const {
    Members members = GatherMembers();
    const std::vector<double> costs = CostsOfRemoval();
    std::vector<Swap> swaps;
    swaps.reserve(centers.size() * centers.size());
    for (std::size_t cut = 0; cut < centers.size(); ++cut) {
        ColorPoint* const first = members.points.data();
        const TwoParts parts = CutInTwo(first + members.begins[cut], first + members.begins[cut + 1]);
        if (!(parts.gain > 0)) continue;
        const FineColor lower = FineMean(parts.lower), upper = FineMean(parts.upper);
        const double gain = parts.gain * (kFine * kFine);
        for (std::size_t removed = 0; removed < centers.size(); ++removed)
            if (removed != cut) swaps.push_back({gain - costs[removed], removed, cut, lower, upper});
    }
    const auto promisesMore = [](const Swap& a, const Swap& b) { return a.gain > b.gain; };
    std::stable_sort(swaps.begin(), swaps.end(), promisesMore);
    return swaps;
}

/// Leaves all as it was, and returns false, if the error does not fall.
bool ColorClusters::Try(const Swap& swap) {
    const double before = Error();
    oldCenters = centers;
    oldClusters = clusters;
    centers[swap.removed] = swap.lower;
    centers[swap.cut] = swap.upper;
    Assign();
    Settle(kRoundsOfATry);
    if (Error() < kWorthwhile * before) return true;
    centers.swap(oldCenters);
    clusters.swap(oldClusters);
    return false;
}

void ColorClusters::Exchange(unsigned tries) {
    if (centers.size() < 2) return;
    for (bool hasGained = true; hasGained && tries > 0;) {
        hasGained = false;
        for (const Swap& swap : BestSwaps()) {
            if (tries == 0 || hasGained) break;
            --tries;
            hasGained = Try(swap);
        }
    }
}

}  // namespace zpixf
