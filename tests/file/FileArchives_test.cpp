// Bitmaps in files, and their parts, in archives.
#include <gtest/gtest.h>

#include "core/checks/BitmapCFileStoreChecks.h"
#include "core/checks/BitmapChecks.h"
#include "core/checks/POTCFileBitmapChecks.h"
#include "core/checks/ScanRectChecks.h"
#include "core/checks/ScanRectFileBitmapChecks.h"
#include "file/FileBitmapTesting.h"
#include "shr/Archive.h"
#include "support_code/TestProgress.h"
#include "zbm/ISerializeLegacyGCS.h"
#include "zbm/SerializeIO.h"
#include "zbm/ZMemBitmap.h"

namespace {

using namespace testkit;
using shr::Color4b;
using zbm::BitmapCFileStoreCheck;
using zbm::BitmapCheck;
using zbm::POTCFileBitmapCheck;
using zbm::ScanRectCheck;
using zbm::ScanRectFileBitmapCheck;
using zbm::SerializeIO;
using zbm::ZBasicMemBitmap;
using zbm::ZBitmapCFileStore;
using zbm::ZScanRect;
using zcdl::CodecMethod;

template <class Object>
Bytes Stored(Object& object, bool withReductions = true, shr::IProgress* progress = nullptr) {
    PlainArchive archive;
    SerializeIO io(archive, withReductions, CodecMethod::stored);
    EXPECT_TRUE(object.Serialize(io, progress, static_cast<zbm::ISerializeLegacyGCS*>(nullptr)));
    return archive.bytes;
}

template <class Object>
bool Load(Object& object, const Bytes& bytes, shr::IProgress* progress = nullptr,
          zbm::ISerializeLegacyGCS* legacy = nullptr) {
    PlainArchive archive(bytes);
    SerializeIO io(archive, false);
    const bool loaded = object.Serialize(io, progress, legacy);
    EXPECT_TRUE(!loaded || archive.position == bytes.size()) << "bytes are left over";
    return loaded;
}

template <class Object>
bool LoadKnowingLength(Object& object, const Bytes& bytes) {
    shr::MemoryArchive archive(bytes);
    SerializeIO io(archive, false);
    return object.Serialize(io, nullptr, static_cast<zbm::ISerializeLegacyGCS*>(nullptr));
}

/// Reads a value of 32 bits from the archive.
class Legacy final : public zbm::ISerializeLegacyGCS {
public:
    void SerializeGCS(shr::ISerialize& archive) override {
        std::uint32_t value;
        archive.Read(&value, sizeof value);
        read.push_back(value);
    }
    std::vector<std::uint32_t> read;
};

/// Values of a format information; heights stand first.
struct Format {
    int height, width, format, tileHeight, tileWidth, xResolution = 100, yResolution = 200;
    std::vector<Color4b> colors{};

    /// Version and values; `legacy` stands where archives of the older scheme have a record of the host's.
    ArchiveWriter Record(const Bytes& legacy = {}) const {
        ArchiveWriter writer;
        writer.U16(1).I32(height).I32(width).I32(format).I32(tileHeight).I32(tileWidth).Raw(legacy);
        writer.I32(xResolution).I32(yResolution).U32(static_cast<std::uint32_t>(colors.size()));
        for (const Color4b color : colors) writer.Raw({color.red, color.green, color.blue, color.alpha});
        return writer;
    }
};

/// 3 x 2 pixels of GRAYSCALE_8 in tiles of 2 x 2: rows of 4 bytes, and masks of as many.
const Format kSmall{2, 3, shr::GRAYSCALE_8, 2, 2};
const Bytes kFirstPixels{3, 4, 0, 0, 1, 2, 0, 0}, kSecondPixels{6, 0, 0, 0, 5, 0, 0, 0}, kMask(8, 0xFF);

Bytes Tile(int width, int height, int format, const Bytes& pixels, const Bytes& mask) {
    return ArchiveWriter().TileHead(width, height, format).Block(pixels).Block(mask).Take();
}
Bytes SmallTiles() {
    return ArchiveWriter()
        .Raw(Tile(2, 2, shr::GRAYSCALE_8, kFirstPixels, kMask))
        .Raw(Tile(1, 2, shr::GRAYSCALE_8, kSecondPixels, kMask))
        .Take();
}
Bytes SmallStore(const Format& format = kSmall, const Bytes& legacy = {}) {
    return format.Record(legacy).Raw(SmallTiles()).Take();
}
/// The picture and no reductions.
Bytes SmallBitmap(const Format& told = kSmall, const Format& store = kSmall) {
    return ArchiveWriter().U16(1).Raw(told.Record().Take()).Raw(SmallStore(store)).U32(0).Take();
}

void ExpectSmallPicture(const zbm::ZBitmap& bitmap) {
    ASSERT_EQ(bitmap.GetPixelWidth(), 3);
    ASSERT_EQ(bitmap.GetPixelHeight(), 2);
    std::vector<std::uint32_t> pixels;
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x) pixels.push_back(GetPixel(bitmap, x, y));
    EXPECT_EQ(pixels, (std::vector<std::uint32_t>{1, 2, 5, 3, 4, 6}));
}

// ---- The store.

class StoreArchive : public FileBitmapTest {
protected:
    static shr::CBufferedFile NewFile(const shr::ZString& name) {
        shr::CBufferedFile file;
        file.Open(name, shr::FileAccess::readWrite, shr::FileMode::create, shr::FileSharing::none);
        return file;
    }
    ZBitmapCFileStore Opened(bool readOnly) { return {name, file, kBase, true, readOnly}; }
    Bytes StoredStore() { return Stored(store); }

    static constexpr std::int64_t kBase = 100;
    shr::CBufferedFile file = NewFile(name);
    ZBitmapCFileStore store{name, file, kBase, false, false};
};

TEST_F(StoreArchive, IsAFormatInformationAndTheTilesToTheByte) {
    ZBasicMemBitmap picture(3, 2, shr::GRAYSCALE_8, 2, 2);
    for (int i = 0; i < 6; ++i) SetPixel(picture, i % 3, i / 3, static_cast<std::uint32_t>("\1\2\5\3\4\6"[i]));
    picture.SetXResolution(100);
    picture.SetYResolution(200);
    store.Create(picture, nullptr);
    TestProgress progress;
    EXPECT_EQ(Stored(store, true, &progress), SmallStore());
    EXPECT_EQ(progress.TaskTexts(), std::vector<std::string>{"Storing image..."});
    EXPECT_EQ(progress.fractions, std::vector<double>{1.5});
    EXPECT_EQ(progress.openTasks, 0);
    ZBitmapCFileStore forReading = Opened(true);
    EXPECT_EQ(Stored(forReading), SmallStore());
}

