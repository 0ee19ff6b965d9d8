// A bitmap on its own file:
//
//     0     signature and version
//     49    the table of the levels' positions
//     509   level 0, a store
//     ...   the reductions, each a store
//
// This file opens, closes and saves it; ZBMScanRectFileBitmapCreate.cpp makes it, ZBMScanRectFileBitmapLevels.cpp
// builds the reductions, ZBMScanRectFileBitmapArchive.cpp stores it in archives and loads it.
#include "zbm/ZScanRectFileBitmap.h"

#include <algorithm>

#include "core/LogInDestructor.h"
#include "core/TileGrid.h"
#include "core/TileReading.h"
#include "core/checks/ScanRectFileBitmapChecks.h"
#include "file/FileTiles.h"
#include "file/LittleEndian.h"
#include "file/SignatureBlock.h"
#include "filter/ReductionSizes.h"
#include "shr/Path.h"
#include "shr/ScopeExit.h"
#include "zbm/ZPOTCFileBitmap.h"

namespace zbm {

namespace {

constexpr std::uint8_t kStaleLevels = 1;  // the first of the reserved bytes of level 0

}  // namespace

const shr::CTypeInfo ZScanRectFileBitmap::ClassTypeId("ZScanRectFileBitmap", &ZScanRectFileBitmap::CreateInstance,
                                                      &ZFileBitmap::ClassTypeId);

void* ZScanRectFileBitmap::CreateInstance() {
    return static_cast<shr::CTypedObject*>(new ZScanRectFileBitmap(L"", L"", false));
}

const shr::CTypeInfo* ZScanRectFileBitmap::GetTypeId() const { return &ClassTypeId; }

template <class Self, class Coder>
void ZScanRectFileBitmap::FileInfoTable::Fields(Self& self, Coder& coder) {
    coder.U32(self.levelCount);
    for (auto& slot : self.slots) coder.I64(slot);
    coder.Bytes(self.reserved, sizeof self.reserved);
}

ZScanRectFileBitmap::ZScanRectFileBitmap(const std::wstring& temporaryFolder, const std::wstring& temporaryFile,
                                         bool keep)
    : tempDir(temporaryFolder), tempFile(temporaryFile), keepTempFile(keep) {
    Init(0, 0, shr::BGRA_32, kFileTileSide, kFileTileSide);
}

ZScanRectFileBitmap::~ZScanRectFileBitmap() {
    try {
        ZScanRectFileBitmap::Close(true);
    } catch (...) { LogInDestructor("ZBMScanRectFileBitmap", 134); }
}

void ZScanRectFileBitmap::Open(const ZString& name, bool readOnlyFile) {
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): it may be our own, or die with what is closed
    const ZString kept = name;
    Close();
    OpenFile(kept, kept, shr::FileMode::openExisting, readOnlyFile);
    try {
        ReadFileInfoTable();
        OpenLevels();
        TakeStore(*store);
    } catch (...) {
        store.reset();  // so that nothing is written into a file that we do not understand
        CleanUp();
        throw;
    }
}

/// Nothing raises between the opening of the file and the mark that it is ours to close.
/// The bitmap and its errors go by `name`, wherever the file lies while it is made.
void ZScanRectFileBitmap::OpenFile(const ZString& path, ZString name, shr::FileMode mode, bool readOnlyFile) {
    const auto access = readOnlyFile ? shr::FileAccess::read : shr::FileAccess::readWrite;
    const auto sharing = readOnlyFile ? shr::FileSharing::read : shr::FileSharing::none;
    const bool isThere = mode == shr::FileMode::openExisting;
    require(file.OpenNoThrow(path, access, mode, sharing),
            isThere ? ScanRectFileBitmapCheck::openedFile : ScanRectFileBitmapCheck::createdFile, name);
    fileName = std::move(name);
    readOnly = readOnlyFile;
    fileOpen = true;
}

void ZScanRectFileBitmap::ReadFileInfoTable() {
    std::uint8_t bytes[FileInfoTable::kBytes];
    if (!kFileBitmapSignature.Read(file) || file.Read(bytes, sizeof bytes) != sizeof bytes) RefuseFile();
    version = SignatureBlock::kVersion;
    infoTablePosition = FileInfoTable::kPosition;
    Decode(fileInfoTable, bytes);
    const std::uint32_t count = fileInfoTable.levelCount;
    require(count >= 1 && count <= FileInfoTable::kLevels, ScanRectFileBitmapCheck::openedLevelCount);
    // Behind the slot of the level to come nothing has a meaning.
    std::fill(fileInfoTable.slots + std::min(count + 1, FileInfoTable::kLevels), std::end(fileInfoTable.slots), 0);
}

