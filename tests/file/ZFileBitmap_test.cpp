// How tiles of a file are locked, changed and let go.
#include "zbm/ZFileBitmap.h"

#include <gtest/gtest.h>

#include "core/TileReading.h"
#include "core/checks/FileBitmapChecks.h"
#include "file/FileBitmapTesting.h"
#include "filter/StubFilters.h"
#include "support_code/TestProgress.h"
#include "zbm/CPixFilterPipeline.h"
#include "zbm/SerializeIO.h"

namespace {

using namespace testkit;
using zbm::FileBitmapCheck;
using zbm::ZBasicMemBitmap;
using zbm::ZScanRect;

static_assert(std::is_abstract_v<zbm::ZFileBitmap>);

/// The least that makes a bitmap in a file: it counts, and fails when told.
class CountedBitmap : public zbm::ZFileBitmap {
public:
    CountedBitmap(int width, int height, ColorFormat format, int tileWidth, int tileHeight) {
        Init(height, width, format, tileHeight, tileWidth);
        fileOpen = true;
        readOnly = false;
    }
    void Open(const zbm::ZString&, bool) override {}
    bool Create(const zbm::ZString&, int, int, ZBitmap&, const RECT&, zbm::ResizeMethod, shr::IProgress*) override {
        return false;
    }
    bool Create(const zbm::ZString&, ZBitmap&, shr::IProgress*) override { return false; }
    bool Create(const zbm::ZString&, const BITMAPINFOHEADER*, const void*, const RGBQUAD*, shr::IProgress*) override {
        return false;
    }
    bool Create(const zbm::ZString&, const BITMAPINFO&, shr::IProgress*) override { return false; }
    bool Create(const zbm::ZString&, int, int, ColorFormat, shr::IProgress*) override { return false; }
    void Close() override {
        ZFileBitmap::Close();
        fileOpen = false;
    }
    ZBitmap* GetPtrToPOTReduction(unsigned) override { return this; }
    bool Serialize(zbm::SerializeIO&, shr::IProgress*, zbm::ISerializeLegacyGCS*) override { return true; }
    using ZFileBitmap::CreateInputScanRectRow, ZFileBitmap::CreateOutputScanRectRow, ZFileBitmap::outputRowState;
    using ZFileBitmap::fileName, ZFileBitmap::fileOpen, ZFileBitmap::readOnly;
    using ZFileBitmap::GetInputBitmapScanLine, ZFileBitmap::SetOutputBitmapScanLine, ZFileBitmap::filterState;
    using ZFileBitmap::Serialize;

    mutable std::vector<std::string> calls;
    mutable int failingRead = 0;

protected:
    void ReadScanRect(ZScanRect& tile, int row, int col) const override {
        calls.push_back("read " + std::to_string(row) + " " + std::to_string(col));
        shape = {tile.GetWidth(), tile.GetHeight()};
        if (failingRead != 0 && --failingRead == 0) throw std::runtime_error("the read fails");
    }
    void WriteScanRect(const ZScanRect&, int row, int col) override {
        calls.push_back("write " + std::to_string(row) + " " + std::to_string(col));
    }
    void CreateSkeleton(const zbm::ZString&, int, int, ColorFormat, int, int) override {}

public:
    mutable std::pair<int, int> shape;
};

using Calls = std::vector<std::string>;

TEST(TilesOfAFile, AreReadWhenTheyAreLockedAndWrittenWhenTheyAreCommitted) {
    CountedBitmap bitmap(10, 10, shr::BGR_24, 6, 4);
    bitmap.LockScanRect(0, 1);
    EXPECT_EQ(bitmap.calls, (Calls{"read 0 1"}));
    bitmap.CommitScanRect(0, 1);
    bitmap.CommitScanRect(0, 1);
    EXPECT_EQ(bitmap.calls, (Calls{"read 0 1", "write 0 1", "write 0 1"}));
    bitmap.UnlockScanRect(0, 1);
    bitmap.LockScanRect(0, 1);
    bitmap.UnlockScanRect(0, 1);
    EXPECT_EQ(bitmap.calls, (Calls{"read 0 1", "write 0 1", "write 0 1", "read 0 1"}));
    EXPECT_TRUE(bitmap.CommitAll(nullptr));
    EXPECT_EQ(bitmap.calls.size(), 4u);
}

TEST(TilesOfAFile, AtTheBordersAreSmaller) {
    const CountedBitmap bitmap(10, 10, shr::BGR_24, 6, 4);
    bitmap.LockScanRect(0, 0);
    EXPECT_EQ(bitmap.shape, (std::pair{6, 4}));
    bitmap.LockScanRect(2, 1);
    EXPECT_EQ(bitmap.shape, (std::pair{4, 2}));
}

TEST(TilesOfAFile, ThatCannotBeReadStayUnlocked) {
    CountedBitmap bitmap(10, 10, shr::BGR_24, 6, 4);
    bitmap.failingRead = 1;
    EXPECT_THROW(bitmap.LockScanRect(1, 1), std::runtime_error);
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.UnlockScanRect(1, 1); }, FileBitmapCheck::unlockUnlocked));
    EXPECT_NO_THROW(bitmap.LockScanRect(1, 1));
}

