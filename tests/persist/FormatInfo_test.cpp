// The format information with which every stored bitmap begins.
#include <gtest/gtest.h>

#include <limits>

#include "core/OpenBitmaps.h"
#include "core/checks/BitmapChecks.h"
#include "shr/Archive.h"
#include "support_code/ArchiveBytes.h"
#include "support_code/ExpectError.h"
#include "support_code/Pixels.h"
#include "zbm/ISerializeLegacyGCS.h"
#include "zbm/SerializeIO.h"

namespace {

using shr::Color4b;
using testkit::ArchiveWriter;
using testkit::Bytes;
using testkit::OpenBitmap;
using testkit::PlainArchive;
using testkit::RaisesInternalError;
using testkit::RaisesReadArchive;
using zbm::BitmapCheck;
using zbm::SerializeIO;

/// Reads 3 bytes of its own and notes where.
class LegacyReader : public zbm::ISerializeLegacyGCS {
public:
    void SerializeGCS(shr::ISerialize& archive) override {
        archives.push_back(&archive);
        archive.Read(bytes, 3);
    }
    std::vector<shr::ISerialize*> archives;
    std::uint8_t bytes[3] = {};
};

void Load(OpenBitmap& bitmap, const Bytes& bytes) {
    PlainArchive archive(bytes);
    SerializeIO io(archive, false);
    bitmap.SerializeFormatInfo(io, nullptr);
}

TEST(FormatInfo, IsNineValuesAndTheColors) {
    OpenBitmap bitmap;
    bitmap.Init(0x0102, 0x0304, shr::INDEXED_4, 0x0506, 0x0708);
    bitmap.SetXResolution(-2);
    bitmap.SetYResolution(0x11223344);
    const Color4b colors[] = {{1, 2, 3, 4}, {5, 6, 7, 8}};
    bitmap.FillColorTable(colors, 2);
    PlainArchive archive;
    SerializeIO io(archive, false);
    bitmap.SerializeFormatInfo(io, nullptr);
    EXPECT_EQ(archive.bytes, (Bytes{
                                 1,    0,                 // version
                                 0x02, 0x01, 0,    0,     // height
                                 0x04, 0x03, 0,    0,     // width
                                 7,    0,    0,    0,     // format
                                 0x06, 0x05, 0,    0,     // tile height
                                 0x08, 0x07, 0,    0,     // tile width
                                 0xFE, 0xFF, 0xFF, 0xFF,  // x resolution
                                 0x44, 0x33, 0x22, 0x11,  // y resolution
                                 2,    0,    0,    0,     // colours
                                 1,    2,    3,    4,     // red, green, blue, alpha
                                 5,    6,    7,    8,
                             }));
}

TEST(FormatInfo, OfAFormatWithoutTableHasNoColors) {
    OpenBitmap bitmap(5, 5, shr::BGR_24, 4, 4);
    PlainArchive archive;
    SerializeIO io(archive, false);
    bitmap.SerializeFormatInfo(io, nullptr);
    EXPECT_EQ(archive.bytes.size(), 2u + 8 * 4);
    EXPECT_EQ(Bytes(archive.bytes.end() - 4, archive.bytes.end()), Bytes(4, 0));
}

TEST(FormatInfo, Of256ColorsTakes1024BytesForThem) {
    OpenBitmap bitmap(5, 5, shr::INDEXED_8, 4, 4);
    PlainArchive archive;
    SerializeIO io(archive, false);
    bitmap.SerializeFormatInfo(io, nullptr);
    EXPECT_EQ(archive.bytes.size(), 2u + 8 * 4 + 1024);
}

TEST(FormatInfo, IsStoredWithoutALegacySerializer) {
    OpenBitmap bitmap(5, 5, shr::INDEXED_8, 4, 4);
    PlainArchive archive;
    SerializeIO io(archive, false);
    LegacyReader legacy;
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.SerializeFormatInfo(io, &legacy); }, BitmapCheck::legacyWhenStoring));
    EXPECT_TRUE(archive.bytes.empty());
    EXPECT_TRUE(legacy.archives.empty());
}

