#pragma once
#include <algorithm>

#include "zbm/ColorTableMatcher.h"

namespace zbm {

/// A matcher's fields, for those who work on many colours at once. Valid as long as the matcher.
struct MatcherMaps {
    explicit MatcherMaps(const ColorTableMatcher& matcher) noexcept
        : table(matcher.table.data()),
          count(static_cast<unsigned>(matcher.table.size())),
          exactMap(matcher.exactMap.data()),
          inverseMap(matcher.inverseMap.get()) {}

    const shr::Color4b* table;
    unsigned count;
    const std::uint8_t* exactMap;
    const std::uint8_t* inverseMap;
};

/// Whether the matcher was built over exactly these colours.
inline bool IsBuiltOver(const ColorTableMatcher& matcher, const shr::Color4b* colors, unsigned count) noexcept {
    const MatcherMaps maps(matcher);
    return std::equal(maps.table, maps.table + maps.count, colors, colors + count);
}

}  // namespace zbm
