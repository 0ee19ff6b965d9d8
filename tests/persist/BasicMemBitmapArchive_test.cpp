// The record of a bitmap in memory: format information, version, tiles.
#include <gtest/gtest.h>

#include <vector>

#include "core/OpenBitmaps.h"
#include "core/checks/BasicMemBitmapChecks.h"
#include "core/checks/BitmapChecks.h"
#include "core/checks/ScanRectChecks.h"
#include "shr/Archive.h"
#include "support_code/ArchiveBytes.h"
#include "support_code/ExpectError.h"
#include "support_code/FormulaPicture.h"
#include "support_code/TestProgress.h"
#include "zbm/ISerializeLegacyGCS.h"
#include "zbm/SerializeIO.h"

namespace {

using testkit::ArchiveFailure;
using testkit::ArchiveReader;
using testkit::ArchiveWriter;
using testkit::Bytes;
using testkit::FormulaBitmap;
using testkit::IsFormulaPicture;
using testkit::OpenBasicMemBitmap;
using testkit::PlainArchive;
using testkit::RaisesInternalError;
using testkit::RaisesReadArchive;
using testkit::TestProgress;
using zbm::BasicMemBitmapCheck;
using zbm::BitmapCheck;
using zbm::ScanRectCheck;
using zbm::SerializeIO;
using zbm::ZBasicMemBitmap;
using zcdl::CodecMethod;

class NoLegacy : public zbm::ISerializeLegacyGCS {
public:
    void SerializeGCS(shr::ISerialize&) override { FAIL() << "the legacy serializer is called"; }
};

Bytes Stored(ZBasicMemBitmap& bitmap, CodecMethod method = CodecMethod::stored) {
    PlainArchive archive;
    SerializeIO io(archive, false, method);
    EXPECT_TRUE(bitmap.Serialize(io, nullptr, nullptr));
    return archive.bytes;
}

bool Load(ZBasicMemBitmap& bitmap, const Bytes& bytes, shr::IProgress* progress = nullptr) {
    PlainArchive archive(bytes);
    SerializeIO io(archive, false);
    return bitmap.Serialize(io, progress, nullptr);
}

bool LoadKnowingLength(ZBasicMemBitmap& bitmap, const Bytes& bytes) {
    shr::MemoryArchive archive(bytes);
    SerializeIO io(archive, false);
    return bitmap.Serialize(io, nullptr, nullptr);
}

testing::AssertionResult IsEmptyAndUsable(ZBasicMemBitmap& bitmap) {
    if (bitmap.GetColorFormat() != shr::FORMAT_NONE || bitmap.GetNumScanRectRows() != 0)
        return testing::AssertionFailure()
               << "format " << bitmap.GetColorFormat() << ", " << bitmap.GetNumScanRectRows() << " rows";
    bitmap.Create(37, 23, shr::INDEXED_4, 13, 9);
    testkit::FillByFormula(bitmap);
    return IsFormulaPicture(bitmap);
}

testing::AssertionResult IsOnePixel(const ZBasicMemBitmap& bitmap) {
    if (bitmap.GetPixelWidth() != 1 || bitmap.GetPixelHeight() != 1 || bitmap.GetColorFormat() != shr::BGRA_32 ||
        bitmap.GetScanRectWidth() != 512 || bitmap.GetScanRectHeight() != 512)
        return testing::AssertionFailure() << bitmap.GetPixelWidth() << " x " << bitmap.GetPixelHeight();
    return testing::AssertionSuccess() << bitmap.LockScanRect(0, 0).GetWidth();
}

/// Two rows of two tiles, 4 x 4, 1 x 4, 4 x 2 and 1 x 2 pixels of BGRA_32, all bytes of tile i being i.
Bytes FourTiles(unsigned bitmapVersion = 1) {
    ArchiveWriter writer;
    writer.FormatInfo(6, 5, shr::BGRA_32, 4, 4).U16(bitmapVersion);
    const int sizes[4][2] = {{4, 4}, {1, 4}, {4, 2}, {1, 2}};
    for (std::uint8_t i = 0; i < 4; ++i)
        writer.TileHead(sizes[i][0], sizes[i][1], shr::BGRA_32)
            .Block(Bytes(static_cast<std::size_t>(4 * sizes[i][0] * sizes[i][1]), i));
    return writer.Take();
}

TEST(BitmapArchive, IsFormatInfoThenVersionThenTilesRowByRow) {
    ZBasicMemBitmap bitmap(5, 6, shr::BGRA_32, 4, 4);
    bitmap.SetXResolution(100);
    bitmap.SetYResolution(200);
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 5; ++x)
            testkit::SetPixel(bitmap, x, y, 0x01010101u * static_cast<unsigned>(2 * (y / 4) + x / 4));
    EXPECT_EQ(Stored(bitmap), FourTiles());
    ZBasicMemBitmap back(1, 1, shr::GRAYSCALE_1);
    EXPECT_TRUE(Load(back, FourTiles()));
    EXPECT_TRUE(testkit::AreEqual(back, bitmap));
}

