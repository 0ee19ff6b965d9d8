// A memory bitmap's record in an archive: the format information, u16 version 1, then the tiles, row by row.
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
        // The number of tiles stands for the column on purpose: hosts see a fraction slightly above 1 at the end.
        if (!SRProgress(progress, row, tiles, rows, tiles)) return false;
    }
    return true;
}

/// Each tile is made when its record's turn comes, so a short archive never makes us allocate the whole picture.
bool ZBasicMemBitmap::LoadTiles(SerializeIO& io, shr::IProgress* progress) {
    shr::ScopeExit leaveEmpty([this] { CreateCleanup(); });
    if (io.ReadObjVersion() != 1) {
        leaveEmpty.Release();  // what was read before a record of an unknown version stays
        require.Fail(BasicMemBitmapCheck::recordVersion);
    }
    const shr::CScopedIProgressTask task(progress, L"Loading image...");
    const int rows = GetNumScanRectRows();
    for (int row = 0; row < rows; ++row) {
        const int tiles = GetNumScanRects(row);
        for (int col = 0; col < tiles; ++col)
            if (!LoadTile(io, row, col)) {
                leaveEmpty.Release();  // of a picture with a tile that we do not know, what was read stays
                require.Fail(ScanRectCheck::recordVersion);
            }
        if (!SRProgress(progress, row, tiles, rows, tiles)) {
            Create(1, 1, shr::BGRA_32, 512, 512);
            leaveEmpty.Release();
            return false;
        }
    }
    leaveEmpty.Release();
    return true;
}

bool ZBasicMemBitmap::LoadTile(SerializeIO& io, int row, int col) {
    const RECT box = GetScanRectBBox(row, col);
    const ZScanRect::Place place{static_cast<int>(box.right - box.left), static_cast<int>(box.bottom - box.top),
                                 colorFormat};
    const auto remaining = io.RemainingBytes();
    if (remaining && MinRecordBytes(TilePlanes(place.width, place.height, place.format)) > *remaining)
        require.Fail(BasicMemBitmapCheck::recordLength);
    scanRectRows[static_cast<std::size_t>(row)].tiles[static_cast<std::size_t>(col)] =
        std::make_unique<ZScanRect>(place.width, place.height, place.format);
    const bool known = LockScanRect(row, col).Load(io, &place);
    if (known) CommitScanRect(row, col);
    UnlockScanRect(row, col);
    return known;
}

}  // namespace zbm
