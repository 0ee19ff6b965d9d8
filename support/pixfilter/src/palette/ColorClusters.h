#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "palette/ColorHistogram.h"

namespace zpixf {

/// A colour to a sixteenth of a level: B, G, R from 0 to 16 * 255. Palettes have whole levels, but entries that may
/// only move by these soon stick where points lie close together.
using FineColor = std::array<std::int32_t, 3>;
constexpr std::int32_t kFine = 16;

/// The mean of a point's pixels, halves up.
FineColor FineMean(const ColorPoint& point) noexcept;

/// Points in clusters, each around a centre: every point belongs to the nearest one.
class ColorClusters {
public:
    /// `points` must outlive this.
    explicit ColorClusters(const std::vector<ColorPoint>& points);

    /// Takes 1 to 256 centres.
    void SetCenters(std::vector<FineColor> newCenters);
    const std::vector<FineColor>& Centers() const noexcept { return centers; }

    /// Moves the centres, `rounds` times at most, to the means of their clusters (S. P. Lloyd, Least Squares
    /// Quantization in PCM, 1982). One without points stays. Ends early when none moves.
    void Settle(unsigned rounds);
    /// The sum of the squared distances of pixels to their centres, in sixteenths.
    double Error() const;

    /// Tries, `tries` times at most, to take one centre away and to cut another's cluster in two, the most promising
    /// pairs first. Settles for a few rounds, and keeps what lowers the error.
    void Exchange(unsigned tries);

private:
    struct Point {
        std::int32_t at[3];
        std::uint64_t weight;
    };
    struct Neighbor {
        std::int32_t distance;  ///< squared
        std::uint32_t center;
        bool operator<(const Neighbor& other) const noexcept {
            return distance != other.distance ? distance < other.distance : center < other.center;
        }
    };
    struct Sum {
        std::uint64_t weight = 0, sum[3] = {};
    };
    using Sums = std::array<Sum, 256>;
    struct Members {
        std::vector<ColorPoint> points;
        std::vector<std::size_t> begins;
    };
    struct Swap;

    void Assign();
    void OrderNeighbors();
    std::uint32_t NearestTo(const Point& point, std::uint32_t guess) const;
    bool MoveToMeans();
    double ErrorOf(std::size_t point) const;
    Sums SumUp() const;
    Members GatherMembers() const;
    std::vector<double> CostsOfRemoval() const;
    std::vector<Swap> BestSwaps() const;
    bool Try(const Swap& swap);

    const std::vector<ColorPoint>& colors;
    std::vector<Point> points;
    std::vector<std::uint8_t> clusters;  ///< to which the points belong
    std::vector<FineColor> centers;
    std::vector<Neighbor> neighbors;        ///< of each centre the others, by distance
    std::vector<std::uint8_t> oldClusters;  ///< these two: what a try that fails goes back to
    std::vector<FineColor> oldCenters;
};

}  // namespace zpixf