TEST_F(StoreArchive, IsLoadedInItsOwnTiles) {
    TestProgress progress;
    EXPECT_TRUE(Load(store, SmallStore(), &progress));
    EXPECT_EQ(progress.TaskTexts(), std::vector<std::string>{"Loading image..."});
    EXPECT_EQ(progress.fractions, std::vector<double>{1.5});
    const ZBitmapCFileStore opened = Opened(true);
    EXPECT_EQ(opened.GetScanRectWidth(), 2);
    EXPECT_EQ(opened.GetScanRectHeight(), 2);
    EXPECT_EQ(opened.GetXResolution(), 100);
    EXPECT_EQ(opened.GetYResolution(), 200);
    ZScanRect tile(1, 2, shr::GRAYSCALE_8);
    opened.ReadScanRect(tile, 0, 1);
    EXPECT_EQ(tile.GetRowPtr(0)[0], 5);
    EXPECT_EQ(tile.GetRowPtr(1)[0], 6);
    EXPECT_EQ(StoredStore(), SmallStore());
}

TEST_F(StoreArchive, OfEveryFormatIsLoadedAsItWasStored) {
    for (const ColorFormat format : kFormats) {
        ZBasicMemBitmap picture = FormulaBitmap(37, 23, format, 13, 9);
        ZBitmapCFileStore first(name, file, kBase, false, false);
        first.Create(picture, nullptr);
        const Bytes bytes = Stored(first);
        file.SetLength(0);
        ZBitmapCFileStore second(name, file, kBase, false, false);
        EXPECT_TRUE(Load(second, bytes));
        EXPECT_EQ(Stored(second), bytes) << FormatName(format);
    }
}

TEST_F(StoreArchive, HasZeroAndOpaqueTilesWhereNoneWasWritten) {
    store.CreateEmpty(2, 1, shr::GRAYSCALE_8, 1, 1);
    ZScanRect tile(1, 1, shr::GRAYSCALE_8);
    tile.GetRowPtr(0)[0] = 9;
    tile.GetAlphaRowPtr(0)[0] = 0;
    store.WriteScanRect(tile, 0, 0);
    const int resolution = DefaultResolution(2);
    const Bytes written = Tile(1, 1, shr::GRAYSCALE_8, {9, 0, 0, 0}, {0, 0xFF, 0xFF, 0xFF});
    const Bytes none = Tile(1, 1, shr::GRAYSCALE_8, Bytes(4), Bytes(4, 0xFF));
    const Format format{1, 2, shr::GRAYSCALE_8, 1, 1, resolution, resolution};
    EXPECT_EQ(StoredStore(), format.Record().Raw(written).Raw(none).Take());
}

TEST_F(StoreArchive, KeepsFewerColorsThanTheFormatHas) {
    const Format format{1, 1, shr::INDEXED_8, 1, 1, 1, 1, {Color4b(1, 2, 3, 4), Color4b(5, 6, 7)}};
    const Bytes bytes = format.Record().Raw(Tile(1, 1, shr::INDEXED_8, Bytes(4), Bytes(4, 0xFF))).Take();
    EXPECT_TRUE(Load(store, bytes));
    EXPECT_EQ(store.GetNumColorTableItems(), 2u);
    EXPECT_EQ(store.GetColorTableItem(0), Color4b(1, 2, 3, 4));
    EXPECT_EQ(Opened(true).GetColorTableItem(1), Color4b(5, 6, 7));
    EXPECT_EQ(StoredStore(), bytes);
}

TEST_F(StoreArchive, PassesOverResolutionsBelow1) {
    Format format = kSmall;
    format.xResolution = 0;
    format.yResolution = -7;
    EXPECT_TRUE(Load(store, SmallStore(format)));
    EXPECT_EQ(store.GetXResolution(), DefaultResolution(3));
    EXPECT_EQ(store.GetYResolution(), DefaultResolution(3));
}

TEST_F(StoreArchive, GivesTheLegacySerializerItsPlaceBehindTheTileSize) {
    Legacy legacy;
    EXPECT_TRUE(Load(store, SmallStore(kSmall, {1, 2, 0, 0}), nullptr, &legacy));
    EXPECT_EQ(legacy.read, std::vector<std::uint32_t>{513});
    EXPECT_EQ(StoredStore(), SmallStore());
    PlainArchive archive;
    SerializeIO io(archive, false);
    EXPECT_TRUE(
        RaisesInternalError([&] { (void)store.Serialize(io, nullptr, &legacy); }, BitmapCFileStoreCheck::legacy));
    EXPECT_TRUE(archive.sizes.empty());
}

TEST_F(StoreArchive, OfABlankStoreIsNotWritten) {
    PlainArchive archive;
    SerializeIO io(archive, false);
    EXPECT_TRUE(RaisesNamedError([&] { (void)store.Serialize(io, nullptr, nullptr); }, kWriteArchiveText,
                                 BitmapCheck::storedFormat));
    EXPECT_TRUE(archive.sizes.empty());
}

TEST_F(StoreArchive, OfAnotherVersionIsRefusedBeforeAnythingIsDone) {
    for (const std::size_t place : {0u, 1u}) {
        Bytes bytes = SmallStore();
        bytes[place] ^= 2;
        TestProgress progress;
        EXPECT_TRUE(RaisesReadArchive([&] { Load(store, bytes, &progress); }, BitmapCFileStoreCheck::recordVersion));
        EXPECT_TRUE(progress.tasks.empty());
        EXPECT_EQ(file.GetLength(), 0);
    }
}

TEST_F(StoreArchive, IsRefusedWhereItsPartsDoNotFit) {
    const auto refuses = [&](const Bytes& bytes, zbm::Check check) {
        EXPECT_TRUE(RaisesReadArchive([&] { Load(store, bytes); }, check));
        EXPECT_TRUE(RaisesReadArchive([&] { LoadKnowingLength(store, bytes); }, check));
        EXPECT_EQ(file.GetPosition(), kBase);
    };
    Format format = kSmall;
    format.colors = {Color4b(1, 2, 3)};
    refuses(SmallStore(format), BitmapCFileStoreCheck::archivedColors);
    const Bytes rest(64);
    refuses(kSmall.Record().Raw(Tile(2, 1, shr::GRAYSCALE_8, Bytes(4), Bytes(4))).Raw(rest).Take(),
            ScanRectCheck::recordPlace);
    refuses(kSmall.Record().Raw(Tile(3, 2, shr::GRAYSCALE_8, kFirstPixels, kMask)).Raw(rest).Take(),
            ScanRectCheck::recordPlace);
    refuses(kSmall.Record().Raw(Tile(2, 2, shr::GRAYSCALE_4, kFirstPixels, kMask)).Raw(rest).Take(),
            ScanRectCheck::recordPlace);
    Bytes version = SmallStore();
    version[kSmall.Record().Take().size()] = 2;
    refuses(version, ScanRectCheck::recordVersion);
}

