#pragma once
// The checks of source "ZBMFileBitmap".
#include "core/Checks.h"

namespace zbm {

#define ZBM_FILE_BITMAP_CHECKS(CHECK)                                                                           \
    CHECK(newTempFolder, 49, fileFind, "the folder for temporary bitmaps must exist")                           \
    CHECK(tempFolder, 62, fileFind, "the folder for temporary bitmaps must still exist")                        \
    CHECK(lockClosed, 236, internalError, "a tile can be locked only while a file is open")                     \
    CHECK(lockLocked, 252, internalError, "a tile that is locked cannot be locked again")                       \
    CHECK(unlockClosed, 291, internalError, "a tile can be unlocked only while a file is open")                 \
    CHECK(unlockUnlocked, 305, internalError, "a tile to unlock must be locked")                                \
    CHECK(commitClosed, 320, internalError, "a tile can be committed only while a file is open")                \
    CHECK(commitUnlocked, 334, internalError, "a tile to commit must be locked")                                \
    CHECK(commitReadOnly, 341, fileReadOnly, "a tile can be committed only to a file that is open for writing") \
    CHECK(firstInputRow, 413, internalError, "the bitmap to filter must have tiles at the first line")          \
    CHECK(inputRow, 727, internalError, "the line that a filter asks for must lie in the bitmap")               \
    CHECK(outputRow, 816, internalError, "the line to write must lie in the bitmap")                            \
    CHECK(tile, 9000, internalError, "the tile must lie in the bitmap")

ZBM_DEFINE_CHECKS(FileBitmapCheck, "ZBMFileBitmap", ZBM_FILE_BITMAP_CHECKS)

}  // namespace zbm