TEST(BitmapArchive, OfAPictureWithoutPixelsHoldsNoTiles) {
    ZBasicMemBitmap bitmap(1, 1, shr::BGR_24);
    for (const auto& [width, height] : {std::pair{0, 0}, {0, 700}, {700, 0}}) {
        bitmap.Create(width, height, shr::BGR_24, 512, 512);
        const Bytes stored = Stored(bitmap);
        EXPECT_EQ(stored.size(), 2u + 8 * 4 + 2);
        ZBasicMemBitmap back(9, 9, shr::BGRA_32);
        EXPECT_TRUE(LoadKnowingLength(back, stored));
        EXPECT_EQ(back.GetPixelWidth(), width);
        EXPECT_EQ(back.GetPixelHeight(), height);
        EXPECT_EQ(back.GetColorFormat(), shr::BGR_24);
    }
}

struct Shape {
    int width, height, tileWidth, tileHeight;
};

TEST(BitmapArchive, GivesEachTileItsOwnSizeAndAsManyBlocksAsItsFormatHasPlanes) {
    for (const Shape& shape : {Shape{8, 6, 4, 3}, {9, 7, 4, 3}, {37, 23, 13, 9}, {3, 2, 512, 512}})
        for (const shr::ColorFormat format : testkit::kFormats) {
            SCOPED_TRACE(testkit::FormatName(format));
            ZBasicMemBitmap bitmap =
                FormulaBitmap(shape.width, shape.height, format, shape.tileWidth, shape.tileHeight);
            ArchiveReader reader(Stored(bitmap, CodecMethod::balanced));
            reader.Raw(2 + 7 * 4);
            const std::uint32_t colors = reader.U32();
            EXPECT_EQ(colors, static_cast<unsigned>(testkit::TableSize(format)));
            reader.Raw(4 * colors);
            EXPECT_EQ(reader.U16(), 1u);
            for (int top = 0; top < shape.height; top += shape.tileHeight)
                for (int left = 0; left < shape.width; left += shape.tileWidth) {
                    const int width = std::min(shape.tileWidth, shape.width - left);
                    const int height = std::min(shape.tileHeight, shape.height - top);
                    EXPECT_EQ(reader.U16(), 1u);
                    ASSERT_EQ(reader.I32(), width);
                    ASSERT_EQ(reader.I32(), height);
                    ASSERT_EQ(reader.I32(), format);
                    const int rowBytes = testkit::PaddedRowBytes(width, testkit::BitsPerPixel(format));
                    const Bytes pixels = reader.Block(static_cast<std::size_t>(height * rowBytes));
                    for (int y = 0; y < height; ++y)
                        for (int x = 0; x < width; ++x)
                            ASSERT_EQ(testkit::PixelAt(pixels.data() + (height - 1 - y) * rowBytes, x, format),
                                      testkit::FormulaPixel(format, left + x, top + y));
                    if (!testkit::HasMask(format)) continue;
                    const int maskBytes = testkit::PaddedRowBytes(width, 1);
                    const Bytes mask = reader.Block(static_cast<std::size_t>(height * maskBytes));
                    for (int y = 0; y < height; ++y)
                        for (int x = 0; x < width; ++x)
                            ASSERT_EQ(testkit::MaskAt(mask.data() + (height - 1 - y) * maskBytes, x),
                                      testkit::FormulaMask(left + x, top + y));
                }
            EXPECT_TRUE(reader.AtEnd());
        }
}

