// A bitmap on a file of its own: made, closed, opened again.
#include "zbm/ZScanRectFileBitmap.h"

#include <gtest/gtest.h>

#include "core/TileReading.h"
#include "core/checks/BitmapCFileStoreChecks.h"
#include "core/checks/BitmapChecks.h"
#include "core/checks/FileBitmapChecks.h"
#include "core/checks/ScanRectFileBitmapChecks.h"
#include "file/FileBitmapTesting.h"
#include "support_code/TestProgress.h"

namespace {

using namespace testkit;
using zbm::BitmapCFileStoreCheck;
using zbm::FileBitmapCheck;
using zbm::ScanRectFileBitmapCheck;
using zbm::ZBasicMemBitmap;
using zbm::ZScanRect;

static_assert(!std::is_copy_constructible_v<zbm::ZScanRectFileBitmap>);

using FileBitmap = FileBitmapTest;

// ---- What is written is there again.

TEST_F(FileBitmap, OfEveryFormatIsThereAgainWhenItIsOpened) {
    for (const ColorFormat format : kFormats) {
        const ZBasicMemBitmap picture = FormulaBitmap(70, 50, format, 64, 20);
        OnFile(name, picture)->Close();
        EXPECT_TRUE(IsEqual(*Opened(true), picture)) << FormatName(format);
        EXPECT_TRUE(IsEqual(*Opened(false), picture)) << FormatName(format);
    }
}

TEST_F(FileBitmap, OpenedForWritingKeepsItsChanges) {
    const ZBasicMemBitmap before = FormulaBitmap(70, 50, shr::INDEXED_8, 64, 20);
    ZBasicMemBitmap after = before;
    SetPixel(after, 65, 45, 99);
    SetMask(after, 65, 45, !FormulaMask(65, 45));
    after.SetXResolution(4321);
    OnFile(name, before)->Close();
    StoreAll(after, *Opened(false));
    EXPECT_TRUE(IsEqual(*Opened(true), after));
}

TEST_F(FileBitmap, OpenedForWritingAndClosedWithoutChangeIsTheSameFile) {
    OnFile(name, FormulaBitmap(70, 50, shr::BGR_24, 64, 20))->Close();
    const Bytes before = ReadWhole(name);
    Opened(false)->Close();
    EXPECT_EQ(ReadWhole(name), before);
}

TEST_F(FileBitmap, ThatIsClosedIsOfNoPixelsInTilesOf512) {
    OpenFileBitmap bitmap;
    bitmap.CreateEmpty(name, 600, 30, shr::BGR_24);
    EXPECT_TRUE(bitmap.IsFileOpen());
    bitmap.Close(false);
    EXPECT_TRUE(IsClosed(bitmap));
    EXPECT_EQ(bitmap.GetFileName(), name);
    EXPECT_EQ(bitmap.fileInfoTable.levelCount, 0u);
    bitmap.Close();
    EXPECT_TRUE(IsClosed(bitmap));
}

TEST_F(FileBitmap, ReadsZeroAndOpaqueWhereNothingWasWritten) {
    for (const ColorFormat format : kFormats) {
        OpenFileBitmap bitmap;
        bitmap.CreateEmpty(name, 520, 3, format);
        StoreAll(FormulaBitmap(520, 3, format, 512, 512), bitmap);  // so that memory is at hand that is not zero
        bitmap.CreateEmpty(name, 520, 3, format);
        for (int x = 0; x < 520; ++x) {
            ASSERT_EQ(GetPixel(bitmap, x, 2), 0u);
            if (HasMask(format)) { ASSERT_TRUE(GetMask(bitmap, x, 2)); }
        }
    }
}

// ---- The bytes.

TEST_F(FileBitmap, CreatedEmptyIsLaidOutToTheByte) {
    OpenFileBitmap bitmap;
    bitmap.CreateEmpty(name, 1000, 700, shr::BGRA_32);
    bitmap.Close();
    const int resolution = DefaultResolution(1000);
    const Bytes store = StoreImage({700, 1000, 512, 512, 10, {}, resolution, resolution}, {{0, 0}, {0, 0}});
    EXPECT_EQ(ReadWhole(name), FileImage().Add(BitmapHead({kFirstStore})).Add(store).Take());
}

TEST_F(FileBitmap, CreatedOfZeroTilesIsLaidOutToTheByteAndHasNoPlaceForLevelsYet) {
    TestProgress progress;
    OpenFileBitmap bitmap;
    ASSERT_TRUE(bitmap.Create(name, 515, 2, shr::GRAYSCALE_1, &progress));
    EXPECT_EQ(progress.TaskTexts(), std::vector<std::string>{"Creating image..."});
    EXPECT_EQ(progress.fractions, (std::vector<double>{0.5, 1.0}));
    const std::int64_t first = kTablePosition + 4 + 4 + 16, second = first + 2 * 64 + 2 * 64;
    EXPECT_EQ(bitmap.fileInfoTable.slots[1], kFirstStore + second + 2 * 4 + 2 * 4) << "the end of the file";
    bitmap.Close();
    const int resolution = DefaultResolution(515);
    FileImage expected;
    expected.Add(BitmapHead({kFirstStore}));
    expected.Add(StoreImage({2, 515, 512, 512, 1, {}, resolution, resolution}, {{first, second}}));
    expected.Zeros(128).Fill(128, 0xFF).Zeros(8).Fill(8, 0xFF);
    EXPECT_EQ(ReadWhole(name), expected.Take());
}

TEST_F(FileBitmap, IsSavedTilesFirstThenTablesEachToTheDevice) {
    OpenFileBitmap bitmap;
    bitmap.CreateEmpty(name, 2, 1, shr::BGRA_32);
    SetAndCommit(bitmap, 0, 0, 1);
    const FailingCall watch(0);
    bitmap.Save();
    const auto& calls = FailingCall::Passed();
    const auto count = [&](FileCall call) { return std::count(calls.begin(), calls.end(), call); };
    EXPECT_EQ(count(FileCall::sync), 2);
    EXPECT_EQ(calls.front(), FileCall::sync);
    EXPECT_EQ(calls.back(), FileCall::sync);
    EXPECT_GT(count(FileCall::write), 0);
}

TEST_F(FileBitmap, WaitsForTheDeviceWhenItIsSavedAlone) {
    const FailingCall watch(0);
    OpenFileBitmap bitmap;
    ASSERT_TRUE(bitmap.Create(name, 100, 100, shr::BGRA_32, nullptr));
    ASSERT_TRUE(bitmap.ChangeBrightness(0.5, nullptr));
    ASSERT_TRUE(bitmap.CommitAll(nullptr));
    bitmap.Close();
    bitmap.Open(name, false);
    bitmap.Close();
    const auto& calls = FailingCall::Passed();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), FileCall::sync), 0);
}

