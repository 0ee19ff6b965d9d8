#include "zbm/ZPOTCFileBitmap.h"

#include "core/TileReading.h"
#include "core/checks/POTCFileBitmapChecks.h"
#include "file/FileTiles.h"
#include "filter/Creation.h"
#include "filter/MakeResizeFilter.h"
#include "shr/ScopeExit.h"
#include "zbm/SerializeIO.h"

namespace zbm {

namespace {

constexpr ResizeChecks kFillChecks{
    .self = POTCFileBitmapCheck::filledSelf,
    .left = POTCFileBitmapCheck::filledLeft,
    .right = POTCFileBitmapCheck::filledRight,
    .top = POTCFileBitmapCheck::filledTop,
    .bottom = POTCFileBitmapCheck::filledBottom,
    .width = POTCFileBitmapCheck::filledWidth,
    .height = POTCFileBitmapCheck::filledHeight,
};

}  // namespace

ZPOTCFileBitmap::ZPOTCFileBitmap(const ZString& name, shr::CBufferedFile& hostFile, std::int64_t offset, bool open,
                                 bool readOnlyLevel)
    : store(name, hostFile, offset, open, readOnlyLevel) {
    fileOpen = true;
    readOnly = readOnlyLevel;
    fileName = name;
    if (!open) return;
    if (!readOnly) store.SeatHeader();
    TakeStore(store);
}

ZPOTCFileBitmap::~ZPOTCFileBitmap() { CleanUp(); }

bool ZPOTCFileBitmap::Create(const ZString& name, int width, int height, ZBitmap& source, const RECT& rect,
                             ResizeMethod method, shr::IProgress* progress) {
    require(&source != this, POTCFileBitmapCheck::createdSelf);
    require(name == fileName, POTCFileBitmapCheck::createdName);
    Close();
    const shr::CScopedIProgressTask task(progress, L"Creating image reduction...");
    try {
        CreateSkeleton(name, height, width, source.GetColorFormat(), kFileTileSide, kFileTileSide);
        return FillFromOther(source, rect, method, progress);
    } catch (...) {
        CleanUp();
        throw;
    }
}

bool ZPOTCFileBitmap::FillFromOther(ZBitmap& source, RECT rect, ResizeMethod method, shr::IProgress* progress) {
    CheckResize(kFillChecks, *this, source, rect);
    const std::unique_ptr<zpixf::ZPixFilterBase> filter = MakeResizeFilter(method);
    require(filter != nullptr, POTCFileBitmapCheck::resizeMethod);
    if (!FilterFrom(source, rect, *filter, progress)) return false;
    TakeResolution(source, store);
    store.CommitAll();
    return true;
}

void ZPOTCFileBitmap::CreateSkeleton(const ZString&, int height, int width, shr::ColorFormat format, int tileHeight,
                                     int tileWidth) {
    Init(height, width, format, tileHeight, tileWidth);
    store.CreateEmpty(width, height, format, tileWidth, tileHeight);
}

void ZPOTCFileBitmap::Close() {
    ZFileBitmap::Close();
    Init(0, 0, shr::BGRA_32, kFileTileSide, kFileTileSide);
}

void ZPOTCFileBitmap::CreateCleanUp() { CleanUp(); }

void ZPOTCFileBitmap::CleanUp() {
    try {
        ZPOTCFileBitmap::Close();
    } catch (const shr::Exception&) {
        // What led here is the error to report.
    }
}

void ZPOTCFileBitmap::SetXResolution(int pixelsPerMeter) {
    require(fileOpen && !readOnly, POTCFileBitmapCheck::xResolution);
    ZBitmap::SetXResolution(pixelsPerMeter);
    store.SetXResolution(pixelsPerMeter);
}

void ZPOTCFileBitmap::SetYResolution(int pixelsPerMeter) {
    require(fileOpen && !readOnly, POTCFileBitmapCheck::yResolution);
    ZBitmap::SetYResolution(pixelsPerMeter);
    store.SetYResolution(pixelsPerMeter);
}

void ZPOTCFileBitmap::ForgetResolution() {
    xResolution = yResolution = 0;
    TakeResolution(*this, store);
    store.SaveInfoTable();
}

const ToldTileReading ZPOTCFileBitmap::toldTileReading(typeid(ZPOTCFileBitmap),
                                                       {.load = &ZPOTCFileBitmap::LoadTile,
                                                        .loadRows = &ZPOTCFileBitmap::LoadRows,
                                                        .lockUnread = &ZPOTCFileBitmap::LockUnread});

void ZPOTCFileBitmap::LoadTile(const ZBitmap& bitmap, int row, int col, ZScanRect& tile) {
    static_cast<const ZPOTCFileBitmap&>(bitmap).store.LoadTile(tile, row, col);
}

void ZPOTCFileBitmap::LoadRows(const ZBitmap& bitmap, int row, int col, ZScanRect& tile, int begin, int end) {
    static_cast<const ZPOTCFileBitmap&>(bitmap).store.LoadRows(tile, row, col, begin, end);
}

void ZPOTCFileBitmap::ReadScanRect(ZScanRect& tile, int row, int col) const {
    require(fileOpen, POTCFileBitmapCheck::readClosed);
    store.ReadScanRect(tile, row, col);
}

void ZPOTCFileBitmap::WriteScanRect(const ZScanRect& tile, int row, int col) {
    require(fileOpen && !readOnly, POTCFileBitmapCheck::writeClosed);
    store.WriteScanRect(tile, row, col);
}

bool ZPOTCFileBitmap::Serialize(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy) {
    return io.IsStoring() ? StoreArchive(io, progress, legacy) : LoadArchive(io, progress, legacy);
}

bool ZPOTCFileBitmap::StoreArchive(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy) {
    require(legacy == nullptr, POTCFileBitmapCheck::legacy);
    require(shr::IsColorFormat(store.GetColorFormat()), POTCFileBitmapCheck::storedFormat);
    io.WriteObjVersion(1);
    const shr::CScopedIProgressTask task(progress, L"Storing image reduction...");
    return store.Serialize(io, progress, nullptr);
}

bool ZPOTCFileBitmap::LoadArchive(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy) {
    require(io.ReadObjVersion() == 1, POTCFileBitmapCheck::recordVersion);
    const shr::CScopedIProgressTask task(progress, L"Loading image reduction...");
    shr::ScopeExit leaveClosed([this] { CleanUp(); });
    if (!store.Serialize(io, progress, legacy)) return false;
    TakeStore(store);
    leaveClosed.Release();
    return true;
}

void ZPOTCFileBitmap::Open(const ZString&, bool) { require.Fail(POTCFileBitmapCheck::open); }

bool ZPOTCFileBitmap::Create(const ZString&, int, int, shr::ColorFormat, shr::IProgress*) {
    require.Fail(POTCFileBitmapCheck::createPlain);
}

bool ZPOTCFileBitmap::Create(const ZString&, const BITMAPINFO&, shr::IProgress*) {
    require.Fail(POTCFileBitmapCheck::createFromPackedDib);
}

bool ZPOTCFileBitmap::Create(const ZString&, const BITMAPINFOHEADER*, const void*, const RGBQUAD*, shr::IProgress*) {
    require.Fail(POTCFileBitmapCheck::createFromDib);
}

bool ZPOTCFileBitmap::Create(const ZString&, ZBitmap&, shr::IProgress*) {
    require.Fail(POTCFileBitmapCheck::createCopy);
}

ZBitmap* ZPOTCFileBitmap::GetPtrToPOTReduction(unsigned) { require.Fail(POTCFileBitmapCheck::reduction); }

}  // namespace zbm