TEST(BitmapArchive, IsWrittenInPiecesOfAtMostOneTile) {
    ZBasicMemBitmap bitmap = FormulaBitmap(64, 64, shr::BGR_24, 16, 16);
    PlainArchive archive;
    SerializeIO io(archive, false, CodecMethod::stored);
    EXPECT_TRUE(bitmap.Serialize(io, nullptr, nullptr));
    for (const unsigned size : archive.sizes) EXPECT_LE(size, zcdl::MaxEncodedSize(16 * 48));
}

TEST(BitmapArchive, TakesNoLegacySerializerInEitherDirection) {
    ZBasicMemBitmap bitmap = FormulaBitmap(37, 23, shr::INDEXED_4, 13, 9);
    NoLegacy legacy;
    PlainArchive storing, loading(FourTiles());
    SerializeIO out(storing, false), in(loading, false);
    EXPECT_TRUE(
        RaisesInternalError([&] { return bitmap.Serialize(out, nullptr, &legacy); }, BasicMemBitmapCheck::legacy));
    EXPECT_TRUE(
        RaisesInternalError([&] { return bitmap.Serialize(in, nullptr, &legacy); }, BasicMemBitmapCheck::legacy));
    EXPECT_TRUE(storing.bytes.empty());
    EXPECT_EQ(loading.position, 0u);
    EXPECT_TRUE(IsFormulaPicture(bitmap));
}

TEST(BitmapArchiveProgress, IsATaskWithAReportForEachRowOfTiles) {
    ZBasicMemBitmap bitmap(5, 6, shr::BGRA_32, 4, 4);
    TestProgress storing, loading;
    PlainArchive archive;
    SerializeIO io(archive, false);
    EXPECT_TRUE(bitmap.Serialize(io, &storing, nullptr));
    EXPECT_EQ(storing.TaskTexts(), std::vector<std::string>{"Storing image..."});
    EXPECT_EQ(storing.tasks[0].steps, 1);
    EXPECT_EQ(storing.tasks[0].parentSteps, 1);
    EXPECT_EQ(storing.fractions, (std::vector<double>{3 / 4.0, 5 / 4.0}));
    EXPECT_EQ(storing.openTasks, 0);
    EXPECT_TRUE(Load(bitmap, archive.bytes, &loading));
    EXPECT_EQ(loading.TaskTexts(), std::vector<std::string>{"Loading image..."});
    EXPECT_EQ(loading.fractions, (std::vector<double>{3 / 4.0, 5 / 4.0}));
    EXPECT_EQ(loading.openTasks, 0);
}

TEST(BitmapArchiveProgress, CountsTheTilesOfARowAsItsColumn) {
    ZBasicMemBitmap bitmap(9, 12, shr::GRAYSCALE_1, 3, 3);  // 4 rows of 3
    TestProgress progress;
    PlainArchive archive;
    SerializeIO io(archive, false);
    EXPECT_TRUE(bitmap.Serialize(io, &progress, nullptr));
    EXPECT_EQ(progress.fractions, (std::vector<double>{4 / 12.0, 7 / 12.0, 10 / 12.0, 13 / 12.0}));
}

TEST(BitmapArchiveProgress, OfOneTileEndsAtTwo) {
    ZBasicMemBitmap bitmap(9, 12, shr::GRAYSCALE_1, 9, 12);
    TestProgress progress;
    PlainArchive archive;
    SerializeIO io(archive, false);
    EXPECT_TRUE(bitmap.Serialize(io, &progress, nullptr));
    EXPECT_EQ(progress.fractions, std::vector<double>{2.0});
}

