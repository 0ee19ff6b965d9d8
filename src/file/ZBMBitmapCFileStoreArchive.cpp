// A store's record in an archive: a format information of its own, then the tiles, row by row.
#include "core/ArchiveGrid.h"
#include "core/DummyBitmap.h"
#include "core/checks/BitmapCFileStoreChecks.h"
#include "core/checks/ScanRectChecks.h"
#include "file/AssembledRows.h"
#include "file/FileTiles.h"
#include "shr/BufferedFile.h"
#include "shr/ScopeExit.h"
#include "zbm/SerializeIO.h"
#include "zbm/ZBitmapCFileStore.h"

namespace zbm {

bool ZBitmapCFileStore::Serialize(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy) {
    if (!io.IsStoring()) return LoadArchive(io, progress, legacy, nullptr);
    require(legacy == nullptr, BitmapCFileStoreCheck::legacy);
    return StoreArchive(io, progress);
}

/// A bitmap without pixels that is like the header; an empty one of a blank store.
ZDummyBitmap ZBitmapCFileStore::Described() const {
    ZDummyBitmap bitmap;
    if (!shr::IsColorFormat(header.colorFormat)) return bitmap;
    bitmap.Init(header.pixelHeight, header.pixelWidth, header.colorFormat, header.scanRectHeight, header.scanRectWidth);
    bitmap.FillColorTable(header.colorTable, header.numColorTableItems);
    bitmap.SetXResolution(header.xResolution);
    bitmap.SetYResolution(header.yResolution);
    return bitmap;
}

bool ZBitmapCFileStore::StoreArchive(SerializeIO& io, shr::IProgress* progress) const {
    const shr::CScopedIProgressTask task(progress, L"Storing image...");
    Described().SerializeFormatInfo(io, nullptr);
    const TileGrid grid = header.Grid();
    ZScanRect tile;
    return WalkArchivedTiles(grid, progress, [&](int row, int col) {
        const int width = grid.across.Length(col), height = grid.down.Length(row);
        if (!tile.IsShapedAs(width, height, header.colorFormat))
            tile.CreateWith(width, height, header.colorFormat, ZScanRect::Content::overwritten);
        LoadTile(tile, row, col);
        tile.Serialize(io);
    });
}

bool ZBitmapCFileStore::LoadArchive(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy,
                                    const ZBitmap* described) {
    require(io.ReadObjVersion() == 1, BitmapCFileStoreCheck::recordVersion);
    const shr::CScopedIProgressTask task(progress, L"Loading image...");
    shr::ScopeExit cleanUp([this] { CreateCleanUp(); });
    ZDummyBitmap archived;
    archived.LoadFormatValues(io, legacy, ZDummyBitmap::UnprovenGrid::laidOut, described);
    const shr::ColorFormat format = archived.GetColorFormat();
    const unsigned colors = archived.GetNumColorTableItems();
    require(colors <= static_cast<unsigned>(shr::ColorFmtToTblSize[format]), BitmapCFileStoreCheck::archivedColors);

    const int tileWidth = described == nullptr ? archived.GetScanRectWidth() : kFileTileSide;
    const int tileHeight = described == nullptr ? archived.GetScanRectHeight() : kFileTileSide;
    CreateEmpty(archived.GetPixelWidth(), archived.GetPixelHeight(), format, tileWidth, tileHeight);
    SetXResolution(archived.GetXResolution());
    SetYResolution(archived.GetYResolution());
    FillColorTable(archived.GetConstColorTablePtr(), colors);
    const bool loaded = LoadTiles(io, progress, archived);
    if (loaded)
        CommitAll();
    else
        Create(1, 1, shr::BGR_24, kFileTileSide, kFileTileSide, nullptr);
    cleanUp.Release();
    return loaded;
}

bool ZBitmapCFileStore::LoadTiles(SerializeIO& io, shr::IProgress* progress, const ZBitmap& archived) {
    const TileGrid from(archived.GetPixelHeight(), archived.GetPixelWidth(), archived.GetScanRectHeight(),
                        archived.GetScanRectWidth());
    const bool inItsTiles = from.down.Tile() == header.scanRectHeight && from.across.Tile() == header.scanRectWidth;
    AssembledRows assembled(header.Grid(), header.colorFormat);
    const auto write = [this](const ZScanRect& tile, int row, int col) { WriteScanRect(tile, row, col); };
    ZScanRect tile(1, 1, shr::BGRA_32);
    return WalkArchivedTiles(from, progress, [&](int row, int col) {
        const ZScanRect::Place place{from.across.Length(col), from.down.Length(row), header.colorFormat};
        require(tile.Load(io, &place), ScanRectCheck::recordVersion);
        if (inItsTiles) return write(tile, row, col);
        assembled.Take(tile, from.Box(row, col));
        if (col + 1 == from.across.Count()) assembled.GiveAbove(from.down.End(row), write);
    });
}

}  // namespace zbm
