// The tiles of a bitmap in a host file.
#include "zbm/ZBitmapCFileStore.h"

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

#include "core/checks/BitmapCFileStoreChecks.h"
#include "core/checks/BitmapChecks.h"
#include "core/checks/ScanRectChecks.h"
#include "file/FileBitmapTesting.h"
#include "shr/BufferedFile.h"
#include "support_code/TestProgress.h"

namespace {

using namespace testkit;
using shr::Color4b;
using zbm::BitmapCFileStoreCheck;
using zbm::ZBitmapCFileStore;
using zbm::ZScanRect;

static_assert(std::is_polymorphic_v<ZBitmapCFileStore> && !std::is_copy_constructible_v<ZBitmapCFileStore>);

/// Lays the protected steps open.
class OpenStore final : public ZBitmapCFileStore {
public:
    using ZBitmapCFileStore::CreateCleanUp;
    using ZBitmapCFileStore::CreateSkeleton;
    using ZBitmapCFileStore::SaveInfoTable;
    using ZBitmapCFileStore::SaveSRInfo;
    using ZBitmapCFileStore::ZBitmapCFileStore;
};

class Store : public testing::Test {
protected:
    void SetUp() override {
        file.Open(name, shr::FileAccess::readWrite, shr::FileMode::create, shr::FileSharing::readWrite);
    }

    std::unique_ptr<OpenStore> Blank(std::int64_t base = 0) {
        return std::make_unique<OpenStore>(name, file, base, false, false);
    }
    std::unique_ptr<OpenStore> Empty(int width, int height, shr::ColorFormat format, int tileWidth = 512,
                                     int tileHeight = 512, std::int64_t base = 0) {
        auto store = Blank(base);
        EXPECT_TRUE(store->CreateEmpty(width, height, format, tileWidth, tileHeight));
        return store;
    }
    std::unique_ptr<OpenStore> Opened(bool readOnly, std::int64_t base = 0) {
        return std::make_unique<OpenStore>(name, file, base, true, readOnly);
    }
    /// The file's bytes, buffered ones included.
    Bytes File() {
        file.Flush();
        return shr::test::ReadWhole(name);
    }
    void Replace(const Bytes& bytes) {
        file.SetLength(0);
        file.Seek(0);
        file.Write(bytes.data(), bytes.size());
    }