/// Of a file that was cut, what is there is shown: without the reductions whose beginnings are missing.
void ZScanRectFileBitmap::OpenLevels() {
    CheckSlots();
    store = std::make_unique<OwnStore>(fileName, file, fileInfoTable.slots[0], true, readOnly);
    const shr::ColorFormat levelFormat = FormatOfReductions(store->GetColorFormat());
    for (std::uint32_t level = 1; level < fileInfoTable.levelCount; ++level) {
        const std::int64_t slot = fileInfoTable.slots[level];
        if (readOnly && ZBitmapCFileStore::IsCutOff(file, slot)) break;
        reductions.push_back(std::make_unique<ZPOTCFileBitmap>(fileName, file, slot, true, readOnly));
        if (reductions.back()->HasNoPixels() || reductions.back()->GetColorFormat() != levelFormat) RefuseFile();
    }
    CheckRanges();
    fileInfoTable.levelCount = static_cast<std::uint32_t>(reductions.size()) + 1;
    reductionsStale = store->header.reserved[0] == kStaleLevels;
    if (!readOnly) store->SeatHeader();
}

/// Before any level is read: one that is named again and again would be read as often.
void ZScanRectFileBitmap::CheckSlots() const {
    std::vector<std::int64_t> slots(fileInfoTable.slots, fileInfoTable.slots + fileInfoTable.levelCount);
    std::sort(slots.begin(), slots.end());
    if (slots.front() < FileInfoTable::kFirstStore) RefuseFile();
    if (std::adjacent_find(slots.begin(), slots.end()) != slots.end()) RefuseFile();
}

/// What is written into one place must change nothing else.
void ZScanRectFileBitmap::CheckRanges() const {
    if (reductions.empty()) return;
    std::vector<ZBitmapCFileStore::Range> ranges;
    store->AppendRanges(ranges);
    for (const auto& level : reductions) level->store.AppendRanges(ranges);
    if (!ZBitmapCFileStore::AreDisjoint(ranges)) RefuseFile();
}

void ZScanRectFileBitmap::RefuseFile() const { require.Fail(ScanRectFileBitmapCheck::badFile, fileName); }

void ZScanRectFileBitmap::Close() { Close(true); }

/// Whatever writing says, the object is empty afterwards, and the file not open.
void ZScanRectFileBitmap::Close(bool) {
    const shr::ScopeExit becomeClosed([this] { BecomeClosed(); });
    if (!fileOpen) return;
    require(file.IsOpen(), ScanRectFileBitmapCheck::closedFile);
    MarkStaleLevels();
    FreeAllPOTReductions();
    if (store != nullptr) store->CommitAll();
    file.Close();
}

void ZScanRectFileBitmap::BecomeClosed() {
    FreeAllPOTReductions();
    store.reset();
    reductionsStale = false;
    InitFileInfoTable();
    file = shr::CBufferedFile();
    fileOpen = false;
    ZFileBitmap::Close();
    Init(0, 0, shr::BGRA_32, kFileTileSide, kFileTileSide);
}

/// For a file that is deleted next.
void ZScanRectFileBitmap::CloseWithoutWriting() {
    const shr::ScopeExit becomeClosed([this] { BecomeClosed(); });
    file.Discard();
}

/// What closing writes. Where that fails, the bitmap is still open.
void ZScanRectFileBitmap::WriteTables() {
    if (store == nullptr || readOnly) return;
    MarkStaleLevels();
    store->CommitAll();
    file.Flush();
}

/// In the store's header, for whoever opens the file next. Levels count as current only once the file knows all tiles
/// that they were made from.
void ZScanRectFileBitmap::MarkStaleLevels() {
    if (store == nullptr || readOnly) return;
    const std::uint8_t mark = reductionsStale && !reductions.empty() ? kStaleLevels : 0;
    if (mark == 0 && store->header.reserved[0] != 0) store->SaveSRInfo();
    store->header.reserved[0] = mark;
}

void ZScanRectFileBitmap::WriteStaleMark() {
    store->header.reserved[0] = kStaleLevels;
    store->SaveInfoTable();
    file.Flush();
}

void ZScanRectFileBitmap::Save() {
    require(fileOpen && store != nullptr, ScanRectFileBitmapCheck::saveClosed);
    if (readOnly) return;
    file.FlushToDevice();
    MarkStaleLevels();
    store->CommitAll();
    SaveFileInfoTable();
    file.FlushToDevice();
}

/// What an object of exactly this class tells of its tiles: read without a lock, zero where the file has none.
const ToldTileReading ZScanRectFileBitmap::toldTileReading(typeid(ZScanRectFileBitmap),
                                                           {.load = &ZScanRectFileBitmap::LoadTile,
                                                            .loadRows = &ZScanRectFileBitmap::LoadRows,
                                                            .lockUnread = &ZScanRectFileBitmap::LockUnread,
                                                            .currentLevel = &ZScanRectFileBitmap::CurrentLevel});