TEST_F(StoreArchive, IsRefusedWhereItIsTooShortForItsTilesBeforeAnythingIsMadeForThem) {
    const Format huge{0x7FFFFFFF, 0x7FFFFFFF, shr::BGRA_32, 1, 1};
    EXPECT_TRUE(RaisesReadArchive([&] { Load(store, huge.Record().Take()); }, BitmapCheck::archivedTiles));
    EXPECT_TRUE(RaisesReadArchive([&] { LoadKnowingLength(store, huge.Record().Take()); }, BitmapCheck::archivedTiles));
    EXPECT_EQ(file.GetLength(), 0);
    EXPECT_TRUE(Load(store, SmallStore())) << "it can be loaded afterwards";
}

TEST_F(StoreArchive, IsNotLoadedIntoAStoreThatMayNotBeWritten) {
    EXPECT_TRUE(Load(store, SmallStore()));
    ZBitmapCFileStore forReading = Opened(true);
    const std::int64_t length = file.GetLength();
    EXPECT_TRUE(
        RaisesInternalError([&] { Load(forReading, SmallStore()); }, BitmapCFileStoreCheck::skeletonOfReadOnly));
    EXPECT_EQ(file.GetLength(), length);
}

TEST_F(StoreArchive, CancelledWhileItIsLoadedLeavesOnePixel) {
    ZBasicMemBitmap picture = FormulaBitmap(5, 9, shr::BGRA_32, 4, 3);
    store.Create(picture, nullptr);
    const Bytes bytes = StoredStore();
    for (int report = 1; report <= 3; ++report) {
        file.SetLength(0);
        ZBitmapCFileStore loaded(name, file, kBase, false, false);
        TestProgress progress(report);
        EXPECT_FALSE(Load(loaded, bytes, &progress));
        EXPECT_EQ(progress.TaskTexts(), std::vector<std::string>{"Loading image..."}) << "none for the pixel";
        EXPECT_EQ(progress.openTasks, 0);
        const ZBitmapCFileStore opened = Opened(true);
        EXPECT_EQ(opened.GetPixelWidth(), 1);
        EXPECT_EQ(opened.GetPixelHeight(), 1);
        EXPECT_EQ(opened.GetColorFormat(), shr::BGR_24);
        EXPECT_EQ(opened.GetScanRectWidth(), 512);
        EXPECT_EQ(opened.GetScanRectHeight(), 512);
        EXPECT_TRUE(Load(loaded, bytes)) << "it has the room";
        EXPECT_EQ(Stored(loaded), bytes);
    }
    for (int report = 1; report <= 3; ++report) {
        TestProgress progress(report);
        PlainArchive archive;
        SerializeIO io(archive, false, CodecMethod::stored);
        file.SetLength(0);
        ZBitmapCFileStore stored(name, file, kBase, false, false);
        stored.Create(picture, nullptr);
        EXPECT_FALSE(stored.Serialize(io, &progress, nullptr));
        EXPECT_LE(archive.bytes.size(), bytes.size());
        EXPECT_TRUE(std::equal(archive.bytes.begin(), archive.bytes.end(), bytes.begin()));
    }
}

TEST_F(StoreArchive, AndCreationNeedTheRoomThatTheStoreHadWhereItsFileGoesOn) {
    store.CreateEmpty(2, 1, shr::GRAYSCALE_8, 1, 1);
    EXPECT_TRUE(store.CreateEmpty(50, 1, shr::GRAYSCALE_8, 1, 1)) << "nothing lies behind it";
    const std::int64_t base = file.GetLength();
    ZBitmapCFileStore behind(name, file, base, false, false);
    behind.CreateEmpty(1, 1, shr::GRAYSCALE_8, 1, 1);
    const auto sound = [&] { return ZBitmapCFileStore(name, file, base, true, true).GetPixelWidth() == 1; };
    for (const int width : {7, 50}) {
        EXPECT_TRUE(store.CreateEmpty(width, 1, shr::GRAYSCALE_8, 1, 1));
        EXPECT_TRUE(sound());
    }
    EXPECT_TRUE(
        RaisesInternalError([&] { store.CreateEmpty(51, 1, shr::GRAYSCALE_8, 1, 1); }, BitmapCFileStoreCheck::room));
    ZBitmapCFileStore opened = Opened(false);
    EXPECT_TRUE(
        RaisesInternalError([&] { opened.CreateEmpty(51, 1, shr::GRAYSCALE_8, 1, 1); }, BitmapCFileStoreCheck::room));
    Bytes bytes = SmallStore();
    EXPECT_TRUE(Load(store, bytes));
    EXPECT_TRUE(RaisesInternalError(
        [&] {
            Load(store, Format{9, 9, shr::GRAYSCALE_8, 1, 1}.Record().Take());
        },
        BitmapCFileStoreCheck::room));
    EXPECT_TRUE(sound());
}

// ---- The reduction.

class LevelArchive : public StoreArchive {
protected:
    zbm::ZPOTCFileBitmap level{name, file, kBase, false, false};
};

TEST_F(LevelArchive, IsAVersionAndTheStoreToTheByte) {
    const Bytes bytes = ArchiveWriter().U16(1).Raw(SmallStore()).Take();
    TestProgress loading, storing;
    EXPECT_TRUE(Load(level, bytes, &loading));
    EXPECT_EQ(loading.TaskTexts(), (std::vector<std::string>{"Loading image reduction...", "Loading image..."}));
    ExpectSmallPicture(level);
    EXPECT_EQ(level.GetScanRectWidth(), 2);
    EXPECT_EQ(level.GetXResolution(), 100);
    EXPECT_EQ(Stored(level, true, &storing), bytes);
    EXPECT_EQ(storing.TaskTexts(), (std::vector<std::string>{"Storing image reduction...", "Storing image..."}));
    EXPECT_EQ(storing.openTasks, 0);
    zbm::ZPOTCFileBitmap opened(name, file, kBase, true, true);
    ExpectSmallPicture(opened);
    EXPECT_EQ(Stored(opened), bytes);
}

