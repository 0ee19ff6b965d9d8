#pragma once
// The checks of source "ZBMCachedBitmap".
#include "core/Checks.h"

namespace zbm {

#define ZBM_CACHED_BITMAP_CHECKS(CHECK) CHECK(legacy, 241, internalError, "a legacy serializer is for loading only")

ZBM_DEFINE_CHECKS(CachedBitmapCheck, "ZBMCachedBitmap", ZBM_CACHED_BITMAP_CHECKS)

}  // namespace zbm
