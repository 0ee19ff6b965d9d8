#include "commands/ArchiveFile.h"

#include <stdexcept>
#include <string>
#include <vector>

#include "ErrorContext.h"
#include "InputFile.h"
#include "commands/ArchiveSurvey.h"
#include "shr/Archive.h"
#include "shr/BufferedFile.h"
#include "zbm/SerializeIO.h"
#include "zbm/ZMemBitmap.h"

namespace tool {

namespace {

constexpr bool kWithReductions = true;  // where the bitmap has such

void Serialize(zbm::ZBitmap& bitmap, zbm::SerializeIO& io, shr::IProgress& progress) {
    if (!bitmap.Serialize(io, &progress, nullptr)) throw shr::AbortException();
    if (io.DamagedBlocks() > 0) throw std::runtime_error("the archive is damaged");
}

/// A bitmap to be stored that has no tiles but those of another, which are locked one at a time.
class BorrowedTiles final : public zbm::ZBasicMemBitmap {
public:
    explicit BorrowedTiles(const zbm::ZBitmap& lender)
        : ZBasicMemBitmap(1, 1, lender.GetColorFormat()), source(lender) {
        Free();
        Copy(source);
        xResolution = source.GetXResolution();
        yResolution = source.GetYResolution();
    }
    zbm::ZScanRect& LockScanRect(int row, int col) const override { return source.LockScanRect(row, col); }
    void UnlockScanRect(int row, int col) const override { source.UnlockScanRect(row, col); }

private:
    const zbm::ZBitmap& source;
};

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

}  // namespace

void StoreArchive(zbm::ZBitmap& bitmap, OutputFile& output, zcdl::CodecMethod method, shr::IProgress& progress) {
    shr::FileArchive archive(output.File(), shr::FileArchive::Direction::storing);
    zbm::SerializeIO io(archive, kWithReductions, method);
    if (dynamic_cast<zbm::ZBasicMemBitmap*>(&bitmap) != nullptr) return Serialize(bitmap, io, progress);
    BorrowedTiles borrowed(bitmap);
    Serialize(borrowed, io, progress);
}

std::unique_ptr<zbm::ZBasicMemBitmap> LoadArchive(const ZString& name, std::uint64_t mostPixels, Console& console,
                                                  shr::IProgress& progress) {
    shr::CBufferedFile file = OpenInput(name);
    return InContextOf(name, [&] {
        const ArchiveSurvey survey = SurveyForLoading(file, mostPixels, progress);
        if (survey.bitmaps.front().IsEmpty()) throw std::runtime_error("its bitmap is empty, and no picture can be");
        auto bitmap = MakeBitmapFor(survey.kind);
        file.Seek(0);
        shr::FileArchive archive(file, shr::FileArchive::Direction::loading);
        zbm::SerializeIO io(archive, kWithReductions);
        Serialize(*bitmap, io, progress);
        FitColorTable(*bitmap);
        NoteBytesAfterArchive(console, name, survey.bytesAfterArchive);
        return bitmap;
    });
}

void NoteBytesAfterArchive(Console& console, const ZString& name, std::uint64_t byteCount) {
    if (byteCount == 0) return;
    console.Note(name, std::to_string(byteCount) + " byte(s) after the end of the archive are ignored");
}

}  // namespace tool
