#pragma once
// The checks of source "ZBMPixelRect".
#include "core/Checks.h"

namespace zbm {

#define ZBM_PIXEL_RECT_CHECKS(CHECK)                                                                                   \
    CHECK(fetchedBitmap, 160, internalError, "a pixel rect without pixels must be fetched of a bitmap")                \
    CHECK(fetchedTable, 161, internalError, "a pixel rect must not be fetched again once its colour table was edited") \
    CHECK(committedBitmap, 200, internalError, "a pixel rect must hold pixels to be committed")                        \
    CHECK(committedColors, 221, internalError,                                                                         \
          "a bitmap whose pixel format has no colour table must not have colours")                                     \
    CHECK(formatRange, 270, internalError, "the pixel rect's format must be one of the thirteen")                      \
    CHECK(colorIndex, 310, internalError, "the colour's index must be below 256")                                      \
    CHECK(regionLeft, 393, internalError, "the rectangle's left side must lie within the bitmap")                      \
    CHECK(regionRight, 394, internalError, "the rectangle's right side must lie within the bitmap")                    \
    CHECK(regionTop, 395, internalError, "the rectangle's top must lie within the bitmap")                             \
    CHECK(regionBottom, 396, internalError, "the rectangle's bottom must lie within the bitmap")                       \
    CHECK(regionWidth, 398, internalError, "the rectangle must be at least 1 pixel wide")                              \
    CHECK(regionHeight, 399, internalError, "the rectangle must be at least 1 pixel high")                             \
    CHECK(emptyBitmap, 9000, internalError, "an empty bitmap has no pixels to fetch")

ZBM_DEFINE_CHECKS(PixelRectCheck, "ZBMPixelRect", ZBM_PIXEL_RECT_CHECKS)

}  // namespace zbm