TEST(TilesOfAFile, AreLockedOnceAtATime) {
    CountedBitmap bitmap(10, 10, shr::BGR_24, 6, 4);
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.UnlockScanRect(0, 0); }, FileBitmapCheck::unlockUnlocked));
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.CommitScanRect(0, 0); }, FileBitmapCheck::commitUnlocked));
    bitmap.LockScanRect(0, 0);
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.LockScanRect(0, 0); }, FileBitmapCheck::lockLocked));
    EXPECT_NO_THROW(bitmap.LockScanRect(0, 1));
    bitmap.UnlockScanRect(0, 0);
    EXPECT_NO_THROW(bitmap.LockScanRect(0, 0));
}

TEST(TilesOfAFile, AreOutOfReachWhileItIsClosed) {
    CountedBitmap bitmap(10, 10, shr::BGR_24, 6, 4);
    bitmap.Close();
    bitmap.readOnly = true;
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.LockScanRect(0, 0); }, FileBitmapCheck::lockClosed));
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.UnlockScanRect(0, 0); }, FileBitmapCheck::unlockClosed));
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.CommitScanRect(0, 0); }, FileBitmapCheck::commitClosed));
}

TEST(TilesOfAFile, ThatIsReadOnlyAreNotCommitted) {
    CountedBitmap bitmap(10, 10, shr::BGR_24, 6, 4);
    bitmap.readOnly = true;
    bitmap.fileName = L"the name";
    EXPECT_TRUE(RaisesInternalError([&] { bitmap.CommitScanRect(0, 0); }, FileBitmapCheck::commitUnlocked));
    bitmap.LockScanRect(0, 0);
    EXPECT_TRUE(RaisesFileError([&] { bitmap.CommitScanRect(0, 0); }, FileBitmapCheck::commitReadOnly, L"the name"));
    EXPECT_EQ(bitmap.calls, (Calls{"read 0 0"}));
}

TEST(TilesOfAFile, OutsideTheGridAreRefused) {
    CountedBitmap bitmap(10, 10, shr::BGR_24, 6, 4);
    for (const auto& place : {std::pair{-1, 0}, {0, -1}, {3, 0}, {0, 2}}) {
        const int row = place.first, col = place.second;
        EXPECT_TRUE(RaisesInternalError([&] { bitmap.LockScanRect(row, col); }, FileBitmapCheck::tile));
        EXPECT_TRUE(RaisesInternalError([&] { bitmap.UnlockScanRect(row, col); }, FileBitmapCheck::tile));
        EXPECT_TRUE(RaisesInternalError([&] { bitmap.CommitScanRect(row, col); }, FileBitmapCheck::tile));
    }
    EXPECT_TRUE(bitmap.calls.empty());
}

TEST(TilesOfAFile, ThatAClassDoesNotReadAreZeroAndOpaque) {
    CountedBitmap bitmap(10, 10, shr::BGR_24, 6, 4);
    ZScanRect& tile = bitmap.LockScanRect(0, 0);
    std::fill_n(tile.GetRowPtr(2), 18, std::uint8_t{0xEE});
    tile.GetAlphaRowPtr(2)[0] = 0;
    bitmap.UnlockScanRect(0, 0);
    const ZScanRect& again = bitmap.LockScanRect(0, 0);
    EXPECT_EQ(again.GetRowPtr(2)[17], 0);
    EXPECT_EQ(again.GetAlphaRowPtr(2)[0], 0xFF);
}

TEST(TilesOfAFile, CanAllBeLetGoAfterAnError) {
    CountedBitmap bitmap(10, 10, shr::BGR_24, 6, 4);
    bitmap.LockScanRect(0, 0);
    bitmap.LockScanRect(2, 1);
    bitmap.UnlockAllScanRects();
    EXPECT_NO_THROW(bitmap.LockScanRect(0, 0));
    EXPECT_NO_THROW(bitmap.LockScanRect(2, 1));
}