TEST_F(FileBitmap, OfWhichNothingIsOpenCannotBeSaved) {
    OpenFileBitmap bitmap;
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.Save(); }, ScanRectFileBitmapCheck::saveClosed));
}

// ---- Creating from others.

/// A source in tiles of the file's size, and of others.
constexpr std::pair<int, int> kTiles[] = {{512, 512}, {64, 20}, {1000, 7}, {600, 1000}};

TEST_F(FileBitmap, CopiesABitmapInTilesOf512) {
    for (const ColorFormat format : kFormats)
        for (const auto& tiles : kTiles) {
            const ZBasicMemBitmap expected = FormulaBitmap(530, 41, format, 512, 512);
            ZBasicMemBitmap source = FormulaBitmap(530, 41, format, tiles.first, tiles.second);
            TestProgress progress;
            OpenFileBitmap bitmap;
            ASSERT_TRUE(bitmap.Create(name, source, &progress));
            EXPECT_EQ(progress.TaskTexts(), std::vector<std::string>{"Creating image..."});
            EXPECT_EQ(progress.fractions, (std::vector<double>{0.5, 1.0}));
            EXPECT_TRUE(IsEqual(bitmap, expected)) << FormatName(format) << ", tiles of " << tiles.first;
            bitmap.Close();
            EXPECT_TRUE(IsEqual(*Opened(true), expected)) << FormatName(format) << ", tiles of " << tiles.first;
        }
}

TEST_F(FileBitmap, CopiesABitmapOverSeveralRowsOfTiles) {
    ZBasicMemBitmap source = FormulaBitmap(3, 1100, shr::GRAYSCALE_8, 2, 300);
    OpenFileBitmap bitmap;
    ASSERT_TRUE(bitmap.Create(name, source, nullptr));
    EXPECT_TRUE(IsEqual(bitmap, FormulaBitmap(3, 1100, shr::GRAYSCALE_8, 512, 512)));
}

TEST_F(FileBitmap, CopiesABitmapWithoutPixels) {
    for (const auto& size : {std::pair{0, 0}, {0, 600}, {600, 0}}) {
        ZBasicMemBitmap source(1, 1, shr::BGR_24);
        source.Create(size.first, size.second, shr::BGR_24, 7, 7);
        OpenFileBitmap bitmap;
        ASSERT_TRUE(bitmap.Create(name, source, nullptr));
        bitmap.Close();
        const auto opened = Opened(false);
        EXPECT_EQ(opened->GetPixelWidth(), size.first);
        EXPECT_EQ(opened->GetPixelHeight(), size.second);
        EXPECT_TRUE(opened->CommitAll(nullptr));
    }
}

TEST_F(FileBitmap, CreatedFromItselfIsItself) {
    const ZBasicMemBitmap picture = FormulaBitmap(30, 20, shr::BGR_24, 16, 16);
    const auto bitmap = OnFile(name, picture);
    EXPECT_TRUE(bitmap->Create(scratch.File("other"), *bitmap, nullptr));
    EXPECT_TRUE(IsEqual(*bitmap, picture));
    EXPECT_FALSE(shr::PathExists(scratch.File("other")));
}

