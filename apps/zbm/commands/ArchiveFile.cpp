#include "commands/ArchiveFile.h"

#include <stdexcept>
#include <string>
#include <vector>

#include "ErrorContext.h"
#include "InputFile.h"
#include "commands/ArchiveSurvey.h"
#include "commands/PagedBitmap.h"
#include "pictures/TileRows.h"
#include "shr/Archive.h"
#include "shr/BufferedFile.h"
#include "zbm/SerializeIO.h"
#include "zbm/ZMemBitmap.h"

namespace tool {

namespace {

constexpr bool kWithReductions = true;  // where the bitmap has such

void RefuseIfDamaged(const zbm::SerializeIO& io) {
    if (io.DamagedBlocks() > 0) throw std::runtime_error("the archive is damaged");
}

void Serialize(zbm::ZBitmap& bitmap, zbm::SerializeIO& io, shr::IProgress& progress) {
    if (!bitmap.Serialize(io, &progress, nullptr)) throw shr::AbortException();
    RefuseIfDamaged(io);
}

/// A bitmap to be stored that has no tiles but those of another, of any grid, put together one at a time.
class BorrowedTiles final : public zbm::ZBasicMemBitmap {
public:
    explicit BorrowedTiles(zbm::ZBitmap& lender) : ZBasicMemBitmap(1, 1, lender.GetColorFormat()), rows(lender) {
        const TileSize tiles = ArchivedTilesOf(lender);
        Init(lender.GetPixelHeight(), lender.GetPixelWidth(), lender.GetColorFormat(), tiles.height, tiles.width);
        CopyColorTable(lender);
        xResolution = lender.GetXResolution();
        yResolution = lender.GetYResolution();
    }
    zbm::ZScanRect& LockScanRect(int row, int col) const override {
        const RECT box = GetScanRectBBox(row, col);
        const int left = static_cast<int>(box.left), top = static_cast<int>(box.top);
        const int width = static_cast<int>(box.right) - left, height = static_cast<int>(box.bottom) - top;
        if (tile.GetWidth() != width || tile.GetHeight() != height || tile.GetColorFormat() != GetColorFormat())
            tile = zbm::ZScanRect(width, height, GetColorFormat());
        for (int y = 0; y < height; ++y) rows.Fetch(left, top + y, width, tile.GetRowPtr(y), tile.GetAlphaRowPtr(y));
        return tile;
    }
    void UnlockScanRect(int, int) const override {}

private:
    mutable TileRows rows;
    mutable zbm::ZScanRect tile;
};

void StorePlain(zbm::ZBitmap& bitmap, zbm::SerializeIO& io, shr::IProgress& progress) {
    if (dynamic_cast<zbm::ZBasicMemBitmap*>(&bitmap) != nullptr) return Serialize(bitmap, io, progress);
    BorrowedTiles borrowed(bitmap);
    Serialize(borrowed, io, progress);
}

void Write32(zbm::SerializeIO& io, std::uint32_t number) {
    std::uint8_t bytes[sizeof number];
    for (std::uint8_t& byte : bytes) {
        byte = static_cast<std::uint8_t>(number);
        number >>= 8;
    }
    io.Write(bytes, sizeof bytes);
}

/// The archive that a bitmap in memory with these reductions has.
void StoreWithReductions(zbm::ZBitmap& bitmap, const std::vector<BitmapPtr>& reductions, zbm::SerializeIO& io,
                         shr::IProgress& progress) {
    io.WriteObjVersion(1);
    StorePlain(bitmap, io, progress);
    Write32(io, 1);
    Write32(io, static_cast<std::uint32_t>(reductions.size()));
    for (const BitmapPtr& reduction : reductions) StorePlain(*reduction, io, progress);
}

std::unique_ptr<zbm::ZBasicMemBitmap> MakeBitmapFor(ArchiveKind kind) {
    if (kind == ArchiveKind::withReductions) return std::make_unique<zbm::ZMemBitmap>(1, 1, shr::BGRA_32);
    return std::make_unique<zbm::ZBasicMemBitmap>(1, 1, shr::BGRA_32);
}

/// As many colours as the format's table has, the first of those that the archive gave: no operation takes others.
void FitColorTable(zbm::ZBitmap& bitmap) {
    const auto capacity = static_cast<unsigned>(shr::ColorFmtToTblSize[bitmap.GetColorFormat()]);
    const unsigned count = bitmap.GetNumColorTableItems();
    if (count > capacity || (count == 0 && capacity != 0))
        bitmap.FillColorTable(
            std::vector(bitmap.GetConstColorTablePtr(), bitmap.GetConstColorTablePtr() + capacity).data(), capacity);
}

/// What the reductions take in memory that are loaded with the bitmap.
double BytesOfReductions(const ArchiveSurvey& survey) {
    double bytes = 0;
    if (survey.kind == ArchiveKind::withReductions)
        for (std::size_t i = 1; i < survey.bitmaps.size(); ++i) bytes += BytesOf(survey.bitmaps[i].shape);
    return bytes;
}

BitmapPtr LoadIntoMemory(shr::CBufferedFile& file, ArchiveKind kind, shr::IProgress& progress) {
    auto bitmap = MakeBitmapFor(kind);
    file.Seek(0);
    shr::FileArchive archive(file, shr::FileArchive::Direction::loading);
    zbm::SerializeIO io(archive, kWithReductions);
    Serialize(*bitmap, io, progress);
    FitColorTable(*bitmap);
    return bitmap;
}

/// Of the formats without table none; of the others all, of which those that the archive lacks are black.
std::vector<shr::Color4b> ColorsOf(const ArchivedBitmap& archived) {
    const auto capacity = static_cast<std::size_t>(shr::ColorFmtToTblSize[archived.shape.format]);
    std::vector<shr::Color4b> colors = archived.colors;
    if (colors.size() > capacity || colors.empty()) colors.resize(capacity, shr::Color4b::Black);
    return colors;
}

/// Tile by tile, from where the survey found the first.
void LoadTiles(shr::CBufferedFile& file, const ArchivedBitmap& archived, zbm::ZBitmap& bitmap,
               shr::IProgress& progress) {
    const shr::CScopedIProgressTask task(&progress, L"Loading image...");
    file.Seek(archived.tilesAt);
    shr::FileArchive archive(file, shr::FileArchive::Direction::loading);
    zbm::SerializeIO io(archive, kWithReductions);
    const BitmapShape& shape = archived.shape;
    TileRows rows(bitmap);
    zbm::ZScanRect tile;
    for (int top = 0; top < shape.height; top += tile.GetHeight()) {
        for (int left = 0; left < shape.width; left += tile.GetWidth()) {
            progress.SetProgress((top + static_cast<double>(left) / shape.width * tile.GetHeight()) / shape.height);
            tile.Serialize(io);
            RefuseIfDamaged(io);
            if (tile.GetWidth() > shape.width - left || tile.GetHeight() > shape.height - top ||
                tile.GetColorFormat() != shape.format)
                throw std::runtime_error("the archive is damaged");
            for (int y = 0; y < tile.GetHeight(); ++y)
                rows.Store(left, top + y, tile.GetWidth(), tile.GetRowPtr(y), tile.GetAlphaRowPtr(y));
        }
    }
    rows.Finish();
}

BitmapPtr LoadOne(shr::CBufferedFile& file, const ArchivedBitmap& archived, double companionBytes, Workplace& place,
                  shr::IProgress& progress) {
    BitmapPtr bitmap = place.Make({.shape = archived.shape,
                                   .xPixelsPerMeter = archived.xPixelsPerMeter,
                                   .yPixelsPerMeter = archived.yPixelsPerMeter,
                                   .colors = ColorsOf(archived),
                                   .companionBytes = companionBytes});
    LoadTiles(file, archived, *bitmap, progress);
    return bitmap;
}

/// A bitmap that keeps reductions gets those of the archive.
BitmapPtr LoadByTiles(shr::CBufferedFile& file, const ArchiveSurvey& survey, Workplace& place,
                      shr::IProgress& progress) {
    BitmapPtr bitmap = LoadOne(file, survey.bitmaps.front(), BytesOfReductions(survey), place, progress);
    auto* const paged = dynamic_cast<PagedBitmap*>(bitmap.get());
    if (paged == nullptr || survey.kind != ArchiveKind::withReductions) return bitmap;
    KeptReductions reductions{{}, survey.storesReductions};
    for (std::size_t i = 1; i < survey.bitmaps.size(); ++i)
        reductions.bitmaps.push_back(LoadOne(file, survey.bitmaps[i], 0, place, progress));
    paged->reductionsKept = std::move(reductions);
    return bitmap;
}

}  // namespace

void StoreArchive(zbm::ZBitmap& bitmap, OutputFile& output, zcdl::CodecMethod method, shr::IProgress& progress) {
    shr::FileArchive archive(output.File(), shr::FileArchive::Direction::storing);
    zbm::SerializeIO io(archive, kWithReductions, method);
    const auto* const paged = dynamic_cast<const PagedBitmap*>(&bitmap);
    if (paged != nullptr && paged->reductionsKept)
        StoreWithReductions(bitmap, paged->reductionsKept->bitmaps, io, progress);
    else
        StorePlain(bitmap, io, progress);
}

ArchivedPicture LoadArchive(const ZString& name, std::optional<std::uint64_t> mostPixels, Workplace& place,
                            Console& console, shr::IProgress& progress) {
    shr::CBufferedFile file = OpenInput(name);
    const auto load = [&] {
        const ArchiveSurvey survey = SurveyForLoading(file, mostPixels, progress);
        if (survey.bitmaps.front().IsEmpty()) throw std::runtime_error("its bitmap is empty, and no picture can be");
        const bool isInMemory = survey.kind == ArchiveKind::plain || survey.kind == ArchiveKind::withReductions;
        BitmapPtr bitmap =
            isInMemory && place.HoldsInMemory(BytesOf(survey.bitmaps.front().shape) + BytesOfReductions(survey))
                ? LoadIntoMemory(file, survey.kind, progress)
                : LoadByTiles(file, survey, place, progress);
        NoteBytesAfterArchive(console, name, survey.bytesAfterArchive);
        return ArchivedPicture{std::move(bitmap), survey.bitmaps.size() > 1};
    };
    return InContextOf(name, load, place.Names());
}

void NoteBytesAfterArchive(Console& console, const ZString& name, std::uint64_t byteCount) {
    if (byteCount == 0) return;
    console.Note(name, std::to_string(byteCount) + " byte(s) after the end of the archive are ignored");
}

}  // namespace tool