TEST(BitmapArchiveProgress, CancelledWhileStoringLeavesWhatWasWritten) {
    ZBasicMemBitmap bitmap = FormulaBitmap(37, 23, shr::INDEXED_4, 13, 9);
    const Bytes whole = Stored(bitmap);
    std::size_t sizeBefore = 0;
    for (int report = 1; report <= 3; ++report) {
        TestProgress progress(report);
        PlainArchive archive;
        SerializeIO io(archive, false, CodecMethod::stored);
        EXPECT_FALSE(bitmap.Serialize(io, &progress, nullptr));
        EXPECT_EQ(progress.openTasks, 0);
        EXPECT_EQ(static_cast<int>(progress.fractions.size()), report);
        EXPECT_GT(archive.bytes.size(), sizeBefore);
        EXPECT_TRUE(std::equal(archive.bytes.begin(), archive.bytes.end(), whole.begin()));
        sizeBefore = archive.bytes.size();
        EXPECT_TRUE(IsFormulaPicture(bitmap));
    }
    EXPECT_EQ(sizeBefore, whole.size());
}

TEST(BitmapArchiveProgress, CancelledWhileLoadingLeavesOnePixel) {
    ZBasicMemBitmap source = FormulaBitmap(37, 23, shr::INDEXED_4, 13, 9);
    const Bytes whole = Stored(source);
    for (int report = 1; report <= 3; ++report) {
        TestProgress progress(report);
        ZBasicMemBitmap bitmap = FormulaBitmap(37, 23, shr::INDEXED_8, 13, 9);
        EXPECT_FALSE(Load(bitmap, whole, &progress));
        EXPECT_EQ(progress.openTasks, 0);
        EXPECT_TRUE(IsOnePixel(bitmap));
        EXPECT_TRUE(Load(bitmap, whole));
        EXPECT_TRUE(IsFormulaPicture(bitmap));
    }
}

TEST(BitmapArchive, PassesOnWhatTheProgressTargetThrows) {
    class Failing : public TestProgress {
        void SetProgress(double) override { throw std::domain_error("the report fails"); }
    };
    ZBasicMemBitmap bitmap = FormulaBitmap(37, 23, shr::INDEXED_4, 13, 9);
    const Bytes whole = Stored(bitmap);
    Failing progress;
    PlainArchive archive;
    SerializeIO io(archive, false);
    EXPECT_THROW(static_cast<void>(bitmap.Serialize(io, &progress, nullptr)), std::domain_error);
    EXPECT_TRUE(IsFormulaPicture(bitmap));
    EXPECT_THROW(Load(bitmap, whole, &progress), std::domain_error);
    EXPECT_EQ(progress.openTasks, 0);
    EXPECT_TRUE(IsEmptyAndUsable(bitmap));
}

TEST(BitmapArchive, IsStoredAndLoadedThroughTheLockProtocol) {
    OpenBasicMemBitmap bitmap(5, 6, shr::BGRA_32, 4, 4);
    bitmap.calls.clear();
    Stored(bitmap);
    EXPECT_EQ(bitmap.calls, (std::vector<std::string>{"Lock 0,0", "Unlock 0,0", "Lock 0,1", "Unlock 0,1", "Lock 1,0",
                                                      "Unlock 1,0", "Lock 1,1", "Unlock 1,1"}));
    bitmap.calls.clear();
    Load(bitmap, FourTiles());
    EXPECT_EQ(bitmap.calls, (std::vector<std::string>{"Lock 0,0", "Commit 0,0", "Unlock 0,0", "Lock 0,1", "Commit 0,1",
                                                      "Unlock 0,1", "Lock 1,0", "Commit 1,0", "Unlock 1,0", "Lock 1,1",
                                                      "Commit 1,1", "Unlock 1,1"}));
}

TEST(BitmapArchive, LoadedDropsACopyOfAnInputRow) {
    OpenBasicMemBitmap bitmap(5, 6, shr::BGRA_32, 4, 4);
    bitmap.filterState.inputRowCopy = std::make_unique<ZBasicMemBitmap>(1, 1, shr::BGRA_32);
    Load(bitmap, FourTiles());
    EXPECT_EQ(bitmap.filterState.inputRowCopy, nullptr);
}

TEST(BitmapArchive, OfAMissingTileIsNotStored) {
    ZBasicMemBitmap source(5, 6, shr::BGRA_32, 4, 4), target(1, 1, shr::BGRA_32);
    target.ChangeFrom(source);
    PlainArchive archive;
    SerializeIO io(archive, false);
    EXPECT_TRUE(RaisesInternalError([&] { return source.Serialize(io, nullptr, nullptr); }, BasicMemBitmapCheck::tile));
}