    ScratchFolder scratch;
    const shr::ZString name = scratch.File("host");
    shr::CBufferedFile file;
};

ZScanRect TileOf(int width, int height, shr::ColorFormat format, std::uint8_t value) {
    ZScanRect tile(width, height, format);
    for (int y = 0; y < height; ++y)
        std::fill_n(tile.GetRowPtr(y), shr::RowBytes(static_cast<std::uint64_t>(width), format), value);
    return tile;
}

TEST_F(Store, IsLaidOutToTheByte) {
    const auto store = Empty(1000, 700, shr::BGRA_32);
    const int resolution = DefaultResolution(1000);
    EXPECT_EQ(File(), StoreImage({700, 1000, 512, 512, 10, {}, resolution, resolution}, {{0, 0}, {0, 0}}));
}

TEST_F(Store, OfAnIndexedFormatBeginsWithAFullTableOfBlack) {
    const auto store = Empty(5, 3, shr::INDEXED_4, 4, 2);
    const int resolution = DefaultResolution(5);
    const std::vector<Color4b> black(16, Color4b::Black);
    EXPECT_EQ(File(), StoreImage({3, 5, 2, 4, 7, black, resolution, resolution}, {{0, 0}, {0, 0}}));
}

TEST_F(Store, CountsPositionsFromItsBase) {
    const auto first = Empty(3, 2, shr::GRAYSCALE_8, 3, 2);
    first->WriteScanRect(TileOf(3, 2, shr::GRAYSCALE_8, 1), 0, 0);
    first->CommitAll();
    const std::int64_t base = file.GetLength();
    const auto second = Empty(3, 2, shr::GRAYSCALE_8, 3, 2, base);
    second->WriteScanRect(TileOf(3, 2, shr::GRAYSCALE_8, 2), 0, 0);
    second->CommitAll();

    const std::int64_t position = kTablePosition + 4 + 4 + 8;
    const int resolution = DefaultResolution(3);
    const auto image = [&](std::uint8_t value) {
        // Rows of 4 bytes, padding included as the tile holds it, then the mask.
        return FileImage()
            .Add(StoreImage({2, 3, 2, 3, 3, {}, resolution, resolution}, {{position}}))
            .Fill(8, value)
            .Fill(8, 0xFF)
            .Take();
    };
    EXPECT_EQ(File(), FileImage().Add(image(1)).Add(image(2)).Take());
    ZScanRect tile(3, 2, shr::GRAYSCALE_8);
    Opened(true, 0)->ReadScanRect(tile, 0, 0);
    EXPECT_EQ(tile.GetRowPtr(1)[2], 1);
    Opened(true, base)->ReadScanRect(tile, 0, 0);
    EXPECT_EQ(tile.GetRowPtr(1)[2], 2);
}

TEST_F(Store, RefusesANegativeBaseAndABlankStoreThatMayNotBeWritten) {
    EXPECT_TRUE(RaisesInternalError([&] { OpenStore(name, file, -1, true, true); }, BitmapCFileStoreCheck::baseOffset));
    EXPECT_TRUE(RaisesInternalError([&] { OpenStore(name, file, 0, false, true); }, BitmapCFileStoreCheck::blankStore));
}

template <class Act>
testing::AssertionResult RaisesBadFile(Act act, const shr::ZString& storeName) {
    return RaisesFileError(act, BitmapCFileStoreCheck::badFile, storeName);
}

TEST_F(Store, RefusesWhatDoesNotBeginWithItsSignatureAndVersion1) {
    const Bytes sound = StoreImage({2, 3, 2, 3, 3}, {{0}});
    for (const std::size_t place : {0u, 43u, 44u, 45u, 48u}) {
        Bytes patched = sound;
        patched[place] ^= 3;
        Replace(patched);
        EXPECT_TRUE(RaisesBadFile([&] { Opened(true); }, name)) << "byte " << place;
    }
    for (std::size_t length = 0; length < sound.size(); ++length) {
        Replace(Bytes(sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(length)));
        EXPECT_TRUE(RaisesBadFile([&] { Opened(true); }, name)) << length << " bytes";
    }
    Replace(sound);
    EXPECT_NO_THROW(Opened(false));
}

TEST_F(Store, WithoutNameCallsItselfUnknown) {
    EXPECT_TRUE(RaisesBadFile([&] { OpenStore(L"", file, 0, true, true); }, L"Unknown"));
}

TEST_F(Store, OpensWithAllThatItsHeaderTells) {
    Replace(StoreImage({7, 9, 4, 5, 8, {Color4b(1, 2, 3, 4), Color4b(5, 6, 7, 8)}, 1234, -5}, {{0, 0}, {0, 0}}));
    const auto store = Opened(true);
    EXPECT_EQ(store->GetPixelHeight(), 7);
    EXPECT_EQ(store->GetPixelWidth(), 9);
    EXPECT_EQ(store->GetScanRectHeight(), 4);
    EXPECT_EQ(store->GetScanRectWidth(), 5);
    EXPECT_EQ(store->GetColorFormat(), shr::INDEXED_8);
    EXPECT_EQ(store->GetNumColorTableItems(), 2u);
    EXPECT_EQ(store->GetColorTableItem(1), Color4b(5, 6, 7, 8));
    EXPECT_EQ(store->GetXResolution(), 1234);
    EXPECT_EQ(store->GetYResolution(), -5);
    EXPECT_TRUE(RaisesInternalError([&] { store->GetColorTableItem(2); }, BitmapCFileStoreCheck::colorIndex));
}

/// Layout in the header, grid of the table with the position that all its tiles have, and what else the header says.
struct BadStore {
    const char* name;
    int height, width, tileHeight, tileWidth, format;
    std::size_t rows = 1, cols = 1;
    std::int64_t position = 0, tablePosition = kTablePosition;
    int colors = 0;

