#pragma once
// The checks of source "zbmbitmap".
#include "core/Checks.h"

namespace zbm {

#define ZBM_BITMAP_CHECKS(CHECK)                                                                                      \
    CHECK(formatIsSetOnce, 120, internalError, "a bitmap's pixel format can be set only once")                        \
    CHECK(formatRange, 122, internalError, "the pixel format must be one of the thirteen")                            \
    CHECK(colorCount, 156, internalError, "the pixel format's colour table must hold as many colours")                \
    CHECK(colorTable, 186, internalError, "the bitmap must have a colour table")                                      \
    CHECK(colorIndex, 190, internalError, "the colour's index must be below the number of colours")                   \
    CHECK(dibCorners, 220, internalError, "no coordinate of a rectangle that becomes a DIB may be negative")          \
    CHECK(dibWidth, 222, internalError, "a rectangle that becomes a DIB must be at least 1 pixel wide")               \
    CHECK(dibHeight, 223, internalError, "a rectangle that becomes a DIB must be at least 1 pixel high")              \
    CHECK(dibFormat, 491, internalError, "a bitmap that becomes a DIB must have a pixel format")                      \
    CHECK(fetchedCorners, 519, internalError, "no coordinate of the fetched rectangle may be negative")               \
    CHECK(fetchedWidth, 521, internalError, "the fetched rectangle must be at least 1 pixel wide")                    \
    CHECK(fetchedHeight, 522, internalError, "the fetched rectangle must be at least 1 pixel high")                   \
    CHECK(fetchedPart, 558, internalError, "a tile that meets the fetched rectangle must have pixels of it")          \
    CHECK(storedPart, 644, internalError, "a tile that meets the stored rectangle must have pixels of it")            \
    CHECK(alphaFetchedPart, 723, internalError, "a tile that meets the rectangle of alpha must have pixels of it")    \
    CHECK(alphaStoredPart, 814, internalError, "a tile that meets the rectangle of new alpha must have pixels of it") \
    CHECK(pixelSize, 878, internalError, "a bitmap's width and height must not be negative")                          \
    CHECK(tileSize, 879, internalError, "tiles must be at least 1 pixel wide and high")                               \
    CHECK(brightnessRange, 1111, internalError, "brightness must be from -1 to 1")                                    \
    CHECK(contrastRange, 1140, internalError, "contrast must be from -1 to 1")                                        \
    CHECK(saturationRange, 1169, internalError, "saturation must be from -1 to 1")                                    \
    CHECK(sharpeningRange, 1337, internalError, "sharpening must be from -1 to 1")                                    \
    CHECK(quantMethod, 1430, internalError, "the method of choosing colours must be one of QuantMethod")              \
    CHECK(legacyWhenStoring, 1463, internalError, "a legacy serializer is for loading only")                          \
    CHECK(formatInfoVersion, 1496, readArchive, "the version of the format information must be 1")                    \
    CHECK(alphaFetchedFormat, 9000, internalError,                                                                    \
          "the pixel format must be one with a mask, without alpha of its own")                                       \
    CHECK(alphaStoredFormat, 9001, internalError,                                                                     \
          "the pixel format must be one with a mask, without alpha of its own, to take new alpha")                    \
    CHECK(archivedTiles, 9002, readArchive,                                                                           \
          "the archive must be long enough for all tiles of the size that it states")                                 \
    CHECK(archivedColorCount, 9003, readArchive, "the archive must not state more than 256 colours")                  \
    CHECK(alphaFetchedStep, 9004, internalError, "the pixels to take alpha must have at least 1 byte")                \
    CHECK(storedFormat, 9005, writeArchive, "a bitmap that is stored must have a pixel format")                       \
    CHECK(archivedTwice, 9006, readArchive, "the parts of an archive must tell of one layout and number of colours")  \
    CHECK(drawnSurface, 9007, internalError,                                                                          \
          "a surface must have memory of one of the layouts, and rows that do not overlap")                           \
    CHECK(drawnArea, 9008, internalError, "the area to draw must be finite and have a width and a height")            \
    CHECK(archivedClass, 9009, readArchive, "the archive's record must be of the bitmap's own class")

ZBM_DEFINE_CHECKS(BitmapCheck, "zbmbitmap", ZBM_BITMAP_CHECKS)

}  // namespace zbm
