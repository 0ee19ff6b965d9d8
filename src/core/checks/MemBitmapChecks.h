#pragma once
// The checks of source "ZBMMemBitmap".
#include "core/Checks.h"

namespace zbm {

#define ZBM_MEM_BITMAP_CHECKS(CHECK)                                                               \
    CHECK(legacy, 323, internalError, "a bitmap in memory takes no legacy serializer")             \
    CHECK(recordVersion, 364, readArchive, "the version of the bitmap's record must be 1")         \
    CHECK(storedFormat, 9000, writeArchive, "a bitmap that is stored must have a pixel format")    \
    CHECK(reductionCount, 9001, readArchive, "the archive must not state more than 31 reductions") \
    CHECK(reductionSize, 9002, readArchive, "a reduction must have pixels")

ZBM_DEFINE_CHECKS(MemBitmapCheck, "ZBMMemBitmap", ZBM_MEM_BITMAP_CHECKS)

}  // namespace zbm
