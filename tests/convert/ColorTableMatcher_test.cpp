#include "zbm/ColorTableMatcher.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace zbm {
namespace {

TEST(ColorTableMatcher, IsNeitherCopiedNorAssigned) {
    static_assert(!std::is_copy_constructible_v<ColorTableMatcher>);
    static_assert(!std::is_copy_assignable_v<ColorTableMatcher>);
}

}  // namespace
}  // namespace zbm
