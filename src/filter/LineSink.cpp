#include "filter/LineSink.h"

#include <algorithm>

#include "core/FitTile.h"
#include "core/LockedTile.h"
#include "core/TileReading.h"
#include "filter/TileRows.h"

namespace zbm {

namespace {

/// Writes one line of a row of tiles, `tileY` lines below its top.
void WriteLine(ZBitmap& bitmap, int row, int tileY, const std::vector<std::uint8_t>& alpha, const std::uint8_t* line,
               shr::CopyWrites writes) {
    int x = 0;
    for (int col = 0; col < bitmap.GetNumScanRects(row); ++col) {
        const LockedTile tile(bitmap, row, col);
        const int width = tile->GetWidth();
        shr::CopyPixelLine({RowOf(*tile, tileY), 0, 0}, {line, 0, x}, width, tile->GetColorFormat(), writes);
        std::uint8_t* const maskRow = alpha.empty() ? nullptr : MaskRowOf(*tile, tileY);
        if (maskRow != nullptr) shr::CopyPixels(maskRow, 0, alpha.data(), x, width, shr::GRAYSCALE_1);
        x += width;
        bitmap.CommitScanRect(row, col);
    }
}

/// The row of tiles that output line `y` goes into.
int OutputRow(const FilterFamily& family, const ZBitmap& bitmap, int y) {
    const int row = FindTileRow(bitmap, y, y / bitmap.GetScanRectHeight());
    require(row >= 0, family.outputRow);
    return row;
}

int LineInRow(const ZBitmap& bitmap, int row, int y) {
    return y - static_cast<int>(bitmap.GetScanRectBBox(row, 0).top);
}

}  // namespace

TileSink::TileSink(const FilterFamily& runningFamily, ZBitmap& destination, shr::CopyWrites howToWrite) noexcept
    : family(runningFamily), bitmap(destination), writes(howToWrite) {}

TileSink::~TileSink() { shr::FinishCopyWrites(); }

void TileSink::Write(const std::vector<std::uint8_t>& alpha, const std::uint8_t* line, int y) {
    const int row = OutputRow(family, bitmap, y);
    WriteLine(bitmap, row, LineInRow(bitmap, row, y), alpha, line, writes);
}

LineSink::Tiles TileSink::TakenTiles() const { return StayInMemory(bitmap) ? Tiles::inBands : Tiles::none; }

void TileSink::ChangeTiles(int first, int end, TileChange& change) {
    for (int y = first; y < end;) {
        const int row = OutputRow(family, bitmap, y);
        const RECT box = bitmap.GetScanRectBBox(row, 0);
        const int top = static_cast<int>(box.top), bandEnd = std::min(end, static_cast<int>(box.bottom));
        for (int col = 0; col < bitmap.GetNumScanRects(row); ++col) {
            change.Change(*LockedTile(bitmap, row, col), row, col, y - top, bandEnd - top);
            bitmap.CommitScanRect(row, col);
        }
        y = bandEnd;
    }
}

RowSink::RowSink(const FilterFamily& runningFamily, OutputRowState& runningState, ZBitmap& destination) noexcept
    : bitmap(destination), family(runningFamily), state(runningState) {}

void RowSink::Begin() {
    CreateRow(0);
    state.currentOutputRow = 0;
}

void RowSink::Write(const std::vector<std::uint8_t>& alpha, const std::uint8_t* line, int y) {
    const int row = OutputRow(family, bitmap, y);
    if (row != state.currentOutputRow) BeginRow(row);
    const int tileY = LineInRow(bitmap, row, y);
    if (tileY == 0 && alpha.empty() && HasMask(bitmap)) LoadTileRow(bitmap, row, *state.outputRowCopy);
    WriteLine(*state.outputRowCopy, 0, tileY, alpha, line, shr::CopyWrites::cached);
}

void RowSink::BeginRow(int row) {
    DeliverRow(state.currentOutputRow);
    const RECT box = bitmap.GetScanRectBBox(row, 0);
    if (box.bottom - box.top != state.outputRowCopy->GetPixelHeight()) CreateRow(row);
    state.currentOutputRow = row;
}

LineSink::Tiles RowSink::TakenTiles() const { return FindTileReading(bitmap) != nullptr ? Tiles::whole : Tiles::none; }

void RowSink::ChangeTiles(int first, int end, TileChange& change) {
    for (int y = first; y < end;) {
        const int row = OutputRow(family, bitmap, y);
        if (row != state.currentOutputRow) ChangeRow();
        state.currentOutputRow = row;
        pendingChange = &change;
        y = static_cast<int>(bitmap.GetScanRectBBox(row, 0).bottom);
    }
}

/// Padding that nobody writes is zero in the destination.
void RowSink::ChangeRow() {
    if (pendingChange == nullptr) return;
    const int row = state.currentOutputRow;
    for (int col = 0; col < bitmap.GetNumScanRects(row); ++col) {
        ZScanRect& tile = FitTile(changedTile, bitmap.GetScanRectBBox(row, col), bitmap.GetColorFormat());
        if (pendingChange->NeedsContent()) LoadTile(bitmap, row, col, tile);
        pendingChange->Change(tile, row, col, 0, tile.GetHeight());
        Deliver(tile, row, col);
    }
    pendingChange = nullptr;
}

void RowSink::Finish() {
    if (pendingChange != nullptr) return ChangeRow();
    DeliverRow(state.currentOutputRow);
}

void RowSink::CreateRow(int row) {
    state.outputRowCopy.reset();
    state.outputRowCopy = MakeTileRowCopy(bitmap, row);
}

void RowSink::DeliverRow(int row) {
    for (int col = 0; col < state.outputRowCopy->GetNumScanRects(0); ++col)
        Deliver(state.outputRowCopy->LockScanRect(0, col), row, col);
}

void RowSink::Free() noexcept {
    pendingChange = nullptr;
    state.outputRowCopy.reset();
    state.currentOutputRow = -1;
}

void LockedRowSink::Deliver(const ZScanRect& tile, int row, int col) {
    const LockedTile place(bitmap, row, col);
    *place = tile;
    bitmap.CommitScanRect(row, col);
}

}  // namespace zbm
