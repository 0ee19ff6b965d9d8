// Files that were cut, or of which a bit fell over: what they hold is shown where it is right, and else refused.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>

#include "core/checks/BitmapCFileStoreChecks.h"
#include "core/checks/ScanRectFileBitmapChecks.h"
#include "file/FileBitmapTesting.h"

namespace {

using namespace testkit;
using zbm::BitmapCFileStoreCheck;
using zbm::ScanRectFileBitmapCheck;
using zbm::ZBasicMemBitmap;

class DamagedFile : public FileBitmapTest {
protected:
    /// A picture in six tiles and one level, whole.
    void SetUp() override {
        FileBitmapTest::SetUp();
        const auto bitmap = OnFile(name, picture);
        ASSERT_TRUE(bitmap->CommitAll(nullptr));
        levelPlace = bitmap->fileInfoTable.slots[1];
        bitmap->Close();
        whole = ReadWhole(name);
    }

    const ZBasicMemBitmap picture = FormulaBitmap(40, 36, shr::INDEXED_4, 20, 12);
    Bytes whole;
    std::int64_t levelPlace = 0;
};

/// Whether `act` ends well or with one of the errors that a damaged file raises; a host is told by a stated error.
template <class Act>
testing::AssertionResult EndsOrIsRefused(Act act) {
    try {
        act();
    } catch (const shr::Exception& error) {
        for (const zbm::Check check :
             {zbm::Check(ScanRectFileBitmapCheck::badFile), zbm::Check(ScanRectFileBitmapCheck::openedLevelCount),
              zbm::Check(BitmapCFileStoreCheck::badFile)})
            if (IsAt(error, check)) return testing::AssertionSuccess();
        return testing::AssertionFailure() << "raises " << Describe(error);
    }
    return testing::AssertionSuccess();
}

/// Reads every tile; each is right or refused.
void ExpectTilesOf(const ZBasicMemBitmap& picture, const zbm::ZBitmap& found) {
    for (int row = 0; row < found.GetNumScanRectRows(); ++row)
        for (int col = 0; col < found.GetNumScanRects(row); ++col)
            EXPECT_TRUE(EndsOrIsRefused([&] {
                const zbm::LockedTile tile(found, row, col);
                const zbm::ZScanRect& expected = picture.LockScanRect(row, col);
                for (int y = 0; y < tile->GetHeight(); ++y)
                    for (int x = 0; x < tile->GetWidth(); ++x) {
                        ASSERT_EQ(PixelAt(tile->GetRowPtr(y), x, shr::INDEXED_4),
                                  PixelAt(expected.GetRowPtr(y), x, shr::INDEXED_4));
                        ASSERT_EQ(MaskAt(tile->GetAlphaRowPtr(y), x), MaskAt(expected.GetAlphaRowPtr(y), x));
                    }
            }));
}

TEST_F(DamagedFile, CutAnywhereIsRefusedForWriting) {
    for (std::size_t length = 0; length < whole.size(); ++length) {
        WriteWhole(name, Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
        OpenFileBitmap bitmap;
        bool opened = true;
        ASSERT_TRUE(EndsOrIsRefused([&] {
            opened = false;
            bitmap.Open(name, false);
            opened = true;
        }));
        ASSERT_FALSE(opened) << length << " of " << whole.size() << " bytes";
        ASSERT_EQ(std::filesystem::file_size(shr::test::SystemPath(name)), length) << "nothing is written";
    }
}

TEST_F(DamagedFile, CutAnywhereShowsWhatIsThere) {
    const std::size_t table = kFirstStore + kTablePosition + 4 + 3 * (4 + 2 * 8);
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        WriteWhole(name, Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
        OpenFileBitmap bitmap;
        ASSERT_TRUE(EndsOrIsRefused([&] { bitmap.Open(name, true); }));
        ASSERT_EQ(bitmap.IsFileOpen(), length >= table) << length;
        if (!bitmap.IsFileOpen()) continue;
        ExpectTilesOf(picture, bitmap);
        const std::int64_t levelsTable = levelPlace + kTablePosition + 4 + 4 + 8;
        EXPECT_EQ(bitmap.reductions.size(), static_cast<std::int64_t>(length) >= levelsTable ? 1u : 0u) << length;
        if (HasFailure()) break;
    }
}

TEST_F(DamagedFile, MissingATileRaisesTheBadFileErrorForThatTileAlone) {
    WriteWhole(name, Bytes(whole.begin(), whole.begin() + levelPlace - 1));
    const auto bitmap = Opened(true);
    EXPECT_TRUE(bitmap->reductions.empty());
    EXPECT_TRUE(RaisesFileError([&] { bitmap->LockScanRect(2, 1); }, BitmapCFileStoreCheck::badFile, name));
    EXPECT_NO_THROW(bitmap->LockScanRect(2, 0));
}

/// Every bit before the first tile, of level 0 and of the level.
std::vector<std::size_t> TableBytes(std::int64_t levelPlace) {
    std::vector<std::size_t> places;
    const auto add = [&](std::int64_t first, std::int64_t count) {
        for (std::int64_t i = first; i < first + count; ++i) places.push_back(static_cast<std::size_t>(i));
    };
    add(0, 509);
    add(kFirstStore, 1313);
    add(kFirstStore + kTablePosition, 4 + 3 * (4 + 2 * 8));
    add(levelPlace, 1313);
    add(levelPlace + kTablePosition, 4 + 4 + 8);
    return places;
}

void ReadAll(const zbm::ZBitmap& bitmap) {
    for (int row = 0; row < bitmap.GetNumScanRectRows(); ++row)
        for (int col = 0; col < bitmap.GetNumScanRects(row); ++col)
            ASSERT_TRUE(EndsOrIsRefused([&] { zbm::LockedTile(bitmap, row, col); }));
}

/// Turns bits of one byte, in place; the same again turns them back.
void Turn(const shr::ZString& name, std::size_t place, int bits) {
    std::fstream file(shr::test::SystemPath(name), std::ios::binary | std::ios::in | std::ios::out);
    file.seekg(static_cast<std::streamoff>(place));
    const auto turned = static_cast<char>(file.get() ^ bits);
    file.seekp(static_cast<std::streamoff>(place));
    file.put(turned);
    ASSERT_TRUE(file.flush().good());
}

TEST_F(DamagedFile, WithAnyBitOfItsTablesTurnedIsReadOrRefused) {
    for (const std::size_t place : TableBytes(levelPlace)) {
        for (int bit = 0; bit < 8; ++bit) {
            Turn(name, place, 1 << bit);
            OpenFileBitmap bitmap;
            ASSERT_TRUE(EndsOrIsRefused([&] { bitmap.Open(name, true); })) << "byte " << place << ", bit " << bit;
            ReadAll(bitmap);
            for (const auto& level : bitmap.reductions) ReadAll(*level);
            ASSERT_TRUE(bitmap.IsFileOpen() || IsClosed(bitmap));
            bitmap.Close();
            Turn(name, place, 1 << bit);
        }
    }
    EXPECT_EQ(ReadWhole(name), whole) << "nothing was ever written";
}

/// What was opened is worked on as any other, and closed. (A colour more or less makes no difference.)
TEST_F(DamagedFile, WithAByteOfItsTablesTurnedCanBeWorkedOnIfItOpens) {
    std::vector<std::size_t> places = TableBytes(levelPlace);
    std::erase_if(places, [](std::size_t place) { return place > 600 && place < 1600; });
    for (const std::size_t place : places)
        for (const int turned : {1, 0x80, 0xFF}) {
            WriteWhole(name, whole);
            Turn(name, place, turned);
            OpenFileBitmap bitmap;
            ASSERT_TRUE(EndsOrIsRefused([&] { bitmap.Open(name, false); })) << "byte " << place;
            if (!bitmap.IsFileOpen()) continue;
            ASSERT_TRUE(bitmap.ConvertToGrayScale(nullptr)) << "byte " << place;
            ASSERT_TRUE(bitmap.CommitAll(nullptr)) << "byte " << place;
            ASSERT_NO_THROW(bitmap.Close());
            ASSERT_NO_THROW(bitmap.Open(name, false)) << "byte " << place;
        }
}

/// Where the file says that tile (row, col) of a store of `cols` tiles across lies.
std::size_t PlaceOfPosition(std::int64_t store, int cols, int row, int col) {
    return static_cast<std::size_t>(store + kTablePosition + 4 + row * (4 + 8 * cols) + 4 + 8 * col);
}

void SetPosition(Bytes& file, std::size_t place, std::int64_t position) {
    for (std::size_t i = 0; i < 8; ++i) file[place + i] = static_cast<std::uint8_t>(position >> 8 * i);
}

TEST_F(DamagedFile, WhoseTilesShareAByteIsRefused) {
    Bytes bytes = whole;
    std::int64_t first = 0;
    std::memcpy(&first, &bytes[PlaceOfPosition(kFirstStore, 2, 0, 0)], sizeof first);
    for (const std::int64_t position : {first, first + 1}) {
        SetPosition(bytes, PlaceOfPosition(kFirstStore, 2, 1, 0), position);
        WriteWhole(name, bytes);
        for (const bool readOnly : {true, false})
            EXPECT_TRUE(RaisesFileError([&] { Opened(readOnly); }, BitmapCFileStoreCheck::badFile, name));
    }
}

TEST_F(DamagedFile, WhoseTilesLieInALevelIsRefused) {
    std::int64_t inLevel = 0;
    std::memcpy(&inLevel, &whole[PlaceOfPosition(levelPlace, 1, 0, 0)], sizeof inLevel);
    for (const std::int64_t position : {levelPlace - kFirstStore, levelPlace - kFirstStore + inLevel}) {
        Bytes bytes = whole;
        SetPosition(bytes, PlaceOfPosition(kFirstStore, 2, 0, 1), position);
        bytes.resize(bytes.size() + 10000);  // so that the tile lies in the file
        WriteWhole(name, bytes);
        for (const bool readOnly : {true, false})
            EXPECT_TRUE(RaisesFileError([&] { Opened(readOnly); }, ScanRectFileBitmapCheck::badFile, name));
    }
}

TEST_F(DamagedFile, WhoseLevelsAreOneIsRefusedBeforeTheyAreRead) {
    Bytes bytes = whole;
    const Bytes head = BitmapHead({kFirstStore, levelPlace, levelPlace});
    std::copy(head.begin(), head.end(), bytes.begin());
    WriteWhole(name, bytes);
    for (const bool readOnly : {true, false})
        EXPECT_TRUE(RaisesFileError([&] { Opened(readOnly); }, ScanRectFileBitmapCheck::badFile, name));
}

}  // namespace
