// The reductions of a bitmap on its own file: each in a store behind all that is there before it.
#include <algorithm>

#include "core/checks/ScanRectFileBitmapChecks.h"
#include "filter/ReductionSizes.h"
#include "shr/Path.h"
#include "shr/ScopeExit.h"
#include "zbm/ZPOTCFileBitmap.h"
#include "zbm/ZScanRectFileBitmap.h"

namespace zbm {

namespace {

RECT WholeOf(const ZBitmap& bitmap) { return {0, 0, bitmap.GetPixelWidth(), bitmap.GetPixelHeight()}; }

}  // namespace

ZBitmap* ZScanRectFileBitmap::GetPtrToPOTReduction(unsigned level) {
    if (level == 0 || IsItsOwnReduction(*this)) return this;
    if (level > reductions.size()) return nullptr;
    return reductions[level - 1].get();
}

/// Only a level of the size that ours have: a file may hold others.
const ZBitmap* ZScanRectFileBitmap::CurrentLevel(const ZBitmap& bitmap, unsigned level) {
    const auto& self = static_cast<const ZScanRectFileBitmap&>(bitmap);
    if (level == 0) return &self;
    if (self.reductionsStale || self.reductions.size() < level) return nullptr;
    const ZBitmap& found = *self.reductions[level - 1];
    const bool isReduced =
        found.GetPixelWidth() == self.pixelWidth >> level && found.GetPixelHeight() == self.pixelHeight >> level;
    return isReduced ? &found : nullptr;
}

bool ZScanRectFileBitmap::CommitAll(shr::IProgress* progress) { return CreatePOTReductions(progress); }

bool ZScanRectFileBitmap::CommitAll(shr::IProgress* progress, bool rebuild) {
    if (rebuild && fileOpen) reductionsStale = true;
    if (rebuild && !readOnly && !reductions.empty() && !HasUsualLevels()) DropLevels();
    return CreatePOTReductions(progress);
}

/// Each half of the one before, down to the smallest.
bool ZScanRectFileBitmap::HasUsualLevels() const {
    const ZBitmap* source = this;
    for (const auto& level : reductions) {
        const auto size = ReducedSize(*source);
        if (!size || size->cx != level->GetPixelWidth() || size->cy != level->GetPixelHeight()) return false;
        source = level.get();
    }
    return !ReducedSize(*source);
}

/// Their room in the file is lost.
void ZScanRectFileBitmap::DropLevels() {
    FreeAllPOTReductions();
    const std::int64_t first = fileInfoTable.slots[0];
    InitFileInfoTable();
    fileInfoTable.levelCount = 1;
    fileInfoTable.slots[0] = first;
    SaveFileInfoTable();
}

void ZScanRectFileBitmap::FreeAllPOTReductions() noexcept { reductions.clear(); }

bool ZScanRectFileBitmap::CreatePOTReductions(shr::IProgress* progress) {
    if (!reductionsStale) return true;
    if (readOnly) {
        require(reductions.empty() && !ReducedSize(*this), ScanRectFileBitmapCheck::committedReadOnly, fileName);
        return true;
    }
    if (!reductions.empty()) return RegenPOTReductions(progress);

    require(fileInfoTable.levelCount == 1, ScanRectFileBitmapCheck::builtLevelCount);
    const FileInfoTable before = fileInfoTable;
    const std::int64_t end = file.GetLength();
    shr::ScopeExit undo([&] {
        FreeAllPOTReductions();
        fileInfoTable = before;
        CutBack(end);
    });
    if (!FromLevelSource(progress, [&](ZBitmap& source) { return BuildLevels(source, progress); })) return false;
    if (!reductions.empty()) WriteStaleMark();  // until the file is saved: it may not know all tiles yet
    SaveFileInfoTable();
    reductionsStale = false;
    undo.Release();
    return true;
}

/// Gives back what a build took that came to nothing. Tiles that a host wrote meanwhile stay.
void ZScanRectFileBitmap::CutBack(std::int64_t end) noexcept {
    try {
        file.SetLength(std::max(end, store->DataEnd()));
    } catch (const shr::Exception&) {
        // The error on its way is the one to report; the bytes behind the end belong to no tile.
    }
}

bool ZScanRectFileBitmap::BuildLevels(ZBitmap& first, shr::IProgress* progress) {
    ZBitmap* source = &first;
    while (fileInfoTable.levelCount < FileInfoTable::kLevels) {
        const auto size = ReducedSize(*source);
        if (!size) break;
        auto level = std::make_unique<ZPOTCFileBitmap>(fileName, file, PlaceOfNextLevel(), false, false);
        const int width = static_cast<int>(size->cx), height = static_cast<int>(size->cy);
        if (!level->Create(fileName, width, height, *source, WholeOf(*source), ResizeBilinear, progress)) return false;
        AppendLevel(std::move(level));
        source = reductions.back().get();
    }
    return true;
}

void ZScanRectFileBitmap::AppendLevel(std::unique_ptr<ZPOTCFileBitmap> level) {
    const std::uint32_t next = fileInfoTable.levelCount + 1;
    require(next < FileInfoTable::kLevels, ScanRectFileBitmapCheck::mostLevels);
    require(fileInfoTable.slots[next] == 0, ScanRectFileBitmapCheck::nextSlot);
    reductions.push_back(std::move(level));
    fileInfoTable.levelCount = next;
    fileInfoTable.slots[next] = file.GetLength();
}

/// The place that was kept for it, unless tiles came to lie there or behind it meanwhile.
std::int64_t ZScanRectFileBitmap::PlaceOfNextLevel() {
    std::int64_t dataEnd = store->DataEnd();
    for (const auto& level : reductions) dataEnd = std::max(dataEnd, level->store.DataEnd());
    std::int64_t& slot = fileInfoTable.slots[fileInfoTable.levelCount];
    const std::int64_t end = file.GetLength();
    if (slot < dataEnd || slot > end) slot = end;
    return slot;
}

bool ZScanRectFileBitmap::RegenPOTReductions(shr::IProgress* progress) {
    if (!reductionsStale) return true;
    const auto refill = [&](ZBitmap& first) {
        ZBitmap* source = &first;
        for (const auto& level : reductions) {
            if (!level->FillFromOther(*source, WholeOf(*source), ResizeBilinear, progress)) return false;
            source = level.get();
        }
        return true;
    };
    if (!FromLevelSource(progress, refill)) return false;
    reductionsStale = false;
    return true;
}

/// Colours are averaged, which indices cannot be: the levels of a palette bitmap come from a copy in true colours,
/// whose file stays in the folder of temporary files until the next build or sweep.
template <class Build>
bool ZScanRectFileBitmap::FromLevelSource(shr::IProgress* progress, const Build& build) {
    if (!IsReducedInTrueColors(*this) || HasNoPixels()) return build(*this);
    if (!scratchFilename.IsEmpty()) shr::RemoveFile(scratchFilename);
    scratchFilename = {};
    ZString made = MakeUniqueTempFile();
    shr::ScopeExit removeAgain([&] { shr::RemoveFile(made); });
    ZScanRectFileBitmap scratch(L"", L"", false);
    if (!scratch.Create(made, shr::BGRA_32, *this, progress) || scratch.HasNoPixels()) return false;
    removeAgain.Release();
    scratchFilename = std::move(made);
    return build(scratch);
}

}  // namespace zbm
