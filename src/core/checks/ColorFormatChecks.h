#pragma once
// The checks of source "ZBMColorFormat".
#include "core/Checks.h"

namespace zbm {

#define ZBM_COLOR_FORMAT_CHECKS(CHECK)                                                                        \
    CHECK(colorTable, 43, internalError, "pixels of an indexed format must come with a colour table to fill") \
    CHECK(sourceTable, 9000, internalError, "the source's indices must come with their colour table")         \
    CHECK(rowFormats, 9001, internalError, "rows of pixels must be of one of the thirteen formats")

ZBM_DEFINE_CHECKS(ColorFormatCheck, "ZBMColorFormat", ZBM_COLOR_FORMAT_CHECKS)

}  // namespace zbm
