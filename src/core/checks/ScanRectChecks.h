#pragma once
// The checks of source "ZBMScanRect".
#include "core/Checks.h"

namespace zbm {

#define ZBM_SCAN_RECT_CHECKS(CHECK)                                                                                   \
    CHECK(dibWidth, 67, internalError, "the tile must end within the DIB's width")                                    \
    CHECK(dibHeight, 68, internalError,                                                                               \
          "the tile must end within the DIB's height, and the DIB must be stored bottom row first")                   \
    CHECK(dibDepth, 333, internalError, "a DIB must have 1, 4, 8, 16, 24 or 32 bits a pixel")                         \
    CHECK(size, 342, internalError, "a tile must be at least 1 pixel wide and high")                                  \
    CHECK(formatRange, 343, internalError, "the tile's pixel format must be one of the thirteen")                     \
    CHECK(recordVersion, 512, readArchive, "the version of a tile's record must be 1")                                \
    CHECK(contentsFormat, 813, internalError, "a tile that becomes a DIB must have one of the thirteen formats")      \
    CHECK(dibCompression, 9000, unsupportedDib, "a DIB must be uncompressed")                                         \
    CHECK(storedBlocks, 9001, writeArchive, "a tile's pixels must be few enough for one block of an archive")         \
    CHECK(recordPlace, 9002, readArchive, "a tile's record must have the size and format of its place in the bitmap") \
    CHECK(recordBlocks, 9003, readArchive, "the pixels of a tile's record must be few enough for one block")          \
    CHECK(recordLength, 9004, readArchive,                                                                            \
          "the first block of a large tile's record must be long enough for its pixels")                              \
    CHECK(recordClass, 9005, readArchive, "the record must be a tile's, not a part of another class's")

ZBM_DEFINE_CHECKS(ScanRectCheck, "ZBMScanRect", ZBM_SCAN_RECT_CHECKS)

}  // namespace zbm