TEST_F(FileBitmap, InAnotherFormatIsWhatItIsInMemory) {
    for (const ColorFormat from : kFormats)
        for (const ColorFormat to : kFormats) {
            if (TableSize(to) > 0 && from != to) continue;  // colours are chosen in another way
            ZBasicMemBitmap source = FormulaBitmap(530, 5, from, 512, 512), expected(1, 1, to);
            ASSERT_TRUE(expected.Create(to, source, nullptr));
            TestProgress progress;
            OpenFileBitmap bitmap;
            ASSERT_TRUE(bitmap.Create(name, to, source, &progress));
            EXPECT_EQ(progress.tasks.size(), 1u);
            EXPECT_TRUE(IsEqual(bitmap, expected)) << FormatName(from) << " to " << FormatName(to);
            bitmap.Close();
            EXPECT_TRUE(IsEqual(*Opened(true), expected)) << FormatName(from) << " to " << FormatName(to);
        }
}

TEST_F(FileBitmap, InAnIndexedFormatHasItsColorsChosenFromAll8Bits) {
    ZBasicMemBitmap source(2, 1, shr::BGR_24);
    SetPixel(source, 0, 0, 0x080808);
    SetPixel(source, 1, 0, 0x090909);
    OpenFileBitmap bitmap;
    ASSERT_TRUE(bitmap.Create(name, shr::INDEXED_8, source, nullptr));
    bitmap.Close();
    const auto opened = Opened(true);
    const auto color = [&](int x) { return opened->GetColorTableItem(GetPixel(*opened, x, 0)); };
    EXPECT_EQ(color(0), shr::Color4b(8, 8, 8));
    EXPECT_EQ(color(1), shr::Color4b(9, 9, 9));
}

TEST_F(FileBitmap, AtAnotherSizeIsWhatItIsInMemory) {
    for (const ColorFormat format : {shr::GRAYSCALE_8, shr::GRAYSCALE_16, shr::BGR_24, shr::BGRA_32, shr::PBGRA_32})
        for (const int method : {1, 2, 3, 4, 5}) {
            ZBasicMemBitmap source = FormulaBitmap(90, 70, format, 32, 20), expected(1, 1, format);
            const RECT part{5, 40, 85, 69};
            const auto how = static_cast<zbm::ResizeMethod>(method);
            ASSERT_TRUE(expected.Create(120, 33, source, part, how, nullptr));
            TestProgress progress;
            OpenFileBitmap bitmap;
            ASSERT_TRUE(bitmap.Create(name, 120, 33, source, part, how, &progress));
            EXPECT_EQ(progress.TaskTexts().front(), "Creating image...");
            EXPECT_TRUE(IsEqual(bitmap, expected)) << FormatName(format) << ", method " << method;
            bitmap.Close();
            EXPECT_TRUE(IsEqual(*Opened(true), expected)) << FormatName(format) << ", method " << method;
        }
}

TEST_F(FileBitmap, TakesADibWithItsColors) {
    std::vector<std::uint32_t> memory(1024);
    auto& header = *reinterpret_cast<BITMAPINFOHEADER*>(memory.data());
    header = {40, 5, 2, 1, 8, BI_RGB, 0, 0, 0, 3, 0};
    for (std::size_t i = 10; i < memory.size(); ++i) memory[i] = static_cast<std::uint32_t>(i * 2654435761u);
    OpenFileBitmap bitmap;
    ASSERT_TRUE(bitmap.Create(name, *reinterpret_cast<const BITMAPINFO*>(memory.data()), nullptr));
    bitmap.Close();
    const auto opened = Opened(true);
    EXPECT_EQ(opened->GetColorFormat(), shr::INDEXED_8);
    ASSERT_EQ(opened->GetNumColorTableItems(), 3u);
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(memory.data() + 10);
    EXPECT_EQ(opened->GetColorTableItem(2), shr::Color4b(bytes[10], bytes[9], bytes[8]));
    EXPECT_EQ(GetPixel(*opened, 4, 0), bytes[12 + 8 + 4]) << "the top row is the last of the DIB";
    EXPECT_EQ(GetPixel(*opened, 0, 1), bytes[12]);
}

// ---- What is refused, and what that leaves.

TEST_F(FileBitmap, RefusesSizesBelow1) {
    OpenFileBitmap bitmap;
    for (const auto& size : {std::pair{0, 5}, {5, 0}, {-1, 5}}) {
        EXPECT_TRUE(
            RaisesInternalError([&] { (void)bitmap.Create(name, size.first, size.second, shr::BGR_24, nullptr); },
                                ScanRectFileBitmapCheck::createdSize));
        EXPECT_TRUE(RaisesInternalError([&] { bitmap.CreateEmpty(name, size.first, size.second, shr::BGR_24); },
                                        ScanRectFileBitmapCheck::emptySize));
    }
    EXPECT_FALSE(shr::PathExists(name));
}