TEST(AFileBitmap, BeginsClosedAndReadOnlyWithoutName) {
    const OpenFileBitmap bitmap;
    EXPECT_FALSE(bitmap.IsFileOpen());
    EXPECT_TRUE(bitmap.GetFileName().IsEmpty());
    EXPECT_EQ(bitmap.GetPixelWidth(), 0);
}

TEST(AFileBitmap, AnswersTheSecondLegacySerializerWithYes) {
    CountedBitmap bitmap(1, 1, shr::BGR_24, 1, 1);
    PlainArchive archive;
    zbm::SerializeIO io(archive, true);
    EXPECT_TRUE(bitmap.Serialize(io, nullptr, static_cast<gcs::GCSDef*>(nullptr)));
    EXPECT_TRUE(archive.bytes.empty());
}

using LockedFile = FileBitmapTest;

TEST_F(LockedFile, ForgetsWhatWasNotCommitted) {
    const auto bitmap = OnFile(name, FormulaBitmap(30, 20, shr::BGR_24, 16, 16));
    SetPixel(*bitmap, 3, 3, 0x123456);
    EXPECT_TRUE(IsEqual(*bitmap, FormulaBitmap(30, 20, shr::BGR_24, 16, 16)));
    SetAndCommit(*bitmap, 3, 3, 0x123456);
    EXPECT_EQ(GetPixel(*bitmap, 3, 3), 0x123456u);
}

TEST_F(LockedFile, GoesOnAfterACommitThatFailed) {
    const auto bitmap = OnFile(name, FormulaBitmap(30, 20, shr::BGR_24, 16, 16));
    ZScanRect& tile = bitmap->LockScanRect(0, 0);
    tile.GetRowPtr(0)[0] = 99;
    {
        const FailingCall writing(1, FileCall::write);
        EXPECT_THROW(bitmap->CommitScanRect(0, 0), shr::Exception);
    }
    EXPECT_TRUE(RaisesInternalError([&] { bitmap->LockScanRect(0, 0); }, FileBitmapCheck::lockLocked));
    bitmap->UnlockAllScanRects();
    EXPECT_TRUE(IsEqual(*bitmap, FormulaBitmap(30, 20, shr::BGR_24, 16, 16)));
}

TEST_F(LockedFile, StoresAndFetchesRegions) {
    for (const ColorFormat format : {shr::INDEXED_4, shr::BGR_24, shr::BGRA_32}) {
        ZBasicMemBitmap expected = FormulaBitmap(60, 40, format, 16, 9);
        const auto bitmap = OnFile(name, expected);
        std::vector<unsigned char> rows(4 * 60 * 40, 0x5A), found(rows.size()), wanted(rows.size());
        for (zbm::ZBitmap* each : {static_cast<zbm::ZBitmap*>(bitmap.get()), static_cast<zbm::ZBitmap*>(&expected)})
            each->StoreRegion(rows.data(), 4 * 60, -3, 5, 40, 31);
        EXPECT_TRUE(IsEqual(*bitmap, expected)) << FormatName(format);
        bitmap->FetchRegion(found.data(), 4 * 60, 7, 3, 50, 30);
        expected.FetchRegion(wanted.data(), 4 * 60, 7, 3, 50, 30);
        EXPECT_EQ(found, wanted);
    }
}

// ---- Steps of filtering, driven one by one.

TEST(StepsOfFiltering, RefuseLinesOutsideTheBitmap) {
    CountedBitmap bitmap(10, 10, shr::BGR_24, 6, 4);
    LineFilter filter(zpixf::ZPixfType::Null);
    zbm::CPixFilterContext stage(
        &filter, [](void*, unsigned, void*) { return true; }, &bitmap);
    std::vector<unsigned char> line(64);
    bitmap.filterState.inputBitmap = &bitmap;
    bitmap.filterState.inputRect = {0, 0, 10, 10};
    for (const int y : {-1, 10})
        EXPECT_TRUE(RaisesInternalError([&] { bitmap.GetInputBitmapScanLine(&stage, line.data(), y); },
                                        FileBitmapCheck::inputRow));
    bitmap.CreateOutputScanRectRow(0);
    for (const int y : {-1, 10})
        EXPECT_TRUE(RaisesInternalError([&] { bitmap.SetOutputBitmapScanLine({}, line.data(), y); },
                                        FileBitmapCheck::outputRow));
}

}  // namespace
