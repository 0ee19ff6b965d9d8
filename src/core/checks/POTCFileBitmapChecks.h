#pragma once
// The checks of source "ZBMPOTCFileBitmap".
#include "core/Checks.h"

namespace zbm {

#define ZBM_POTC_FILE_BITMAP_CHECKS(CHECK)                                                                    \
    CHECK(open, 99, internalError, "a reduction cannot be opened by itself")                                  \
    CHECK(createPlain, 112, internalError, "a reduction cannot be created without a source")                  \
    CHECK(createFromPackedDib, 124, internalError, "a reduction cannot be created from a packed DIB")         \
    CHECK(createFromDib, 137, internalError, "a reduction cannot be created from a DIB")                      \
    CHECK(createCopy, 149, internalError, "a reduction cannot be created as a copy")                          \
    CHECK(createdSelf, 162, internalError, "a reduction must be created from another bitmap than itself")     \
    CHECK(createdName, 163, internalError, "a reduction must be created under its own file name")             \
    CHECK(legacy, 204, internalError, "a legacy serializer is for loading only")                              \
    CHECK(recordVersion, 224, readArchive, "the version of the reduction's record must be 1")                 \
    CHECK(reduction, 264, internalError, "a reduction has no reductions of its own")                          \
    CHECK(filledSelf, 275, internalError, "a reduction must be filled from another bitmap than itself")       \
    CHECK(filledLeft, 277, internalError, "the rectangle's left side must lie within the source")             \
    CHECK(filledRight, 278, internalError, "the rectangle's right side must lie within the source")           \
    CHECK(filledTop, 279, internalError, "the rectangle's top must lie within the source")                    \
    CHECK(filledBottom, 280, internalError, "the rectangle's bottom must lie within the source")              \
    CHECK(filledWidth, 282, internalError, "the rectangle must be at least 1 pixel wide")                     \
    CHECK(filledHeight, 283, internalError, "the rectangle must be at least 1 pixel high")                    \
    CHECK(resizeMethod, 415, internalError, "the method of resizing must be one of ResizeMethod")             \
    CHECK(xResolution, 520, internalError, "a horizontal resolution can be set only in a writable reduction") \
    CHECK(yResolution, 533, internalError, "a vertical resolution can be set only in a writable reduction")   \
    CHECK(readClosed, 549, internalError, "a tile can be read only while a file is open")                     \
    CHECK(writeClosed, 559, internalError, "a tile can be written only while a file is open for writing")     \
    CHECK(storedFormat, 9000, writeArchive, "a reduction that is stored must have a pixel format")

ZBM_DEFINE_CHECKS(POTCFileBitmapCheck, "ZBMPOTCFileBitmap", ZBM_POTC_FILE_BITMAP_CHECKS)

}  // namespace zbm