TEST_F(LevelArchive, TakesColorsAndGivesTheLegacySerializerToItsStore) {
    const Format format{1, 1, shr::INDEXED_8, 1, 1, 1, 2, {Color4b(1, 2, 3, 4)}};
    Legacy legacy;
    const Bytes bytes = ArchiveWriter()
                            .U16(1)
                            .Raw(format.Record({7, 0, 0, 0}).Take())
                            .Raw(Tile(1, 1, shr::INDEXED_8, Bytes(4), Bytes(4, 0xFF)))
                            .Take();
    EXPECT_TRUE(Load(level, bytes, nullptr, &legacy));
    EXPECT_EQ(legacy.read, std::vector<std::uint32_t>{7});
    EXPECT_EQ(level.GetNumColorTableItems(), 1u);
    EXPECT_EQ(level.GetColorTableItem(0), Color4b(1, 2, 3, 4));
    PlainArchive archive;
    SerializeIO io(archive, false);
    EXPECT_TRUE(RaisesInternalError([&] { (void)level.Serialize(io, nullptr, &legacy); }, POTCFileBitmapCheck::legacy));
    EXPECT_TRUE(archive.sizes.empty());
}

TEST_F(LevelArchive, OfAnotherVersionOrOfALevelThatWasNotMadeIsRefused) {
    const Bytes bytes = ArchiveWriter().U16(2).Raw(SmallStore()).Take();
    TestProgress progress;
    EXPECT_TRUE(RaisesReadArchive([&] { Load(level, bytes, &progress); }, POTCFileBitmapCheck::recordVersion));
    EXPECT_TRUE(progress.tasks.empty());
    PlainArchive archive;
    SerializeIO io(archive, false);
    EXPECT_TRUE(RaisesNamedError([&] { (void)level.Serialize(io, nullptr, nullptr); }, kWriteArchiveText,
                                 POTCFileBitmapCheck::storedFormat));
    EXPECT_TRUE(archive.sizes.empty());
}

TEST_F(LevelArchive, ThatIsCancelledOrFailsLeavesTheLevelClosed) {
    const Bytes bytes = ArchiveWriter().U16(1).Raw(SmallStore()).Take();
    EXPECT_TRUE(Load(level, bytes));
    TestProgress progress(1);
    EXPECT_FALSE(Load(level, bytes, &progress));
    EXPECT_EQ(level.GetPixelWidth(), 0);
    EXPECT_EQ(progress.openTasks, 0);
    zbm::ZPOTCFileBitmap another(name, file, kBase, false, false);
    EXPECT_TRUE(Load(another, bytes));
    EXPECT_THROW(Load(another, Bytes(bytes.begin(), bytes.end() - 1)), ArchiveFailure);
    EXPECT_EQ(another.GetPixelWidth(), 0);
    EXPECT_TRUE(another.IsFileOpen());
}

// ---- The bitmap.

class FileArchive : public FileBitmapTest {
protected:
    /// An empty bitmap that has its file open.
    std::unique_ptr<OpenFileBitmap> Target() const {
        auto bitmap = std::make_unique<OpenFileBitmap>();
        bitmap->CreateEmpty(target, 1, 1, shr::BGRA_32);
        return bitmap;
    }
    ZBasicMemBitmap OnTarget() const {
        OpenFileBitmap bitmap;
        bitmap.Open(target, true);
        return InMemory(bitmap);
    }

    /// Another picture in the file, that was changed and not yet saved.
    std::unique_ptr<OpenFileBitmap> TargetWithChanges() {
        auto bitmap = OnFile(target, former);
        SetAndCommit(*bitmap, 7, 8, 0x123456);
        return bitmap;
    }
    /// Whether the file holds that, and nothing lies beside it.
    testing::AssertionResult HasFormerPicture() {
        ZBasicMemBitmap expected = former;
        SetAndCommit(expected, 7, 8, 0x123456);
        if (HasFilesBeside()) return testing::AssertionFailure() << "a file is left beside it";
        return AreEqual(OnTarget(), expected);
    }
    bool HasFilesBeside() const {
        const auto names = shr::test::Entries(scratch.File(""));
        return std::any_of(names.begin(), names.end(), [](const auto& entry) { return entry.starts_with("zv"); });
    }

    const shr::ZString target = scratch.File("target");
    ZBasicMemBitmap former = FormulaBitmap(30, 20, shr::BGR_24, 16, 16);
};

TEST_F(FileArchive, IsAVersionTheFormatTheStoreAndTheReductionsToTheByte) {
    const auto bitmap = OnFile(name, FormulaBitmap(34, 34, shr::BGR_24, 20, 34));
    ASSERT_TRUE(bitmap->CommitAll(nullptr));
    ASSERT_EQ(bitmap->reductions.size(), 1u);
    ArchiveWriter picture;
    picture.U16(1).Raw(Format{34, 34, shr::BGR_24, 34, 20, 1009, 2009}.Record().Take());
    picture.Raw(Stored(*bitmap->store));
    EXPECT_EQ(Stored(*bitmap, false), ArchiveWriter(picture).U32(0).Take());
    EXPECT_EQ(Stored(*bitmap, true), ArchiveWriter(picture).U32(1).U32(1).Raw(Stored(*bitmap->reductions[0])).Take());
    EXPECT_TRUE(IsEqual(*bitmap, FormulaBitmap(34, 34, shr::BGR_24, 20, 34)));
}

TEST_F(FileArchive, WrittenByHandIsLoaded) {
    EXPECT_EQ(SmallBitmap().size(), 170u);
    const auto bitmap = Target();
    TestProgress progress;
    EXPECT_TRUE(Load(*bitmap, SmallBitmap(), &progress));
    EXPECT_EQ(progress.TaskTexts(), std::vector<std::string>{"Loading image..."});
    EXPECT_EQ(bitmap->GetFileName(), target);
    EXPECT_EQ(bitmap->GetScanRectWidth(), 512);
    EXPECT_TRUE(bitmap->reductionsStale);
    ExpectSmallPicture(*bitmap);
    EXPECT_EQ(bitmap->fileInfoTable.slots[1], bitmap->file.GetLength());
    bitmap->Close();
    const Bytes file = ReadWhole(target);
    const Bytes head = BitmapHead({kFirstStore}, static_cast<std::int64_t>(file.size()));
    EXPECT_TRUE(std::equal(head.begin(), head.end(), file.begin())) << "the table stands in the file";
    ExpectSmallPicture(OnTarget());
}