TEST(BitmapArchive, OfAnEmptyBitmapIsNotStored) {
    ZBasicMemBitmap bitmap(5, 6, shr::BGRA_32, 4, 4);
    EXPECT_ANY_THROW(bitmap.Create(-1, 1, shr::BGRA_32));
    PlainArchive archive;
    SerializeIO io(archive, false);
    EXPECT_TRUE(testkit::RaisesNamedError([&] { return bitmap.Serialize(io, nullptr, nullptr); },
                                          testkit::kWriteArchiveText, BitmapCheck::storedFormat));
    EXPECT_TRUE(archive.sizes.empty());
    NoLegacy legacy;
    EXPECT_TRUE(
        RaisesInternalError([&] { return bitmap.Serialize(io, nullptr, &legacy); }, BasicMemBitmapCheck::legacy))
        << "the first check";
}

// Records of unknown versions: what was read before them stays.

TEST(BitmapArchiveVersion, OfTheFormatInformationLeavesTheBitmapUntouched) {
    for (const unsigned version : {0u, 2u}) {
        ZBasicMemBitmap bitmap = FormulaBitmap(37, 23, shr::INDEXED_4, 13, 9);
        Bytes bytes = FourTiles();
        bytes[0] = static_cast<std::uint8_t>(version);
        EXPECT_TRUE(RaisesReadArchive([&] { Load(bitmap, bytes); }, BitmapCheck::formatInfoVersion));
        EXPECT_TRUE(IsFormulaPicture(bitmap));
    }
}

TEST(BitmapArchiveVersion, OfTheBitmapLeavesALayoutWithoutTiles) {
    for (const unsigned version : {0u, 2u, 0xFFFFu}) {
        ZBasicMemBitmap bitmap = FormulaBitmap(37, 23, shr::INDEXED_4, 13, 9);
        EXPECT_TRUE(RaisesReadArchive([&] { Load(bitmap, FourTiles(version)); }, BasicMemBitmapCheck::recordVersion));
        EXPECT_EQ(bitmap.GetPixelWidth(), 5);
        EXPECT_EQ(bitmap.GetPixelHeight(), 6);
        EXPECT_EQ(bitmap.GetColorFormat(), shr::BGRA_32);
        EXPECT_EQ(bitmap.GetXResolution(), 100);
        EXPECT_EQ(bitmap.GetYResolution(), 200);
        for (int row = 0; row < 2; ++row)
            for (int col = 0; col < 2; ++col)
                EXPECT_TRUE(RaisesInternalError([&] { bitmap.LockScanRect(row, col); }, BasicMemBitmapCheck::tile));
        ZBasicMemBitmap copy(bitmap);
        bitmap.Create(3, 3, shr::BGR_24);
        EXPECT_EQ(testkit::GetPixel(bitmap, 2, 2), 0u);
    }
}

TEST(BitmapArchiveVersion, OfATileLeavesTheTilesBeforeIt) {
    Bytes bytes = FourTiles();
    const std::size_t third = FourTiles().size() - (14 + 4 + testkit::Encode(Bytes(8), CodecMethod::stored).size()) -
                              (14 + 4 + testkit::Encode(Bytes(32), CodecMethod::stored).size());
    ASSERT_EQ(bytes[third], 1);
    bytes[third] = 2;
    ZBasicMemBitmap bitmap = FormulaBitmap(37, 23, shr::INDEXED_4, 13, 9);
    EXPECT_TRUE(RaisesReadArchive([&] { Load(bitmap, bytes); }, ScanRectCheck::recordVersion));
    EXPECT_EQ(bitmap.GetPixelWidth(), 5);
    EXPECT_EQ(testkit::GetPixel(bitmap, 0, 0), 0u);
    EXPECT_EQ(testkit::GetPixel(bitmap, 4, 3), 0x01010101u);
    for (const int col : {0, 1})
        EXPECT_TRUE(RaisesInternalError([&] { bitmap.LockScanRect(1, col); }, BasicMemBitmapCheck::tile));
    std::vector<std::uint8_t> pixels(5 * 6 * 4);
    EXPECT_NO_THROW(bitmap.FetchRegion(pixels.data(), 20, RECT{0, 0, 5, 4}));
    bitmap.Create(3, 3, shr::BGR_24);
    EXPECT_EQ(testkit::GetPixel(bitmap, 2, 2), 0u);
}

