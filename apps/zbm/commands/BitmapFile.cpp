#include "commands/BitmapFile.h"

#include "ErrorContext.h"
#include "commands/ArchiveFile.h"
#include "commands/MemoryLimit.h"
#include "pictures/BitmapFacts.h"
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

Picture ReadPicture(const ZString& name, TileSize tiles, const ReadOptions& options, Console& console,
                    ConsoleProgress& progress) {
    return InContextOf(name, [&] {
        PictureSource source(name);
        Notes notes(console, name);
        const std::unique_ptr<PictureReader> reader = OpenPicture(source, notes);
        RefuseTooManyPixels(reader->Info().width, reader->Info().height, options.maxPixels);
        const PictureInfo info = options.keepOrientation ? reader->Info() : Upright(reader->Info());
        BitmapPtr bitmap = MakeBitmap(info, tiles);
        const shr::CScopedIProgressTask task(&progress, L"Reading picture...");
        TileRows rows(*bitmap,
                      options.keepOrientation ? Orientation() : Orientation(reader->Info().metadata.orientation));
        reader->ReadInto(rows, progress);
        rows.Finish();
        return Picture{std::move(bitmap), info.metadata};
    });
}

Picture ReadPictureOrArchive(const ZString& name, const ReadOptions& options, Console& console,
                             ConsoleProgress& progress) {
    const bool isPicture = InContextOf(name, [&] {
        PictureSource source(name);
        return BeginsLikePicture(source);
    });
    if (isPicture) return ReadPicture(name, {}, options, console, progress);
    BitmapPtr bitmap = LoadArchive(name, console, progress).bitmap;
    InContextOf(name, [&] { RefuseEmpty(*bitmap); });
    return {std::move(bitmap), {}};
}

void WritePicture(const Picture& picture, OutputFile& output, const WriteOptions& options, Console& console,
                  ConsoleProgress& progress) {
    const PictureWriter write = WriterFor(output.Target());
    const BitmapFacts facts = LookAt(*picture.bitmap, progress);
    InContextOf(
        output.Target(),
        [&] {
            const shr::CScopedIProgressTask task(&progress, L"Writing picture...");
            Notes notes(console, output.Target());
            PictureJob job{*picture.bitmap, facts, output.File(), picture.metadata, options, notes, progress};
            write(job);
            output.Commit();
        },
        output.TemporaryName());
}

void WriteBitmap(const Picture& picture, OutputFile& output, const WriteOptions& options, Console& console,
                 ConsoleProgress& progress) {
    if (WriterFor(output.Target()) != nullptr) {
        WritePicture(picture, output, options, console, progress);
    } else {
        Notes notes(console, output.Target());
        NoteLost(picture.metadata, notes);
        StoreArchive(*picture.bitmap, output, zcdl::CodecMethod::balanced, progress);
    }
}

}  // namespace tool