TEST_F(FileBitmap, RefusesDibsBeforeItTouchesTheFile) {
    WriteWhole(name, {1, 2, 3});
    OpenFileBitmap bitmap;
    BITMAPINFOHEADER header{40, 2, 2, 1, 24, BI_RGB, 0, 0, 0, 0, 0};
    const std::uint32_t bits[4] = {};
    const auto create = [&] { (void)bitmap.Create(name, &header, bits, nullptr, nullptr); };
    EXPECT_TRUE(RaisesInternalError([&] { (void)bitmap.Create(name, nullptr, bits, nullptr, nullptr); },
                                    ScanRectFileBitmapCheck::dibHeader));
    EXPECT_TRUE(RaisesInternalError([&] { (void)bitmap.Create(name, &header, nullptr, nullptr, nullptr); },
                                    ScanRectFileBitmapCheck::dibBits));
    for (const WORD depth : {WORD{24}, WORD{0}})  // a JPEG or PNG within says its own
        for (const DWORD compression : {1u, 2u, 4u, 5u}) {
            header.biBitCount = depth;
            header.biCompression = compression;
            EXPECT_TRUE(RaisesNamedError(create, kUnsupportedDibText, ScanRectFileBitmapCheck::dibKind)) << compression;
        }
    header.biBitCount = 24;
    header.biCompression = BI_RGB;
    header.biHeight = -2;
    EXPECT_TRUE(RaisesInternalError(create, zbm::BitmapCheck::pixelSize));
    header.biHeight = 2;
    header.biBitCount = 2;
    EXPECT_TRUE(RaisesInternalError(create, zbm::BitmapCheck::formatRange));
    header.biBitCount = 4;
    EXPECT_TRUE(RaisesInternalError(create, BitmapCFileStoreCheck::dibColors));
    header.biClrUsed = 17;
    const RGBQUAD colors[17] = {};
    EXPECT_TRUE(RaisesInternalError([&] { (void)bitmap.Create(name, &header, bits, colors, nullptr); },
                                    BitmapCFileStoreCheck::colorCount));
    EXPECT_EQ(ReadWhole(name), (Bytes{1, 2, 3}));
}

TEST_F(FileBitmap, RefusesToBeMadeOfItselfOrItsReductions) {
    const auto bitmap = OnFile(name, FormulaBitmap(70, 50, shr::BGR_24, 64, 20));
    ASSERT_TRUE(bitmap->CommitAll(nullptr));
    zbm::ZBitmap& level = *bitmap->GetPtrToPOTReduction(1);
    const shr::ZString other = scratch.File("other");
    const RECT part{0, 0, 1, 1};
    for (zbm::ZBitmap* source : {static_cast<zbm::ZBitmap*>(bitmap.get()), &level}) {
        EXPECT_TRUE(RaisesInternalError([&] { (void)bitmap->Create(other, shr::BGRA_32, *source, nullptr); },
                                        ScanRectFileBitmapCheck::convertedSelf));
        EXPECT_TRUE(
            RaisesInternalError([&] { (void)bitmap->Create(other, 1, 1, *source, part, zbm::ResizePlain, nullptr); },
                                ScanRectFileBitmapCheck::resizedSelf));
    }
    EXPECT_TRUE(
        RaisesInternalError([&] { (void)bitmap->Create(other, level, nullptr); }, ScanRectFileBitmapCheck::copied));
    EXPECT_TRUE(bitmap->IsFileOpen());
    EXPECT_FALSE(shr::PathExists(other));
}

TEST_F(FileBitmap, RefusesFormatsThatAreNone) {
    ZBasicMemBitmap source(1, 1, shr::BGR_24);
    for (const int format : {0, 14, -1})
        EXPECT_TRUE(RaisesInternalError(
            [&] { (void)OpenFileBitmap().Create(name, static_cast<ColorFormat>(format), source, nullptr); },
            ScanRectFileBitmapCheck::convertedFormat));
    EXPECT_TRUE(
        RaisesInternalError([&] { (void)OpenFileBitmap().Create(name, 1, 1, static_cast<ColorFormat>(14), nullptr); },
                            zbm::BitmapCheck::formatRange));
    EXPECT_FALSE(shr::PathExists(name));
}

TEST_F(FileBitmap, ChecksEachSideOfARectangleToResizeInOrder) {
    ZBasicMemBitmap source(10, 8, shr::BGR_24);
    struct Case {
        RECT rect;
        ScanRectFileBitmapCheck check;
    };
    for (const Case& tried : {Case{{-1, -1, 11, 9}, ScanRectFileBitmapCheck::resizedLeft},
                              Case{{11, 0, 10, 8}, ScanRectFileBitmapCheck::resizedLeft},
                              Case{{0, -1, 11, 9}, ScanRectFileBitmapCheck::resizedRight},
                              Case{{0, -1, 10, 9}, ScanRectFileBitmapCheck::resizedTop},
                              Case{{0, 0, 10, 9}, ScanRectFileBitmapCheck::resizedBottom},
                              Case{{3, 5, 3, 4}, ScanRectFileBitmapCheck::resizedWidth},
                              Case{{3, 5, 4, 5}, ScanRectFileBitmapCheck::resizedHeight}})
        EXPECT_TRUE(RaisesInternalError(
            [&] { (void)OpenFileBitmap().Create(name, 5, 5, source, tried.rect, zbm::ResizePlain, nullptr); },
            tried.check));
    EXPECT_FALSE(shr::PathExists(name));
    for (const int method : {0, 6})
        EXPECT_TRUE(RaisesInternalError(
            [&] {
                (void)OpenFileBitmap().Create(name, 5, 5, source, {0, 0, 1, 1}, static_cast<zbm::ResizeMethod>(method),
                                              nullptr);
            },
            ScanRectFileBitmapCheck::resizeMethod));
    EXPECT_FALSE(shr::PathExists(name));
}

