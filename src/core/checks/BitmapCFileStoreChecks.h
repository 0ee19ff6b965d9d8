#pragma once
// The checks of source "ZBMBitmapCFileStore".
#include "core/Checks.h"

namespace zbm {

#define ZBM_BITMAP_C_FILE_STORE_CHECKS(CHECK)                                                                     \
    CHECK(baseOffset, 317, internalError, "the store's offset in its file must not be negative")                  \
    CHECK(blankStore, 322, internalError, "a store that is not opened must be writable")                          \
    CHECK(badFile, 353, badFile, "a store must begin with its signature, and all its parts must lie in the file") \
    CHECK(dibHeader, 506, internalError, "the DIB's header must be given")                                        \
    CHECK(dibBits, 508, internalError, "the DIB's bits must be given")                                            \
    CHECK(dibIntoReadOnly, 509, internalError, "a store to create must be writable")                              \
    CHECK(dibColors, 571, internalError, "a DIB with a colour table must come with its colours")                  \
    CHECK(skeletonOfReadOnly, 754, internalError, "a store to lay out must be writable")                          \
    CHECK(headerOfReadOnly, 829, internalError, "a store whose header is written must be writable")               \
    CHECK(tableOfReadOnly, 841, internalError, "a store whose table is written must be writable")                 \
    CHECK(colorCount, 872, internalError, "the pixel format's colour table must hold as many colours")            \
    CHECK(colorTable, 906, internalError, "the store must have a colour table")                                   \
    CHECK(colorIndex, 910, internalError, "the colour's index must be below the number of colours")               \
    CHECK(formatRange, 920, internalError, "the pixel format must be one of the thirteen")                        \
    CHECK(readBlank, 978, internalError, "a tile can be read only from a store that was created")                 \
    CHECK(writable, 1010, internalError, "a tile can be written only into a writable store that was created")     \
    CHECK(legacy, 1047, internalError, "a legacy serializer is for loading only")                                 \
    CHECK(recordVersion, 1143, readArchive, "the version of the store's record must be 1")                        \
    CHECK(tile, 9000, internalError, "the tile must lie in the store's grid")                                     \
    CHECK(tileShape, 9001, internalError, "the tile must have the size and the format of its place")              \
    CHECK(room, 9002, internalError, "a store that is created anew must not grow over what lies behind it")       \
    CHECK(archivedColors, 9003, readArchive, "the archive must not state more colours than the format has")

ZBM_DEFINE_CHECKS(BitmapCFileStoreCheck, "ZBMBitmapCFileStore", ZBM_BITMAP_C_FILE_STORE_CHECKS)

}  // namespace zbm
