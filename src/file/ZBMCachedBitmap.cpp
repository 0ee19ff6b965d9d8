#include "zbm/ZCachedBitmap.h"

#include "core/LogInDestructor.h"
#include "core/PackedDib.h"
#include "core/TileReading.h"
#include "core/checks/CachedBitmapChecks.h"
#include "core/checks/ScanRectFileBitmapChecks.h"
#include "shr/Path.h"
#include "shr/ScopeExit.h"
#include "zbm/SerializeIO.h"
#include "zbm/ZPOTCFileBitmap.h"

namespace zbm {

namespace {

constexpr int kLoadedLine = 9000;  // in the log: there is no file for one pixel after a load that failed

}  // namespace

const shr::CTypeInfo ZCachedBitmap::ClassTypeId("ZCachedBitmap", &ZCachedBitmap::CreateInstance,
                                                &ZScanRectFileBitmap::ClassTypeId);

void* ZCachedBitmap::CreateInstance() { return static_cast<shr::CTypedObject*>(new ZCachedBitmap(L"", L"", false)); }

const shr::CTypeInfo* ZCachedBitmap::GetTypeId() const { return &ClassTypeId; }

const ToldTileReading ZCachedBitmap::toldTileReading(typeid(ZCachedBitmap),
                                                     {.load = &ZCachedBitmap::LoadTile,
                                                      .loadRows = &ZCachedBitmap::LoadRows,
                                                      .lockUnread = &ZCachedBitmap::LockUnread,
                                                      .currentLevel = &ZCachedBitmap::CurrentLevel});

ZCachedBitmap::ZCachedBitmap(const ZString& temporaryFolder, const ZString& temporaryFile, bool keep)
    : ZScanRectFileBitmap(temporaryFolder.Wide(), temporaryFile.Wide(), keep) {}

ZCachedBitmap::~ZCachedBitmap() {
    try {
        Close(keepTempFile);
    } catch (...) { LogInDestructor("ZBMCachedBitmap", 51); }
}

void ZCachedBitmap::Close(bool keep) {
    const ZString temporary(currentTempFilename);
    const bool isDeleted = !keep && MayDeleteTempFile();
    const shr::ScopeExit remove([&] {
        if (isDeleted) shr::RemoveFile(temporary);
    });
    currentTempFilename.clear();
    if (isDeleted) CloseForDeletion(temporary);
    if (!keep) ZScanRectFileBitmap::Close(false);
}

/// Nothing is written any more, for which a disk could be too full: the file is there to make room.
void ZCachedBitmap::CloseForDeletion(const ZString& temporary) {
    if (!fileOpen || !(fileName == temporary)) return;
    try {
        CloseWithoutWriting();
    } catch (...) { LogInDestructor("ZBMCachedBitmap", 51); }
}

void ZCachedBitmap::Open(const ZString& name, bool readOnlyFile) {
    std::wstring opened = name.Wide();  // it may be our own, or die with what is closed
    const ZString former(currentTempFilename);
    const bool isSame = opened == currentTempFilename;
    const bool isDeleted = !isSame && !keepTempFile && MayDeleteTempFile();
    const shr::ScopeExit removeFormer([&] {
        if (isDeleted) shr::RemoveFile(former);
    });
    if (!isSame) currentTempFilename.clear();
    if (isDeleted) CloseForDeletion(former);
    ZScanRectFileBitmap::Open(ZString(opened), readOnlyFile);
    currentTempFilename = std::move(opened);
    tempFileIsForeign = readOnlyFile;
    BecomeStaleWithoutReductions();
}

/// A file without reductions does not tell whether they are to be built.
void ZCachedBitmap::BecomeStaleWithoutReductions() noexcept {
    if (reductions.empty()) reductionsStale = true;
}

/// A file of a fixed name is not ours to delete before it was made here, where the base class sees to it.
template <class CreateNamed>
bool ZCachedBitmap::CreateAnew(const CreateNamed& create) {
    Close(keepTempFile);
    const ZString made = BuildCurrentTempFilename();
    tempFileIsForeign = false;
    shr::ScopeExit forget([&] {
        currentTempFilename.clear();
        if (tempFile.empty()) shr::RemoveFile(made);
    });
    if (!create(made)) return false;
    forget.Release();
    return true;
}

bool ZCachedBitmap::Create(int width, int height, shr::ColorFormat format, shr::IProgress* progress) {
    return CreateAnew(
        [&](const ZString& name) { return ZScanRectFileBitmap::Create(name, width, height, format, progress); });
}

bool ZCachedBitmap::Create(const BITMAPINFO& dib, shr::IProgress* progress) {
    const PackedDib packed(dib);
    return Create(packed.header, packed.bits, packed.colors, progress);
}

bool ZCachedBitmap::Create(const BITMAPINFOHEADER* header, const void* bits, const RGBQUAD* colors,
                           shr::IProgress* progress) {
    CheckDib(header, bits, colors);
    return CreateAnew(
        [&](const ZString& name) { return ZScanRectFileBitmap::Create(name, header, bits, colors, progress); });
}

bool ZCachedBitmap::Create(ZBitmap& source, shr::IProgress* progress) {
    if (&source == this) return true;
    require(!IsOwnReduction(source), ScanRectFileBitmapCheck::copied);
    return CreateAnew([&](const ZString& name) { return ZScanRectFileBitmap::Create(name, source, progress); });
}

bool ZCachedBitmap::Create(shr::ColorFormat format, ZBitmap& source, shr::IProgress* progress) {
    require(&source != this && !IsOwnReduction(source), ScanRectFileBitmapCheck::convertedSelf);
    return CreateAnew([&](const ZString& name) { return ZScanRectFileBitmap::Create(name, format, source, progress); });
}

bool ZCachedBitmap::Create(int width, int height, ZBitmap& source, const RECT& rect, ResizeMethod method,
                           shr::IProgress* progress) {
    require(&source != this && !IsOwnReduction(source), ScanRectFileBitmapCheck::resizedSelf);
    return CreateAnew([&](const ZString& name) {
        return ZScanRectFileBitmap::Create(name, width, height, source, rect, method, progress);
    });
}

void ZCachedBitmap::CreateEmpty(int width, int height, shr::ColorFormat format) {
    CreateAnew([&](const ZString& name) {
        ZScanRectFileBitmap::CreateEmpty(name, width, height, format);
        return true;
    });
}

void ZCachedBitmap::BecomeOnePixel() { (void)Create(1, 1, shr::BGRA_32, nullptr); }

void ZCachedBitmap::ChangeFrom(ZCachedBitmap& other) {
    if (&other == this) return;
    Close(keepTempFile);
    other.WriteTables();  // where this fails, nothing of the other has changed
    std::wstring folder = other.tempDir, fixedName = other.tempFile, temporary = other.currentTempFilename;
    const bool wasOpen = other.fileOpen, wasReadOnly = other.readOnly, wasStale = other.reductionsStale;
    const ZString taken = wasOpen ? other.fileName : ZString(temporary);
    try {
        other.CloseWithoutWriting();  // all is written
        ZScanRectFileBitmap::Open(taken, false);
    } catch (...) {
        if (wasOpen) other.OpenAgain(taken, wasReadOnly, wasStale);
        throw;
    }
    tempDir.swap(folder);
    tempFile.swap(fixedName);
    currentTempFilename.swap(temporary);
    other.currentTempFilename.clear();
    tempFileIsForeign = other.tempFileIsForeign;
    keepTempFile = other.keepTempFile;
    // Of a bitmap that was closed, its file tells.
    if (wasOpen)
        reductionsStale = wasStale;
    else
        BecomeStaleWithoutReductions();

    // Under a new name of its own: a fixed one is that of the file just taken over.
    std::wstring noName;
    other.tempFile.swap(noName);
    const shr::ScopeExit restore([&] { other.tempFile.swap(noName); });
    other.BecomeOnePixel();
}

void ZCachedBitmap::OpenAgain(const ZString& name, bool readOnlyFile, bool stale) noexcept {
    try {
        ZScanRectFileBitmap::Open(name, readOnlyFile);
        reductionsStale = stale;
    } catch (...) {
        // What led here is the error to report; the file is there.
    }
}

bool ZCachedBitmap::Serialize(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy) {
    if (io.IsStoring()) {
        require(legacy == nullptr, CachedBitmapCheck::legacy);
        return ZScanRectFileBitmap::Serialize(io, progress, legacy);
    }
    BecomeOnePixel();
    bool loaded = false;
    try {
        loaded = LoadArchive(io, progress, legacy);  // over the one pixel, which is no loss
    } catch (...) {
        try {
            BecomeOnePixel();
        } catch (...) { LogInDestructor("ZBMCachedBitmap", kLoadedLine); }
        throw;
    }
    if (!loaded) BecomeOnePixel();
    return loaded;
}

}  // namespace zbm