void ZScanRectFileBitmap::LoadTile(const ZBitmap& bitmap, int row, int col, ZScanRect& tile) {
    const auto& self = static_cast<const ZScanRectFileBitmap&>(bitmap);
    require(self.fileOpen && self.store != nullptr, ScanRectFileBitmapCheck::readClosed);
    self.store->LoadTile(tile, row, col);
}

void ZScanRectFileBitmap::LoadRows(const ZBitmap& bitmap, int row, int col, ZScanRect& tile, int begin, int end) {
    const auto& self = static_cast<const ZScanRectFileBitmap&>(bitmap);
    require(self.fileOpen && self.store != nullptr, ScanRectFileBitmapCheck::readClosed);
    self.store->LoadRows(tile, row, col, begin, end);
}

void ZScanRectFileBitmap::ReadScanRect(ZScanRect& tile, int row, int col) const {
    require(fileOpen && store != nullptr, ScanRectFileBitmapCheck::readClosed);
    store->ReadScanRect(tile, row, col);
}

void ZScanRectFileBitmap::WriteScanRect(const ZScanRect& tile, int row, int col) {
    require(fileOpen && store != nullptr && !readOnly, ScanRectFileBitmapCheck::writeClosed);
    BecomeStale();
    store->WriteScanRect(tile, row, col);
}

/// The file is told before the picture changes: whoever is killed then leaves levels that are known to be old.
void ZScanRectFileBitmap::BecomeStale() {
    if (!reductionsStale && !reductions.empty()) WriteStaleMark();
    reductionsStale = true;
}

void ZScanRectFileBitmap::FillColorTable(const shr::Color4b* colors, unsigned count) {
    require(store != nullptr, ScanRectFileBitmapCheck::colorsClosed);
    if (readOnly) store->FillColorTable(colors, count);  // raises before anything is changed
    BecomeStale();
    ZBitmap::FillColorTable(colors, count);
    store->FillColorTable(colors, count);
}

void ZScanRectFileBitmap::CopyColorTable(const ZBitmapCFileStore& source) {
    shr::Color4b colors[256];
    const unsigned count = source.GetNumColorTableItems();
    for (unsigned i = 0; i < count; ++i) colors[i] = source.GetColorTableItem(i);
    FillColorTable(count == 0 ? nullptr : colors, count);
}

void ZScanRectFileBitmap::SetXResolution(int pixelsPerMeter) {
    require(store != nullptr, ScanRectFileBitmapCheck::resolutionClosed);
    require(fileOpen && !readOnly, ScanRectFileBitmapCheck::resolutionReadOnly);
    if (pixelsPerMeter < 1 || pixelsPerMeter == xResolution) return;
    xResolution = pixelsPerMeter;
    store->SetXResolution(pixelsPerMeter);
}

void ZScanRectFileBitmap::SetYResolution(int pixelsPerMeter) {
    require(store != nullptr, ScanRectFileBitmapCheck::resolutionClosed);
    require(fileOpen && !readOnly, ScanRectFileBitmapCheck::resolutionReadOnly);
    if (pixelsPerMeter < 1 || pixelsPerMeter == yResolution) return;
    yResolution = pixelsPerMeter;
    store->SetYResolution(pixelsPerMeter);
}

void ZScanRectFileBitmap::ForgetResolution() {
    require(store != nullptr, ScanRectFileBitmapCheck::resolutionClosed);
    require(fileOpen && !readOnly, ScanRectFileBitmapCheck::resolutionReadOnly);
    xResolution = yResolution = 0;
    TakeResolution(*this, *store);
    store->SaveInfoTable();
}

void ZScanRectFileBitmap::SaveFileInfoTable() {
    require(fileOpen && !readOnly, ScanRectFileBitmapCheck::infoTableWritable);
    file.Seek(infoTablePosition);
    file.Write(Encode(fileInfoTable, FileInfoTable::kBytes).data(), FileInfoTable::kBytes);
}

/// An empty folder is the process's; what is no folder's name gets a separator.
void ZScanRectFileBitmap::SetTempDir(const std::wstring& folder) {
    tempDir = shr::CPath::AppendDirSeparator(folder, true).Wide();
}

void ZScanRectFileBitmap::SetTempFile(const std::wstring& fileNameInFolder) { tempFile = fileNameInFolder; }

ZString ZScanRectFileBitmap::TemporaryFolder() const {
    return tempDir.empty() ? GetGlobalFileBitmapTempDir() : ZString(tempDir);
}

ZString ZScanRectFileBitmap::MakeUniqueTempFile() const {
    const ZString folder = TemporaryFolder();
    ZString made = shr::CPath::GetTempFilename(folder);
    require(!made.IsEmpty(), ScanRectFileBitmapCheck::tempFile, folder);
    return made;
}

ZString ZScanRectFileBitmap::BuildCurrentTempFilename() {
    currentTempFilename = tempFile.empty() ? MakeUniqueTempFile().Wide() : TemporaryFolder().Wide() + tempFile;
    return currentTempFilename;
}

}  // namespace zbm
