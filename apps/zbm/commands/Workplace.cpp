#include "commands/Workplace.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "commands/FileBitmap.h"
#include "shr/Path.h"
#include "zbm/ZBasicMemBitmap.h"

namespace tool {

namespace {

constexpr int kTileSide = 512;  // of new bitmaps

RECT WholeOf(const zbm::ZBitmap& bitmap) { return {0, 0, bitmap.GetPixelWidth(), bitmap.GetPixelHeight()}; }

void RequireDone(bool done) {
    if (!done) throw shr::AbortException();
}

}  // namespace

std::uint64_t InMemory::MostPixels(const ReadOptions& options) const {
    return options.maxPixels.value_or(kDefaultMaxPixels);
}

BitmapPtr InMemory::Make(const Blank& blank) {
    const BitmapShape& shape = blank.shape;
    RefuseBeyondMemory(shape, blank.otherBytes);
    auto bitmap = std::make_shared<zbm::ZBasicMemBitmap>(shape.width, shape.height, shape.format, shape.tileWidth,
                                                         shape.tileHeight);
    if (!blank.colors.empty()) bitmap->FillColorTable(blank.colors.data(), static_cast<unsigned>(blank.colors.size()));
    // A new bitmap's own resolution is a guess from its size.
    bitmap->SetXResolution(blank.xPixelsPerMeter);
    bitmap->SetYResolution(blank.yPixelsPerMeter);
    return bitmap;
}

BitmapPtr InMemory::Resize(zbm::ZBitmap& source, PixelSize size, zbm::ResizeMethod method, shr::IProgress& progress) {
    RefuseBeyondMemory({size.width, size.height, source.GetColorFormat(), kTileSide, kTileSide}, 0);
    auto result = std::make_shared<zbm::ZBasicMemBitmap>(1, 1, shr::BGRA_32);
    RequireDone(result->Create(size.width, size.height, source, WholeOf(source), method, &progress));
    return result;
}

BitmapPtr InMemory::MakeWritable(BitmapPtr bitmap, shr::IProgress&) { return bitmap; }

void InMemory::BuildReductions(zbm::ZBitmap& bitmap, shr::IProgress& progress) {
    RequireDone(bitmap.CommitAll(&progress));
}

InFiles::InFiles(const OutputFile& target) : output(target) {}

/// Named as the sweep for what a killed program has left expects it.
ZString InFiles::NewFile() {
    const shr::TempFile& file =
        *files.emplace_back(std::make_unique<shr::TempFile>(shr::CPath(output.TemporaryName()).GetFolder()));
    if (!file.HasFile()) {
        const ZString reason = shr::FormatSystemErrorMsg();
        throw ToolError(output.Target(), "no file can be made in its folder: " + reason.ToUtf8());
    }
    AddName(file.Name(), output.Target());
    return file.Name();
}

std::uint64_t InFiles::MostPixels(const ReadOptions& options) const {
    return options.maxPixels.value_or(std::numeric_limits<std::uint64_t>::max());
}

BitmapPtr InFiles::Make(const Blank& blank) { return MakeFileBitmap(NewFile(), blank); }

BitmapPtr InFiles::Resize(zbm::ZBitmap& source, PixelSize size, zbm::ResizeMethod method, shr::IProgress& progress) {
    auto result = std::make_shared<zbm::ZScanRectFileBitmap>(L"", L"", false);
    RequireDone(result->Create(NewFile(), size.width, size.height, source, WholeOf(source), method, &progress));
    return result;
}

BitmapPtr InFiles::Copy(zbm::ZBitmap& source, shr::IProgress& progress) {
    auto result = std::make_shared<zbm::ZScanRectFileBitmap>(L"", L"", false);
    RequireDone(result->Create(NewFile(), source, &progress));
    return result;
}

bool InFiles::IsMine(const zbm::ZBitmap& bitmap) const {
    const auto* const file = dynamic_cast<const zbm::ZScanRectFileBitmap*>(&bitmap);
    return file != nullptr && std::any_of(files.begin(), files.end(),
                                          [&](const auto& mine) { return mine->Name() == file->GetFileName(); });
}

BitmapPtr InFiles::MakeWritable(BitmapPtr bitmap, shr::IProgress& progress) {
    return IsMine(*bitmap) ? bitmap : Copy(*bitmap, progress);
}

/// Only what becomes the output has some: they are built when it is delivered.
void InFiles::BuildReductions(zbm::ZBitmap&, shr::IProgress&) {}

void InFiles::Deliver(BitmapPtr bitmap, bool withLevels, OutputFile& file, shr::IProgress& progress) {
    bitmap = MakeWritable(std::move(bitmap), progress);
    auto& result = static_cast<zbm::ZScanRectFileBitmap&>(*bitmap);
    if (withLevels) BuildLevels(result, Levels::all, file.Target(), progress);
    const ZString name = result.GetFileName();
    result.Close();
    file.Release();
    const auto mine = std::find_if(files.begin(), files.end(), [&](const auto& own) { return own->Name() == name; });
    if (!(*mine)->Rename(file.TemporaryName()))
        throw ToolError(file.Target(), "cannot be written: " + shr::FormatSystemErrorMsg().ToUtf8());
}

}  // namespace tool
