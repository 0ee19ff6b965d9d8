// How a bitmap comes onto a file of its own. While a picture is on its way the level count in the file, not in memory,
// is 0: what a kill leaves behind is then refused, and does not open as a black picture.
#include <algorithm>

#include "core/DummyBitmap.h"
#include "core/LockedTile.h"
#include "core/PackedDib.h"
#include "core/checks/FileBitmapChecks.h"
#include "core/checks/ScanRectFileBitmapChecks.h"
#include "file/AssembledRows.h"
#include "file/FileTiles.h"
#include "file/LittleEndian.h"
#include "file/SignatureBlock.h"
#include "filter/Creation.h"
#include "filter/MakeResizeFilter.h"
#include "filter/TileRows.h"
#include "shr/Path.h"
#include "shr/ScopeExit.h"
#include "zbm/ZPOTCFileBitmap.h"
#include "zbm/ZScanRectFileBitmap.h"
#include "zpixf/ZPixfNull.h"

namespace zbm {

namespace {

constexpr ResizeChecks kResizeChecks{
    .self = ScanRectFileBitmapCheck::resizedSelf,
    .left = ScanRectFileBitmapCheck::resizedLeft,
    .right = ScanRectFileBitmapCheck::resizedRight,
    .top = ScanRectFileBitmapCheck::resizedTop,
    .bottom = ScanRectFileBitmapCheck::resizedBottom,
    .width = ScanRectFileBitmapCheck::resizedWidth,
    .height = ScanRectFileBitmapCheck::resizedHeight,
};

}  // namespace

void ZScanRectFileBitmap::CommonCreate(const ZString& name, int height, int width, shr::ColorFormat format,
                                       int tileHeight, int tileWidth) {
    Init(height, width, format, tileHeight, tileWidth);
    OpenFile(name, name, shr::FileMode::create);
    LayOutFile();
}

/// Signature, table of levels and a blank store, in the empty file that is open.
void ZScanRectFileBitmap::LayOutFile() {
    kFileBitmapSignature.Write(file);
    version = SignatureBlock::kVersion;
    infoTablePosition = SignatureBlock::kBytes;
    InitFileInfoTable();
    fileInfoTable.levelCount = 1;
    fileInfoTable.slots[0] = FileInfoTable::kFirstStore;
    SaveFileInfoTable();
    store = std::make_unique<OwnStore>(fileName, file, FileInfoTable::kFirstStore, false, false);
    FreeAllPOTReductions();
    reductionsStale = true;
    if (isBeingMade) WriteLevelCount(0);
    file.Flush();
}

void ZScanRectFileBitmap::CreateSkeleton(const ZString& name, int height, int width, shr::ColorFormat format,
                                         int tileHeight, int tileWidth) {
    CommonCreate(name, height, width, format, tileHeight, tileWidth);
    store->CreateEmpty(width, height, format, tileWidth, tileHeight);
}

/// In the file alone.
void ZScanRectFileBitmap::WriteLevelCount(std::uint32_t count) {
    LittleEndianWriter bytes(sizeof count);
    bytes.U32(count);
    file.Seek(infoTablePosition);
    file.Write(bytes.Result().data(), bytes.Result().size());
    file.Flush();
}

/// The frame of the creations: closes, makes the file by `layOut` and its pixels by `fill`.
template <class LayOut, class Fill>
bool ZScanRectFileBitmap::CreateBy(const LayOut& layOut, const Fill& fill, Check levelCount) {
    Close();
    const auto steps = [&] {
        {
            isBeingMade = true;
            const shr::ScopeExit laidOut([this] { isBeingMade = false; });
            layOut();
        }
        if (!fill()) return false;
        require(fileInfoTable.levelCount == 1, levelCount);
        fileInfoTable.slots[1] = file.GetLength();
        WriteLevelCount(1);  // last: what fails is refused, even where it cannot be deleted
        return true;
    };
    return CreateOrCleanUp(steps, [this] { CreateCleanUp(); });
}

// A name is copied before anything is closed: it may be that of the bitmap itself.

bool ZScanRectFileBitmap::Create(const ZString& name, int width, int height, shr::ColorFormat format,
                                 shr::IProgress* progress) {
    require(width >= 1 && height >= 1, ScanRectFileBitmapCheck::createdSize);
    return CreateBy([=, this] { CommonCreate(name, height, width, format, kFileTileSide, kFileTileSide); },
                    [&] { return store->Create(width, height, format, kFileTileSide, kFileTileSide, progress); },
                    ScanRectFileBitmapCheck::createdLevelCount);
}

/// What a DIB's header alone shows is refused before a file is touched: the layout's own checks, then what cannot be
/// copied.
void ZScanRectFileBitmap::CheckDib(const BITMAPINFOHEADER* header, const void* bits, const RGBQUAD* colors) {
    require(header != nullptr, ScanRectFileBitmapCheck::dibHeader);
    require(bits != nullptr, ScanRectFileBitmapCheck::dibBits);
    const bool hasMasks =
        header->biCompression == BI_BITFIELDS && (header->biBitCount == 16 || header->biBitCount == 32);
    require(header->biCompression == BI_RGB || hasMasks, ScanRectFileBitmapCheck::dibKind);
    ZDummyBitmap().Init(header->biHeight, header->biWidth, shr::ColorFormatClosestToDIB(*header), kFileTileSide,
                        kFileTileSide);
    require(header->biWidth >= 1 && header->biHeight >= 1, ScanRectFileBitmapCheck::dibKind);
    ZBitmapCFileStore::CheckDibColors(*header, colors);
}

bool ZScanRectFileBitmap::Create(const ZString& name, const BITMAPINFO& dib, shr::IProgress* progress) {
    const PackedDib packed(dib);
    return Create(name, packed.header, packed.bits, packed.colors, progress);
}

bool ZScanRectFileBitmap::Create(const ZString& name, const BITMAPINFOHEADER* header, const void* bits,
                                 const RGBQUAD* colors, shr::IProgress* progress) {
    CheckDib(header, bits, colors);
    const auto layOut = [=, this] {
        CommonCreate(name, header->biHeight, header->biWidth, shr::ColorFormatClosestToDIB(*header), kFileTileSide,
                     kFileTileSide);
    };
    const auto fill = [&] {
        if (!store->Create(header, bits, colors, progress)) return false;
        CopyColorTable(*store);
        return true;
    };
    return CreateBy(layOut, fill, ScanRectFileBitmapCheck::dibLevelCount);
}

bool ZScanRectFileBitmap::Create(const ZString& name, ZBitmap& source, shr::IProgress* progress) {
    if (&source == this) return true;
    require(!IsOwnReduction(source), ScanRectFileBitmapCheck::copied);
    return CreateBy(
        [&, name] {
            CommonCreate(name, source.GetPixelHeight(), source.GetPixelWidth(), source.GetColorFormat(), kFileTileSide,
                         kFileTileSide);
        },
        [&] {
            if (!CopyTiles(source, progress)) return false;
            ZFileBitmap::CopyColorTable(source);
            TakeResolution(source, *store);
            store->SaveInfoTable();
            return true;
        },
        ScanRectFileBitmapCheck::copied);
}

bool ZScanRectFileBitmap::Create(const ZString& name, shr::ColorFormat format, ZBitmap& source,
                                 shr::IProgress* progress) {
    require(&source != this && !IsOwnReduction(source), ScanRectFileBitmapCheck::convertedSelf);
    require(shr::IsColorFormat(format), ScanRectFileBitmapCheck::convertedFormat);
    if (format == source.GetColorFormat()) return Create(name, source, progress);
    require(FindTileRow(source, 0) >= 0, FileBitmapCheck::firstInputRow);
    zpixf::ZPixfNull handThrough;
    return CreateBy(
        [&, name] {
            CreateSkeleton(name, source.GetPixelHeight(), source.GetPixelWidth(), format, kFileTileSide, kFileTileSide);
        },
        [&] {
            const shr::CScopedIProgressTask task(progress, kCreatingImage);
            return FillFrom(source, {0, 0, source.GetPixelWidth(), source.GetPixelHeight()}, handThrough, progress);
        },
        ScanRectFileBitmapCheck::convertedLevelCount);
}

bool ZScanRectFileBitmap::Create(const ZString& name, int width, int height, ZBitmap& source, const RECT& rect,
                                 ResizeMethod method, shr::IProgress* progress) {
    require(!IsOwnReduction(source), kResizeChecks.self);
    CheckResize(kResizeChecks, *this, source, rect);
    const std::unique_ptr<zpixf::ZPixFilterBase> filter = MakeResizeFilter(method);
    require(filter != nullptr, ScanRectFileBitmapCheck::resizeMethod);
    return CreateBy(
        [&, name] { CreateSkeleton(name, height, width, source.GetColorFormat(), kFileTileSide, kFileTileSide); },
        [&] {
            const shr::CScopedIProgressTask task(progress, kCreatingImage);
            return FillFrom(source, rect, *filter, progress);
        },
        ScanRectFileBitmapCheck::resizedLevelCount);
}

void ZScanRectFileBitmap::CreateEmpty(const ZString& name, int width, int height, shr::ColorFormat format) {
    require(width >= 1 && height >= 1, ScanRectFileBitmapCheck::emptySize);
    const ZString kept = name;
    Close();
    const auto steps = [&] {
        CreateSkeleton(kept, height, width, format, kFileTileSide, kFileTileSide);
        return true;
    };
    CreateOrCleanUp(steps, [this] { CreateCleanUp(); });
}

bool ZScanRectFileBitmap::IsOwnReduction(const ZBitmap& bitmap) const {
    return std::any_of(reductions.begin(), reductions.end(), [&](const auto& level) { return level.get() == &bitmap; });
}

/// Tiles of our own size go as they are; others are put together to rows of ours first, each of which is written once.
bool ZScanRectFileBitmap::CopyTiles(ZBitmap& source, shr::IProgress* progress) {
    if (source.GetScanRectWidth() == kFileTileSide && source.GetScanRectHeight() == kFileTileSide)
        return store->Create(source, progress);
    store->CreateEmpty(pixelWidth, pixelHeight, colorFormat, kFileTileSide, kFileTileSide);
    const shr::CScopedIProgressTask task(progress, kCreatingImage);
    const int rows = pixelWidth == 0 ? 0 : GetNumScanRectRows();
    for (int row = 0; row < rows; ++row) {
        const std::unique_ptr<ZBasicMemBitmap> rowCopy = AssembleRow(source, row);
        for (int col = 0; col < GetNumScanRects(row); ++col) {
            WriteScanRect(rowCopy->LockScanRect(0, col), row, col);
            if (!SRProgress(progress, row, col, rows, GetNumScanRects(row))) return false;
        }
    }
    store->CommitAll();
    return true;
}

std::unique_ptr<ZBasicMemBitmap> ZScanRectFileBitmap::AssembleRow(const ZBitmap& source, int row) const {
    std::unique_ptr<ZBasicMemBitmap> rowCopy = MakeTileRowCopy(*this, row);
    const RECT wanted = GetScanRectBBox(row, 0);
    for (int sourceRow = FindTileRow(source, wanted.top); sourceRow < source.GetNumScanRectRows(); ++sourceRow) {
        if (source.GetScanRectBBox(sourceRow, 0).top >= wanted.bottom) break;
        for (int sourceCol = 0; sourceCol < source.GetNumScanRects(sourceRow); ++sourceCol) {
            const LockedTile tile(source, sourceRow, sourceCol);
            const RECT box = source.GetScanRectBBox(sourceRow, sourceCol);
            for (int col = static_cast<int>(box.left) / kFileTileSide; col * LONG{kFileTileSide} < box.right; ++col)
                CopyCommonPart(rowCopy->LockScanRect(0, col), GetScanRectBBox(row, col), *tile, box);
        }
    }
    return rowCopy;
}

/// Fills the skeleton by a filter; the tiles got their places in memory only.
bool ZScanRectFileBitmap::FillFrom(ZBitmap& source, const RECT& rect, zpixf::ZPixFilterBase& filter,
                                   shr::IProgress* progress) {
    if (!FilterFrom(source, rect, filter, progress)) return false;
    CopyColorTable(*store);
    TakeResolution(source, *store);
    store->CommitAll();
    return true;
}

void ZScanRectFileBitmap::CreateCleanUp() {
    if (!fileOpen || readOnly) return CleanUp();
    store.reset();  // nothing more is written, for which memory could be too short
    CleanUp();
    require(shr::RemoveFile(fileName), ScanRectFileBitmapCheck::deletedFile, fileName);
}

void ZScanRectFileBitmap::CleanUp() {
    reductionsStale = false;
    try {
        Close();
    } catch (const shr::Exception&) {
        // What led here is the error to report.
    }
}

}  // namespace zbm