TEST_F(FileBitmap, RefusesWhatItCannotBeMadeOfBeforeItTouchesTheFile) {
    const ZBasicMemBitmap former = FormulaBitmap(30, 20, shr::BGR_24, 512, 512);
    const auto bitmap = OnFile(name, former);
    const auto refuses = [&](auto create, zbm::Check check) {
        EXPECT_TRUE(RaisesInternalError([&] { (void)create(*bitmap); }, check));
        EXPECT_TRUE(IsEqual(*bitmap, former)) << "an open one has its picture";
        bitmap->Close();
        EXPECT_TRUE(RaisesInternalError([&] { (void)create(*bitmap); }, check));
        bitmap->Open(name, false);
        EXPECT_TRUE(IsEqual(*bitmap, former)) << "the file of a closed one is what it was";
    };
    ZBasicMemBitmap source(10, 8, shr::BGR_24);
    OpenFileBitmap empty;
    refuses(
        [&](auto& made) {
            return made.Create(name, 5, 5, source, {0, 0, 1, 1}, static_cast<zbm::ResizeMethod>(6), nullptr);
        },
        ScanRectFileBitmapCheck::resizeMethod);
    refuses([&](auto& made) { return made.Create(name, shr::GRAYSCALE_8, empty, nullptr); },
            zbm::FileBitmapCheck::firstInputRow);
}

TEST_F(FileBitmap, NamesAFileThatCannotBeMadeOrOpenedAndTheSystemsReason) {
    const shr::ZString missing = scratch.File("missing") + L"/picture";
    OpenFileBitmap bitmap;
    EXPECT_TRUE(RaisesFileError([&] { bitmap.Open(missing, true); }, ScanRectFileBitmapCheck::openedFile, missing));
    EXPECT_TRUE(IsClosed(bitmap));
    EXPECT_TRUE(RaisesFileError([&] { bitmap.CreateEmpty(missing, 1, 1, shr::BGR_24); },
                                ScanRectFileBitmapCheck::createdFile, missing));
    EXPECT_TRUE(IsClosed(bitmap));
}

TEST_F(FileBitmap, LeavesAFileThatAnotherHasOpenAsItIs) {
    const auto bitmap = OnFile(name, FormulaBitmap(30, 20, shr::BGR_24, 16, 16));
    OpenFileBitmap other;
    EXPECT_TRUE(RaisesFileError([&] { other.Open(name, false); }, ScanRectFileBitmapCheck::openedFile, name));
    EXPECT_TRUE(RaisesFileError([&] { other.Open(name, true); }, ScanRectFileBitmapCheck::openedFile, name));
    EXPECT_TRUE(RaisesFileError([&] { (void)other.Create(name, 5, 5, shr::BGR_24, nullptr); },
                                ScanRectFileBitmapCheck::createdFile, name));
    EXPECT_TRUE(IsEqual(*bitmap, FormulaBitmap(30, 20, shr::BGR_24, 16, 16)));
    bitmap->Close();
    {
        const auto writing = Opened(false);
        EXPECT_TRUE(RaisesFileError([&] { other.Open(name, false); }, ScanRectFileBitmapCheck::openedFile, name));
        EXPECT_TRUE(RaisesFileError([&] { other.Open(name, true); }, ScanRectFileBitmapCheck::openedFile, name));
    }
    const auto first = Opened(true), second = Opened(true);
    EXPECT_EQ(first->version, 1);
    EXPECT_TRUE(IsEqual(*first, FormulaBitmap(30, 20, shr::BGR_24, 16, 16)));
    EXPECT_TRUE(IsEqual(*first, InMemory(*second))) << "many may read";
}

TEST_F(FileBitmap, ThatIsClosedRefusesWhatNeedsAFile) {
    OpenFileBitmap bitmap;
    ZScanRect tile;
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.ReadScanRect(tile, 0, 0); }, ScanRectFileBitmapCheck::readClosed));
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.WriteScanRect(tile, 0, 0); }, ScanRectFileBitmapCheck::writeClosed));
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.SetXResolution(5); }, ScanRectFileBitmapCheck::resolutionClosed));
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.SetYResolution(5); }, ScanRectFileBitmapCheck::resolutionClosed));
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.SetXDPIResolution(5); }, ScanRectFileBitmapCheck::resolutionClosed));
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.FillColorTable(nullptr, 0); }, ScanRectFileBitmapCheck::colorsClosed));
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.SaveFileInfoTable(); }, ScanRectFileBitmapCheck::infoTableWritable));
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.LockScanRect(0, 0); }, FileBitmapCheck::lockClosed));
    EXPECT_TRUE(bitmap.CommitAll(nullptr));
    EXPECT_TRUE(bitmap.CommitAll(nullptr, true));
    EXPECT_FALSE(bitmap.IsFileOpen());
    EXPECT_TRUE(bitmap.GetFileName().IsEmpty());
}