    Bytes Image() const {
        HeaderFields header{height, width, tileHeight, tileWidth, format, {}, 0, 0, tablePosition, colors};
        return StoreImage(header, Positions(rows, std::vector<std::int64_t>(cols, position)));
    }
};
void PrintTo(const BadStore& store, std::ostream* out) { *out << store.name; }

class DamagedStore : public Store, public testing::WithParamInterface<BadStore> {};

TEST_P(DamagedStore, IsRefused) {
    Replace(FileImage().Add(GetParam().Image()).Zeros(64).Take());
    EXPECT_TRUE(RaisesBadFile([&] { Opened(false); }, name));
}

constexpr int kHuge = 0x7FFFFFFF;
constexpr std::int64_t kEnd = kTablePosition + 4 + 4 + 8;  // of a table of one tile
INSTANTIATE_TEST_SUITE_P(
    Headers, DamagedStore,
    testing::Values(BadStore{"NegativeHeight", -1, 3, 2, 3, 3}, BadStore{"NegativeWidth", 2, -3, 2, 3, 3},
                    BadStore{"TilesWithoutHeight", 2, 3, 0, 3, 3}, BadStore{"TilesWithoutWidth", 2, 3, 2, 0, 3},
                    BadStore{"NoFormat", 2, 3, 2, 3, 0}, BadStore{"UnknownFormat", 2, 3, 2, 3, 14},
                    BadStore{"TooManyColors", 2, 3, 2, 3, 8, 1, 1, 0, kTablePosition, 257},
                    BadStore{"MoreColorsThanItsFormat", 2, 3, 2, 3, 6, 1, 1, 0, kTablePosition, 3},
                    BadStore{"ColorsOfTrueColors", 2, 3, 2, 3, 9, 1, 1, 0, kTablePosition, 1},
                    BadStore{"NoTable", 2, 3, 2, 3, 3, 1, 1, 0, 0},
                    BadStore{"NegativeTable", 2, 3, 2, 3, 3, 1, 1, 0, -8},
                    BadStore{"TableInHeader", 2, 3, 2, 3, 3, 1, 1, 0, 1312},
                    BadStore{"TableBehindEnd", 2, 3, 2, 3, 3, 1, 1, 0, std::int64_t{1} << 62},
                    BadStore{"TooFewRows", 4, 3, 2, 3, 3, 1, 1}, BadStore{"TooManyRows", 2, 3, 2, 3, 3, 2, 1},
                    BadStore{"TooFewColumns", 2, 6, 2, 3, 3, 1, 1}, BadStore{"TooManyColumns", 2, 3, 2, 3, 3, 1, 2},
                    BadStore{"MoreTilesThanTheFileHolds", kHuge, kHuge, 1, 1, 3},
                    BadStore{"MoreRowsThanTheFileHolds", kHuge, 0, 1, 1, 3, 1, 0},
                    BadStore{"NegativePosition", 2, 3, 2, 3, 3, 1, 1, -1},
                    BadStore{"TileInHeader", 2, 3, 2, 3, 3, 1, 1, 1312},
                    BadStore{"TileBeginsInTable", 2, 3, 2, 3, 3, 1, 1, kEnd - 1},
                    BadStore{"TileReachesIntoTable", 2, 3, 2, 3, 3, 1, 1, kTablePosition - 15},
                    BadStore{"TileReachesPastTheEnd", 2, 3, 2, 3, 3, 1, 1, kEnd + 64 - 15},
                    BadStore{"TileFarBehindTheEnd", 2, 3, 2, 3, 3, 1, 1, 0x7FFFFFFFFFFFFFF0},
                    BadStore{"TileOfTwoHugeSides", kHuge, kHuge, kHuge, kHuge, 10, 1, 1, kEnd}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST_F(Store, TakesTilesInTheGapAndRightBehindTheTable) {
    for (const std::int64_t position : {std::int64_t{1313}, kTablePosition - 16, kEnd, kEnd + 64 - 16}) {
        Replace(FileImage().Add(StoreImage({2, 3, 2, 3, 3}, {{position}})).Zeros(64).Take());
        EXPECT_NO_THROW(Opened(false)) << position;
    }
}

TEST_F(Store, OfAFileThatWasCutIsReadButForTheTilesThatAreMissing) {
    const auto written = Empty(2, 1, shr::BGRA_32, 1, 1);
    written->WriteScanRect(TileOf(1, 1, shr::BGRA_32, 1), 0, 0);
    written->WriteScanRect(TileOf(1, 1, shr::BGRA_32, 2), 0, 1);
    written->CommitAll();
    file.SetLength(file.GetLength() - 1);
    EXPECT_TRUE(RaisesBadFile([&] { Opened(false); }, name));
    const auto store = Opened(true);
    ZScanRect tile(1, 1, shr::BGRA_32);
    store->ReadScanRect(tile, 0, 0);
    EXPECT_EQ(tile.GetRowPtr(0)[0], 1);
    EXPECT_TRUE(RaisesBadFile([&] { store->ReadScanRect(tile, 0, 1); }, name));
}

TEST_F(Store, OpenedForWritingWritesItsHeaderAtItsBase) {
    Replace(FileImage().Zeros(7).Add(StoreImage({2, 3, 2, 3, 3, {}, 10, 10}, {{0}})).Take());
    Opened(false, 7)->SetXResolution(99);
    const Bytes header = HeaderFields{2, 3, 2, 3, 3, {}, 99, 10}.Image();
    const Bytes found = File();
    EXPECT_EQ(Bytes(found.begin() + 7, found.begin() + 7 + 1264), header);
}

TEST_F(Store, ThatIsReadOnlyRefusesToBeWritten) {
    Replace(FileImage().Add(StoreImage({2, 3, 2, 3, 8}, {{0}})).Take());
    const Bytes before = File();
    const auto store = Opened(true);
    const zbm::ZBasicMemBitmap layout(1, 1, shr::BGRA_32);
    const BITMAPINFOHEADER header{40, 1, 1, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    const std::uint8_t bits[4] = {};
    const auto refuses = [&](auto act, BitmapCFileStoreCheck check) {
        EXPECT_TRUE(RaisesInternalError(act, check));
        EXPECT_EQ(File(), before);
    };
    refuses([&] { store->CreateSkeleton(layout); }, BitmapCFileStoreCheck::skeletonOfReadOnly);
    refuses([&] { store->CreateEmpty(1, 1, shr::BGRA_32, 1, 1); }, BitmapCFileStoreCheck::skeletonOfReadOnly);
    refuses([&] { store->SaveInfoTable(); }, BitmapCFileStoreCheck::headerOfReadOnly);
    refuses([&] { store->SaveSRInfo(); }, BitmapCFileStoreCheck::tableOfReadOnly);
    refuses([&] { store->WriteScanRect(ZScanRect(3, 2, shr::INDEXED_8), 0, 0); }, BitmapCFileStoreCheck::writable);
    refuses([&] { store->Create(&header, bits, nullptr, nullptr); }, BitmapCFileStoreCheck::dibIntoReadOnly);
    refuses([&] { store->FillColorTable(nullptr, 0); }, BitmapCFileStoreCheck::headerOfReadOnly);
    store->CommitAll();
    EXPECT_EQ(File(), before);
}

TEST_F(Store, ThatIsBlankHasNoTiles) {
    const auto store = Blank();
    ZScanRect tile(1, 1, shr::BGRA_32);
    EXPECT_TRUE(RaisesInternalError([&] { store->ReadScanRect(tile, 0, 0); }, BitmapCFileStoreCheck::readBlank));
    EXPECT_TRUE(RaisesInternalError([&] { store->WriteScanRect(tile, 0, 0); }, BitmapCFileStoreCheck::writable));
}

TEST_F(Store, RefusesTilesOutsideItsGridOrOfAnotherShape) {
    const auto store = Empty(5, 3, shr::BGRA_32, 4, 2);  // the last tile is 1 x 1
    ZScanRect full(4, 2, shr::BGRA_32), last(1, 1, shr::BGRA_32), other(1, 1, shr::RGBA_32);
    for (const auto& place : {std::pair{-1, 0}, {0, -1}, {2, 0}, {0, 2}}) {
        const int row = place.first, col = place.second;
        EXPECT_TRUE(RaisesInternalError([&] { store->WriteScanRect(full, row, col); }, BitmapCFileStoreCheck::tile));
        EXPECT_TRUE(RaisesInternalError([&] { store->ReadScanRect(full, row, col); }, BitmapCFileStoreCheck::tile));
    }
    EXPECT_TRUE(RaisesInternalError([&] { store->WriteScanRect(full, 1, 1); }, BitmapCFileStoreCheck::tileShape));
    EXPECT_TRUE(RaisesInternalError([&] { store->ReadScanRect(last, 0, 0); }, BitmapCFileStoreCheck::tileShape));
    EXPECT_TRUE(RaisesInternalError([&] { store->WriteScanRect(other, 1, 1); }, BitmapCFileStoreCheck::tileShape));
    EXPECT_NO_THROW(store->WriteScanRect(last, 1, 1));
}

TEST_F(Store, GivesATileItsPlaceAtTheEndOfTheFileWhenItIsFirstWritten) {
    const auto store = Empty(2, 1, shr::BGRA_32, 1, 1);
    const std::int64_t end = file.GetLength();
    store->WriteScanRect(TileOf(1, 1, shr::BGRA_32, 1), 0, 1);
    EXPECT_EQ(file.GetLength(), end + 4);
    store->WriteScanRect(TileOf(1, 1, shr::BGRA_32, 2), 0, 0);
    EXPECT_EQ(file.GetLength(), end + 8);
    store->WriteScanRect(TileOf(1, 1, shr::BGRA_32, 3), 0, 1);
    EXPECT_EQ(file.GetLength(), end + 8) << "a tile written again stays where it is";
    const Bytes found = File();
    EXPECT_EQ(Bytes(found.end() - 8, found.end()), (Bytes{3, 3, 3, 3, 2, 2, 2, 2}));
}

TEST_F(Store, TellsTheFileOfNewTilesByCommitAll) {
    const auto store = Empty(1, 1, shr::BGRA_32, 1, 1);
    store->WriteScanRect(TileOf(1, 1, shr::BGRA_32, 7), 0, 0);
    ZScanRect tile = TileOf(1, 1, shr::BGRA_32, 0xEE);
    Opened(true)->ReadScanRect(tile, 0, 0);
    EXPECT_EQ(tile.GetRowPtr(0)[0], 0xEE) << "a tile that was never written is left as it was";
    store->CommitAll();
    Opened(true)->ReadScanRect(tile, 0, 0);
    EXPECT_EQ(tile.GetRowPtr(0)[0], 7);
}

TEST_F(Store, WritesNothingWhenItEnds) {
    auto store = Empty(1, 1, shr::BGRA_32, 1, 1);
    store->WriteScanRect(TileOf(1, 1, shr::BGRA_32, 7), 0, 0);
    const Bytes before = File();
    store.reset();
    EXPECT_EQ(File(), before);
    EXPECT_TRUE(file.IsOpen());
}

TEST_F(Store, SetsAFormatWithABlackTableOfItsSize) {
    const auto store = Empty(1, 1, shr::INDEXED_8, 1, 1);
    const Color4b colors[] = {Color4b(1, 2, 3), Color4b(4, 5, 6), Color4b(7, 8, 9)};
    store->FillColorTable(colors, 3);
    store->SetColorFormat(shr::INDEXED_1);
    const int resolution = DefaultResolution(1);
    const std::vector<Color4b> expected = {Color4b::Black, Color4b::Black, Color4b(7, 8, 9)};
    HeaderFields header{1, 1, 1, 1, 6, expected, resolution, resolution};
    header.count = 2;
    EXPECT_EQ(File(), StoreImage(header, {{0}}));
    for (const int format : {0, 14, -1})
        EXPECT_TRUE(RaisesInternalError([&] { store->SetColorFormat(static_cast<shr::ColorFormat>(format)); },
                                        BitmapCFileStoreCheck::formatRange));
}

TEST_F(Store, ReplacesItsColors) {
    const auto store = Empty(1, 1, shr::INDEXED_8, 1, 1);
    const std::vector<Color4b> colors = {Color4b(1, 2, 3, 4), Color4b(5, 6, 7, 8)};
    store->FillColorTable(colors.data(), 2);
    const int resolution = DefaultResolution(1);
    EXPECT_EQ(File(), StoreImage({1, 1, 1, 1, 8, colors, resolution, resolution}, {{0}}));
    store->FillColorTable(nullptr, 0);
    EXPECT_EQ(File(), StoreImage({1, 1, 1, 1, 8, {}, resolution, resolution}, {{0}}));
    EXPECT_TRUE(RaisesInternalError([&] { store->GetColorTableItem(0); }, BitmapCFileStoreCheck::colorTable));
    const std::vector<Color4b> many(257);
    EXPECT_TRUE(
        RaisesInternalError([&] { store->FillColorTable(many.data(), 257); }, BitmapCFileStoreCheck::colorCount));
}

TEST_F(Store, OfAFormatWithoutTableTakesNoColors) {
    const auto store = Empty(1, 1, shr::BGR_24, 1, 1);
    const Color4b color;
    EXPECT_TRUE(RaisesInternalError([&] { store->FillColorTable(&color, 1); }, BitmapCFileStoreCheck::colorCount));
}

TEST_F(Store, WritesAResolutionOnlyIfItIsAnother) {
    const auto store = Empty(1, 1, shr::BGR_24, 1, 1);
    store->SetXResolution(3000);
    store->SetYResolution(4000);
    EXPECT_EQ(File(), StoreImage({1, 1, 1, 1, 9, {}, 3000, 4000}, {{0}}));
    Bytes poisoned = File();
    std::fill(poisoned.begin() + 49, poisoned.begin() + 1313, std::uint8_t{0xEE});  // a write would show
    Replace(poisoned);
    for (const int value : {3000, 0, -1}) store->SetXResolution(value);
    for (const int value : {4000, 0, -1}) store->SetYResolution(value);
    EXPECT_EQ(File(), poisoned);
    EXPECT_EQ(store->GetXResolution(), 3000);
    EXPECT_EQ(store->GetYResolution(), 4000);
}

TEST_F(Store, IsCreatedWithEveryTileZeroAndOpaque) {
    TestProgress progress;
    const auto store = Blank();
    ASSERT_TRUE(store->Create(5, 3, shr::GRAYSCALE_8, 4, 2, &progress));
    EXPECT_EQ(progress.TaskTexts(), std::vector<std::string>{"Creating image..."});
    EXPECT_EQ(progress.fractions, (std::vector<double>{0.25, 0.5, 0.75, 1.0}));
    const std::int64_t first = kTablePosition + 4 + 2 * (4 + 16);
    const int resolution = DefaultResolution(5);
    // Records of 16, 16, 8 and 8 bytes: rows of 4 bytes and as much of mask.
    FileImage expected;
    expected.Add(
        StoreImage({3, 5, 2, 4, 3, {}, resolution, resolution}, {{first, first + 16}, {first + 32, first + 40}}));
    for (const std::size_t plane : {8u, 8u, 4u, 4u}) expected.Zeros(plane).Fill(plane, 0xFF);
    EXPECT_EQ(File(), expected.Take());
}

TEST_F(Store, EndsItsCreationByWritingItsHeaderOnceMore) {
    static constexpr std::int64_t kHeaderPosition = 49;
    class Spoiler final : public TestProgress {
    public:
        explicit Spoiler(shr::CBufferedFile& spoilt) : file(spoilt) {}
        void SetProgress(double) override {
            file.Seek(kHeaderPosition);
            file.Write(Bytes(16, 0xEE).data(), 16);
        }

    private:
        shr::CBufferedFile& file;
    } spoiler(file);
    zbm::ZBasicMemBitmap source = FormulaBitmap(5, 3, shr::GRAYSCALE_8, 4, 2);
    const auto isSound = [&] { return ZBitmapCFileStore(name, file, 0, true, true).GetPixelWidth() == 5; };
    ASSERT_TRUE(Blank()->Create(5, 3, shr::GRAYSCALE_8, 4, 2, &spoiler));
    EXPECT_TRUE(isSound());
    ASSERT_TRUE(Blank()->Create(source, &spoiler));
    EXPECT_TRUE(isSound());
}

TEST_F(Store, ThatIsCancelledStandsAtItsBase) {
    for (int report = 1; report <= 4; ++report) {
        const auto store = Blank(11);
        TestProgress progress(report);
        EXPECT_FALSE(store->Create(5, 3, shr::GRAYSCALE_8, 4, 2, &progress));
        EXPECT_EQ(static_cast<int>(progress.fractions.size()), report);
        EXPECT_EQ(progress.openTasks, 0);
        EXPECT_EQ(file.GetPosition(), 11);
    }
}

TEST_F(Store, WhoseCreationFailsStandsAtItsBaseAndPassesTheErrorOn) {
    for (int failing = 1; failing <= 3; ++failing) {
        const auto store = Blank(11);
        {
            const FailingCall writing(failing, FileCall::write);
            EXPECT_THROW((void)store->Create(50, 50, shr::GRAYSCALE_8, 20, 20, nullptr), shr::Exception) << failing;
        }
        EXPECT_EQ(file.GetPosition(), 11);
        EXPECT_TRUE(store->Create(5, 3, shr::GRAYSCALE_8, 4, 2, nullptr));
    }
}

TEST_F(Store, OfABitmapWithoutFormatIsNotCreated) {
    zbm::ZBasicMemBitmap empty(1, 1, shr::BGR_24);
    EXPECT_THROW(empty.Create(-1, 1, shr::BGR_24), shr::InternalError);
    ASSERT_TRUE(empty.IsEmpty());
    EXPECT_TRUE(
        RaisesInternalError([&] { (void)Blank()->Create(empty, nullptr); }, BitmapCFileStoreCheck::formatRange));
    EXPECT_TRUE(File().empty());
}

TEST_F(Store, CopiesABitmapWithItsTilesColorsAndResolution) {
    for (const shr::ColorFormat format : kFormats) {
        Replace({});
        zbm::ZBasicMemBitmap source = FormulaBitmap(70, 50, format, 64, 20);
        TestProgress progress;
        const auto store = Blank();
        ASSERT_TRUE(store->Create(source, &progress));
        EXPECT_EQ(progress.TaskTexts(), std::vector<std::string>{"Creating image..."});
        EXPECT_EQ(progress.fractions.size(), 6u);

        const auto opened = Opened(true);
        zbm::ZBasicMemBitmap read(70, 50, format, 64, 20);
        for (int row = 0; row < 3; ++row)
            for (int col = 0; col < 2; ++col) opened->ReadScanRect(read.LockScanRect(row, col), row, col);
        EXPECT_TRUE(HoldsFormulaPixels(read)) << FormatName(format);
        ASSERT_EQ(opened->GetNumColorTableItems(), static_cast<unsigned>(TableSize(format)));
        for (int i = 0; i < TableSize(format); ++i)
            EXPECT_EQ(opened->GetColorTableItem(static_cast<unsigned>(i)), FormulaColor(i));
        EXPECT_EQ(opened->GetXResolution(), FormulaXResolution(format));
        EXPECT_EQ(opened->GetYResolution(), FormulaYResolution(format));
    }
}

/// A packed DIB of bytes that count up, and what a tile must hold of it.
struct PackedPicture {
    std::vector<std::uint32_t> memory;  // aligned as a header is
    const BITMAPINFO& Info() const { return *reinterpret_cast<const BITMAPINFO*>(memory.data()); }

    PackedPicture(int width, int height, int bitCount, DWORD compression, unsigned colorsUsed) : memory(4096) {
        auto& header = *reinterpret_cast<BITMAPINFOHEADER*>(memory.data());
        header = {40, width, height, 1, static_cast<WORD>(bitCount), compression, 0, 0, 0, colorsUsed, 0};
        for (std::size_t i = 10; i < memory.size(); ++i) memory[i] = static_cast<std::uint32_t>(i * 2654435761u);
    }
};

TEST_F(Store, TakesDibsOfEveryDepth) {
    struct Kind {
        int bits;
        DWORD compression;
        unsigned colorsUsed, entriesBeforeBits;
        shr::ColorFormat format;
        unsigned colors;
    };
    for (const Kind& kind : {Kind{1, BI_RGB, 0, 2, shr::INDEXED_1, 2}, Kind{4, BI_RGB, 0, 16, shr::INDEXED_4, 16},
                             Kind{8, BI_RGB, 0, 256, shr::INDEXED_8, 256}, Kind{8, BI_RGB, 7, 7, shr::INDEXED_8, 7},
                             Kind{16, BI_RGB, 0, 0, shr::BGR_24, 0}, Kind{16, BI_BITFIELDS, 0, 3, shr::BGR_24, 0},
                             Kind{24, BI_RGB, 0, 0, shr::BGR_24, 0}, Kind{24, BI_RGB, 5, 5, shr::BGR_24, 0},
                             Kind{32, BI_RGB, 0, 0, shr::BGRA_32, 0}}) {
        SCOPED_TRACE(kind.bits);
        Replace({});
        const PackedPicture dib(20, 6, kind.bits, kind.compression, kind.colorsUsed);
        TestProgress progress;
        const auto store = Blank();
        ASSERT_TRUE(store->Create(dib.Info(), &progress));
        EXPECT_EQ(progress.TaskTexts(), std::vector<std::string>{"Creating image..."});
        const auto opened = Opened(true);
        EXPECT_EQ(opened->GetColorFormat(), kind.format);
        EXPECT_EQ(opened->GetScanRectWidth(), 512);
        ASSERT_EQ(opened->GetNumColorTableItems(), kind.colors);
        const auto* quads = reinterpret_cast<const RGBQUAD*>(dib.memory.data() + 10);
        for (unsigned i = 0; i < kind.colors; ++i) {
            const Color4b color = opened->GetColorTableItem(i);
            EXPECT_EQ(color, Color4b(quads[i].rgbRed, quads[i].rgbGreen, quads[i].rgbBlue));
        }
        ZScanRect read(20, 6, kind.format), expected(20, 6, kind.format);
        opened->ReadScanRect(read, 0, 0);
        expected.CopyFromDib(&dib.Info().bmiHeader, dib.memory.data() + 10 + kind.entriesBeforeBits, 0, 0);
        for (int y = 0; y < 6; ++y)
            for (int x = 0; x < 20; ++x)
                EXPECT_EQ(PixelAt(read.GetRowPtr(y), x, kind.format), PixelAt(expected.GetRowPtr(y), x, kind.format));
    }
}

TEST_F(Store, RefusesDibsWithoutHeaderBitsOrColors) {
    const PackedPicture dib(2, 2, 8, BI_RGB, 0);
    const auto* header = &dib.Info().bmiHeader;
    const void* bits = dib.memory.data();
    const auto store = Blank();
    EXPECT_TRUE(
        RaisesInternalError([&] { store->Create(nullptr, bits, nullptr, nullptr); }, BitmapCFileStoreCheck::dibHeader));
    EXPECT_TRUE(
        RaisesInternalError([&] { store->Create(header, nullptr, nullptr, nullptr); }, BitmapCFileStoreCheck::dibBits));
    EXPECT_TRUE(File().empty());
    EXPECT_TRUE(
        RaisesInternalError([&] { store->Create(header, bits, nullptr, nullptr); }, BitmapCFileStoreCheck::dibColors));
    EXPECT_EQ(file.GetPosition(), 0);
}

TEST_F(Store, RefusesDibsThatAreCompressedOrTopDown) {
    for (const DWORD compression : {1u, 2u, 4u, 5u}) {
        const PackedPicture dib(2, 2, 8, compression, 0);
        EXPECT_TRUE(RaisesNamedError([&] { Blank()->Create(dib.Info(), nullptr); }, kUnsupportedDibText,
                                     zbm::ScanRectCheck::dibCompression))
            << compression;
    }
    const PackedPicture topDown(2, -2, 8, BI_RGB, 0);
    EXPECT_TRUE(RaisesInternalError([&] { Blank()->Create(topDown.Info(), nullptr); }, zbm::BitmapCheck::pixelSize));
    const PackedPicture depth2(2, 2, 2, BI_RGB, 0);
    EXPECT_TRUE(RaisesInternalError([&] { Blank()->Create(depth2.Info(), nullptr); }, zbm::BitmapCheck::formatRange));
}

TEST_F(Store, ThatCannotWriteATilesFirstRecordLeavesTheTileWithoutOneAndTheFileAsLongAsBefore) {
    const auto store = Empty(300, 300, shr::GRAYSCALE_8, 300, 300);
    const std::int64_t end = file.GetLength();
    const ZScanRect tile = TileOf(300, 300, shr::GRAYSCALE_8, 5);
    for (int failing = 1;; ++failing) {
        static int callsLeft;
        callsLeft = failing;
        const auto former =
            shr::SetFileFaultHook([](shr::FileCall call) { return call == shr::FileCall::write && --callsLeft == 0; });
        bool written = true;
        try {
            store->WriteScanRect(tile, 0, 0);
        } catch (const shr::Exception&) { written = false; }
        shr::SetFileFaultHook(former);
        if (written) break;
        EXPECT_EQ(file.GetLength(), end) << "write " << failing;
        ZScanRect read = TileOf(300, 300, shr::GRAYSCALE_8, 0xEE);
        store->ReadScanRect(read, 0, 0);
        EXPECT_EQ(read.GetRowPtr(0)[0], 0xEE);
        ASSERT_LT(failing, 10);
    }
    EXPECT_GT(file.GetLength(), end);
}

TEST_F(Store, KeepsPositionsBeyond4GiB) {
    constexpr std::int64_t kBase = std::int64_t{5} << 30;
    const auto store = Empty(2, 1, shr::BGRA_32, 1, 1, kBase);
    store->WriteScanRect(TileOf(1, 1, shr::BGRA_32, 9), 0, 1);
    store->CommitAll();
    ZScanRect tile(1, 1, shr::BGRA_32);
    Opened(true, kBase)->ReadScanRect(tile, 0, 1);
    EXPECT_EQ(tile.GetRowPtr(0)[3], 9);
}

}  // namespace