// Every other failure leaves an empty bitmap.

TEST(BitmapArchiveFailure, OfTheFormatInformationLeavesAnEmptyBitmap) {
    for (const auto& [height, format, tile] : {std::tuple{-1, 10, 4}, {6, 10, 0}, {6, 14, 4}}) {
        ZBasicMemBitmap bitmap = FormulaBitmap(37, 23, shr::INDEXED_4, 13, 9);
        const Bytes bytes = ArchiveWriter().FormatInfo(height, 5, format, tile, 4).Raw(Bytes(200)).Take();
        EXPECT_THROW(Load(bitmap, bytes), shr::InternalError);
        EXPECT_TRUE(IsEmptyAndUsable(bitmap));
    }
}

TEST(BitmapArchiveFailure, AtATileThatIsNotOfItsPlacesSizeOrFormatLeavesAnEmptyBitmap) {
    struct Case {
        int width, height, format;
    };
    for (const Case& c :
         {Case{5, 4, 10}, {4, 5, 10}, {3, 4, 10}, {1, 1, 10}, {4, 4, 11}, {4, 4, 1}, {512, 512, 10}, {2, 8, 10}}) {
        ZBasicMemBitmap bitmap = FormulaBitmap(37, 23, shr::INDEXED_4, 13, 9);
        const Bytes bytes = ArchiveWriter()
                                .FormatInfo(6, 4, shr::BGRA_32, 4, 4)
                                .U16(1)
                                .TileHead(c.width, c.height, c.format)
                                .Block(Bytes(64))
                                .Raw(Bytes(2000))
                                .Take();
        EXPECT_TRUE(RaisesReadArchive([&] { Load(bitmap, bytes); }, ScanRectCheck::recordPlace))
            << c.width << " x " << c.height << ", format " << c.format;
        EXPECT_TRUE(IsEmptyAndUsable(bitmap));
        EXPECT_TRUE(RaisesReadArchive([&] { LoadKnowingLength(bitmap, bytes); }, ScanRectCheck::recordPlace));
        EXPECT_TRUE(IsEmptyAndUsable(bitmap));
    }
}

TEST(BitmapArchiveFailure, AtATileOfBadSizeOrFormatLeavesAnEmptyBitmap) {
    struct Case {
        int width, height, format;
        ScanRectCheck check;
    };
    for (const Case& c : {Case{-4, 4, 10, ScanRectCheck::size},
                          {4, 0, 10, ScanRectCheck::size},
                          {4, 4, 0, ScanRectCheck::formatRange},
                          {4, 4, 14, ScanRectCheck::formatRange}}) {
        ZBasicMemBitmap bitmap = FormulaBitmap(37, 23, shr::INDEXED_4, 13, 9);
        const Bytes bytes = ArchiveWriter()
                                .FormatInfo(6, 4, shr::BGRA_32, 4, 4)
                                .U16(1)
                                .TileHead(c.width, c.height, c.format)
                                .Raw(Bytes(2000))
                                .Take();
        EXPECT_TRUE(RaisesInternalError([&] { Load(bitmap, bytes); }, c.check));
        EXPECT_TRUE(IsEmptyAndUsable(bitmap));
    }
}

TEST(BitmapArchiveFailure, OfTheArchiveAtAnyReadAfterTheVersionPassesOnAndLeavesAnEmptyBitmap) {
    ZBasicMemBitmap source = FormulaBitmap(9, 7, shr::INDEXED_4, 4, 4);
    const Bytes whole = Stored(source);
    for (std::size_t access = 2;; ++access) {
        ZBasicMemBitmap bitmap = FormulaBitmap(37, 23, shr::INDEXED_4, 13, 9);
        PlainArchive archive(whole);
        archive.failAtAccess = access;
        SerializeIO io(archive, false);
        try {
            EXPECT_TRUE(bitmap.Serialize(io, nullptr, nullptr));
            EXPECT_EQ(archive.sizes.size(), access - 1);
            EXPECT_TRUE(IsFormulaPicture(bitmap));
            break;
        } catch (const ArchiveFailure&) { EXPECT_TRUE(IsEmptyAndUsable(bitmap)) << "read " << access; }
    }
}

