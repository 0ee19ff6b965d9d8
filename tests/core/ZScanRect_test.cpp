#include "zbm/ZScanRect.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <vector>

#include "core/OpenBitmaps.h"
#include "core/checks/ScanRectChecks.h"
#include "support_code/AsanOptions.h"
#include "support_code/ExpectError.h"
#include "support_code/Pixels.h"

namespace {

using shr::ColorFormat;
using testkit::HasMask;
using testkit::kFormats;
using testkit::OpenScanRect;
using testkit::PaddedRowBytes;
using testkit::RaisesInternalError;
using zbm::ScanRectCheck;
using zbm::ZScanRect;

std::size_t PixelBytes(const ZScanRect& tile) {
    return static_cast<std::size_t>(-tile.GetStride()) * static_cast<std::size_t>(tile.GetHeight());
}

std::size_t MaskBytes(const ZScanRect& tile) {
    return static_cast<std::size_t>(-tile.GetAlphaStride()) * static_cast<std::size_t>(tile.GetHeight());
}

/// The whole block of pixels, or of the mask, in the order of memory, padding included.
std::vector<std::uint8_t> PixelBlock(const ZScanRect& tile) {
    const std::uint8_t* start = tile.GetRowPtr(tile.GetHeight() - 1);
    return {start, start + PixelBytes(tile)};
}

std::vector<std::uint8_t> MaskBlock(const ZScanRect& tile) {
    const std::uint8_t* start = tile.GetAlphaRowPtr(tile.GetHeight() - 1);
    return {start, start + MaskBytes(tile)};
}

void FillBlocks(ZScanRect& tile, unsigned seed) {
    std::uint8_t* pixels = tile.GetRowPtr(tile.GetHeight() - 1);
    for (std::size_t i = 0; i < PixelBytes(tile); ++i) pixels[i] = static_cast<std::uint8_t>(seed + 37 * i);
    std::uint8_t* mask = tile.GetAlphaRowPtr(tile.GetHeight() - 1);
    for (std::size_t i = 0; i < MaskBytes(tile); ++i) mask[i] = static_cast<std::uint8_t>(seed + 91 * i);
}

TEST(ZScanRect, IsOnePixelOfBgraByDefault) {
    const ZScanRect tile;
    EXPECT_EQ(tile.GetWidth(), 1);
    EXPECT_EQ(tile.GetHeight(), 1);
    EXPECT_EQ(tile.GetColorFormat(), shr::BGRA_32);
    EXPECT_EQ(tile.GetStride(), -4);
    EXPECT_NE(tile.GetRowPtr(0), nullptr);
}

TEST(ZScanRect, PadsRowsTo32BitsInEveryFormat) {
    for (const ColorFormat format : kFormats)
        for (int width = 1; width <= 70; ++width) {
            const ZScanRect tile(width, 2, format);
            ASSERT_EQ(tile.GetStride(), -PaddedRowBytes(width, testkit::BitsPerPixel(format)))
                << testkit::FormatName(format) << ", " << width << " pixels";
            ASSERT_EQ(tile.GetAlphaStride(), HasMask(format) ? -PaddedRowBytes(width, 1) : 0);
        }
}

TEST(ZScanRect, RowsOfKnownSizesTakeKnownBytes) {
    EXPECT_EQ(ZScanRect(3, 1, shr::GRAYSCALE_1).GetStride(), -4);
    EXPECT_EQ(ZScanRect(3, 1, shr::BGR_24).GetStride(), -12);
    EXPECT_EQ(ZScanRect(5, 1, shr::BGR_24).GetStride(), -16);
    EXPECT_EQ(ZScanRect(33, 1, shr::BGR_24).GetAlphaStride(), -8);
    EXPECT_EQ(ZScanRect(1, 1, shr::GRAYSCALE_1).GetStride(), -4);
    EXPECT_EQ(ZScanRect(1, 1, shr::GRAYSCALE_1).GetAlphaStride(), -4);
}

TEST(ZScanRect, StoresItsRowsBottomUp) {
    for (const ColorFormat format : kFormats) {
        ZScanRect tile(13, 5, format);
        for (int row = 0; row + 1 < 5; ++row) {
            EXPECT_EQ(tile.GetRowPtr(row + 1), tile.GetRowPtr(row) + tile.GetStride());
            if (HasMask(format)) {
                EXPECT_EQ(tile.GetAlphaRowPtr(row + 1), tile.GetAlphaRowPtr(row) + tile.GetAlphaStride());
            }
        }
        EXPECT_EQ(tile.GetRowPtr(0) - tile.GetRowPtr(4), 4 * -tile.GetStride());
    }
    const ZScanRect tile(3, 2, shr::BGR_24);
    EXPECT_EQ(tile.GetStride(), -12);
    EXPECT_EQ(tile.GetRowPtr(1), tile.GetRowPtr(0) - 12);
}

TEST(ZScanRect, HasAMaskExactlyWithoutAlphaChannel) {
    for (const ColorFormat format : kFormats) {
        const bool masked = format != shr::BGRA_32 && format != shr::RGBA_32 && format != shr::PBGRA_32;
        ZScanRect tile(9, 3, format);
        for (int row = 0; row < 3; ++row) EXPECT_EQ(tile.GetAlphaRowPtr(row) != nullptr, masked) << format;
        EXPECT_EQ(tile.GetAlphaStride() != 0, masked) << format;
    }
}

TEST(ZScanRect, IsOpaqueWhenNewPaddingIncluded) {
    for (const ColorFormat format : kFormats)
        if (HasMask(format)) {
            const ZScanRect tile(33, 3, format);
            EXPECT_EQ(MaskBlock(tile), std::vector<std::uint8_t>(24, 0xFF));
        }
}

TEST(ZScanRect, PixelsOfANewTileReadAsZeroInMemoryThatWasUsedBefore) {
    for (const ColorFormat format : kFormats)
        for (const int width : {3, 100, 700}) {
            {
                ZScanRect used(width, 20, format);
                std::memset(used.GetRowPtr(19), 0xA5, PixelBytes(used));
            }
            const ZScanRect tile(width, 20, format);
            const std::vector<std::uint8_t> block = PixelBlock(tile);
            ASSERT_TRUE(std::all_of(block.begin(), block.end(), [](auto byte) { return byte == 0; })) << format;
        }
}

TEST(ZScanRect, RefusesSizesBelowOne) {
    for (const auto& [width, height] : {std::pair{0, 1}, {1, 0}, {-1, 1}, {1, -1}, {0, 0}})
        EXPECT_TRUE(
            RaisesInternalError([&, w = width, h = height] { ZScanRect(w, h, shr::BGRA_32); }, ScanRectCheck::size));
}

TEST(ZScanRect, RefusesWhatIsNoFormat) {
    for (const int format : {0, 14, -1, 1000, std::numeric_limits<int>::min()})
        EXPECT_TRUE(RaisesInternalError([&] { ZScanRect(1, 1, static_cast<ColorFormat>(format)); },
                                        ScanRectCheck::formatRange));
}

TEST(ZScanRect, ChecksItsSizeBeforeItsFormat) {
    EXPECT_TRUE(RaisesInternalError([] { ZScanRect(0, 0, shr::FORMAT_NONE); }, ScanRectCheck::size));
}

TEST(ZScanRect, TooLargeForMemoryRaisesBadAlloc) {
    // In 32 bits each of these products wraps around to something small.
    EXPECT_THROW(ZScanRect(1 << 28, 1 << 20, shr::BGRA_32), std::bad_alloc);
    EXPECT_THROW(ZScanRect(1 << 30, 1, shr::BGRA_32), std::bad_alloc);
    EXPECT_THROW(ZScanRect(std::numeric_limits<int>::max(), 1, shr::GRAYSCALE_32), std::bad_alloc);
    EXPECT_THROW(ZScanRect(std::numeric_limits<int>::max(), 1 << 20, shr::GRAYSCALE_1), std::bad_alloc);
}

TEST(ZScanRect, CopyHasTheSameBytesInBlocksOfItsOwn) {
    for (const ColorFormat format : kFormats) {
        ZScanRect tile(13, 7, format);
        FillBlocks(tile, 5);
        const ZScanRect copy(tile);
        EXPECT_EQ(copy.GetWidth(), 13);
        EXPECT_EQ(copy.GetHeight(), 7);
        EXPECT_EQ(copy.GetColorFormat(), format);
        EXPECT_EQ(PixelBlock(copy), PixelBlock(tile));
        EXPECT_NE(copy.GetRowPtr(6), tile.GetRowPtr(6));
        if (!HasMask(format)) continue;
        EXPECT_EQ(MaskBlock(copy), MaskBlock(tile));
        EXPECT_NE(copy.GetAlphaRowPtr(6), tile.GetAlphaRowPtr(6));
    }
}

TEST(ZScanRect, AssignmentToItselfChangesNothing) {
    ZScanRect tile(5, 4, shr::BGR_24);
    FillBlocks(tile, 9);
    const auto pixels = PixelBlock(tile), mask = MaskBlock(tile);
    const std::uint8_t *row = tile.GetRowPtr(2), *maskRow = tile.GetAlphaRowPtr(2);
    const ZScanRect& same = tile;
    tile = same;
    EXPECT_EQ(tile.GetRowPtr(2), row);
    EXPECT_EQ(tile.GetAlphaRowPtr(2), maskRow);
    EXPECT_EQ(PixelBlock(tile), pixels);
    EXPECT_EQ(MaskBlock(tile), mask);
}

TEST(ZScanRect, AssignmentOfTheSameShapeKeepsTheMemory) {
    ZScanRect source(5, 4, shr::INDEXED_4), target(5, 4, shr::INDEXED_4);
    FillBlocks(source, 3);
    const std::uint8_t *row = target.GetRowPtr(3), *maskRow = target.GetAlphaRowPtr(3);
    target = source;
    EXPECT_EQ(target.GetRowPtr(3), row);
    EXPECT_EQ(target.GetAlphaRowPtr(3), maskRow);
    EXPECT_EQ(PixelBlock(target), PixelBlock(source));
    EXPECT_EQ(MaskBlock(target), MaskBlock(source));
}

TEST(ZScanRect, AssignmentTakesOverEveryShape) {
    for (const ColorFormat from : kFormats)
        for (const ColorFormat to : kFormats) {
            ZScanRect source(6, 9, from), target(11, 2, to);
            FillBlocks(source, 77);
            target = source;
            ASSERT_EQ(target.GetWidth(), 6);
            ASSERT_EQ(target.GetHeight(), 9);
            ASSERT_EQ(target.GetColorFormat(), from);
            ASSERT_EQ(PixelBlock(target), PixelBlock(source));
            ASSERT_EQ(target.GetAlphaRowPtr(0) != nullptr, HasMask(from));
            if (HasMask(from)) { ASSERT_EQ(MaskBlock(target), MaskBlock(source)); }
        }
}

TEST(ZScanRect, AssignmentTellsShapesApartByEachOfTheirThreeValues) {
    const ZScanRect source(8, 8, shr::GRAYSCALE_8);
    for (OpenScanRect target : {OpenScanRect(9, 8, shr::GRAYSCALE_8), OpenScanRect(8, 9, shr::GRAYSCALE_8),
                                OpenScanRect(8, 8, shr::INDEXED_8)}) {
        target.Copy(source);
        EXPECT_EQ(target.GetWidth(), 8);
        EXPECT_EQ(target.GetHeight(), 8);
        EXPECT_EQ(target.GetColorFormat(), shr::GRAYSCALE_8);
    }
}

TEST(ZScanRect, SetAlphaToMaxMakesTheWholeMaskOpaque) {
    OpenScanRect tile(33, 3, shr::BGR_24);
    FillBlocks(tile, 1);
    const auto pixels = PixelBlock(tile);
    tile.SetAlphaToMax();
    EXPECT_EQ(MaskBlock(tile), std::vector<std::uint8_t>(24, 0xFF));
    EXPECT_EQ(PixelBlock(tile), pixels);
}

TEST(ZScanRect, SetAlphaToMaxLeavesPixelsWithAlphaAlone) {
    OpenScanRect tile(3, 3, shr::BGRA_32);
    FillBlocks(tile, 1);
    const auto pixels = PixelBlock(tile);
    tile.SetAlphaToMax();
    EXPECT_EQ(PixelBlock(tile), pixels);
}

TEST(ZScanRect, CreateMakesALiveTileAnew) {
    OpenScanRect tile(3, 3, shr::BGRA_32);
    FillBlocks(tile, 1);
    tile.Create(40, 2, shr::INDEXED_1);
    EXPECT_EQ(tile.GetWidth(), 40);
    EXPECT_EQ(tile.GetHeight(), 2);
    EXPECT_EQ(tile.GetColorFormat(), shr::INDEXED_1);
    EXPECT_EQ(PixelBlock(tile), std::vector<std::uint8_t>(16, 0));
    EXPECT_EQ(MaskBlock(tile), std::vector<std::uint8_t>(16, 0xFF));
    tile.Create(2, 2, shr::RGBA_32);
    EXPECT_EQ(tile.GetAlphaRowPtr(0), nullptr);
    EXPECT_EQ(tile.GetAlphaStride(), 0);
}

TEST(ZScanRect, FailedCreateLeavesTheTileAsItWas) {
    OpenScanRect tile(13, 5, shr::INDEXED_4);
    FillBlocks(tile, 8);
    const auto pixels = PixelBlock(tile), mask = MaskBlock(tile);
    const std::uint8_t *row = tile.GetRowPtr(1), *maskRow = tile.GetAlphaRowPtr(1);

    EXPECT_TRUE(RaisesInternalError([&] { tile.Create(-1, 5, shr::BGRA_32); }, ScanRectCheck::size));
    EXPECT_TRUE(RaisesInternalError([&] { tile.Create(5, 5, shr::FORMAT_NONE); }, ScanRectCheck::formatRange));
    EXPECT_THROW(tile.Create(1 << 28, 1 << 20, shr::BGRA_32), std::bad_alloc);

    EXPECT_EQ(tile.GetWidth(), 13);
    EXPECT_EQ(tile.GetHeight(), 5);
    EXPECT_EQ(tile.GetColorFormat(), shr::INDEXED_4);
    EXPECT_EQ(tile.GetRowPtr(1), row);
    EXPECT_EQ(tile.GetAlphaRowPtr(1), maskRow);
    EXPECT_EQ(PixelBlock(tile), pixels);
    EXPECT_EQ(MaskBlock(tile), mask);
}

TEST(ZScanRect, AfterFreeCanBeCreatedAssignedAndDestroyed) {
    for (const ColorFormat format : {shr::BGR_24, shr::BGRA_32}) {
        ZScanRect source(4, 4, format);
        FillBlocks(source, 6);
        OpenScanRect created(4, 4, format), assigned(4, 4, format), destroyed(4, 4, format);
        created.Free();
        created.Create(4, 4, format);
        EXPECT_EQ(PixelBlock(created), std::vector<std::uint8_t>(PixelBytes(created), 0));
        assigned.Free();
        assigned.Copy(source);
        EXPECT_EQ(PixelBlock(assigned), PixelBlock(source));
        destroyed.Free();
        destroyed.Free();
    }
}

TEST(ZScanRect, UpdateRowPtrsPointsAtTheSameRowsAgain) {
    OpenScanRect tile(9, 4, shr::GRAYSCALE_4);
    std::vector<const std::uint8_t*> rows, maskRows;
    for (int row = 0; row < 4; ++row) {
        rows.push_back(tile.GetRowPtr(row));
        maskRows.push_back(tile.GetAlphaRowPtr(row));
    }
    tile.UpdateRowPtrs();
    for (std::size_t row = 0; row < 4; ++row) {
        EXPECT_EQ(tile.GetRowPtr(static_cast<int>(row)), rows[row]);
        EXPECT_EQ(tile.GetAlphaRowPtr(static_cast<int>(row)), maskRows[row]);
    }
}

}  // namespace
