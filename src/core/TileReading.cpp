#include "core/TileReading.h"

#include "core/LockedTile.h"

namespace zbm {

namespace {
constinit const ToldTileReading* firstTold = nullptr;  // a list that grows only before main
}

ToldTileReading::ToldTileReading(const std::type_info& exactType, const TileReading& told) noexcept
    : type(exactType), reading(told), next(firstTold) {
    firstTold = this;
}

/// Types are compared by the addresses of their records: a host that is built without RTTI has no record to look at.
const TileReading* FindTileReading(const ZBitmap& bitmap) noexcept {
    const std::type_info* const type = &typeid(bitmap);
    for (const ToldTileReading* told = firstTold; told != nullptr; told = told->next)
        if (&told->type == type) return &told->reading;
    return nullptr;
}

bool StayInMemory(const ZBitmap& bitmap) noexcept {
    const TileReading* const reading = FindTileReading(bitmap);
    return reading != nullptr && reading->resident != nullptr;
}

const ZBitmap* FindCurrentLevel(const ZBitmap& bitmap, unsigned level) {
    const TileReading* const reading = FindTileReading(bitmap);
    return reading != nullptr && reading->currentLevel != nullptr ? reading->currentLevel(bitmap, level) : nullptr;
}

void LoadTile(const ZBitmap& bitmap, int row, int col, ZScanRect& tile) {
    if (const TileReading* const reading = FindTileReading(bitmap)) {
        if (reading->resident == nullptr) return reading->load(bitmap, row, col, tile);
        tile = reading->resident(bitmap, row, col);
        return;
    }
    const LockedTile from(bitmap, row, col);
    tile = *from;
}

}  // namespace zbm
