#pragma once
// The checks of source "RunFilters".
#include "core/Checks.h"

namespace zbm {

#define ZBM_RUN_FILTERS_CHECKS(CHECK)                                                                   \
    CHECK(firstInputRow, 9000, internalError, "the bitmap to filter must have tiles at the first line") \
    CHECK(inputRow, 9001, internalError, "the line that a filter asks for must lie in the bitmap")      \
    CHECK(outputRow, 9002, internalError, "the line to write must lie in the bitmap")                   \
    CHECK(filterGivenTwice, 9003, internalError, "each filter of a chain must be given only once")

ZBM_DEFINE_CHECKS(RunFiltersCheck, "RunFilters", ZBM_RUN_FILTERS_CHECKS)

}  // namespace zbm
