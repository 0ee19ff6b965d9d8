#include "commands/Workplace.h"

#include <algorithm>

#include "commands/BitmapConversion.h"
#include "commands/FileBitmap.h"
#include "commands/PagedBitmap.h"
#include "pictures/RowConversion.h"
#include "pictures/TileRows.h"
#include "shr/Path.h"
#include "zbm/ZMemBitmap.h"
#include "zbm/ZPixelRect.h"

namespace tool {

namespace {

RECT WholeOf(const zbm::ZBitmap& bitmap) { return {0, 0, bitmap.GetPixelWidth(), bitmap.GetPixelHeight()}; }

void RequireDone(bool done) {
    if (!done) throw shr::AbortException();
}

/// A bitmap's pixels in true colours, for reading, tile by tile as they are locked.
class TrueColors final : public zbm::ZBasicMemBitmap {
public:
    explicit TrueColors(const zbm::ZBitmap& lender) : ZBasicMemBitmap(1, 1, shr::BGRA_32), source(lender) {
        Init(source.GetPixelHeight(), source.GetPixelWidth(), shr::BGRA_32, source.GetScanRectHeight(),
             source.GetScanRectWidth());
        xResolution = source.GetXResolution();
        yResolution = source.GetYResolution();
    }
    zbm::ZScanRect& LockScanRect(int row, int col) const override {
        const RECT box = GetScanRectBBox(row, col);
        const zbm::ZPixelRect pixels(source, box, shr::BGRA_32, nullptr);
        const int width = static_cast<int>(box.right - box.left), height = static_cast<int>(box.bottom - box.top);
        if (tile.GetWidth() != width || tile.GetHeight() != height) tile = zbm::ZScanRect(width, height, shr::BGRA_32);
        for (int y = 0; y < height; ++y)
            shr::CopyPixels(tile.GetRowPtr(y), 0, pixels.GetRowPtr(y), 0, width, shr::BGRA_32);
        return tile;
    }
    void UnlockScanRect(int, int) const override {}

private:
    const zbm::ZBitmap& source;
    mutable zbm::ZScanRect tile;  // there is one lock at a time
};

BitmapPtr MakeInMemory(const Blank& blank) {
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

void CopyRows(zbm::ZBitmap& source, zbm::ZBitmap& result, shr::IProgress& progress) {
    const shr::CScopedIProgressTask task(&progress, L"Copying picture...");
    TileRows from(source), to(result);
    const auto width = static_cast<std::uint64_t>(from.Width());
    std::vector<std::uint8_t> row(shr::RowBytes(width, from.Format())), mask(shr::RowBytes(width, shr::GRAYSCALE_1));
    for (int y = 0; y < from.Height(); ++y) {
        progress.SetProgress(static_cast<double>(y) / from.Height());
        from.Fetch(0, y, from.Width(), row.data(), mask.data());
        to.Store(0, y, from.Width(), row.data(), mask.data());
    }
    to.Finish();
}

/// The size of the reduction that bitmaps in memory have of such a picture; none if a side would be too short.
std::optional<PixelSize> ReducedSize(const zbm::ZBitmap& bitmap) {
    constexpr int kShortestSide = 17;
    const PixelSize half{bitmap.GetPixelWidth() / 2, bitmap.GetPixelHeight() / 2};
    if (std::min(half.width, half.height) < kShortestSide) return std::nullopt;
    return half;
}

}  // namespace

Blank BlankLike(const zbm::ZBitmap& source, shr::ColorFormat format) {
    const TileSize tiles = ArchivedTilesOf(source);
    return {.shape = {source.GetPixelWidth(), source.GetPixelHeight(), format, tiles.width, tiles.height},
            .xPixelsPerMeter = source.GetXResolution(),
            .yPixelsPerMeter = source.GetYResolution(),
            .colors = {}};
}

TemporaryFolder& Workplace::Folder() {
    if (folder) return *folder;
    const ZString parent = shr::CPath(output.TemporaryName()).GetFolder();
    InContextOf(output.Target(), [&] { folder.emplace(parent); });
    AddName(folder->Name(), output.Target());
    return *folder;
}

shr::TempFile& Workplace::NewFile() {
    TemporaryFolder& place = Folder();
    return *InContextOf(output.Target(), [&] { return &place.NewFile(); });
}

BitmapPtr Workplace::MakeWritable(const BitmapPtr& bitmap, shr::IProgress& progress) {
    return IsMine(*bitmap) ? bitmap : Copy(*bitmap, progress);
}

BitmapPtr Paging::Make(const Blank& blank) {
    if (HoldsInMemory(BytesOf(blank.shape) + blank.companionBytes)) return MakeInMemory(blank);
    RefuseBeyondMemory({1, 1, blank.shape.format, 1, 1}, blank.otherBytes);
    auto bitmap = std::make_shared<PagedBitmap>(NewFile().Name());
    bitmap->Make(blank);
    return bitmap;
}

BitmapPtr Paging::Resize(zbm::ZBitmap& source, PixelSize size, zbm::ResizeMethod method, shr::IProgress& progress) {
    const shr::ColorFormat format = source.GetColorFormat();
    if (HoldsInMemory(BytesOf({size.width, size.height, format, kTileSide, kTileSide}))) {
        auto result = std::make_shared<zbm::ZBasicMemBitmap>(1, 1, shr::BGRA_32);
        RequireDone(result->Create(size.width, size.height, source, WholeOf(source), method, &progress));
        return result;
    }
    auto result = std::make_shared<PagedBitmap>(NewFile().Name());
    if (!IsIndexed(format)) {
        result->MakeResized(source, size, method, progress);
        return result;
    }
    TrueColors colors(source);
    result->MakeResized(colors, size, method, progress);
    zbm::IndexedColors asInMemory;
    asInMemory.method = zbm::QuantMedian5;
    return ConvertBitmap(*result, format, asInMemory, *this, progress);
}

bool Paging::IsMine(const zbm::ZBitmap& bitmap) const {
    return dynamic_cast<const zbm::ZBasicMemBitmap*>(&bitmap) != nullptr ||
           dynamic_cast<const PagedBitmap*>(&bitmap) != nullptr;
}

BitmapPtr Paging::Copy(zbm::ZBitmap& source, shr::IProgress& progress) {
    Blank blank = BlankLike(source, source.GetColorFormat());
    const shr::Color4b* const colors = source.GetConstColorTablePtr();
    blank.colors.assign(colors, colors + source.GetNumColorTableItems());
    BitmapPtr copy = Make(blank);
    CopyRows(source, *copy, progress);
    return copy;
}

void Paging::BuildReductions(zbm::ZBitmap& bitmap, shr::IProgress& progress) {
    auto* const paged = dynamic_cast<PagedBitmap*>(&bitmap);
    if (paged == nullptr) return RequireDone(bitmap.CommitAll(&progress));
    if (!paged->reductionsKept || paged->reductionsKept->areCurrent) return;
    std::vector<BitmapPtr>& reductions = paged->reductionsKept->bitmaps;
    reductions.clear();
    std::optional<TrueColors> colors;  // indices have no means
    if (IsIndexed(bitmap.GetColorFormat())) colors.emplace(bitmap);
    zbm::ZBitmap* source = colors ? &*colors : &bitmap;
    while (const auto size = ReducedSize(*source)) {
        reductions.push_back(Resize(*source, *size, zbm::ResizeBilinear, progress));
        source = reductions.back().get();
    }
    paged->reductionsKept->areCurrent = true;
}

BitmapPtr Paging::KeepReductions(const BitmapPtr& bitmap, shr::IProgress& progress) {
    const BitmapPtr own = MakeWritable(bitmap, progress);
    if (auto* const paged = dynamic_cast<PagedBitmap*>(own.get())) {
        paged->reductionsKept.emplace();
        return own;
    }
    auto reduced = std::make_shared<zbm::ZMemBitmap>(1, 1, shr::BGRA_32);
    reduced->ZBasicMemBitmap::ChangeFrom(static_cast<zbm::ZBasicMemBitmap&>(*own));
    return reduced;
}

BitmapPtr InFiles::Make(const Blank& blank) { return MakeFileBitmap(NewName(), blank); }

BitmapPtr InFiles::Resize(zbm::ZBitmap& source, PixelSize size, zbm::ResizeMethod method, shr::IProgress& progress) {
    RefuseBeyondMemoryOfARow({size.width, size.height, source.GetColorFormat(), kTileSide, kTileSide}, 0);
    auto result = std::make_shared<zbm::ZScanRectFileBitmap>(L"", L"", false);
    RequireDone(result->Create(NewName(), size.width, size.height, source, WholeOf(source), method, &progress));
    return result;
}

BitmapPtr InFiles::Copy(zbm::ZBitmap& source, shr::IProgress& progress) {
    auto result = std::make_shared<zbm::ZScanRectFileBitmap>(L"", L"", false);
    RequireDone(result->Create(NewName(), source, &progress));
    return result;
}

bool InFiles::IsMine(const zbm::ZBitmap& bitmap) const {
    const auto* const file = dynamic_cast<const zbm::ZScanRectFileBitmap*>(&bitmap);
    return file != nullptr &&
           std::any_of(mine.begin(), mine.end(), [&](const auto* own) { return own->Name() == file->GetFileName(); });
}

/// Only what becomes the output has some: they are built when it is delivered.
void InFiles::BuildReductions(zbm::ZBitmap&, shr::IProgress&) {}

void InFiles::Deliver(BitmapPtr bitmap, bool withLevels, OutputFile& file, shr::IProgress& progress) {
    bitmap = MakeWritable(bitmap, progress);
    auto& result = static_cast<zbm::ZScanRectFileBitmap&>(*bitmap);
    if (withLevels) BuildLevels(result, Levels::all, file.Target(), progress);
    const ZString name = result.GetFileName();
    result.Close();
    file.Release();
    const auto own = std::find_if(mine.begin(), mine.end(), [&](const auto* some) { return some->Name() == name; });
    if (!(*own)->Rename(file.TemporaryName()))
        throw ToolError(file.Target(), "cannot be written: " + shr::FormatSystemErrorMsg().ToUtf8());
}

}  // namespace tool
