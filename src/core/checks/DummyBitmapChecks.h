#pragma once
// The checks of source "DummyBitmap".
#include "core/Checks.h"

namespace zbm {

#define ZBM_DUMMY_BITMAP_CHECKS(CHECK) \
    CHECK(pixels, 9000, internalError, "of a bitmap without pixels, none can be read or written")

ZBM_DEFINE_CHECKS(DummyBitmapCheck, "DummyBitmap", ZBM_DUMMY_BITMAP_CHECKS)

}  // namespace zbm