TEST_F(FileBitmap, OpenedForReadingIsNeverWritten) {
    const ZBasicMemBitmap picture = FormulaBitmap(70, 50, shr::INDEXED_4, 64, 20);
    OnFile(name, picture)->Close();
    const Bytes before = ReadWhole(name);
    const auto bitmap = Opened(true);
    EXPECT_TRUE(IsEqual(*bitmap, picture));
    ZScanRect tile(64, 20, shr::INDEXED_4);
    EXPECT_TRUE(RaisesInternalError([&] { bitmap->WriteScanRect(tile, 0, 0); }, ScanRectFileBitmapCheck::writeClosed));
    EXPECT_TRUE(RaisesInternalError([&] { bitmap->SetXResolution(5); }, ScanRectFileBitmapCheck::resolutionReadOnly));
    EXPECT_TRUE(RaisesInternalError([&] { bitmap->SetYResolution(5); }, ScanRectFileBitmapCheck::resolutionReadOnly));
    EXPECT_TRUE(RaisesInternalError([&] { bitmap->SaveFileInfoTable(); }, ScanRectFileBitmapCheck::infoTableWritable));
    EXPECT_TRUE(
        RaisesInternalError([&] { bitmap->FillColorTable(nullptr, 0); }, BitmapCFileStoreCheck::headerOfReadOnly));
    EXPECT_TRUE(RaisesInternalError([&] { (void)bitmap->ChangeBrightness(0.5, nullptr); },
                                    ScanRectFileBitmapCheck::writeClosed));
    bitmap->LockScanRect(0, 0);
    EXPECT_TRUE(RaisesFileError([&] { bitmap->CommitScanRect(0, 0); }, FileBitmapCheck::commitReadOnly, name));
    bitmap->Save();
    bitmap->Close();
    EXPECT_EQ(ReadWhole(name), before);
}

TEST_F(FileBitmap, WhoseFileWasTakenAwayFromItCannotBeClosedButIsEmptyThen) {
    OpenFileBitmap bitmap;
    bitmap.CreateEmpty(name, 5, 5, shr::BGR_24);
    bitmap.file.Close();
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.Close(); }, ScanRectFileBitmapCheck::closedFile));
    EXPECT_TRUE(IsClosed(bitmap));
}

/// Gives itself a second level while it is made.
class TwoLevelled : public OpenFileBitmap {
public:
    void WriteScanRect(const ZScanRect& tile, int row, int col) override {
        OpenFileBitmap::WriteScanRect(tile, row, col);
        fileInfoTable.levelCount = 2;
    }
    void FillColorTable(const shr::Color4b* colors, unsigned count) override {
        OpenFileBitmap::FillColorTable(colors, count);
        fileInfoTable.levelCount = 2;
    }
};

TEST_F(FileBitmap, JustCreatedMustHaveOneLevel) {
    ZBasicMemBitmap source = FormulaBitmap(5, 5, shr::BGR_24, 5, 5);
    const BITMAPINFOHEADER header{40, 1, 1, 1, 24, BI_RGB, 0, 0, 0, 0, 0};
    const std::uint32_t bits = 0;
    const auto refuses = [&](auto create, ScanRectFileBitmapCheck check) {
        TwoLevelled bitmap;
        EXPECT_TRUE(RaisesInternalError([&] { create(bitmap); }, check));
        EXPECT_TRUE(IsClosed(bitmap));
        EXPECT_FALSE(shr::PathExists(name));
    };
    refuses([&](auto& bitmap) { (void)bitmap.Create(name, &header, &bits, nullptr, nullptr); },
            ScanRectFileBitmapCheck::dibLevelCount);
    refuses([&](auto& bitmap) { (void)bitmap.Create(name, source, nullptr); }, ScanRectFileBitmapCheck::copied);
    refuses([&](auto& bitmap) { (void)bitmap.Create(name, shr::BGRA_32, source, nullptr); },
            ScanRectFileBitmapCheck::convertedLevelCount);
    refuses(
        [&](auto& bitmap) {
            (void)bitmap.Create(name, 3, 3, source, {0, 0, 5, 5}, zbm::ResizePlain, nullptr);
        },
        ScanRectFileBitmapCheck::resizedLevelCount);
}

