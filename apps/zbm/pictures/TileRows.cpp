#include "pictures/TileRows.h"

#include <algorithm>

#include "shr/ColorFormat.h"
#include "shr/Exception.h"

namespace tool {

TileRows::TileRows(zbm::ZBitmap& source) : bitmap(source) {
    if (bitmap.GetNumScanRectRows() > 0) tiles.reserve(static_cast<std::size_t>(bitmap.GetNumScanRects(0)));
}

TileRows::~TileRows() {
    try {
        changed = false;
        Leave();
    } catch (...) {  // NOLINT(bugprone-empty-catch): an unlock that fails has nothing left to undo
    }
}

void TileRows::Enter(int y) {
    const int row = y / bitmap.GetScanRectHeight();
    if (row == lockedRow) return;
    Leave();
    lockedRow = row;
    const int columns = bitmap.GetNumScanRects(row);
    for (int column = 0; column < columns; ++column) tiles.push_back(&bitmap.LockScanRect(row, column));
}

void TileRows::Leave() {
    for (; !tiles.empty(); tiles.pop_back()) {
        const int column = static_cast<int>(tiles.size()) - 1;
        if (changed) bitmap.CommitScanRect(lockedRow, column);
        bitmap.UnlockScanRect(lockedRow, column);
    }
    lockedRow = -1;
    changed = false;
}

template <class Copy>
void TileRows::ForEachPart(int x, int y, int count, const Copy& copy) {
    Enter(y);
    const int rowInTile = y % bitmap.GetScanRectHeight();
    const int tileWidth = bitmap.GetScanRectWidth();
    for (int done = 0; done < count;) {
        zbm::ZScanRect& tile = *tiles[static_cast<std::size_t>((x + done) / tileWidth)];
        const int xInTile = (x + done) % tileWidth;
        const int part = std::min(count - done, tile.GetWidth() - xInTile);
        copy(tile, rowInTile, xInTile, done, part);
        done += part;
    }
}

void TileRows::Store(int x, int y, int count, const std::uint8_t* pixels, const std::uint8_t* mask) {
    ForEachPart(x, y, count, [&](zbm::ZScanRect& tile, int row, int xInTile, int done, int part) {
        shr::CopyPixels(tile.GetRowPtr(row), xInTile, pixels, done, part, Format());
        if (mask != nullptr && tile.GetAlphaRowPtr(row) != nullptr) {
            shr::CopyPixels(tile.GetAlphaRowPtr(row), xInTile, mask, done, part, shr::GRAYSCALE_1);
        }
    });
    changed = true;
}

void TileRows::Fetch(int x, int y, int count, std::uint8_t* pixels, std::uint8_t* mask) {
    ForEachPart(x, y, count, [&](zbm::ZScanRect& tile, int row, int xInTile, int done, int part) {
        shr::CopyPixels(pixels, done, tile.GetRowPtr(row), xInTile, part, Format());
        if (mask != nullptr && tile.GetAlphaRowPtr(row) != nullptr) {
            shr::CopyPixels(mask, done, tile.GetAlphaRowPtr(row), xInTile, part, shr::GRAYSCALE_1);
        }
    });
}

}  // namespace tool
