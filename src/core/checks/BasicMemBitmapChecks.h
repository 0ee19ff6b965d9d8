#pragma once
// The checks of source "ZBMBasicMemBitmap".
#include "core/Checks.h"

namespace zbm {

#define ZBM_BASIC_MEM_BITMAP_CHECKS(CHECK)                                                             \
    CHECK(size, 60, internalError, "a bitmap must be constructed at least 1 pixel wide and high")      \
    CHECK(tileSize, 61, internalError, "tiles must be at least 1 pixel wide and high")                 \
    CHECK(dibHeader, 196, internalError, "the DIB's header must be given")                             \
    CHECK(dibCreation, 198, internalError, "a bitmap in memory cannot be created from a DIB")          \
    CHECK(convertedSelf, 401, internalError, "a bitmap must be created from another than itself")      \
    CHECK(convertedFormat, 402, internalError, "the new pixel format must be one of the thirteen")     \
    CHECK(resizedSelf, 477, internalError, "a bitmap must be resized from another than itself")        \
    CHECK(resizedLeft, 479, internalError, "the rectangle's left side must lie within the source")     \
    CHECK(resizedRight, 480, internalError, "the rectangle's right side must lie within the source")   \
    CHECK(resizedTop, 481, internalError, "the rectangle's top must lie within the source")            \
    CHECK(resizedBottom, 482, internalError, "the rectangle's bottom must lie within the source")      \
    CHECK(resizedWidth, 484, internalError, "the rectangle must be at least 1 pixel wide")             \
    CHECK(resizedHeight, 485, internalError, "the rectangle must be at least 1 pixel high")            \
    CHECK(resizeMethod, 633, internalError, "the method of resizing must be one of ResizeMethod")      \
    CHECK(legacy, 770, internalError, "a bitmap in memory takes no legacy serializer")                 \
    CHECK(recordVersion, 818, readArchive, "the version of the bitmap's record must be 1")             \
    CHECK(firstInputRow, 949, internalError, "the bitmap to filter must have tiles at the first line") \
    CHECK(inputRow, 1237, internalError, "the line that a filter asks for must lie in the bitmap")     \
    CHECK(outputRow, 1299, internalError, "the line to write must lie in the bitmap")                  \
    CHECK(tile, 9000, internalError, "the tile must lie in the bitmap, and be there")

ZBM_DEFINE_CHECKS(BasicMemBitmapCheck, "ZBMBasicMemBitmap", ZBM_BASIC_MEM_BITMAP_CHECKS)

}  // namespace zbm