/// Gives a bitmap so many levels at its first report.
class GivesLevels : public TestProgress {
public:
    GivesLevels(OpenFileBitmap& given, std::uint32_t newCount) : bitmap(given), count(newCount) {}
    void SetProgress(double fraction) override {
        TestProgress::SetProgress(fraction);
        bitmap.fileInfoTable.levelCount = count;
    }

private:
    OpenFileBitmap& bitmap;
    const std::uint32_t count;
};

TEST_F(FileBitmap, JustCreatedOfZerosMustHaveOneLevel) {
    OpenFileBitmap bitmap;
    GivesLevels progress(bitmap, 2);
    EXPECT_TRUE(RaisesInternalError([&] { (void)bitmap.Create(name, 5, 5, shr::BGR_24, &progress); },
                                    ScanRectFileBitmapCheck::createdLevelCount));
    EXPECT_TRUE(IsClosed(bitmap));
    EXPECT_FALSE(shr::PathExists(name));
}

TEST_F(FileBitmap, HasNoMoreThan32Levels) {
    OpenFileBitmap bitmap;
    bitmap.CreateEmpty(name, 200, 200, shr::BGR_24);
    GivesLevels progress(bitmap, 31);
    EXPECT_TRUE(RaisesInternalError([&] { (void)bitmap.CommitAll(&progress); }, ScanRectFileBitmapCheck::mostLevels));
    EXPECT_TRUE(bitmap.reductions.empty());
    ASSERT_TRUE(bitmap.CommitAll(nullptr)) << "and can be reduced";
    EXPECT_EQ(bitmap.reductions.size(), 3u);
}

// ---- Creations that do not come to their end.

/// Fails as no library does when it is closed.
class FailsToClose : public OpenFileBitmap {
public:
    void Close() override {
        if (fails) throw std::runtime_error("the host's own");
        OpenFileBitmap::Close();
    }
    bool fails = false;
};

TEST_F(FileBitmap, CleanedUpIsClosedWhateverTheFileSaysButNotWhateverItsClassSays) {
    OpenFileBitmap bitmap;
    bitmap.CreateEmpty(name, 5, 5, shr::BGR_24);
    {
        const FailingCall writing(1, FileCall::write);
        EXPECT_NO_THROW(bitmap.CleanUp());
    }
    EXPECT_TRUE(IsClosed(bitmap));
    FailsToClose own;
    own.CreateEmpty(name, 5, 5, shr::BGR_24);
    own.fails = true;
    EXPECT_THROW(own.CleanUp(), std::runtime_error);
    own.fails = false;
    own.CleanUp();
    EXPECT_TRUE(IsClosed(own));
}

TEST_F(FileBitmap, ThatIsCancelledWhileItIsMadeLeavesNoFile) {
    ZBasicMemBitmap source = FormulaBitmap(1030, 210, shr::BGR_24, 64, 50);
    const BITMAPINFOHEADER header{40, 1030, 2, 1, 24, BI_RGB, 0, 0, 0, 0, 0};
    const std::vector<std::uint32_t> bits(2000);
    struct Way {
        const char* name;
        std::function<bool(OpenFileBitmap&, shr::IProgress*)> create;
        bool runsFilters;
    };
    const Way ways[] = {
        {"zero tiles", [&](auto& b, auto* p) { return b.Create(name, 1030, 2, shr::BGR_24, p); }, false},
        {"DIB", [&](auto& b, auto* p) { return b.Create(name, &header, bits.data(), nullptr, p); }, false},
        {"copy", [&](auto& b, auto* p) { return b.Create(name, source, p); }, false},
        {"format", [&](auto& b, auto* p) { return b.Create(name, shr::GRAYSCALE_8, source, p); }, true},
        {"size",
         [&](auto& b, auto* p) {
             return b.Create(name, 20, 210, source, {0, 0, 1030, 210}, zbm::ResizePlain, p);
         },
         true},
    };
    for (const Way& way : ways)
        for (int report = 1;; ++report) {
            TestProgress progress(report);
            OpenFileBitmap bitmap;
            bool created = false, aborted = false;
            try {
                created = way.create(bitmap, &progress);
            } catch (const shr::AbortException&) { aborted = true; }
            if (created) {
                EXPECT_GT(report, 2) << way.name << " reports too little";
                break;
            }
            EXPECT_EQ(aborted, way.runsFilters) << way.name;
            EXPECT_TRUE(IsClosed(bitmap)) << way.name << ", report " << report;
            EXPECT_FALSE(shr::PathExists(name)) << way.name << ", report " << report;
            EXPECT_EQ(progress.openTasks, 0);
        }
}

TEST_F(FileBitmap, ThatCannotDeleteItsHalfMadeFileSaysSo) {
    TestProgress progress(1);
    OpenFileBitmap bitmap;
    {
        const FailingCall deletion(1, FileCall::remove);
        EXPECT_TRUE(RaisesFileError([&] { (void)bitmap.Create(name, 600, 5, shr::BGR_24, &progress); },
                                    ScanRectFileBitmapCheck::deletedFile, name));
    }
    EXPECT_TRUE(IsClosed(bitmap));
    EXPECT_TRUE(shr::PathExists(name));
}

