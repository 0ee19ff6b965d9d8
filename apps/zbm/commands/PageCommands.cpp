#include "commands/PageCommands.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "ErrorContext.h"
#include "OutputFile.h"
#include "Progress.h"
#include "commands/FileBitmap.h"
#include "commands/TemporaryFolder.h"
#include "pictures/RowConversion.h"
#include "shr/BufferedFile.h"
#include "shr/FileFind.h"
#include "shr/Path.h"
#include "shr/ScopeExit.h"
#include "zbm/ZBMLib2.h"

namespace tool {

namespace {

std::string SizeOf(const zbm::ZBitmap& bitmap) {
    return std::to_string(bitmap.GetPixelWidth()) + " x " + std::to_string(bitmap.GetPixelHeight());
}

/// Lives as long as the file's bitmap does.
BitmapPtr LevelOf(const FileBitmapPtr& file, unsigned level) {
    const int count = LevelCount(*file);
    if (level >= static_cast<unsigned>(count))
        throw std::runtime_error("has no level " + std::to_string(level) + ": it has " + std::to_string(count) +
                                 " (0 is the picture itself); zbm levels builds them");
    zbm::ZBitmap* const found = file->GetPtrToPOTReduction(level);
    const int width = file->GetPixelWidth() >> level, height = file->GetPixelHeight() >> level;
    if (level > 0 && (found->GetPixelWidth() != width || found->GetPixelHeight() != height))
        throw std::runtime_error("has a level " + std::to_string(level) + " of " + SizeOf(*found) + " instead of " +
                                 std::to_string(width) + " x " + std::to_string(height) +
                                 " pixels; zbm levels --rebuild makes all anew");
    return {file, found};
}

RECT RectWithin(const zbm::ZBitmap& level, const ViewRect& wanted) {
    const bool isWithin =
        wanted.x <= level.GetPixelWidth() - wanted.width && wanted.y <= level.GetPixelHeight() - wanted.height;
    if (!isWithin) throw std::runtime_error("--rect reaches outside the level, which has " + SizeOf(level) + " pixels");
    return {wanted.x, wanted.y, wanted.x + wanted.width, wanted.y + wanted.height};
}

bool IsWhole(const zbm::ZBitmap& bitmap, const RECT& rect) {
    return rect.right - rect.left == bitmap.GetPixelWidth() && rect.bottom - rect.top == bitmap.GetPixelHeight();
}

/// Copies what the part's tile `box` shows of the source, whose pixel (left, top) is the part's first.
void CopyTile(const zbm::ZBitmap& source, int left, int top, zbm::ZBitmap& part, int row, int col) {
    const RECT box = part.GetScanRectBBox(row, col);
    const RECT from{box.left + left, box.top + top, box.right + left, box.bottom + top};
    zbm::ZScanRect& tile = part.LockScanRect(row, col);
    source.FetchRegion(tile.GetRowPtr(0), tile.GetStride(), from);
    part.CommitScanRect(row, col);
    part.UnlockScanRect(row, col);
    if (!HasMask(source.GetColorFormat())) return;
    const int stride = 4 * static_cast<int>(box.right - box.left);
    std::vector<unsigned char> alpha(static_cast<std::size_t>(stride) * static_cast<std::size_t>(box.bottom - box.top));
    source.GetAlphaFromMask(alpha.data(), stride, from, 4);
    part.SetMaskFromAlpha(alpha.data(), stride, box);
}

BitmapPtr PartOf(const zbm::ZBitmap& source, const RECT& rect, Workplace& place, shr::IProgress& progress) {
    const shr::CScopedIProgressTask task(&progress, L"Reading picture...");
    const shr::Color4b* const colors = source.GetConstColorTablePtr();
    const int width = static_cast<int>(rect.right - rect.left), height = static_cast<int>(rect.bottom - rect.top);
    BitmapPtr part = place.Make({.shape = {width, height, source.GetColorFormat(), 512, 512},
                                 .xPixelsPerMeter = source.GetXResolution(),
                                 .yPixelsPerMeter = source.GetYResolution(),
                                 .colors = {colors, colors + source.GetNumColorTableItems()}});
    for (int row = 0; row < part->GetNumScanRectRows(); ++row) {
        progress.SetProgress(static_cast<double>(row) / part->GetNumScanRectRows());
        for (int col = 0; col < part->GetNumScanRects(row); ++col)
            CopyTile(source, static_cast<int>(rect.left), static_cast<int>(rect.top), *part, row, col);
    }
    return part;
}

std::vector<ZString> FilesLike(const ZString& pattern) {
    std::vector<ZString> names;
    shr::CFileFind find(pattern);
    while (find.FindNextFileW()) names.push_back(find.GetFilePath());
    return names;
}

/// Sweeps a folder as the library does; gives how many files that removed.
std::ptrdiff_t Sweep(const ZString& folder) {
    const ZString former = zbm::GetGlobalFileBitmapTempDir();
    zbm::SetGlobalFileBitmapTempDir(folder);
    const shr::ScopeExit setBack([&] { zbm::SetGlobalFileBitmapTempDir(former); });
    const std::vector<ZString> before = FilesLike(zbm::GetGlobalFileBitmapTempDir() + L"zv*.tmp");
    zbm::CleanGlobalFileBitmapTempDir();
    return std::count_if(before.begin(), before.end(), [](const ZString& name) { return !shr::PathExists(name); });
}

/// Those of commands that run are open, and nobody else may open them.
bool IsInUse(const ZString& path) {
    shr::CBufferedFile file;
    return !file.OpenNoThrow(path, shr::FileAccess::readWrite, shr::FileMode::openExisting, shr::FileSharing::none);
}

/// Results that were half written when their command was killed.
std::ptrdiff_t SweepResults(const ZString& folder) {
    std::ptrdiff_t removed = 0;
    for (const ZString& name : FilesLike(shr::CPath::AppendDirSeparator(folder, true) + L".*.zv*.tmp"))
        if (OutputFile::IsTemporaryName(name) && !IsInUse(name) && shr::RemoveFile(name)) ++removed;
    return removed;
}

/// The tool's own temporary folders, too, which are removed when that emptied them.
std::ptrdiff_t SweepAll(const ZString& folder) {
    std::ptrdiff_t removed = Sweep(folder) + SweepResults(folder);
    for (const ZString& inner : FilesLike(shr::CPath::AppendDirSeparator(folder, true) + L"zv*.tmp.d")) {
        const std::ptrdiff_t swept = SweepAll(inner);
        removed += swept;
        if (swept > 0) RemoveTemporaryFolder(inner);
    }
    return removed;
}

}  // namespace

void Page(const PageOptions& options, const Streams& streams) {
    ConsoleProgress progress(streams.console);
    OutputFile file(options.output.name, streams.out);
    InFiles place(file);
    Picture picture = ReadPicture(options.input, {}, place, streams.console, progress);
    WritePicture(std::move(picture), options.output, file, place, streams.console, progress);
}

void BuildLevels(const LevelsOptions& options, const Streams& streams) {
    ConsoleProgress progress(streams.console);
    const FileBitmapPtr bitmap = OpenFileBitmap(options.file, FileUse::change);
    InContextOf(options.file, [&] {
        BuildLevels(*bitmap, options.rebuild ? Levels::all : Levels::stale, options.file, progress);
        bitmap->Save();
        bitmap->Close();
    });
}

void View(const ViewOptions& options, const Streams& streams) {
    ConsoleProgress progress(streams.console);
    OutputFile file(options.output.name, streams.out);
    const std::unique_ptr<Workplace> place = WorkplaceFor(options.input, options.output, file);
    FileBitmapPtr source = OpenFileBitmap(options.input.name, FileUse::read);
    place->AddName(options.input.name, options.input.name);
    const auto look = [&] {
        BitmapPtr level = LevelOf(source, options.level);
        if (options.level > 0 && source->AreReductionsStale())
            streams.console.Note(options.input.name,
                                 "its levels are older than the picture; zbm levels refreshes them");
        const ViewRect whole{0, 0, level->GetPixelWidth(), level->GetPixelHeight()};
        const RECT rect = RectWithin(*level, options.rect.value_or(whole));
        RefuseTooManyPixels(static_cast<int>(rect.right - rect.left), static_cast<int>(rect.bottom - rect.top),
                            options.input.reading.maxPixels);
        if (IsWhole(*level, rect)) return level;  // is written as it lies there
        return PartOf(*level, rect, *place, progress);
    };
    Picture picture{InContextOf(options.input.name, look, place->Names()), {}};
    source.reset();
    WritePicture(std::move(picture), options.output, file, *place, streams.console, progress);
}

void CleanTemp(const CleanTempOptions& options, const Streams& streams) {
    const ZString asked = options.folder.IsEmpty() ? zbm::GetGlobalFileBitmapTempDir() : options.folder;
    const auto sweep = [&] {
        const std::ptrdiff_t removed = SweepAll(asked);
        streams.out << "removed: " << removed << '\n';
    };
    InContextOf(asked, sweep, {{shr::CPath::AppendDirSeparator(asked, true), asked}});
}

}  // namespace tool
