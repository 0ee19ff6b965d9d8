#include "palette/ColorBoxes.h"

#include <algorithm>

namespace zpixf {
namespace {

// Floating-point expressions here are one operation long: what is stored between them cannot be contracted, so that
// they give the same on every processor.

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

/// How much less the squared distances to the means are for two parts than for the whole.
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

ColorPoint TotalOf(const ColorPoint* first, const ColorPoint* last) {
    ColorPoint total;
    for (const ColorPoint* point = first; point != last; ++point) Add(total, *point);
    return total;
}

/// Puts the lower part's points first. Returns where the upper part's begin.
ColorPoint* PartAt(const Cut& cut, ColorPoint* first, ColorPoint* last) {
    return std::partition(first, last, [&](const ColorPoint& point) { return point.mean[cut.channel] < cut.from; });
}

}  // namespace

std::vector<ColorPoint> CutIntoBoxes(std::vector<ColorPoint>& points, std::size_t count, CutRule rule) {
    ColorPoint *const first = points.data(), *const last = first + points.size();
    std::vector<Box> boxes;
    boxes.reserve(count);
    boxes.push_back(MakeBox(first, last, TotalOf(first, last), rule));
    const auto isOfLessUse = [](const Box& a, const Box& b) { return a.cut.use < b.cut.use; };
    while (boxes.size() < count) {
        Box& box = *std::max_element(boxes.begin(), boxes.end(), isOfLessUse);
        if (!(box.cut.use > 0)) break;
        ColorPoint* const middle = PartAt(box.cut, box.first, box.last);
        const ColorPoint below = TotalOf(box.first, middle);
        const Box upper = MakeBox(middle, box.last, Difference(box.total, below), rule);
        box = MakeBox(box.first, middle, below, rule);
        boxes.push_back(upper);
    }
    std::vector<ColorPoint> sums;
    sums.reserve(boxes.size());
    for (const Box& box : boxes) {
        sums.push_back(box.total);
        SetMean(sums.back());
    }
    return sums;
}

TwoParts CutInTwo(ColorPoint* first, ColorPoint* last) {
    const Box box = MakeBox(first, last, TotalOf(first, last), CutRule::variance);
    TwoParts parts;
    parts.gain = box.cut.use;
    if (!(parts.gain > 0)) return parts;
    ColorPoint* const middle = PartAt(box.cut, first, last);
    parts.lower = TotalOf(first, middle);
    parts.upper = TotalOf(middle, last);
    return parts;
}

}  // namespace zpixf
