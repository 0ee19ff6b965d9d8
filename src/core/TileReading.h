#pragma once
// How the tiles of one class are reached past its locks. The class itself tells it, for objects of exactly its type:
// what derives from it may lock in a way of its own, and then sees each lock. Hosts' classes tell nothing.
#include <typeinfo>

#include "zbm/ZBitmap.h"

namespace zbm {

/// Either the first or the second operation is there.
struct TileReading {
    /// The tile where it lies, for a class whose tiles all stay in memory.
    const ZScanRect& (*resident)(const ZBitmap& bitmap, int row, int col) = nullptr;
    /// Makes `tile`, which has the tile's shape, a copy of it in the memory that it has.
    void (*load)(const ZBitmap& bitmap, int row, int col, ZScanRect& tile) = nullptr;
    /// Beside the second: as it, but only of the rows from `begin` to `end`. The others hold anything.
    void (*loadRows)(const ZBitmap& bitmap, int row, int col, ZScanRect& tile, int begin, int end) = nullptr;
    /// Beside the second: LockScanRect of a tile all of which is written over before it is unlocked, so that what the
    /// bitmap has there is not read. The tile holds anything.
    ZScanRect& (*lockUnread)(const ZBitmap& bitmap, int row, int col) = nullptr;
    /// The bitmap reduced by 2 to the power `level`, if there is one that shows what the bitmap holds now; else null.
    /// No operation for a class without reductions.
    const ZBitmap* (*currentLevel)(const ZBitmap& bitmap, unsigned level) = nullptr;
};

/// Null for a class that told nothing.
const TileReading* FindTileReading(const ZBitmap& bitmap) noexcept;

/// Whether tiles can be read where they lie.
bool StayInMemory(const ZBitmap& bitmap) noexcept;

/// What a class tells, as a constant beside its ClassTypeId: where the class is linked, so is this.
class ToldTileReading {
public:
    ToldTileReading(const std::type_info& exactType, const TileReading& told) noexcept;
    ToldTileReading(const ToldTileReading&) = delete;
    ToldTileReading& operator=(const ToldTileReading&) = delete;

private:
    friend const TileReading* FindTileReading(const ZBitmap& bitmap) noexcept;

    const std::type_info& type;
    const TileReading reading;
    const ToldTileReading* const next;
};

/// For the classes that keep their tiles as ZBasicMemBitmap does.
const ZScanRect& TileInMemory(const ZBitmap& bitmap, int row, int col);

/// The reduction of a bitmap of any class that shows what the bitmap holds now, if its class tells of one; else null.
const ZBitmap* FindCurrentLevel(const ZBitmap& bitmap, unsigned level);

/// A copy of the bitmap's tile, by the way that its class tells or under its lock.
void LoadTile(const ZBitmap& bitmap, int row, int col, ZScanRect& tile);

}  // namespace zbm
