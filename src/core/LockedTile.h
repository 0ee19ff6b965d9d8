#pragma once
#include "core/LogInDestructor.h"
#include "zbm/ZBitmap.h"

namespace zbm {

/// A tile that is locked as long as this lives.
class LockedTile {
public:
    LockedTile(const ZBitmap& owner, int tileRow, int tileCol)
        : bitmap(owner), row(tileRow), col(tileCol), tile(owner.LockScanRect(tileRow, tileCol)) {}
    ~LockedTile() {
        try {
            bitmap.UnlockScanRect(row, col);
        } catch (...) { LogInDestructor("LockedTile", __LINE__); }
    }
    LockedTile(const LockedTile&) = delete;
    LockedTile& operator=(const LockedTile&) = delete;

    ZScanRect& operator*() const noexcept { return tile; }
    ZScanRect* operator->() const noexcept { return &tile; }

private:
    const ZBitmap& bitmap;
    const int row, col;
    ZScanRect& tile;
};

}  // namespace zbm