TEST_F(FileArchive, OfEveryFormatAndAnyTilesIsLoadedInTilesOf512) {
    for (const ColorFormat format : kFormats)
        for (const auto& tiles : {std::pair{512, 512}, {64, 20}, {1000, 7}, {600, 1000}, {13, 513}}) {
            const auto bitmap = OnFile(name, FormulaBitmap(530, 41, format, tiles.first, tiles.second));
            const Bytes bytes = Stored(*bitmap);
            const auto loaded = Target();
            ASSERT_TRUE(Load(*loaded, bytes)) << FormatName(format) << ", tiles of " << tiles.first;
            const ZBasicMemBitmap expected = FormulaBitmap(530, 41, format, 512, 512);
            EXPECT_TRUE(IsEqual(*loaded, expected)) << FormatName(format) << ", tiles of " << tiles.first;
            loaded->Close();
            EXPECT_TRUE(AreEqual(OnTarget(), expected)) << FormatName(format) << ", tiles of " << tiles.first;
        }
}

TEST_F(FileArchive, OfManyRowsOfTilesIsPutTogetherWhateverTheirHeight) {
    for (const int tileHeight : {1, 100, 300, 512, 700, 1024, 1500, 2000})
        for (const int tileWidth : {512, 700}) {
            const auto bitmap = OnFile(name, FormulaBitmap(523, 1537, shr::GRAYSCALE_1, tileWidth, tileHeight));
            const auto loaded = Target();
            ASSERT_TRUE(Load(*loaded, Stored(*bitmap)));
            EXPECT_TRUE(IsEqual(*loaded, FormulaBitmap(523, 1537, shr::GRAYSCALE_1, 512, 512))) << tileHeight;
        }
}

TEST_F(FileArchive, BringsItsReductions) {
    for (const ColorFormat format : {shr::BGR_24, shr::INDEXED_8}) {
        const auto bitmap = OnFile(name, FormulaBitmap(150, 80, format, 64, 64));
        ASSERT_TRUE(bitmap->CommitAll(nullptr));
        const auto loaded = Target();
        TestProgress progress;
        EXPECT_TRUE(Load(*loaded, Stored(*bitmap), &progress));
        EXPECT_EQ(progress.TaskTexts(),
                  (std::vector<std::string>{"Loading image...", "Loading image reduction...", "Loading image...",
                                            "Loading image reduction...", "Loading image..."}));
        EXPECT_FALSE(loaded->reductionsStale);
        const auto sameLevels = [&](const OpenFileBitmap& other) {
            ASSERT_EQ(other.reductions.size(), 2u);
            for (std::size_t i = 0; i < 2; ++i)
                EXPECT_TRUE(IsEqual(*other.reductions[i], InMemory(*bitmap->reductions[i])));
        };
        sameLevels(*loaded);
        loaded->Close();
        OpenFileBitmap opened;
        opened.Open(target, false);
        sameLevels(opened);
        EXPECT_FALSE(opened.reductionsStale);
        EXPECT_TRUE(IsEqual(opened, FormulaBitmap(150, 80, format, 512, 512)));
        StoreAll(FormulaBitmap(150, 80, format, 512, 512), opened);
        EXPECT_TRUE(opened.CommitAll(nullptr)) << "they can be refreshed";
    }
}

TEST_F(FileArchive, CountsReductionsAsCurrentIfTheyWereStoredEvenWhereThereAreNone) {
    const auto bitmap = OnFile(name, FormulaBitmap(150, 80, shr::BGR_24, 64, 64));
    const auto loaded = Target();
    EXPECT_TRUE(Load(*loaded, Stored(*bitmap, true)));
    EXPECT_FALSE(loaded->reductionsStale);
    EXPECT_TRUE(loaded->reductions.empty());
    EXPECT_TRUE(loaded->CommitAll(nullptr, true));
    EXPECT_EQ(loaded->reductions.size(), 2u);
    EXPECT_TRUE(Load(*loaded, Stored(*bitmap, false)));
    EXPECT_TRUE(loaded->reductionsStale);
    EXPECT_TRUE(loaded->reductions.empty());
}

TEST_F(FileArchive, TakesTheResolutionOfTheFormatInformationAlsoWhereItIsNotKnown) {
    Format told = kSmall, inStore = kSmall;
    told.xResolution = 0;
    told.yResolution = 77;
    inStore.xResolution = 0;
    const auto bitmap = Target();
    EXPECT_TRUE(Load(*bitmap, SmallBitmap(told, inStore)));
    EXPECT_EQ(bitmap->GetXResolution(), 0);
    EXPECT_EQ(bitmap->GetYResolution(), 77);
    bitmap->Close();
    EXPECT_EQ(OnTarget().GetXResolution(), 0);
    EXPECT_EQ(OnTarget().GetYResolution(), 77);
}

TEST_F(FileArchive, TakesTheColorsOfTheStore) {
    Format told = kSmall, store = kSmall;
    told.format = store.format = shr::INDEXED_8;
    told.colors = {Color4b(1, 2, 3, 255), Color4b(4, 5, 6, 255)};
    store.colors = {Color4b(7, 8, 9, 255), Color4b(10, 11, 12, 255)};
    ArchiveWriter writer;
    writer.U16(1).Raw(told.Record().Take()).Raw(store.Record().Take());
    writer.Raw(Tile(2, 2, shr::INDEXED_8, kFirstPixels, kMask)).Raw(Tile(1, 2, shr::INDEXED_8, kSecondPixels, kMask));
    const auto bitmap = Target();
    EXPECT_TRUE(Load(*bitmap, writer.U32(0).Take()));
    bitmap->Close();
    bitmap->Open(target, true);
    ASSERT_EQ(bitmap->GetNumColorTableItems(), 2u);
    EXPECT_EQ(bitmap->GetColorTableItem(0), store.colors[0]);
    EXPECT_EQ(bitmap->GetColorTableItem(1), store.colors[1]);
}

TEST_F(FileArchive, TakesANegativeResolutionAsItIs) {
    Format told = kSmall;
    told.xResolution = -7;
    const auto bitmap = Target();
    EXPECT_TRUE(Load(*bitmap, SmallBitmap(told, kSmall)));
    EXPECT_EQ(bitmap->GetXResolution(), -7);
    EXPECT_EQ(bitmap->GetYResolution(), kSmall.yResolution);
    bitmap->Close();
    bitmap->Open(target, true);
    EXPECT_EQ(bitmap->GetXResolution(), -7);
}

TEST_F(FileArchive, OfForgedSizesOrFormatsRaisesInternalErrorsAndLeavesTheFormerPicture) {
    struct Forged {
        int Format::*value;
        int number;
        BitmapCheck check;
    };
    for (const Forged& forged :
         {Forged{&Format::height, -1, BitmapCheck::pixelSize}, Forged{&Format::width, -1, BitmapCheck::pixelSize},
          Forged{&Format::tileHeight, 0, BitmapCheck::tileSize}, Forged{&Format::tileWidth, -1, BitmapCheck::tileSize},
          Forged{&Format::format, 0, BitmapCheck::formatRange},
          Forged{&Format::format, 14, BitmapCheck::formatRange}}) {
        Format format = kSmall;
        format.*forged.value = forged.number;
        const auto bitmap = TargetWithChanges();
        EXPECT_TRUE(RaisesInternalError([&] { Load(*bitmap, SmallBitmap(format, format)); }, forged.check));
        EXPECT_TRUE(IsClosed(*bitmap));
        EXPECT_TRUE(HasFormerPicture());
    }
}

