// How a class tells of its tiles. The library's own list is its own; this is one of the test's classes.
#include "core/TileReading.h"

#include <gtest/gtest.h>

#include <cstring>

#include "core/OpenBitmaps.h"
#include "support_code/FormulaPicture.h"

namespace {

using testkit::OpenBitmap;

struct Resident : OpenBitmap {
    using OpenBitmap::OpenBitmap;
};
struct Loaded : OpenBitmap {
    using OpenBitmap::OpenBitmap;
};
struct Derived : Resident {
    using Resident::Resident;
};

const zbm::ZScanRect& TileOf(const zbm::ZBitmap& bitmap, int row, int col) {
    const auto& rows = static_cast<const OpenBitmap&>(bitmap).scanRectRows;
    return *rows[static_cast<std::size_t>(row)].tiles[static_cast<std::size_t>(col)];
}
void LoadInto(const zbm::ZBitmap& bitmap, int row, int col, zbm::ZScanRect& tile) { tile = TileOf(bitmap, row, col); }
const zbm::ZBitmap* Itself(const zbm::ZBitmap& bitmap, unsigned) { return &bitmap; }

const zbm::ToldTileReading toldOfResident(typeid(Resident), {.resident = &TileOf});
const zbm::ToldTileReading toldOfLoaded(typeid(Loaded), {.load = &LoadInto, .currentLevel = &Itself});

TEST(TileReading, IsThatOfTheExactClass) {
    const Resident resident(5, 5, shr::BGRA_32, 4, 4);
    const Loaded loaded(5, 5, shr::BGRA_32, 4, 4);
    const Derived derived(5, 5, shr::BGRA_32, 4, 4);
    EXPECT_TRUE(zbm::StayInMemory(resident));
    EXPECT_FALSE(zbm::StayInMemory(loaded));
    EXPECT_FALSE(zbm::StayInMemory(derived));
    ASSERT_NE(zbm::FindTileReading(loaded), nullptr);
    EXPECT_EQ(zbm::FindTileReading(derived), nullptr) << "it may lock in a way of its own";
}

TEST(TileReading, GivesACurrentLevelWhereTheClassTellsOfOne) {
    const Resident resident(5, 5, shr::BGRA_32, 4, 4);
    const Loaded loaded(5, 5, shr::BGRA_32, 4, 4);
    EXPECT_EQ(zbm::FindCurrentLevel(loaded, 1), &loaded);
    EXPECT_EQ(zbm::FindCurrentLevel(resident, 1), nullptr);
    EXPECT_EQ(zbm::FindCurrentLevel(Derived(5, 5, shr::BGRA_32, 4, 4), 1), nullptr);
}

template <class Bitmap>
std::vector<std::string> CallsOfALoad() {
    Bitmap bitmap(5, 5, shr::BGRA_32, 4, 4);
    testkit::FillByFormula(bitmap);
    bitmap.calls.clear();
    zbm::ZScanRect tile(1, 4, shr::BGRA_32);
    const std::uint8_t* memory = tile.GetRowPtr(0);
    zbm::LoadTile(bitmap, 0, 1, tile);
    EXPECT_EQ(tile.GetRowPtr(0), memory);
    for (int y = 0; y < 4; ++y) {
        std::uint32_t pixel = 0;
        std::memcpy(&pixel, tile.GetRowPtr(y), sizeof pixel);
        EXPECT_EQ(pixel, testkit::FormulaPixel(shr::BGRA_32, 4, y));
    }
    return bitmap.calls;
}

TEST(TileReading, LoadsATileWithoutLockWhereTheClassTellsHow) {
    EXPECT_TRUE(CallsOfALoad<Resident>().empty());
    EXPECT_TRUE(CallsOfALoad<Loaded>().empty());
    EXPECT_EQ(CallsOfALoad<Derived>(), (std::vector<std::string>{"Lock 0,1", "Unlock 0,1"}));
    EXPECT_EQ(CallsOfALoad<OpenBitmap>(), (std::vector<std::string>{"Lock 0,1", "Unlock 0,1"}));
}

}  // namespace
