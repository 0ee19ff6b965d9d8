// Every request for memory fails once, and for good, in all that makes and fills a tile. A tile keeps what it was.
#include <cstring>

#include "faults/FaultInjection.h"
#include "faults/FaultyBitmaps.h"
#include "shr/BufferedFile.h"
#include "support_code/ScratchFolder.h"

namespace faults {
namespace {

using zbm::ZScanRect;

void FillTile(ZScanRect& tile) {
    for (int y = 0; y < tile.GetHeight(); ++y)
        for (int x = 0; x < tile.GetWidth(); ++x) {
            testkit::SetPixelAt(tile.GetRowPtr(y), x, tile.GetColorFormat(),
                                testkit::FormulaPixel(tile.GetColorFormat(), x, y));
            if (tile.GetAlphaStride() != 0) testkit::SetMaskAt(tile.GetAlphaRowPtr(y), x, testkit::FormulaMask(x, y));
        }
}

ZScanRect MakeTile(int width, int height, ColorFormat format) {
    ZScanRect tile(width, height, format);
    FillTile(tile);
    return tile;
}

testing::AssertionResult IsSameTile(const ZScanRect& a, const ZScanRect& b) {
    if (a.GetWidth() != b.GetWidth() || a.GetHeight() != b.GetHeight() || a.GetColorFormat() != b.GetColorFormat() ||
        a.GetStride() != b.GetStride() || a.GetAlphaStride() != b.GetAlphaStride())
        return testing::AssertionFailure() << "the tiles' shapes differ";
    const auto rowBytes = static_cast<std::size_t>(-a.GetStride());
    const auto maskBytes = static_cast<std::size_t>(-a.GetAlphaStride());
    for (int y = 0; y < a.GetHeight(); ++y)
        if (std::memcmp(a.GetRowPtr(y), b.GetRowPtr(y), rowBytes) != 0 ||
            (maskBytes != 0 && std::memcmp(a.GetAlphaRowPtr(y), b.GetAlphaRowPtr(y), maskBytes) != 0))
            return testing::AssertionFailure() << "row " << y << " differs";
    return testing::AssertionSuccess();
}

TEST(TileRequests, FailingInAConstructorLeaveNothing) {
    for (const ColorFormat format : kFormats) {
        SCOPED_TRACE(testkit::FormatName(format));
        const unsigned failed =
            FailEveryRequest([] { return std::unique_ptr<ZScanRect>(); },
                             [&](auto& tile) { tile = std::make_unique<ZScanRect>(5, 3, format); },
                             [](auto& tile, Outcome outcome) { EXPECT_EQ(tile != nullptr, outcome == Outcome::done); });
        EXPECT_GE(failed, testkit::HasMask(format) ? 4u : 2u);
    }
}

TEST(TileRequests, FailingInACopyLeaveNothing) {
    for (const ColorFormat format : kFormats) {
        SCOPED_TRACE(testkit::FormatName(format));
        const ZScanRect source = MakeTile(5, 3, format);
        const unsigned failed = FailEveryRequest([] { return std::unique_ptr<ZScanRect>(); },
                                                 [&](auto& tile) { tile = std::make_unique<ZScanRect>(source); },
                                                 [&](auto& tile, Outcome outcome) {
                                                     ASSERT_EQ(tile != nullptr, outcome == Outcome::done);
                                                     if (tile) { EXPECT_TRUE(IsSameTile(*tile, source)); }
                                                 });
        EXPECT_GE(failed, testkit::HasMask(format) ? 4u : 2u);
    }
}

TEST(TileRequests, FailingInAnAssignmentLeaveTheTileAsItWas) {
    for (const ColorFormat format : kFormats) {
        SCOPED_TRACE(testkit::FormatName(format));
        const ZScanRect source = MakeTile(5, 3, format), old = MakeTile(2, 7, shr::GRAYSCALE_16);
        const unsigned failed =
            FailEveryRequest([&] { return ZScanRect(old); }, [&](ZScanRect& tile) { tile = source; },
                             [&](ZScanRect& tile, Outcome outcome) {
                                 EXPECT_TRUE(IsSameTile(tile, outcome == Outcome::done ? source : old));
                             });
        EXPECT_GE(failed, testkit::HasMask(format) ? 4u : 2u);
    }
}

TEST(TileRequests, FailingInCopyFromDibLeaveTheTileAsItWas) {
    for (const int bitCount : {1, 4, 8, 16, 24, 32}) {
        SCOPED_TRACE(bitCount);
        BITMAPINFOHEADER header{};
        header.biSize = sizeof header;
        header.biWidth = 9;
        header.biHeight = 5;
        header.biPlanes = 1;
        header.biBitCount = static_cast<WORD>(bitCount);
        Bytes bits(static_cast<std::size_t>(testkit::PaddedRowBytes(9, bitCount)) * 5);
        for (std::size_t i = 0; i < bits.size(); ++i) bits[i] = static_cast<std::uint8_t>(31 * i + 7);
        const ZScanRect old = MakeTile(4, 3, shr::GRAYSCALE_16);
        ZScanRect filled(4, 3, shr::GRAYSCALE_16);
        filled.CopyFromDib(&header, bits.data(), 3, 1);

        const unsigned failed = FailEveryRequest(
            [&] { return ZScanRect(old); }, [&](ZScanRect& tile) { tile.CopyFromDib(&header, bits.data(), 3, 1); },
            [&](ZScanRect& tile, Outcome outcome) {
                EXPECT_TRUE(IsSameTile(tile, outcome == Outcome::done ? filled : old));
            });
        EXPECT_GE(failed, 2u);
    }
}

TEST(TileRequests, FailingWhileLoadingLeaveATileOfTheOldOrTheNewShape) {
    for (const ColorFormat format : kFormats) {
        SCOPED_TRACE(testkit::FormatName(format));
        ZScanRect source = MakeTile(5, 3, format);
        shr::MemoryArchive stored;
        zbm::SerializeIO storing(stored, false);
        source.Serialize(storing);
        struct Reading {
            ZScanRect tile;
            shr::MemoryArchive archive;
            zbm::SerializeIO io;
            explicit Reading(const Bytes& bytes)
                : tile(MakeTile(2, 7, shr::GRAYSCALE_16)), archive(bytes), io(archive, false) {}
        };
        const unsigned failed =
            FailEveryRequest([&] { return std::make_unique<Reading>(stored.Bytes()); },
                             [](auto& reading) { reading->tile.Serialize(reading->io); },
                             [&](auto& reading, Outcome outcome) {
                                 ZScanRect& tile = reading->tile;
                                 if (outcome == Outcome::done) {
                                     EXPECT_TRUE(IsSameTile(tile, source));
                                 } else if (tile.GetWidth() == 2) {
                                     EXPECT_TRUE(IsSameTile(tile, MakeTile(2, 7, shr::GRAYSCALE_16)));
                                 }
                                 tile = source;  // whatever shape it has, it is a tile that works
                                 EXPECT_TRUE(IsSameTile(tile, source));
                             });
        EXPECT_GE(failed, testkit::HasMask(format) ? 4u : 2u);
    }
}

TEST(TileRequests, FailingWhileWritingAndReadingAFileLeaveTheTilesWhole) {
    const testkit::ScratchFolder folder;
    const shr::ZString name = folder.File("tile");
    const ZScanRect source = MakeTile(5, 3, shr::INDEXED_4);
    FailEveryRequest([] { return ZScanRect(5, 3, shr::INDEXED_4); },
                     [&](ZScanRect& tile) {
                         OrBadAlloc([&] {
                             shr::CBufferedFile file;
                             file.Open(name, shr::FileAccess::readWrite, shr::FileMode::create, shr::FileSharing::none);
                             source.Write(file);
                             file.Seek(0);
                             tile.Read(file);
                             file.Close();
                         });
                     },
                     [&](ZScanRect& tile, Outcome outcome) {
                         if (outcome == Outcome::done) { EXPECT_TRUE(IsSameTile(tile, source)); }
                         FillTile(tile);
                         EXPECT_TRUE(IsSameTile(tile, source));
                     });
}

}  // namespace
}  // namespace faults