TEST_F(FileBitmap, WhoseClosingFailsWithinACreationKeepsTheFormerFile) {
    const ZBasicMemBitmap picture = FormulaBitmap(30, 20, shr::BGR_24, 16, 16);
    OnFile(name, picture)->Close();
    OpenFileBitmap bitmap;
    bitmap.Open(name, false);
    const shr::ZString other = scratch.File("other");
    {
        const FailingCall writing(1, FileCall::write);
        EXPECT_THROW((void)bitmap.Create(other, 5, 5, shr::BGR_24, nullptr), shr::Exception);
    }
    EXPECT_TRUE(IsClosed(bitmap));
    EXPECT_FALSE(shr::PathExists(other));
    EXPECT_TRUE(IsEqual(*Opened(true), picture));
}

TEST_F(FileBitmap, WhoseClosingFailsIsClosedAndTheDestructorTellsTheLog) {
    {
        const auto bitmap = OnFile(name, FormulaBitmap(30, 20, shr::BGR_24, 16, 16));
        {
            const FailingCall writing(1, FileCall::write);
            EXPECT_THROW(bitmap->Close(), shr::Exception);
        }
        EXPECT_TRUE(IsClosed(*bitmap));
        bitmap->CreateEmpty(name, 5, 5, shr::BGR_24);
        EXPECT_TRUE(bitmap->IsFileOpen());
    }
    CapturedLog log;
    {
        const auto bitmap = OnFile(name, FormulaBitmap(30, 20, shr::BGR_24, 16, 16));
        shr::SetFileFaultHook([](FileCall call) { return call == FileCall::write; });
    }
    shr::SetFileFaultHook(nullptr);
    EXPECT_NE(log.text.find("ZBMScanRectFileBitmap, Line 134"), std::string::npos) << log.text;
}

// ---- Temporary files.

TEST_F(FileBitmap, TakesWhatItIsGivenForTemporaryFilesAndAddsSeparatorsToFoldersAlone) {
    class Named : public zbm::ZScanRectFileBitmap {
    public:
        Named() : ZScanRectFileBitmap(L"a", L"b", true) {}
        using ZScanRectFileBitmap::BuildCurrentTempFilename, ZScanRectFileBitmap::currentTempFilename,
            ZScanRectFileBitmap::tempDir;
    };
    Named bitmap;
    EXPECT_EQ(bitmap.BuildCurrentTempFilename(), L"ab");
    EXPECT_EQ(bitmap.currentTempFilename, L"ab");
    EXPECT_TRUE(bitmap.KeepingTempFile());
    bitmap.KeepTempFile(false);
    EXPECT_FALSE(bitmap.KeepingTempFile());
    bitmap.SetTempDir(folder.Wide());
    EXPECT_EQ(bitmap.tempDir, shr::CPath::AppendDirSeparator(folder, true).Wide());
    bitmap.SetTempFile(L"c");
    EXPECT_EQ(bitmap.BuildCurrentTempFilename(), shr::CPath::AppendDirSeparator(folder, true) + L"c");
    EXPECT_EQ(bitmap.GetTempFile(), L"c");
    EXPECT_EQ(bitmap.GetTempDir(), L"c") << "both give the file";
    bitmap.SetTempDir(L"");
    EXPECT_EQ(bitmap.tempDir, L"");
    EXPECT_EQ(bitmap.BuildCurrentTempFilename(), zbm::GetGlobalFileBitmapTempDir() + L"c");
    bitmap.SetTempFile(L"");
    const shr::ZString made = bitmap.BuildCurrentTempFilename();
    EXPECT_TRUE(shr::PathExists(made));
    EXPECT_NE(bitmap.BuildCurrentTempFilename(), made);
}

TEST_F(FileBitmap, NamesTheFolderInWhichNoTemporaryFileCanBeMade) {
    OpenFileBitmap bitmap;
    const shr::ZString missing = scratch.File("missing");
    bitmap.SetTempDir(missing.Wide());
    EXPECT_TRUE(
        RaisesFileError([&] { bitmap.BuildCurrentTempFilename(); }, ScanRectFileBitmapCheck::tempFile, missing));
}

TEST_F(FileBitmapTest, ForgetsItsResolution) {
    const auto bitmap = OnFile(name, FormulaBitmap(5, 5, shr::BGR_24, 5, 5));
    bitmap->ForgetResolution();
    EXPECT_EQ(bitmap->GetXResolution(), 0);
    bitmap->SetYResolution(7);
    bitmap->Close();
    const auto opened = Opened(true);
    EXPECT_EQ(opened->GetXResolution(), 0);
    EXPECT_EQ(opened->GetYResolution(), 7);
    EXPECT_TRUE(RaisesInternalError([&] { opened->ForgetResolution(); }, ScanRectFileBitmapCheck::resolutionReadOnly));
    opened->Close();
    EXPECT_TRUE(RaisesInternalError([&] { opened->ForgetResolution(); }, ScanRectFileBitmapCheck::resolutionClosed));
}

}  // namespace
