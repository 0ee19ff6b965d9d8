#pragma once
// The checks of source "ZBMScanRectFileBitmap".
#include "core/Checks.h"

namespace zbm {

#define ZBM_SCAN_RECT_FILE_BITMAP_CHECKS(CHECK)                                                                       \
    CHECK(tempFile, 175, tempFileCreate, "a temporary file must be made")                                             \
    CHECK(openedFile, 210, fileOpen, "the file must be opened")                                                       \
    CHECK(badFile, 228, badFile, "a file must begin with its signature and a sound table of levels")                  \
    CHECK(openedLevelCount, 247, internalError,                                                                       \
          "a file must have 1 to 32 levels; 0 is one whose creation was cut short")                                   \
    CHECK(createdSize, 328, internalError, "a bitmap must be created at least 1 pixel wide and high")                 \
    CHECK(createdLevelCount, 351, internalError, "a bitmap just created must have one level")                         \
    CHECK(dibHeader, 398, internalError, "the DIB's header must be given")                                            \
    CHECK(dibBits, 400, internalError, "the DIB's bits must be given")                                                \
    CHECK(dibLevelCount, 431, internalError, "a bitmap just created from a DIB must have one level")                  \
    CHECK(copied, 490, internalError, "a bitmap must be copied from another than its own reduction, to one level")    \
    CHECK(convertedSelf, 516, internalError, "a bitmap must be created from another than itself and its reductions")  \
    CHECK(convertedFormat, 517, internalError, "the new pixel format must be one of the thirteen")                    \
    CHECK(convertedLevelCount, 581, internalError, "a bitmap just converted must have one level")                     \
    CHECK(resizedSelf, 608, internalError, "a bitmap must be resized from another than itself and its reductions")    \
    CHECK(resizedLeft, 610, internalError, "the rectangle's left side must lie within the source")                    \
    CHECK(resizedRight, 611, internalError, "the rectangle's right side must lie within the source")                  \
    CHECK(resizedTop, 612, internalError, "the rectangle's top must lie within the source")                           \
    CHECK(resizedBottom, 613, internalError, "the rectangle's bottom must lie within the source")                     \
    CHECK(resizedWidth, 615, internalError, "the rectangle must be at least 1 pixel wide")                            \
    CHECK(resizedHeight, 616, internalError, "the rectangle must be at least 1 pixel high")                           \
    CHECK(resizeMethod, 764, internalError, "the method of resizing must be one of ResizeMethod")                     \
    CHECK(emptySize, 805, internalError, "an empty bitmap must be created at least 1 pixel wide and high")            \
    CHECK(createdFile, 869, fileCreate, "the file must be created")                                                   \
    CHECK(deletedFile, 950, fileDelete, "the file of a creation that failed must be deleted")                         \
    CHECK(closedFile, 990, internalError, "the file of an open bitmap must be open")                                  \
    CHECK(builtLevelCount, 1070, internalError, "a bitmap without reductions must have one level")                    \
    CHECK(nextSlot, 1131, internalError, "the place of the level to come must be free")                               \
    CHECK(mostLevels, 1143, internalError, "a bitmap has at most 32 levels")                                          \
    CHECK(legacy, 1261, internalError, "a legacy serializer is for loading only")                                     \
    CHECK(recordVersion, 1314, readArchive, "the version of the bitmap's record must be 1")                           \
    CHECK(infoTableWritable, 1438, internalError, "a file whose table is written must be open for writing")           \
    CHECK(resolutionClosed, 1483, internalError, "a resolution can be set only while a file is open")                 \
    CHECK(resolutionReadOnly, 1484, internalError, "a resolution can be set only in a file that is open for writing") \
    CHECK(readClosed, 1524, internalError, "a tile can be read only while a file is open")                            \
    CHECK(writeClosed, 1536, internalError, "a tile can be written only while a file is open for writing")            \
    CHECK(colorsClosed, 9000, internalError, "colours can be set only while a file is open")                          \
    CHECK(saveClosed, 9001, internalError, "a bitmap can be saved only while a file is open")                         \
    CHECK(resizedLevelCount, 9002, internalError, "a bitmap just resized must have one level")                        \
    CHECK(dibKind, 9003, unsupportedDib, "a DIB must have pixels, uncompressed")                                      \
    CHECK(committedReadOnly, 9004, fileReadOnly, "reductions can be built only in a file that is open for writing")   \
    CHECK(storedClosed, 9005, writeArchive, "a bitmap can be stored in an archive only while a file is open")         \
    CHECK(loadedReadOnly, 9006, fileReadOnly, "an archive can be loaded only into a file that is open for writing")   \
    CHECK(reductionCount, 9007, readArchive, "the archive must not state more than 30 reductions")                    \
    CHECK(reductionKind, 9008, readArchive, "a reduction must have pixels, and the format of the picture's reductions")

ZBM_DEFINE_CHECKS(ScanRectFileBitmapCheck, "ZBMScanRectFileBitmap", ZBM_SCAN_RECT_FILE_BITMAP_CHECKS)

}  // namespace zbm