TEST(FormatInfo, MakesTheLoadingBitmapWhatItSays) {
    OpenBitmap bitmap(50, 50, shr::INDEXED_8, 4, 4);
    Load(bitmap, ArchiveWriter()
                     .U16(1)
                     .I32(6)
                     .I32(10)
                     .I32(7)
                     .I32(5)
                     .I32(4)
                     .I32(-2)
                     .I32(9)
                     .U32(2)
                     .Raw({1, 2, 3, 4, 5, 6, 7, 8})
                     .Take());
    EXPECT_EQ(bitmap.GetPixelHeight(), 6);
    EXPECT_EQ(bitmap.GetPixelWidth(), 10);
    EXPECT_EQ(bitmap.GetColorFormat(), shr::INDEXED_4);
    EXPECT_EQ(bitmap.GetScanRectHeight(), 5);
    EXPECT_EQ(bitmap.GetScanRectWidth(), 4);
    EXPECT_EQ(bitmap.GetXResolution(), -2);
    EXPECT_EQ(bitmap.GetYResolution(), 9);
    EXPECT_EQ(bitmap.GetNumColorTableItems(), 2u) << "the stored count replaces the format's";
    EXPECT_EQ(bitmap.GetColorTableItem(0), Color4b(1, 2, 3, 4));
    EXPECT_EQ(bitmap.GetColorTableItem(1), Color4b(5, 6, 7, 8));
    EXPECT_EQ(bitmap.GetConstColorTablePtr()[2], Color4b::Black);
    EXPECT_EQ(bitmap.GetNumScanRectRows(), 2);
    EXPECT_EQ(bitmap.GetNumScanRects(0), 3);
    for (const auto& row : bitmap.scanRectRows)
        for (const auto& tile : row.tiles) EXPECT_EQ(tile, nullptr);
    EXPECT_TRUE(bitmap.calls.empty()) << "neither setters nor tiles are asked";
}

TEST(FormatInfo, LetsALegacySerializerReadItsRecordAfterTheFirstFiveValues) {
    const Bytes bytes = ArchiveWriter()
                            .U16(1)
                            .I32(6)
                            .I32(10)
                            .I32(9)
                            .I32(5)
                            .I32(4)
                            .Raw({71, 72, 73})
                            .I32(111)
                            .I32(222)
                            .U32(0)
                            .U16(77)
                            .Take();
    PlainArchive archive(bytes);
    SerializeIO io(archive, false);
    OpenBitmap bitmap;
    LegacyReader legacy;
    bitmap.SerializeFormatInfo(io, &legacy);
    EXPECT_EQ(legacy.archives, std::vector<shr::ISerialize*>{&archive});
    EXPECT_EQ(legacy.bytes[0], 71);
    EXPECT_EQ(legacy.bytes[2], 73);
    EXPECT_EQ(bitmap.GetXResolution(), 111);
    EXPECT_EQ(bitmap.GetYResolution(), 222);
    EXPECT_EQ(bitmap.GetPixelWidth(), 10);
    EXPECT_EQ(io.ReadObjVersion(), 77u);
}

TEST(FormatInfo, OfAnotherVersionIsRefusedBeforeAnythingElseIsRead) {
    for (const unsigned version : {0u, 2u, 0xFFFFu}) {
        OpenBitmap bitmap(5, 5, shr::INDEXED_8, 4, 4);
        testkit::SetPixel(bitmap, 4, 4, 99);
        LegacyReader legacy;
        PlainArchive archive(ArchiveWriter().U16(version).Raw(Bytes(100)).Take());
        SerializeIO io(archive, false);
        EXPECT_TRUE(
            RaisesReadArchive([&] { bitmap.SerializeFormatInfo(io, &legacy); }, BitmapCheck::formatInfoVersion));
        EXPECT_EQ(archive.sizes, std::vector<unsigned>{2});
        EXPECT_TRUE(legacy.archives.empty());
        EXPECT_EQ(testkit::GetPixel(bitmap, 4, 4), 99u) << "the bitmap is untouched";
    }
}