TEST_F(FileArchive, KeepsReductionsOfUnknownResolutionUnknown) {
    const auto bitmap = OnFile(name, FormulaBitmap(70, 50, shr::BGR_24, 64, 20));
    bitmap->ForgetResolution();
    ASSERT_TRUE(bitmap->CommitAll(nullptr));
    const Bytes stored = Stored(*bitmap, true);
    const auto loaded = Target();
    EXPECT_TRUE(Load(*loaded, stored));
    ASSERT_FALSE(loaded->reductions.empty());
    for (const auto& level : loaded->reductions) EXPECT_EQ(level->GetXResolution(), 0);
    const Bytes again = Stored(*loaded, true);
    loaded->Close();
    OpenFileBitmap opened;
    opened.Open(target, false);
    EXPECT_EQ(Stored(opened, true), again);
}

TEST_F(FileArchive, WhosePartsDoNotAgreeIsRefusedAndLeavesTheFormerPicture) {
    const auto refuses = [&](Format store) {
        const auto bitmap = TargetWithChanges();
        EXPECT_TRUE(RaisesReadArchive([&] { Load(*bitmap, SmallBitmap(kSmall, store)); }, BitmapCheck::archivedTwice));
        EXPECT_TRUE(IsClosed(*bitmap));
        EXPECT_TRUE(HasFormerPicture());
    };
    for (int Format::*value :
         {&Format::height, &Format::width, &Format::format, &Format::tileHeight, &Format::tileWidth}) {
        Format other = kSmall;
        ++(other.*value);
        refuses(other);
    }
    Format colors = kSmall;
    colors.colors = {Color4b(1, 2, 3)};
    refuses(colors);
}

// Sizes that read as a version where a record of another class goes on are among them.
TEST_F(FileArchive, OfAnotherClassIsRefusedWhateverThePicturesSize) {
    const auto refuses = [](zbm::ZBitmap& bitmap, const Bytes& bytes) {
        PlainArchive archive(bytes);
        SerializeIO io(archive, false);
        try {
            (void)bitmap.Serialize(io, nullptr, nullptr);
            return testing::AssertionFailure() << "is loaded";
        } catch (const shr::InternalError& error) {
            return testing::AssertionFailure() << Describe(error);
        } catch (const shr::Exception& error) {
            return testing::AssertionResult(error.GetMessageText() == kReadArchiveText) << Describe(error);
        }
    };
    struct Size {
        int width, height, tileSide;
    };
    for (const Size size : {Size{70, 60, 25},
                            {70, 1, 25},
                            {40000, 1, 512},
                            {1, 70, 25},
                            {1, 1, 512},
                            {1, 65537, 40000},
                            {1, 40000, 512}}) {
        SCOPED_TRACE(std::to_string(size.width) + " x " + std::to_string(size.height));
        ZBasicMemBitmap plain = FormulaBitmap(size.width, size.height, shr::BGR_24, size.tileSide, size.tileSide);
        zbm::ZMemBitmap reduced(1, 1, shr::BGR_24);
        ASSERT_TRUE(reduced.Create(plain, nullptr));
        ASSERT_TRUE(reduced.CommitAll(nullptr));
        const Bytes ofPlain = Stored(plain), ofReduced = Stored(reduced, true), ofFile = Stored(*OnFile(name, plain));
        EXPECT_TRUE(refuses(*Target(), ofPlain));
        EXPECT_TRUE(refuses(*Target(), ofReduced));
        EXPECT_TRUE(refuses(*Target(), Stored(reduced, false)));
        EXPECT_TRUE(refuses(plain, ofFile));
        EXPECT_TRUE(refuses(plain, ofReduced));
        EXPECT_TRUE(refuses(reduced, ofFile));
        EXPECT_TRUE(refuses(reduced, ofPlain));
    }
}

TEST_F(FileArchive, GivesTheLegacySerializerToTheFormatInformationAndToEachStore) {
    const Bytes one{1, 0, 0, 0}, two{2, 0, 0, 0}, three{3, 0, 0, 0};
    ArchiveWriter writer;
    writer.U16(1).Raw(kSmall.Record(one).Take()).Raw(SmallStore(kSmall, two));
    writer.U32(1).U32(1).U16(1).Raw(SmallStore(kSmall, three));
    const auto bitmap = Target();
    Legacy legacy;
    EXPECT_TRUE(Load(*bitmap, writer.Take(), nullptr, &legacy));
    EXPECT_EQ(legacy.read, (std::vector<std::uint32_t>{1, 2, 3}));
    PlainArchive archive;
    SerializeIO io(archive, true);
    EXPECT_TRUE(
        RaisesInternalError([&] { (void)bitmap->Serialize(io, nullptr, &legacy); }, ScanRectFileBitmapCheck::legacy));
    EXPECT_TRUE(archive.sizes.empty());
}

TEST_F(FileArchive, TakesAPlainNullForNoLegacySerializer) {
    const auto bitmap = Target();
    PlainArchive archive;
    SerializeIO io(archive, true);
    EXPECT_TRUE(bitmap->Serialize(io, nullptr, nullptr));
    zbm::ZFileBitmap& base = *bitmap;
    EXPECT_TRUE(base.Serialize(io, nullptr, nullptr));
}

TEST_F(FileArchive, OfAClosedBitmapIsNotWritten) {
    OpenFileBitmap bitmap;
    PlainArchive archive;
    SerializeIO io(archive, true);
    EXPECT_TRUE(RaisesNamedError([&] { (void)bitmap.Serialize(io, nullptr, nullptr); }, kWriteArchiveText,
                                 ScanRectFileBitmapCheck::storedClosed));
    EXPECT_TRUE(archive.sizes.empty());
}

