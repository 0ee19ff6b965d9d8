#pragma once
// The checks of source "ZBMColorTableMatcher".
#include "core/Checks.h"

namespace zbm {

#define ZBM_COLOR_TABLE_MATCHER_CHECKS(CHECK)                           \
    CHECK(table, 9000, internalError, "the colour table must be given") \
    CHECK(colorCount, 9001, internalError, "the colour table must have from 1 to 256 colours")

ZBM_DEFINE_CHECKS(ColorTableMatcherCheck, "ZBMColorTableMatcher", ZBM_COLOR_TABLE_MATCHER_CHECKS)

}  // namespace zbm