TEST(FormatInfo, OfBadSizesOrFormatRaisesTheErrorsOfInit) {
    constexpr int kMin = std::numeric_limits<int>::min();
    struct Case {
        int height, width, format, tileHeight, tileWidth;
        BitmapCheck check;
    };
    for (const Case& c : {Case{-1, 5, 10, 4, 4, BitmapCheck::pixelSize},
                          {5, -1, 10, 4, 4, BitmapCheck::pixelSize},
                          {kMin, kMin, 10, 4, 4, BitmapCheck::pixelSize},
                          {5, 5, 10, 0, 4, BitmapCheck::tileSize},
                          {5, 5, 10, 4, 0, BitmapCheck::tileSize},
                          {5, 5, 10, -1, 4, BitmapCheck::tileSize},
                          {5, 5, 0, 4, 4, BitmapCheck::formatRange},
                          {5, 5, 14, 4, 4, BitmapCheck::formatRange},
                          {5, 5, -1, 4, 4, BitmapCheck::formatRange}}) {
        OpenBitmap bitmap(5, 5, shr::INDEXED_8, 4, 4);
        const Bytes bytes =
            ArchiveWriter().FormatInfo(c.height, c.width, c.format, c.tileHeight, c.tileWidth).Raw(Bytes(999)).Take();
        EXPECT_TRUE(RaisesInternalError([&] { Load(bitmap, bytes); }, c.check));
        EXPECT_EQ(bitmap.GetColorFormat(), shr::FORMAT_NONE);
        EXPECT_EQ(bitmap.GetNumScanRectRows(), 0);
        shr::MemoryArchive archive(bytes);
        SerializeIO io(archive, false);
        EXPECT_TRUE(RaisesInternalError([&] { bitmap.SerializeFormatInfo(io, nullptr); }, c.check));
    }
}

/// Of 5 x 5 pixels in tiles of 4 x 4.
Bytes BytesWithTable(int format, std::uint32_t count, const Bytes& colors) {
    return ArchiveWriter().U16(1).I32(5).I32(5).I32(format).I32(4).I32(4).I32(1).I32(1).U32(count).Raw(colors).Take();
}

TEST(FormatInfo, OfMoreColorsThanATableHoldsIsRefusedAndLeavesAnEmptyBitmap) {
    for (const std::uint32_t count : {257u, 65536u, 0x40000001u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu})
        for (const int format : {8, 9}) {
            OpenBitmap bitmap(5, 5, shr::INDEXED_8, 4, 4);
            const Bytes bytes = BytesWithTable(format, count, Bytes(3000, 0xEE));
            EXPECT_TRUE(RaisesReadArchive([&] { Load(bitmap, bytes); }, BitmapCheck::archivedColorCount));
            EXPECT_EQ(bitmap.GetColorFormat(), shr::FORMAT_NONE);
            EXPECT_EQ(bitmap.GetNumColorTableItems(), 0u);
            EXPECT_EQ(bitmap.GetNumScanRectRows(), 0);
            bitmap.Init(5, 5, shr::INDEXED_8, 4, 4);
            EXPECT_EQ(bitmap.GetColorTableItem(255), Color4b::Black);
        }
}

TEST(FormatInfo, OfAFullTableIsTaken) {
    OpenBitmap bitmap;
    Bytes colors;
    for (int i = 0; i < 1024; ++i) colors.push_back(static_cast<std::uint8_t>(i * 3));
    Load(bitmap, BytesWithTable(8, 256, colors));
    EXPECT_EQ(bitmap.GetNumColorTableItems(), 256u);
    EXPECT_EQ(std::memcmp(bitmap.GetConstColorTablePtr(), colors.data(), 1024), 0);
}

TEST(FormatInfo, OfMoreColorsThanTheFormatsTableHoldsCanBeCopied) {
    for (const shr::ColorFormat format : testkit::kFormats) {
        OpenBitmap loaded, copy;
        Load(loaded, BytesWithTable(format, 256, Bytes(1024, 0x77)));
        copy.Init(5, 5, format, 4, 4);
        copy.CopyColorTable(loaded);
        EXPECT_EQ(copy.GetNumColorTableItems(), static_cast<unsigned>(shr::ColorFmtToTblSize[format]));
    }
}

