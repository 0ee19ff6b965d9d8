// Built so that no product and sum become one operation: every system maps pixels to the same ones.
#include "draw/AxisMap.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

namespace zbm {

namespace {

constexpr double kFinestUnit = kBlendUnit;
constexpr double kMostBlended = 2 * kMostPairs - 1;  // a place that begins and ends within pixels shows one more
constexpr std::int64_t kMostPixels = 1 << 24;        // of which levels can be summed; what is beyond is not looked at

/// The finest power of 2 in which the weights of an averaged pixel add up to no more than they may.
double UnitFor(double scale) {
    double unit = kFinestUnit;
    while (unit > 1 && (scale + 1) * unit > kMaxWeights) unit /= 2;
    return unit;
}

double MiddleOf(const AxisScale& axis, std::int64_t i) {
    return axis.start + (static_cast<double>(i) + 0.5) * axis.scale;
}

std::uint32_t ReciprocalOf(std::uint32_t weights) {
    const std::uint64_t quotient = ((std::uint64_t{1} << 32) + weights / 2) / weights;
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(quotient, std::numeric_limits<std::uint32_t>::max()));
}

Tap MakeTap(int first, int count, std::uint32_t firstWeight, std::uint32_t lastWeight, std::uint32_t weights) {
    return {first, count, firstWeight, lastWeight, ReciprocalOf(weights)};
}

}  // namespace

bool AxisScale::IsOneToOne() const noexcept { return scale == 1 && start == std::floor(start); }

AxisMap::AxisMap(const AxisScale& axis, AxisMethod method, int length, std::int64_t begin, std::int64_t end)
    : isSingle(method == AxisMethod::nearest || axis.IsOneToOne()) {
    const bool isAveraged = !isSingle && method == AxisMethod::average;
    if (!isSingle) unit = static_cast<std::uint32_t>(isAveraged ? UnitFor(axis.scale) : kFinestUnit);
    if (isAveraged && (axis.scale + 1) * unit > kMaxWeights) sums = Sums::levels;
    const auto liesBefore = [&](std::int64_t i) { return !(MiddleOf(axis, i) >= 0); };
    while (begin < end && liesBefore(begin)) ++begin;
    first = begin;
    for (std::int64_t i = begin; i < end; ++i) {
        const double middle = MiddleOf(axis, i);
        if (!(middle < length)) break;
        taps.push_back(isSingle     ? Single(static_cast<int>(middle))
                       : isAveraged ? Averaged(axis, i, length)
                                    : Linear(middle, length));
    }
    if (!isAveraged || axis.scale <= kMostBlended) Blend();
    const auto isNext = [](const Tap& a, const Tap& b) { return b.first == a.first + 1; };
    isOneToOne = isSingle && std::adjacent_find(taps.begin(), taps.end(), std::not_fn(isNext)) == taps.end();
}

Tap AxisMap::Single(int pixel) const noexcept { return MakeTap(pixel, 1, 1, 0, 1); }

/// Between the middles of two pixels; beyond the first and the last middle, the first and the last pixel.
Tap AxisMap::Linear(double middle, int length) const noexcept {
    const double place = middle - 0.5, before = std::floor(place);
    const auto second = static_cast<std::uint32_t>(std::lround((place - before) * unit));
    const int pixel = static_cast<int>(before);
    if (pixel < 0 || second == unit) return MakeTap(pixel + 1, 1, unit, 0, unit);
    if (pixel + 1 >= length || second == 0) return MakeTap(pixel, 1, unit, 0, unit);
    return MakeTap(pixel, 2, unit - second, second, unit);
}

/// What lies between its two corners, rounded to units, each of which belongs to one pixel of the destination.
Tap AxisMap::Averaged(const AxisScale& axis, std::int64_t i, int length) const noexcept {
    const auto corner = [&](std::int64_t index) {
        const double place = axis.start + static_cast<double>(index) * axis.scale;
        return static_cast<std::int64_t>(std::floor(std::clamp<double>(place, 0, length) * unit + 0.5));
    };
    const std::int64_t begin = corner(i), end = std::min(corner(i + 1), begin + kMostPixels * unit);
    const auto pixel = static_cast<int>(begin / unit), last = static_cast<int>((end - 1) / unit);
    const auto total = static_cast<std::uint32_t>(end - begin);
    if (last <= pixel) return MakeTap(std::min(pixel, length - 1), 1, unit, 0, unit);
    return MakeTap(pixel, last - pixel + 1, static_cast<std::uint32_t>((pixel + std::int64_t{1}) * unit - begin),
                   static_cast<std::uint32_t>(end - std::int64_t{last} * unit), total);
}

/// Where each pixel's share ends is rounded, so that shares leave no gap and add up.
void AxisMap::Blend() {
    for (const Tap& tap : taps) pairs = std::max(pairs, (static_cast<std::size_t>(tap.count) + 1) / 2);
    weights.resize(2 * pairs * taps.size());
    for (std::size_t i = 0; i < taps.size(); ++i) {
        Tap& tap = taps[i];
        const auto inner = static_cast<std::uint32_t>(std::max(0, tap.count - 2)) * unit;
        const std::uint32_t all = tap.firstWeight + inner + tap.lastWeight;
        const auto shareUpTo = [&](int pixel) {
            const std::uint32_t part =
                pixel == tap.count ? all : tap.firstWeight + static_cast<std::uint32_t>(pixel - 1) * unit;
            return static_cast<std::int16_t>((std::uint64_t{part} * kBlendUnit + all / 2) / all);
        };
        std::int16_t begin = 0;
        for (int k = 0; k < tap.count; ++k) {
            const std::int16_t end = shareUpTo(k + 1);
            weights[2 * pairs * i + static_cast<std::size_t>(k)] = static_cast<std::int16_t>(end - begin);
            begin = end;
        }
        tap.reciprocal = ReciprocalOf(kBlendUnit);
    }
    isHalving = Halves();
}

bool AxisMap::Halves() const noexcept {
    for (int i = 0; i < Count(); ++i)
        if ((*this)[i].count != 2 || Weights(i)[0] != Weights(i)[1] || (*this)[i].first != taps[0].first + 2 * i)
            return false;
    return pairs == 1;
}

std::uint32_t AxisMap::WeightOf(int i, int source) const noexcept {
    const Tap& tap = (*this)[i];
    const int k = source - tap.first;
    if (IsBlended()) return static_cast<std::uint32_t>(Weights(i)[k]);
    return k == 0 ? tap.firstWeight : k + 1 == tap.count ? tap.lastWeight : unit;
}

int AxisMap::FirstShowing(int source) const noexcept {
    const auto endsBefore = [&](const Tap& tap) { return tap.first + tap.count <= source; };
    return static_cast<int>(std::partition_point(taps.begin(), taps.end(), endsBefore) - taps.begin());
}

int AxisMap::FirstFrom(int source) const noexcept {
    const auto beginsBefore = [&](const Tap& tap) { return tap.first < source; };
    return static_cast<int>(std::partition_point(taps.begin(), taps.end(), beginsBefore) - taps.begin());
}

}  // namespace zbm
