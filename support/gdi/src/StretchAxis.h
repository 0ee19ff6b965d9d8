#pragma once
#include <cstdint>
#include <vector>

namespace gdi {

/// Which of several source pixels that meet in one pixel shows.
enum class Meeting { first, last };

/// One axis of a stretch: `sourceSize` pixels from `sourceStart` on become `size` pixels from `start` on; a negative
/// size runs the other way. Sizes have up to 32 bits.
struct StretchAxis {
    std::int64_t start, size;
    std::int64_t sourceStart, sourceSize;
    std::int64_t sourceLimit;  ///< source pixels 0 .. sourceLimit - 1 are there
    Meeting meeting;
};

/// The pixels of a stretch that show, and the source pixel of each.
struct StretchedRun {
    std::int32_t begin = 0;
    std::vector<std::int32_t> sources;
};

/// The pixels from `visibleBegin` to before `visibleEnd` that have a source pixel: a run of them without gaps. Raises
/// std::bad_alloc.
StretchedRun Stretch(const StretchAxis& axis, std::int32_t visibleBegin, std::int32_t visibleEnd);

}  // namespace gdi