TEST(BitmapArchiveFailure, OfTheArchiveWhileStoringPassesOnAndLeavesTheBitmapAsItWas) {
    ZBasicMemBitmap bitmap = FormulaBitmap(9, 7, shr::INDEXED_4, 4, 4);
    for (std::size_t access = 1;; ++access) {
        PlainArchive archive;
        archive.failAtAccess = access;
        SerializeIO io(archive, false);
        try {
            EXPECT_TRUE(bitmap.Serialize(io, nullptr, nullptr));
            break;
        } catch (const ArchiveFailure&) { ASSERT_TRUE(IsFormulaPicture(bitmap)) << "write " << access; }
    }
}

TEST(BitmapArchiveFailure, AtAnArchiveThatIsTooShortForItsTilesIsTheReadError) {
    ZBasicMemBitmap source = FormulaBitmap(37, 23, shr::BGR_24, 13, 9);
    const Bytes whole = Stored(source);
    ZBasicMemBitmap bitmap = FormulaBitmap(37, 23, shr::INDEXED_4, 13, 9);
    const Bytes cut(whole.begin(), whole.begin() + 40);
    EXPECT_TRUE(RaisesReadArchive([&] { LoadKnowingLength(bitmap, cut); }, BitmapCheck::archivedTiles));
    EXPECT_TRUE(IsEmptyAndUsable(bitmap));
}

TEST(BitmapArchive, WithADamagedBlockLoadsTheRest) {
    ArchiveWriter writer;
    writer.FormatInfo(4, 8, shr::BGRA_32, 4, 4).U16(1);
    writer.TileHead(4, 4, shr::BGRA_32).Framed(Bytes(7, 0xEE));
    writer.TileHead(4, 4, shr::BGRA_32).Block(Bytes(64, 5));
    ZBasicMemBitmap bitmap(1, 1, shr::BGRA_32);
    PlainArchive archive(writer.Take());
    SerializeIO io(archive, false);
    EXPECT_TRUE(bitmap.Serialize(io, nullptr, nullptr));
    EXPECT_EQ(io.DamagedBlocks(), 1u);
    EXPECT_EQ(testkit::GetPixel(bitmap, 3, 3), 0u);
    EXPECT_EQ(testkit::GetPixel(bitmap, 4, 0), 0x05050505u);
}

TEST(BitmapArchive, WithABlockTooShortForAUsualTileLoadsItAsZeroes) {
    for (const unsigned bytes : {0u, 1u, 5u}) {
        ArchiveWriter writer;
        writer.FormatInfo(512, 512, shr::INDEXED_8, 512, 512).U16(1).TileHead(512, 512, shr::INDEXED_8);
        writer.Framed(Bytes(bytes, 0xEE)).Framed(Bytes(bytes, 0xEE));
        PlainArchive archive(writer.Take());
        SerializeIO io(archive, false);
        ZBasicMemBitmap bitmap(1, 1, shr::BGRA_32);
        EXPECT_TRUE(bitmap.Serialize(io, nullptr, nullptr));
        EXPECT_EQ(io.DamagedBlocks(), 2u);
        EXPECT_EQ(testkit::GetPixel(bitmap, 511, 511), 0u);
        EXPECT_FALSE(testkit::GetMask(bitmap, 511, 511));
    }
}

TEST(BitmapArchive, IsLoadedOverAnyBitmapAndTwiceInARow) {
    ZBasicMemBitmap source = FormulaBitmap(37, 23, shr::INDEXED_8, 13, 9), target(1, 1, shr::BGRA_32);
    const Bytes whole = Stored(source, CodecMethod::balanced);
    target.ChangeFrom(source);
    EXPECT_TRUE(Load(source, whole)) << "over one without tiles";
    EXPECT_TRUE(IsFormulaPicture(source));
    EXPECT_TRUE(Load(source, whole));
    EXPECT_TRUE(IsFormulaPicture(source));
}

}  // namespace
