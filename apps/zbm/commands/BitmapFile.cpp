#include "commands/BitmapFile.h"

#include "ErrorContext.h"
#include "commands/ArchiveFile.h"
#include "commands/BitmapFacts.h"
#include "commands/MemoryLimit.h"
#include "pictures/PictureReader.h"

namespace tool {

namespace {

BitmapPtr MakeBitmap(const PictureInfo& info, TileSize tiles) {
    RefuseBeyondMemory({info.width, info.height, info.format, tiles.width, tiles.height}, info.decoderBytes);
    auto bitmap =
        std::make_unique<zbm::ZBasicMemBitmap>(info.width, info.height, info.format, tiles.width, tiles.height);
    if (!info.colorTable.empty()) {
        bitmap->FillColorTable(info.colorTable.data(), static_cast<unsigned>(info.colorTable.size()));
    }
    // Where the file tells nothing, 0 keeps it that way; a new bitmap's own resolution is a guess from its size.
    bitmap->SetXResolution(info.xPixelsPerMeter);
    bitmap->SetYResolution(info.yPixelsPerMeter);
    return bitmap;
}

void RefuseEmpty(const zbm::ZBitmap& bitmap) {
    if (bitmap.GetPixelWidth() == 0 || bitmap.GetPixelHeight() == 0)
        throw std::runtime_error("its bitmap is empty, and no picture can be");
}

}  // namespace

BitmapPtr ReadPicture(const ZString& name, TileSize tiles, Console& console, ConsoleProgress& progress) {
    return InContextOf(name, [&] {
        PictureSource source(name);
        const std::unique_ptr<PictureReader> reader = OpenPicture(source, console);
        BitmapPtr bitmap = MakeBitmap(reader->Info(), tiles);
        const shr::CScopedIProgressTask task(&progress, L"Reading picture...");
        TileRows rows(*bitmap);
        reader->ReadInto(rows, progress);
        rows.Finish();
        return bitmap;
    });
}

BitmapPtr ReadPictureOrArchive(const ZString& name, Console& console, ConsoleProgress& progress) {
    const bool isPicture = InContextOf(name, [&] {
        PictureSource source(name);
        return BeginsLikePicture(source);
    });
    if (isPicture) return ReadPicture(name, {}, console, progress);
    BitmapPtr bitmap = LoadArchive(name, console, progress).bitmap;
    InContextOf(name, [&] { RefuseEmpty(*bitmap); });
    return bitmap;
}

void WritePicture(zbm::ZBitmap& bitmap, OutputFile& output, int jpegQuality, Console& console,
                  ConsoleProgress& progress) {
    const PictureWriter write = WriterFor(output.Target());
    const BitmapFacts facts = LookAt(bitmap, progress);
    InContextOf(
        output.Target(),
        [&] {
            const shr::CScopedIProgressTask task(&progress, L"Writing picture...");
            PictureJob job{bitmap, facts, output.File(), output.Target(), console, progress, jpegQuality};
            write(job);
            output.Commit();
        },
        output.TemporaryName());
}

void WriteBitmap(zbm::ZBitmap& bitmap, OutputFile& output, Console& console, ConsoleProgress& progress) {
    if (WriterFor(output.Target()) != nullptr)
        WritePicture(bitmap, output, kDefaultJpegQuality, console, progress);
    else
        StoreArchive(bitmap, output, zcdl::CodecMethod::balanced, progress);
}

}  // namespace tool
