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

bool IsPicture(const ZString& name) {
    return InContextOf(name, [&] {
        PictureSource source(name);
        return BeginsLikePicture(source);
    });
}

void WriteByType(const Picture& picture, const Output& output, OutputFile& file, Notes& notes,
                 ConsoleProgress& progress) {
    const BitmapFacts facts = LookAt(*picture.bitmap, progress);
    InContextOf(
        file.Target(),
        [&] {
            const shr::CScopedIProgressTask task(&progress, L"Writing picture...");
            PictureJob job{*picture.bitmap, facts, file.File(), picture.metadata, output.writing, notes, progress};
            output.writer(job);
            file.Commit();
        },
        file.TemporaryName());
}

}  // namespace

Picture ReadPicture(const Input& input, TileSize tiles, Console& console, ConsoleProgress& progress) {
    return InContextOf(input.name, [&] {
        PictureSource source(input.name);
        Notes notes(console, input.name);
        const std::unique_ptr<PictureReader> reader = OpenPicture(source, notes);
        RefuseTooManyPixels(reader->Info().width, reader->Info().height, input.reading.maxPixels);
        const bool isTurned = !input.reading.keepOrientation;
        const PictureInfo info = isTurned ? Upright(reader->Info()) : reader->Info();
        BitmapPtr bitmap = MakeBitmap(info, tiles);
        const shr::CScopedIProgressTask task(&progress, L"Reading picture...");
        TileRows rows(*bitmap, isTurned ? Orientation(reader->Info().metadata.orientation) : Orientation());
        reader->ReadInto(rows, progress);
        rows.Finish();
        return Picture{std::move(bitmap), info.metadata};
    });
}

Picture ReadArchive(const Input& input, Console& console, ConsoleProgress& progress) {
    return {LoadArchive(input.name, input.reading.maxPixels, console, progress), {}};
}

Picture ReadPictureOrArchive(const Input& input, Console& console, ConsoleProgress& progress) {
    if (IsPicture(input.name)) return ReadPicture(input, {}, console, progress);
    return ReadArchive(input, console, progress);
}

void WritePicture(const Picture& picture, const Output& output, OutputFile& file, Console& console,
                  ConsoleProgress& progress) {
    Notes notes(console, file.Target());
    if (output.writer != nullptr) {
        WriteByType(picture, output, file, notes, progress);
    } else {
        NoteLost(picture.metadata, notes);
        StoreArchive(*picture.bitmap, file, output.method, progress);
    }
}

}  // namespace tool