TEST_F(FileArchive, OfMoreReductionsThanAFileHoldsOrOfOneThatIsNoneIsRefused) {
    const auto refuses = [&](const ArchiveWriter& reductions, ScanRectFileBitmapCheck check) {
        ArchiveWriter writer;
        writer.U16(1).Raw(kSmall.Record().Take()).Raw(SmallStore()).U32(1).Raw(reductions.Take());
        const auto bitmap = TargetWithChanges();
        EXPECT_TRUE(RaisesReadArchive([&] { Load(*bitmap, writer.Take()); }, check));
        EXPECT_TRUE(IsClosed(*bitmap));
        EXPECT_TRUE(HasFormerPicture());
    };
    refuses(ArchiveWriter().U32(31), ScanRectFileBitmapCheck::reductionCount);
    refuses(ArchiveWriter().U32(0xFFFFFFFF), ScanRectFileBitmapCheck::reductionCount);
    refuses(ArchiveWriter().U32(1).U16(1).Raw(Format{0, 5, shr::BGR_24, 1, 1}.Record().Take()),
            ScanRectFileBitmapCheck::reductionKind);
    const Bytes color = Tile(1, 1, shr::BGR_24, Bytes(4), Bytes(4, 0xFF));
    refuses(ArchiveWriter().U32(1).U16(1).Raw(Format{1, 1, shr::BGR_24, 1, 1}.Record().Raw(color).Take()),
            ScanRectFileBitmapCheck::reductionKind);
}

TEST_F(FileArchive, OfThirtyReductionsIsTheMost) {
    ArchiveWriter writer;
    writer.U16(1).Raw(kSmall.Record().Take()).Raw(SmallStore()).U32(1).U32(30);
    for (int i = 0; i < 30; ++i) writer.U16(1).Raw(SmallStore());
    const auto bitmap = Target();
    EXPECT_TRUE(Load(*bitmap, writer.Take()));
    bitmap->Close();
    bitmap->Open(target, false);
    EXPECT_EQ(bitmap->reductions.size(), 30u);
    ExpectSmallPicture(*bitmap->reductions.back());
}

TEST_F(FileArchive, OfAPictureTooLargeForItsLengthIsRefusedAndLeavesTheFormerFile) {
    OnFile(target, former)->Close();
    for (const Format& huge :
         {Format{0x7FFFFFFF, 0x7FFFFFFF, 10, 1, 1}, Format{0x7FFFFFFF, 0x7FFFFFFF, 10, 0x7FFFFFFF, 0x7FFFFFFF},
          Format{0x7FFFFFFF, 0, 10, 1, 1}, Format{0x7FFFFFFF, 0, 10, 0x7FFFFFFF, 512},
          Format{1024, 1 << 25, 10, 1, 1 << 25}}) {
        OpenFileBitmap bitmap;
        bitmap.Open(target, false);
        const Bytes bytes = ArchiveWriter().U16(1).Raw(huge.Record().Take()).Take();
        EXPECT_TRUE(RaisesReadArchive([&] { Load(bitmap, bytes); }, BitmapCheck::archivedTiles));
        EXPECT_TRUE(IsClosed(bitmap));
        EXPECT_TRUE(AreEqual(OnTarget(), former));
    }
}

TEST_F(FileArchive, ThatIsBadFromItsFirstBytesLeavesTheFormerFile) {
    OnFile(target, former)->Close();
    const Bytes sound = SmallBitmap();
    Bytes otherVersion = sound, otherFormat = sound;
    otherVersion[0] = 2;
    otherFormat[2] = 2;
    const auto keeps = [&](auto refuses) {
        OpenFileBitmap bitmap;
        bitmap.Open(target, false);
        refuses(bitmap);
        EXPECT_TRUE(IsClosed(bitmap));
        EXPECT_TRUE(AreEqual(OnTarget(), former));
    };
    keeps([&](auto& bitmap) {
        EXPECT_TRUE(RaisesReadArchive([&] { Load(bitmap, otherVersion); }, ScanRectFileBitmapCheck::recordVersion));
    });
    keeps([&](auto& bitmap) {
        EXPECT_TRUE(RaisesReadArchive([&] { Load(bitmap, otherFormat); }, BitmapCheck::formatInfoVersion));
    });
    const std::size_t head = 2 + kSmall.Record().Take().size();
    for (std::size_t length = 0; length < head; ++length)
        keeps([&](auto& bitmap) {
            EXPECT_THROW(Load(bitmap, Bytes(sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(length))),
                         ArchiveFailure);
        });
}

TEST_F(FileArchive, ThatEndsAnywhereLeavesTheFormerPictureWithItsLastChanges) {
    const Bytes sound = SmallBitmap();
    for (std::size_t length = 0; length < sound.size(); ++length) {
        const auto bitmap = TargetWithChanges();
        EXPECT_THROW(Load(*bitmap, Bytes(sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(length))),
                     ArchiveFailure);
        EXPECT_TRUE(IsClosed(*bitmap));
        ASSERT_TRUE(HasFormerPicture()) << length;
        bitmap->Open(target, false);
        ASSERT_TRUE(Load(*bitmap, sound));
        ExpectSmallPicture(*bitmap);
        bitmap->Close();
        ExpectSmallPicture(OnTarget());
        ASSERT_FALSE(HasFilesBeside());
    }
}

TEST_F(FileArchive, ThatEndsAnywhereLeavesNoFileWhereThereWasNone) {
    const Bytes sound = SmallBitmap();
    for (std::size_t length = 0; length < sound.size(); ++length) {
        const auto bitmap = Target();
        bitmap->Close();
        std::filesystem::remove(shr::test::SystemPath(target));
        EXPECT_THROW(Load(*bitmap, Bytes(sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(length))),
                     ArchiveFailure);
        EXPECT_TRUE(IsClosed(*bitmap));
        ASSERT_FALSE(shr::PathExists(target)) << length;
        ASSERT_FALSE(HasFilesBeside());
        ASSERT_TRUE(Load(*bitmap, sound)) << "its name still answers";
        ExpectSmallPicture(*bitmap);
    }
}

TEST_F(FileArchive, LoadedOverAFileThatWentAwayMakesIt) {
    const auto bitmap = TargetWithChanges();
    std::error_code notWhileItIsOpen;
    std::filesystem::remove(shr::test::SystemPath(target), notWhileItIsOpen);
    EXPECT_TRUE(Load(*bitmap, SmallBitmap()));
    bitmap->Close();
    ExpectSmallPicture(OnTarget());
}

TEST_F(FileArchive, HoldsTheFormerFileUntilItIsLoaded) {
    class Taker final : public TestProgress {
    public:
        explicit Taker(const shr::ZString& taken) : name(taken) {}
        void SetProgress(double) override {
            OpenFileBitmap other;
            for (const bool readOnly : {true, false})
                EXPECT_TRUE(
                    RaisesFileError([&] { other.Open(name, readOnly); }, ScanRectFileBitmapCheck::openedFile, name));
            ++reports;
        }
        int reports = 0;

    private:
        const shr::ZString& name;
    } taker(target);
    EXPECT_TRUE(Load(*TargetWithChanges(), SmallBitmap(), &taker));
    EXPECT_EQ(taker.reports, 1);
}

