#pragma once
// The checks of source "IndexedColors".
#include "core/Checks.h"

namespace zbm {

#define ZBM_INDEXED_COLORS_CHECKS(CHECK)                                                             \
    CHECK(indexedResult, 9000, internalError, "the result must be an indexed bitmap")                \
    CHECK(anotherResult, 9001, internalError, "the result must be another bitmap than the source")   \
    CHECK(sameSize, 9002, internalError, "the result must be of the source's size")                  \
    CHECK(source, 9003, internalError, "the source of colours must be one of PaletteSource")         \
    CHECK(method, 9004, internalError, "the method of choosing colours must be one of QuantMethod")  \
    CHECK(dither, 9005, internalError, "the dither must be one of Dither")                           \
    CHECK(strength, 9006, internalError, "the strength of the dither must be 0 to 1")                \
    CHECK(most, 9007, internalError, "no more colours can be chosen than the result's format holds") \
    CHECK(mostFixed, 9008, internalError, "a fixed palette has at least 2 colours")                  \
    CHECK(entries, 9009, internalError,                                                              \
          "at least a colour must be given, and at most as many as the result's format holds")       \
    CHECK(outputRow, 9010, internalError, "each line of the result must lie in one of its rows of tiles")

ZBM_DEFINE_CHECKS(IndexedColorsCheck, "IndexedColors", ZBM_INDEXED_COLORS_CHECKS)

}  // namespace zbm
