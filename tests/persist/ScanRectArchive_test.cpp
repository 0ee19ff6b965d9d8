// The tile's record in an archive.
#include <gtest/gtest.h>

#include <limits>
#include <new>

#include "core/checks/ScanRectChecks.h"
#include "shr/Archive.h"
#include "support_code/ArchiveBytes.h"
#include "support_code/AsanOptions.h"
#include "support_code/ExpectError.h"
#include "support_code/Pixels.h"
#include "zbm/SerializeIO.h"
#include "zbm/ZScanRect.h"

namespace {

using testkit::ArchiveReader;
using testkit::ArchiveWriter;
using testkit::Bytes;
using testkit::PlainArchive;
using testkit::RaisesInternalError;
using testkit::RaisesReadArchive;
using zbm::ScanRectCheck;
using zbm::SerializeIO;
using zbm::ZScanRect;
using zcdl::CodecMethod;

Bytes PixelBlock(const ZScanRect& tile) {
    const std::uint8_t* start = tile.GetRowPtr(tile.GetHeight() - 1);
    return {start, start - tile.GetHeight() * tile.GetStride()};
}

Bytes MaskBlock(const ZScanRect& tile) {
    const std::uint8_t* start = tile.GetAlphaRowPtr(tile.GetHeight() - 1);
    return {start, start - tile.GetHeight() * tile.GetAlphaStride()};
}

void FillBlocks(ZScanRect& tile) {
    for (int row = 0; row < tile.GetHeight(); ++row) {
        for (int i = 0; i < -tile.GetStride(); ++i)
            tile.GetRowPtr(row)[i] = static_cast<std::uint8_t>(31 * row + 7 * i);
        for (int i = 0; i < -tile.GetAlphaStride(); ++i)
            tile.GetAlphaRowPtr(row)[i] = static_cast<std::uint8_t>(17 * row + 3 * i);
    }
}

Bytes Stored(ZScanRect& tile, CodecMethod method) {
    PlainArchive archive;
    SerializeIO io(archive, false, method);
    tile.Serialize(io);
    return archive.bytes;
}

void Load(ZScanRect& tile, const Bytes& bytes) {
    PlainArchive archive(bytes);
    SerializeIO io(archive, false);
    tile.Serialize(io);
}

TEST(TileInArchive, IsVersionWidthHeightFormatAndItsBlocks) {
    ZScanRect tile(3, 2, shr::BGR_24);
    for (int x = 0; x < 12; ++x) {
        tile.GetRowPtr(0)[x] = static_cast<std::uint8_t>(0x10 + x);
        tile.GetRowPtr(1)[x] = static_cast<std::uint8_t>(0x50 + x);
    }
    tile.GetAlphaRowPtr(0)[0] = 0xA0;
    const Bytes pixels = {0x50, 0x51, 0x52, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59, 0x5A, 0x5B,   // row 1
                          0x10, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0x19, 0x1A, 0x1B};  // row 0
    const Bytes mask = {0xFF, 0xFF, 0xFF, 0xFF, 0xA0, 0xFF, 0xFF, 0xFF};
    const Bytes head = {1, 0,         // version
                        3, 0, 0, 0,   // width
                        2, 0, 0, 0,   // height
                        9, 0, 0, 0};  // format
    for (const CodecMethod method :
         {CodecMethod::stored, CodecMethod::fast, CodecMethod::balanced, CodecMethod::small}) {
        const Bytes stored = Stored(tile, method);
        EXPECT_EQ(Bytes(stored.begin(), stored.begin() + 14), head);
        ArchiveReader reader(stored);
        reader.Raw(14);
        EXPECT_EQ(reader.Block(24), pixels);
        EXPECT_EQ(reader.Block(8), mask);
        EXPECT_TRUE(reader.AtEnd());
    }
}

TEST(TileInArchive, HasOneBlockWithAlphaChannelAndTwoWithout) {
    for (const shr::ColorFormat format : testkit::kFormats) {
        SCOPED_TRACE(testkit::FormatName(format));
        ZScanRect tile(35, 6, format);
        FillBlocks(tile);
        ArchiveReader reader(Stored(tile, CodecMethod::balanced));
        EXPECT_EQ(reader.U16(), 1u);
        EXPECT_EQ(reader.I32(), 35);
        EXPECT_EQ(reader.I32(), 6);
        EXPECT_EQ(reader.I32(), format);
        EXPECT_EQ(
            reader.Block(static_cast<std::size_t>(6 * testkit::PaddedRowBytes(35, testkit::BitsPerPixel(format)))),
            PixelBlock(tile));
        if (testkit::HasMask(format)) { EXPECT_EQ(reader.Block(6 * 8), MaskBlock(tile)); }
        EXPECT_TRUE(reader.AtEnd());
    }
}

TEST(TileInArchive, MakesTheLoadingTileWhatItIs) {
    for (const shr::ColorFormat format : testkit::kFormats)
        for (const CodecMethod method : {CodecMethod::stored, CodecMethod::balanced}) {
            ZScanRect tile(35, 6, format);
            FillBlocks(tile);
            for (ZScanRect back : {ZScanRect(), ZScanRect(35, 6, format), ZScanRect(90, 2, shr::INDEXED_1)}) {
                Load(back, Stored(tile, method));
                ASSERT_EQ(back.GetWidth(), 35);
                ASSERT_EQ(back.GetHeight(), 6);
                ASSERT_EQ(back.GetColorFormat(), format);
                ASSERT_EQ(PixelBlock(back), PixelBlock(tile));
                if (testkit::HasMask(format)) { ASSERT_EQ(MaskBlock(back), MaskBlock(tile)); }
            }
        }
}

TEST(TileInArchive, OfAnotherVersionIsRefusedAndLeavesTheTileAsItWas) {
    for (const unsigned version : {0u, 2u, 0xFFFFu}) {
        ZScanRect tile(3, 3, shr::BGR_24);
        FillBlocks(tile);
        const Bytes pixels = PixelBlock(tile);
        PlainArchive archive(ArchiveWriter().U16(version).I32(1).I32(1).I32(10).Block(Bytes(4)).Take());
        SerializeIO io(archive, false);
        EXPECT_TRUE(RaisesReadArchive([&] { return tile.Serialize(io); }, ScanRectCheck::recordVersion));
        EXPECT_EQ(archive.position, 2u) << "nothing else is read";
        EXPECT_EQ(PixelBlock(tile), pixels);
    }
}

TEST(TileInArchive, OfBadSizeOrFormatIsRefusedAndLeavesAUsableTile) {
    struct Case {
        int width, height, format;
        ScanRectCheck check;
    };
    for (const Case& c : {Case{-1, 1, 10, ScanRectCheck::size},
                          {0, 1, 10, ScanRectCheck::size},
                          {1, 0, 10, ScanRectCheck::size},
                          {1, -5, 10, ScanRectCheck::size},
                          {0, 0, 0, ScanRectCheck::size},
                          {1, 1, 0, ScanRectCheck::formatRange},
                          {1, 1, 14, ScanRectCheck::formatRange},
                          {1, 1, -1, ScanRectCheck::formatRange},
                          {std::numeric_limits<int>::min(), 1, 1, ScanRectCheck::size}}) {
        ZScanRect tile(3, 3, shr::BGR_24);
        FillBlocks(tile);
        const Bytes pixels = PixelBlock(tile);
        const Bytes bytes = ArchiveWriter().TileHead(c.width, c.height, c.format).Block(Bytes(4)).Take();
        EXPECT_TRUE(RaisesInternalError([&] { Load(tile, bytes); }, c.check));
        EXPECT_EQ(PixelBlock(tile), pixels);
        EXPECT_EQ(tile.GetWidth(), 3);
        tile = ZScanRect(5, 5, shr::RGBA_32);
        EXPECT_EQ(tile.GetWidth(), 5);
    }
}

TEST(TileInArchive, TooLargeToBeRealIsRefusedBeforeMemoryIsTaken) {
    constexpr int kMax = std::numeric_limits<int>::max();
    for (const auto& [width, height] : {std::pair{kMax, kMax}, {1 << 16, 1 << 15}, {1 << 28, 4}, {kMax, 3}}) {
        ZScanRect tile(3, 3, shr::BGR_24);
        const Bytes bytes = ArchiveWriter().TileHead(width, height, shr::BGRA_32).Block(Bytes(4)).Take();
        EXPECT_TRUE(RaisesReadArchive([&] { Load(tile, bytes); }, ScanRectCheck::recordBlocks));
        shr::MemoryArchive archive(bytes);
        SerializeIO io(archive, false);
        EXPECT_TRUE(RaisesReadArchive([&] { return tile.Serialize(io); }, ScanRectCheck::recordBlocks));
        EXPECT_EQ(tile.GetWidth(), 3);
    }
}

TEST(TileInArchive, ThatTheRestOfTheArchiveCannotHoldIsRefused) {
    ZScanRect tile(3, 3, shr::BGR_24);
    FillBlocks(tile);
    const Bytes pixels = PixelBlock(tile);
    shr::MemoryArchive archive(ArchiveWriter().TileHead(1 << 14, 1 << 14, shr::BGRA_32).Block(Bytes(4)).Take());
    SerializeIO io(archive, false);
    EXPECT_TRUE(RaisesReadArchive([&] { return tile.Serialize(io); }, ScanRectCheck::recordLength));
    EXPECT_EQ(PixelBlock(tile), pixels);
}

TEST(TileInArchive, WithDamagedBlocksLoadsAsZeroesAndStaysInStep) {
    ZScanRect tile(3, 3, shr::BGR_24);
    PlainArchive archive(ArchiveWriter().TileHead(3, 3, 9).U32(0).U32(0).U16(77).Take());
    SerializeIO io(archive, false);
    tile.Serialize(io);
    EXPECT_EQ(PixelBlock(tile), Bytes(36, 0));
    EXPECT_EQ(MaskBlock(tile), Bytes(12, 0));
    EXPECT_EQ(io.ReadObjVersion(), 77u);
}

TEST(TileInArchive, ThatIsCutShortRaisesTheArchivesErrorAndLeavesAUsableTile) {
    ZScanRect tile(5, 4, shr::INDEXED_4);
    FillBlocks(tile);
    const Bytes whole = Stored(tile, CodecMethod::stored);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        ZScanRect back(2, 2, shr::BGRA_32);
        EXPECT_THROW(Load(back, Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size))),
                     testkit::ArchiveFailure);
        back = tile;
        EXPECT_EQ(PixelBlock(back), PixelBlock(tile));
    }
}

TEST(TileInArchive, TooLargeToFrameIsNotStored) {
    // Untouched zero pages: the memory is reserved, not used.
    ZScanRect tile(1 << 16, (1 << 14) + 1, shr::BGRA_32);
    PlainArchive archive;
    SerializeIO io(archive, false);
    EXPECT_TRUE(testkit::RaisesNamedError([&] { return tile.Serialize(io); }, testkit::kWriteArchiveText,
                                          ScanRectCheck::storedBlocks));
    EXPECT_TRUE(archive.bytes.empty());
}

}  // namespace