TEST(FormatInfo, HasUpTo256ColorsInAnyFormat) {
    Bytes colors;
    for (int i = 0; i < 1024; ++i) colors.push_back(static_cast<std::uint8_t>(i * 3));
    for (const shr::ColorFormat format : testkit::kFormats)
        for (const std::uint32_t count : {1u, 17u, 255u, 256u}) {
            const Bytes table(colors.begin(), colors.begin() + 4 * static_cast<std::ptrdiff_t>(count));
            const Bytes bytes = BytesWithTable(format, count, table);
            OpenBitmap bitmap;
            Load(bitmap, bytes);
            EXPECT_EQ(bitmap.GetNumColorTableItems(), count) << testkit::FormatName(format);
            EXPECT_EQ(std::memcmp(bitmap.GetConstColorTablePtr(), table.data(), table.size()), 0);
            PlainArchive archive;
            SerializeIO io(archive, false);
            bitmap.SerializeFormatInfo(io, nullptr);
            EXPECT_EQ(archive.bytes, bytes) << "and is stored again as it was";
        }
}

TEST(FormatInfo, OfABitmapWithoutFormatIsNotStored) {
    OpenBitmap bitmap(5, 5, shr::INDEXED_8, 4, 4);
    bitmap.Free();
    PlainArchive archive;
    SerializeIO io(archive, false);
    EXPECT_TRUE(testkit::RaisesNamedError([&] { bitmap.SerializeFormatInfo(io, nullptr); }, testkit::kWriteArchiveText,
                                          BitmapCheck::storedFormat));
    EXPECT_TRUE(archive.bytes.empty());
}

TEST(FormatInfo, OfABitmapOfAnyClassLaysItsGridOutWhetherOrNotTheArchiveTellsItsLength) {
    const Bytes bytes = ArchiveWriter().FormatInfo(300, 301, 10, 1, 1).Take();
    OpenBitmap bitmap;
    Load(bitmap, bytes);
    EXPECT_EQ(bitmap.GetNumScanRectRows(), 300);
    EXPECT_EQ(bitmap.GetNumScanRects(299), 301);
}

TEST(FormatInfo, OfAGridThatTheRestOfTheArchiveCannotHoldIsRefused) {
    constexpr int kMax = std::numeric_limits<int>::max();
    struct Case {
        int height, width, format, tileHeight, tileWidth;
    };
    for (const Case& c : {Case{kMax, kMax, 10, 1, 1},
                          {kMax, kMax, 1, 512, 512},
                          {1 << 20, 1 << 20, 9, 16, 16},
                          {1, kMax, 5, 1, 1},
                          {kMax, 1, 5, 1, 1},
                          {kMax, 0, 5, 1, 1},
                          {100, 100, 10, 1, 1}}) {
        OpenBitmap bitmap(5, 5, shr::INDEXED_8, 4, 4);
        shr::MemoryArchive archive(
            ArchiveWriter().FormatInfo(c.height, c.width, c.format, c.tileHeight, c.tileWidth).Raw(Bytes(2000)).Take());
        SerializeIO io(archive, false);
        EXPECT_TRUE(RaisesReadArchive([&] { bitmap.SerializeFormatInfo(io, nullptr); }, BitmapCheck::archivedTiles))
            << c.width << " x " << c.height;
        EXPECT_EQ(bitmap.GetColorFormat(), shr::FORMAT_NONE);
        EXPECT_EQ(bitmap.GetNumScanRectRows(), 0);
    }
}

TEST(FormatInfo, OfAGridWithoutEndIsRefusedEvenWhereTheArchiveDoesNotTellItsLength) {
    constexpr int kMax = std::numeric_limits<int>::max();
    for (const auto& [height, width] : {std::pair{kMax, kMax}, {kMax, 1}, {1, kMax}, {kMax, 0}}) {
        OpenBitmap bitmap;
        EXPECT_TRUE(RaisesReadArchive(
            [&, h = height, w = width] { Load(bitmap, ArchiveWriter().FormatInfo(h, w, 10, 1, 1).Take()); },
            BitmapCheck::archivedTiles));
        EXPECT_EQ(bitmap.GetNumScanRectRows(), 0);
    }
}

}  // namespace
