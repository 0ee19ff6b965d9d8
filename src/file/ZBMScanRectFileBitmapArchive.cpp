// The record of a bitmap on its own file in an archive: u16 version 1, the format information, the store's record, u32
// whether reductions follow, and if so u32 how many, and the record of each.
#include "core/ArchiveGrid.h"
#include "core/DummyBitmap.h"
#include "core/ReductionRecords.h"
#include "core/checks/BitmapChecks.h"
#include "core/checks/ScanRectFileBitmapChecks.h"
#include "file/FileTiles.h"
#include "file/Replacement.h"
#include "filter/Creation.h"
#include "filter/ReductionSizes.h"
#include "shr/ScopeExit.h"
#include "zbm/ZPOTCFileBitmap.h"
#include "zbm/ZScanRectFileBitmap.h"

namespace zbm {

bool ZScanRectFileBitmap::Serialize(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy) {
    if (io.IsStoring()) return StoreArchive(io, progress, legacy);
    require(!fileOpen || !readOnly, ScanRectFileBitmapCheck::loadedReadOnly, fileName);
    return fileOpen ? LoadReplacement(io, progress, legacy) : LoadArchive(io, progress, legacy);
}

bool ZScanRectFileBitmap::StoreArchive(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy) {
    require(legacy == nullptr, ScanRectFileBitmapCheck::legacy);
    require(fileOpen && store != nullptr, ScanRectFileBitmapCheck::storedClosed);
    io.WriteObjVersion(1);
    SerializeFormatInfo(io, nullptr);
    if (!store->Serialize(io, progress, nullptr)) return false;
    return StoreReductions(reductions, io, progress);
}

/// Into the file of that name, which an open bitmap has given up and a closed one finds nowhere.
bool ZScanRectFileBitmap::LoadArchive(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy) {
    const ZString name = fileName;
    if (fileOpen)
        Close(false);
    else
        OpenFile(name, name, shr::FileMode::createNew);
    const auto steps = [&] {
        if (LoadPicture(io, progress, legacy, [&] { return name; })) return true;
        WriteLevelCount(1);  // what is in the file is whole
        Close(false);
        return false;
    };
    return CreateOrCleanUp(steps, [this] { CreateCleanUp(); });
}

/// Beside the file that the bitmap has open, so that an archive that turns out bad costs nothing.
bool ZScanRectFileBitmap::LoadReplacement(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy) {
    Close(false);
    Replacement replacement(fileName);
    require(replacement.HoldFormer(), ScanRectFileBitmapCheck::createdFile, fileName);
    const auto makeFile = [&] {
        require(replacement.Make(), ScanRectFileBitmapCheck::createdFile, fileName);
        return replacement.Name();
    };
    const auto steps = [&] {
        if (!LoadPicture(io, progress, legacy, makeFile)) return false;
        file.FlushToDevice();
        file.Close();
        require(replacement.TakePlace(), ScanRectFileBitmapCheck::createdFile, fileName);
        OpenFile(fileName, fileName, shr::FileMode::openExisting);
        return true;
    };
    return CreateOrCleanUp(steps, [this] {
        store.reset();  // nothing more is written into the file that goes
        CleanUp();
    });
}

/// `makeFile` is called once the archive has told of a picture, and gives the name of the file that it is laid out in.
template <class MakeFile>
bool ZScanRectFileBitmap::LoadPicture(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy,
                                      const MakeFile& makeFile) {
    require(io.ReadObjVersion() == 1, ScanRectFileBitmapCheck::recordVersion);
    SerializeFormatInfo(io, legacy);
    const ZDummyBitmap described(*this);
    const TileGrid grid(pixelHeight, pixelWidth, kFileTileSide, kFileTileSide);
    const bool inItsTiles = scanRectHeight == kFileTileSide && scanRectWidth == kFileTileSide;
    require(inItsTiles || IsBelievedInOtherTiles(grid, colorFormat, io.RemainingBytes()), BitmapCheck::archivedTiles);
    {
        isBeingMade = true;
        const shr::ScopeExit made([this] { isBeingMade = false; });
        Init(pixelHeight, pixelWidth, colorFormat, kFileTileSide, kFileTileSide);
        OpenFile(makeFile(), fileName, shr::FileMode::create);
        LayOutFile();
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
