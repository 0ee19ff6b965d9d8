// A memory bitmap's record in an archive: the format information, u16 version 1, then the tiles, row by row.
#include "core/ArchiveGrid.h"
#include "core/TileRecord.h"
#include "core/checks/BasicMemBitmapChecks.h"
#include "core/checks/ScanRectChecks.h"
#include "shr/ScopeExit.h"
#include "zbm/SerializeIO.h"
#include "zbm/ZBasicMemBitmap.h"

namespace zbm {

bool ZBasicMemBitmap::Serialize(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy) {
    require(legacy == nullptr, BasicMemBitmapCheck::legacy);
    if (io.IsStoring()) {
        SerializeFormatInfo(io, nullptr);
        return StoreTiles(io, progress);
    }
    filterState.inputRowCopy.reset();
    SerializeFormatInfo(io, nullptr);
    return LoadTiles(io, progress);
}

void ZBasicMemBitmap::SerializeFormatInfo(SerializeIO& io, ISerializeLegacyGCS* legacy) {
    if (io.IsStoring()) return ZBitmap::SerializeFormatInfo(io, legacy);
    LoadFormatInfo(io, legacy, UnprovenGrid::leftOut);
}

bool ZBasicMemBitmap::StoreTiles(SerializeIO& io, shr::IProgress* progress) {
    const shr::CScopedIProgressTask task(progress, L"Storing image...");
    io.WriteObjVersion(1);
    const int rows = GetNumScanRectRows();
    for (int row = 0; row < rows; ++row) {
        const int tiles = GetNumScanRects(row);
        for (int col = 0; col < tiles; ++col) {
            LockScanRect(row, col).Serialize(io);
            UnlockScanRect(row, col);
        }
        // The number of tiles stands for the column on purpose: hosts see more than 1 at the end, up to 2.0.
        if (!SRProgress(progress, row, tiles, rows, tiles)) return false;
    }
    return true;
}

/// Each tile, and of a grid that was not laid out each place, is made when its record's turn comes: a short archive
/// never makes us allocate the whole picture.
bool ZBasicMemBitmap::LoadTiles(SerializeIO& io, shr::IProgress* progress) {
    shr::ScopeExit leaveEmpty([this] { CreateCleanup(); });
    const TileGrid grid(pixelHeight, pixelWidth, scanRectHeight, scanRectWidth);
    const bool laidOut = GetNumScanRectRows() == grid.down.Count();
    const auto requireVersion = [&](bool known, Check check) {
        if (!known && laidOut) leaveEmpty.Release();  // what was read before a record of an unknown version stays
        require(known, check);
    };
    requireVersion(io.ReadObjVersion() == 1, BasicMemBitmapCheck::recordVersion);
    const shr::CScopedIProgressTask task(progress, L"Loading image...");
    const bool loaded = WalkArchivedTiles(grid, progress, [&](int row, int col) {
        requireVersion(LoadTile(io, grid, row, col), ScanRectCheck::recordVersion);
    });
    if (!loaded) Create(1, 1, shr::BGRA_32, 512, 512);
    leaveEmpty.Release();
    return loaded;
}

/// The tile stays one pixel until its first block is there. None is there after a record of an unknown version.
bool ZBasicMemBitmap::LoadTile(SerializeIO& io, const TileGrid& grid, int row, int col) {
    PlaceOf(grid, row, col) = std::make_unique<ZScanRect>();
    const ZScanRect::Place place{grid.across.Length(col), grid.down.Length(row), colorFormat};
    const bool known = LockScanRect(row, col).Load(io, &place);
    if (known) CommitScanRect(row, col);
    UnlockScanRect(row, col);
    if (!known) PlaceOf(grid, row, col).reset();
    return known;
}

std::unique_ptr<ZScanRect>& ZBasicMemBitmap::PlaceOf(const TileGrid& grid, int row, int col) {
    const auto r = static_cast<std::size_t>(row), c = static_cast<std::size_t>(col);
    if (r == scanRectRows.size()) scanRectRows.emplace_back();
    ZScanRectRow& places = scanRectRows[r];
    if (c == places.boxes.size()) places.boxes.push_back(grid.Box(row, col));
    if (c == places.tiles.size()) places.tiles.emplace_back();
    return places.tiles[c];
}

}  // namespace zbm