TEST_F(FileArchive, ThatCannotTakeThePlaceOfTheFormerFileLeavesIt) {
    const auto bitmap = TargetWithChanges();
    {
        const FailingCall renaming(1, FileCall::rename);
        EXPECT_TRUE(
            RaisesFileError([&] { Load(*bitmap, SmallBitmap()); }, ScanRectFileBitmapCheck::createdFile, target));
    }
    EXPECT_TRUE(IsClosed(*bitmap));
    EXPECT_TRUE(HasFormerPicture());
}

TEST_F(FileArchive, IsLoadedIntoAClosedBitmapOnlyWhereNoFileIs) {
    const auto bitmap = Target();
    bitmap->Close();
    const Bytes there = ReadWhole(target);
    PlainArchive archive(SmallBitmap());
    SerializeIO io(archive, false);
    EXPECT_TRUE(RaisesFileError([&] { (void)bitmap->Serialize(io, nullptr, nullptr); },
                                ScanRectFileBitmapCheck::createdFile, target));
    EXPECT_TRUE(archive.sizes.empty());
    EXPECT_TRUE(IsClosed(*bitmap));
    EXPECT_EQ(ReadWhole(target), there);
    std::filesystem::remove(shr::test::SystemPath(target));
    EXPECT_TRUE(bitmap->Serialize(io, nullptr, nullptr));
    bitmap->Close();
    ExpectSmallPicture(OnTarget());
    OpenFileBitmap unnamed;
    EXPECT_TRUE(RaisesFileError([&] { Load(unnamed, SmallBitmap()); }, ScanRectFileBitmapCheck::createdFile, L""));
}

TEST_F(FileArchive, IsNotLoadedIntoAFileOpenedForReading) {
    OnFile(name, former)->Close();
    const auto bitmap = Opened(true);
    PlainArchive archive(SmallBitmap());
    SerializeIO io(archive, false);
    EXPECT_TRUE(RaisesFileError([&] { (void)bitmap->Serialize(io, nullptr, nullptr); },
                                ScanRectFileBitmapCheck::loadedReadOnly, name));
    EXPECT_TRUE(archive.sizes.empty());
    EXPECT_TRUE(IsEqual(*bitmap, former)) << "it is as it was";
    EXPECT_EQ(Stored(*bitmap).size(), Stored(*Opened(true)).size()) << "and can be stored";
}

TEST_F(FileArchive, CancelledWhileItIsLoadedClosesTheBitmapAndLeavesTheFormerPicture) {
    const auto source = OnFile(name, FormulaBitmap(40, 70, shr::BGR_24, 40, 25));
    ASSERT_TRUE(source->CommitAll(nullptr));
    const Bytes bytes = Stored(*source);
    int report = 1;
    for (;; ++report) {
        const auto bitmap = TargetWithChanges();
        TestProgress progress(report);
        const bool loaded = Load(*bitmap, bytes, &progress);
        EXPECT_EQ(progress.openTasks, 0);
        if (loaded) break;
        EXPECT_TRUE(IsClosed(*bitmap));
        EXPECT_TRUE(HasFormerPicture()) << report;
    }
    EXPECT_EQ(report, 5) << "three rows of the picture, one of its reduction";
}

TEST_F(FileArchive, CancelledWhileItIsLoadedWhereNoFileWasLeavesOnePixelOrThePicture) {
    const auto source = OnFile(name, FormulaBitmap(40, 70, shr::BGR_24, 40, 25));
    ASSERT_TRUE(source->CommitAll(nullptr));
    const Bytes bytes = Stored(*source);
    for (int report = 1; report <= 4; ++report) {
        const auto bitmap = Target();
        bitmap->Close();
        std::filesystem::remove(shr::test::SystemPath(target));
        TestProgress progress(report);
        EXPECT_FALSE(Load(*bitmap, bytes, &progress));
        EXPECT_EQ(progress.openTasks, 0);
        EXPECT_TRUE(IsClosed(*bitmap));
        OpenFileBitmap opened;
        opened.Open(target, false);
        EXPECT_TRUE(opened.reductions.empty());
        if (report <= 3) {
            EXPECT_EQ(opened.GetPixelWidth(), 1);
            EXPECT_EQ(opened.GetColorFormat(), shr::BGR_24);
            EXPECT_EQ(opened.GetScanRectHeight(), 512);
        } else {
            EXPECT_TRUE(IsEqual(opened, FormulaBitmap(40, 70, shr::BGR_24, 512, 512)));
        }
    }
}

TEST_F(FileArchive, CancelledWhileItIsStoredLeavesTheBitmapAndAPartOfTheArchive) {
    const ZBasicMemBitmap picture = FormulaBitmap(40, 70, shr::BGR_24, 40, 25);
    const auto bitmap = OnFile(name, picture);
    ASSERT_TRUE(bitmap->CommitAll(nullptr));
    const Bytes whole = Stored(*bitmap);
    for (int report = 1; report <= 4; ++report) {
        TestProgress progress(report);
        PlainArchive archive;
        SerializeIO io(archive, true, CodecMethod::stored);
        EXPECT_FALSE(bitmap->Serialize(io, &progress, nullptr));
        EXPECT_EQ(progress.openTasks, 0);
        EXPECT_LE(archive.bytes.size(), whole.size());
        EXPECT_TRUE(std::equal(archive.bytes.begin(), archive.bytes.end(), whole.begin()));
        EXPECT_TRUE(IsEqual(*bitmap, picture));
    }
}

TEST_F(FileArchive, WithADamagedBlockLoadsTheRestAndCountsIt) {
    const Bytes damaged = ArchiveWriter()
                              .U16(1)
                              .Raw(kSmall.Record().Take())
                              .Raw(kSmall.Record().Take())
                              .TileHead(2, 2, shr::GRAYSCALE_8)
                              .Framed(Bytes(7, 0xEE))
                              .Block(kMask)
                              .Raw(Tile(1, 2, shr::GRAYSCALE_8, kSecondPixels, kMask))
                              .U32(0)
                              .Take();
    const auto bitmap = Target();
    PlainArchive archive(damaged);
    SerializeIO io(archive, false);
    EXPECT_TRUE(bitmap->Serialize(io, nullptr, nullptr));
    EXPECT_EQ(io.DamagedBlocks(), 1u);
    EXPECT_EQ(GetPixel(*bitmap, 0, 0), 0u);
    EXPECT_EQ(GetPixel(*bitmap, 2, 1), 6u);
}

}  // namespace
