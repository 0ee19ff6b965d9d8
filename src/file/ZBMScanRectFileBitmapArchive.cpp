// The record of a bitmap on its own file in an archive: u16 version 1, the format information, the store's record, u32
// whether reductions follow, and if so u32 how many, and the record of each.
#include "core/ArchiveGrid.h"
#include "core/DummyBitmap.h"
#include "core/ReductionRecords.h"
#include "core/checks/BitmapChecks.h"
#include "core/checks/ScanRectFileBitmapChecks.h"
#include "file/FileTiles.h"
#include "filter/Creation.h"
#include "filter/ReductionSizes.h"
#include "shr/ScopeExit.h"
#include "zbm/ZPOTCFileBitmap.h"
#include "zbm/ZScanRectFileBitmap.h"

namespace zbm {

bool ZScanRectFileBitmap::Serialize(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy) {
    return io.IsStoring() ? StoreArchive(io, progress, legacy) : LoadArchive(io, progress, legacy);
}

bool ZScanRectFileBitmap::StoreArchive(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy) {
    require(legacy == nullptr, ScanRectFileBitmapCheck::legacy);
    require(fileOpen && store != nullptr, ScanRectFileBitmapCheck::storedClosed);
    io.WriteObjVersion(1);
    SerializeFormatInfo(io, nullptr);
    if (!store->Serialize(io, progress, nullptr)) return false;
    return StoreReductions(reductions, io, progress);
}

bool ZScanRectFileBitmap::LoadArchive(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy) {
    const ZString name = fileName;
    TakeNameForLoading();
    const auto steps = [&] {
        require(io.ReadObjVersion() == 1, ScanRectFileBitmapCheck::recordVersion);
        SerializeFormatInfo(io, legacy);
        if (LoadPicture(io, progress, legacy, name)) return true;
        WriteLevelCount(1);  // what is in the file is whole
        Close(false);
        return false;
    };
    return CreateOrCleanUp(steps, [this] { CreateCleanUp(); });
}

/// A file that is there is written over only by the bitmap that has it open for writing.
void ZScanRectFileBitmap::TakeNameForLoading() {
    require(!fileOpen || !readOnly, ScanRectFileBitmapCheck::loadedReadOnly, fileName);
    if (fileOpen) return Close(false);
    OpenFile(fileName, shr::FileAccess::readWrite, shr::FileMode::createNew, shr::FileSharing::none,
             ScanRectFileBitmapCheck::createdFile);
}

bool ZScanRectFileBitmap::LoadPicture(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy,
                                      const ZString& name) {
    const ZDummyBitmap described(*this);
    const TileGrid grid(pixelHeight, pixelWidth, kFileTileSide, kFileTileSide);
    const bool inItsTiles = scanRectHeight == kFileTileSide && scanRectWidth == kFileTileSide;
    require(inItsTiles || IsBelievedInOtherTiles(grid, colorFormat, io.RemainingBytes()), BitmapCheck::archivedTiles);
    {
        isBeingMade = true;
        const shr::ScopeExit made([this] { isBeingMade = false; });
        CommonCreate(name, pixelHeight, pixelWidth, colorFormat, kFileTileSide, kFileTileSide);
    }
    if (!store->LoadArchive(io, progress, legacy, &described)) return false;
    fileInfoTable.slots[1] = file.GetLength();
    CopyColorTable(*store);
    TakeResolution(described, *store);
    store->SaveInfoTable();
    if (!LoadLevels(io, progress, legacy)) return false;
    SaveFileInfoTable();
    file.Flush();
    return true;
}

bool ZScanRectFileBitmap::LoadLevels(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy) {
    const bool stored = ReadU32(io) != 0;
    const std::uint32_t count = stored ? ReadU32(io) : 0;
    require(count < FileInfoTable::kLevels - 1, ScanRectFileBitmapCheck::reductionCount);
    for (std::uint32_t number = 0; number < count; ++number) {
        auto level = std::make_unique<ZPOTCFileBitmap>(fileName, file, PlaceOfNextLevel(), false, false);
        if (!level->Serialize(io, progress, legacy)) return false;
        const bool isOurs = !level->HasNoPixels() && level->GetColorFormat() == FormatOfReductions(colorFormat);
        require(isOurs, ScanRectFileBitmapCheck::reductionKind);
        if (xResolution == 0 && yResolution == 0) level->ForgetResolution();
        AppendLevel(std::move(level));
    }
    reductionsStale = !stored;
    return true;
}

}  // namespace zbm
