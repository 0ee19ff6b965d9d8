#include "palette/PairwiseMerge.h"

#include <algorithm>
#include <limits>

namespace zpixf {
namespace {

// Floating-point expressions are one operation long here, too (see ColorBoxes.cpp).

/// A point that is put together with others.
struct Group {
    ColorPoint point;
    double mean[3], weight;
    double loss;  ///< by which the error grows in the best union
    std::size_t partner;

    explicit Group(const ColorPoint& newPoint) : point(newPoint) { Measure(); }
    bool IsGone() const { return point.weight == 0; }
    void Measure() {
        weight = static_cast<double>(point.weight);
        for (unsigned c = 0; c < 3; ++c) mean[c] = static_cast<double>(point.sum[c]) / weight;
    }
};

/// How much more the squared distances to the means are for the union of two groups.
double Loss(const Group& a, const Group& b) {
    double square = 0;
    for (unsigned c = 0; c < 3; ++c) {
        const double difference = a.mean[c] - b.mean[c];
        const double squared = difference * difference;
        square += squared;
    }
    const double product = a.weight * b.weight;
    const double share = product / (a.weight + b.weight);
    return square * share;
}

void FindPartner(std::vector<Group>& groups, Group& group) {
    group.loss = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < groups.size(); ++i) {
        if (&groups[i] == &group || groups[i].IsGone()) continue;
        const double loss = Loss(group, groups[i]);
        if (!(loss < group.loss)) continue;
        group.loss = loss;
        group.partner = i;
    }
}

void Unite(std::vector<Group>& groups, std::size_t kept, std::size_t gone) {
    Add(groups[kept].point, groups[gone].point);
    groups[kept].Measure();
    groups[gone].point = {};
    groups[gone].loss = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < groups.size(); ++i) {
        Group& group = groups[i];
        if (!group.IsGone() && (i == kept || group.partner == kept || group.partner == gone))
            FindPartner(groups, group);
    }
}

}  // namespace

std::vector<ColorPoint> MergeInPairs(const std::vector<ColorPoint>& points, std::size_t count) {
    std::vector<Group> groups(points.begin(), points.end());
    for (Group& group : groups) FindPartner(groups, group);
    const auto losesLess = [](const Group& a, const Group& b) { return a.loss < b.loss; };
    for (std::size_t left = groups.size(); left > count; --left) {
        const auto best = std::min_element(groups.begin(), groups.end(), losesLess);
        Unite(groups, static_cast<std::size_t>(best - groups.begin()), best->partner);
    }
    std::vector<ColorPoint> merged;
    merged.reserve(count);
    for (const Group& group : groups)
        if (!group.IsGone()) merged.push_back(group.point);
    for (ColorPoint& point : merged) SetMean(point);
    return merged;
}

}  // namespace zpixf
