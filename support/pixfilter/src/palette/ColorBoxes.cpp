#include "palette/ColorBoxes.h"

#include <algorithm>
#include <limits>

namespace zpixf {

// Floating-point expressions here are one operation long: what is stored between them cannot be contracted, so that
// they give the same on every processor.

double Gain(const ColorPoint& a, const ColorPoint& b) {
    const double weightA = static_cast<double>(a.weight), weightB = static_cast<double>(b.weight);
    double square = 0;
    for (unsigned c = 0; c < 3; ++c) {
        const double meanA = static_cast<double>(a.sum[c]) / weightA;
        const double meanB = static_cast<double>(b.sum[c]) / weightB;
        const double difference = meanA - meanB;
        const double squared = difference * difference;
        square += squared;
    }
    const double product = weightA * weightB;
    const double share = product / static_cast<double>(a.weight + b.weight);
    return square * share;
}

namespace {

/// Where a box can be cut: between the points with mean[channel] < from and the others.
struct Cut {
    double use = 0;  ///< 0 if the box cannot be cut
    unsigned channel = 0;
    unsigned from = 0;
};

struct Box {
    ColorPoint* first;
    ColorPoint* last;  ///< past the end
    ColorPoint total;
    Cut cut;
};

ColorPoint Difference(const ColorPoint& whole, const ColorPoint& part) {
    ColorPoint rest = whole;
    rest.weight -= part.weight;
    for (unsigned c = 0; c < 3; ++c) rest.sum[c] -= part.sum[c];
    return rest;
}

struct Range {
    unsigned low = 255, high = 0;
    unsigned Width() const { return high - low; }
};

struct Extent {
    Range channels[3];
};

Extent ExtentOf(const Box& box) {
    Extent extent;
    for (const ColorPoint* point = box.first; point != box.last; ++point)
        for (unsigned c = 0; c < 3; ++c) {
            Range& range = extent.channels[c];
            range.low = std::min<unsigned>(range.low, point->mean[c]);
            range.high = std::max<unsigned>(range.high, point->mean[c]);
        }
    return extent;
}

Cut MedianCut(const Box& box) {
    const Extent extent = ExtentOf(box);
    Cut cut;
    for (unsigned c = 1; c < 3; ++c)
        if (extent.channels[c].Width() > extent.channels[cut.channel].Width()) cut.channel = c;
    const Range range = extent.channels[cut.channel];
    if (range.Width() == 0) return cut;

    std::uint64_t weights[256] = {};
    for (const ColorPoint* point = box.first; point != box.last; ++point)
        weights[point->mean[cut.channel]] += point->weight;
    std::uint64_t below = 0;
    cut.from = range.low;
    // Neither side becomes empty: if only the greatest value is left, half of it and all the others are no less than
    // half.
    do below += weights[cut.from++];
    while (below + weights[cut.from] / 2 < box.total.weight / 2);
    cut.use = static_cast<double>(box.total.weight);
    cut.use *= range.Width();
    return cut;
}

Cut VarianceCut(const Box& box) {
    const Extent extent = ExtentOf(box);
    Cut best;
    for (unsigned c = 0; c < 3; ++c) {
        const Range range = extent.channels[c];
        if (range.Width() == 0) continue;
        ColorPoint slices[256];
        for (const ColorPoint* point = box.first; point != box.last; ++point) Add(slices[point->mean[c]], *point);
        ColorPoint below;
        for (unsigned from = range.low + 1; from <= range.high; ++from) {
            if (slices[from - 1].weight == 0) continue;
            Add(below, slices[from - 1]);
            const double gain = Gain(below, Difference(box.total, below));
            if (gain > best.use) best = {gain, c, from};
        }
    }
    return best;
}

Box MakeBox(ColorPoint* first, ColorPoint* last, const ColorPoint& total, CutRule rule) {
    Box box{first, last, total, {}};
    if (last - first > 1) box.cut = rule == CutRule::median ? MedianCut(box) : VarianceCut(box);
    return box;
}

}  // namespace

std::vector<ColorPoint> CutIntoBoxes(std::vector<ColorPoint>& points, std::size_t count, CutRule rule) {
    ColorPoint total;
    for (const ColorPoint& point : points) Add(total, point);
    std::vector<Box> boxes;
    boxes.reserve(count);
    boxes.push_back(MakeBox(points.data(), points.data() + points.size(), total, rule));
    const auto isOfLessUse = [](const Box& a, const Box& b) { return a.cut.use < b.cut.use; };
    while (boxes.size() < count) {
        Box& box = *std::max_element(boxes.begin(), boxes.end(), isOfLessUse);
        if (!(box.cut.use > 0)) break;
        const Cut cut = box.cut;
        ColorPoint* middle = std::partition(
            box.first, box.last, [&](const ColorPoint& point) { return point.mean[cut.channel] < cut.from; });
        ColorPoint below;
        for (const ColorPoint* point = box.first; point != middle; ++point) Add(below, *point);
        const Box upper = MakeBox(middle, box.last, Difference(box.total, below), rule);
        box = MakeBox(box.first, middle, below, rule);
        boxes.push_back(upper);
    }
    std::vector<ColorPoint> sums;
    for (const Box& box : boxes) {
        sums.push_back(box.total);
        SetMean(sums.back());
    }
    return sums;
}

namespace {

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
    for (const Group& group : groups)
        if (!group.IsGone()) merged.push_back(group.point);
    for (ColorPoint& point : merged) SetMean(point);
    return merged;
}

}  // namespace zpixf
