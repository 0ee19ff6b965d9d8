#include "StretchAxis.h"

#include <algorithm>

namespace gdi {
namespace {

constexpr std::int64_t kNone = -1;

/// The last of `source` pixels that goes to pixel `i` of `target` ones, of which there are fewer.
std::int64_t LastGoingTo(std::uint64_t i, std::uint64_t source, std::uint64_t target) {
    return static_cast<std::int64_t>((2 * source * (i + 1) / target - 1) / 2);
}

/// The source pixel, in 0 .. source - 1, of pixel `i` of `target` ones, among those from `lowest` to `highest`.
std::int64_t SourceOf(std::int64_t i, std::int64_t source, std::int64_t target, std::int64_t lowest,
                      std::int64_t highest, Meeting meeting) {
    const auto n = static_cast<std::uint64_t>(source), m = static_cast<std::uint64_t>(target);
    const auto at = static_cast<std::uint64_t>(i);
    std::int64_t first, last;
    if (n <= m) {
        first = last = static_cast<std::int64_t>(((2 * at + 1) * n - 1) / (2 * m));
    } else {
        first = i == 0 ? 0 : LastGoingTo(at - 1, n, m) + 1;
        last = LastGoingTo(at, n, m);
    }
    first = std::max(first, lowest);
    last = std::min(last, highest);
    if (first > last) return kNone;
    return meeting == Meeting::first ? first : last;
}

}  // namespace

StretchedRun Stretch(const StretchAxis& axis, std::int32_t visibleBegin, std::int32_t visibleEnd) {
    const bool mirrored = axis.size < 0;
    const std::int64_t target = mirrored ? -axis.size : axis.size;
    const std::int64_t first = mirrored ? axis.start - target + 1 : axis.start;
    const std::int64_t begin = std::max<std::int64_t>(first, visibleBegin);
    const std::int64_t end = std::min<std::int64_t>(first + target, visibleEnd);
    const std::int64_t lowest = std::max<std::int64_t>(0, -axis.sourceStart);
    const std::int64_t highest = std::min(axis.sourceSize, axis.sourceLimit - axis.sourceStart) - 1;

    StretchedRun run;
    if (begin >= end || lowest > highest) return run;
    run.sources.reserve(static_cast<std::size_t>(end - begin));
    for (std::int64_t x = begin; x < end; ++x) {
        const std::int64_t i = mirrored ? axis.start - x : x - axis.start;
        const std::int64_t source = SourceOf(i, axis.sourceSize, target, lowest, highest, axis.meeting);
        if (source == kNone) continue;
        if (run.sources.empty()) run.begin = static_cast<std::int32_t>(x);
        run.sources.push_back(static_cast<std::int32_t>(axis.sourceStart + source));
    }
    return run;
}

}  // namespace gdi
