#include "commands/BitmapFile.h"

#include "ErrorContext.h"
#include "commands/ArchiveFile.h"
#include "commands/FileBitmap.h"
#include "pictures/BitmapFacts.h"
#include "pictures/PictureReader.h"

namespace tool {

namespace {

Blank BlankFor(const PictureInfo& info, TileSize tiles) {
    return {.shape = {info.width, info.height, info.format, tiles.width, tiles.height},
            .xPixelsPerMeter = info.xPixelsPerMeter,
            .yPixelsPerMeter = info.yPixelsPerMeter,
            .colors = info.colorTable,
            .otherBytes = info.decoderBytes};
}

void Encode(zbm::ZBitmap& bitmap, const Metadata& metadata, const Output& output, OutputFile& file, Notes& notes,
            ConsoleProgress& progress) {
    const BitmapFacts facts = LookAt(bitmap, progress);
    const shr::CScopedIProgressTask task(&progress, L"Writing picture...");
    PictureJob job{bitmap, facts, file.File(), metadata, output.writing, notes, progress};
    output.writer(job);
}

Picture ReadArchive(const Input& input, Workplace& place, Console& console, ConsoleProgress& progress) {
    ArchivedPicture loaded = LoadArchive(input.name, input.reading.maxPixels, place, console, progress);
    return {std::move(loaded.bitmap), {}, loaded.hasReductions};
}

Picture ReadFileBitmap(const Input& input, Workplace& place) {
    FileBitmapPtr bitmap = OpenFileBitmap(input.name, FileUse::read);
    place.AddName(input.name, input.name);
    return InContextOf(input.name, [&] {
        RefuseTooManyPixels(bitmap->GetPixelWidth(), bitmap->GetPixelHeight(), input.reading.maxPixels);
        const bool hasReductions = LevelCount(*bitmap) > 1;
        return Picture{std::move(bitmap), {}, hasReductions};
    });
}

}  // namespace

FileType TypeOf(const ZString& name) {
    return InContextOf(name, [&] {
        PictureSource source(name);
        if (BeginsLikePicture(source)) return FileType::picture;
        return BeginsLikeFileBitmap(source) ? FileType::bitmap : FileType::archive;
    });
}

std::unique_ptr<Workplace> WorkplaceFor(const Input& input, const Output& output, const OutputFile& file) {
    if (output.type == FileType::bitmap) return std::make_unique<InFiles>(file);
    return std::make_unique<Paging>(file, MemoryForABitmap(input.memory));
}

Picture ReadPicture(const Input& input, TileSize tiles, Workplace& place, Console& console, ConsoleProgress& progress) {
    const auto read = [&] {
        PictureSource source(input.name);
        Notes notes(console, input.name);
        const std::unique_ptr<PictureReader> reader = OpenPicture(source, notes);
        RefuseTooManyPixels(reader->Info().width, reader->Info().height, input.reading.maxPixels);
        const bool isTurned = !input.reading.keepOrientation;
        const PictureInfo info = isTurned ? Upright(reader->Info()) : reader->Info();
        BitmapPtr bitmap = place.Make(BlankFor(info, tiles));
        const shr::CScopedIProgressTask task(&progress, L"Reading picture...");
        TileRows rows(*bitmap, isTurned ? Orientation(reader->Info().metadata.orientation) : Orientation());
        reader->ReadInto(rows, progress);
        rows.Finish();
        return Picture{std::move(bitmap), info.metadata};
    };
    return InContextOf(input.name, read, place.Names());
}

Picture ReadBitmap(const Input& input, Workplace& place, Console& console, ConsoleProgress& progress) {
    return TypeOf(input.name) == FileType::bitmap ? ReadFileBitmap(input, place)
                                                  : ReadArchive(input, place, console, progress);
}

Picture ReadAny(const Input& input, Workplace& place, Console& console, ConsoleProgress& progress) {
    if (TypeOf(input.name) == FileType::picture) return ReadPicture(input, {}, place, console, progress);
    return ReadBitmap(input, place, console, progress);
}

void WritePicture(Picture picture, const Output& output, OutputFile& file, Workplace& place, Console& console,
                  ConsoleProgress& progress) {
    Notes notes(console, file.Target());
    if (output.type != FileType::picture) NoteLost(picture.metadata, notes);
    place.AddName(file.TemporaryName(), file.Target());
    const auto write = [&] {
        switch (output.type) {
            case FileType::picture: Encode(*picture.bitmap, picture.metadata, output, file, notes, progress); break;
            case FileType::archive: StoreArchive(*picture.bitmap, file, output.method, progress); break;
            case FileType::bitmap:
                // Where the output is such a file, so is the workplace.
                static_cast<InFiles&>(place).Deliver(picture.bitmap, picture.hadReductions, file, progress);
                break;
        }
        picture.bitmap.reset();  // closes the input, whose place the output may be about to take
        file.Commit();
    };
    InContextOf(file.Target(), write, place.Names());
}

}  // namespace tool
