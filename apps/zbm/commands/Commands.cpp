#include "commands/Commands.h"

#include "OutputFile.h"
#include "Progress.h"
#include "commands/BitmapConversion.h"
#include "commands/BitmapFile.h"
#include "commands/EditFile.h"
#include "commands/PaletteFile.h"
#include "pictures/BitmapFacts.h"
#include "pictures/RowConversion.h"

namespace tool {

void Pack(const PackOptions& options, const Streams& streams) {
    ConsoleProgress progress(streams.console);
    OutputFile file(options.output.name, streams.out);  // first, so that a name that cannot be written is told early
    const auto place = WorkplaceFor(options.input, options.output, file);
    Picture picture = ReadPicture(options.input, options.tiles, *place, streams.console, progress);
    WritePicture(std::move(picture), options.output, file, *place, streams.console, progress);
}

void Unpack(const UnpackOptions& options, const Streams& streams) {
    ConsoleProgress progress(streams.console);
    OutputFile file(options.output.name, streams.out);
    const auto place = WorkplaceFor(options.input, options.output, file);
    Picture picture = ReadBitmap(options.input, *place, streams.console, progress);
    WritePicture(std::move(picture), options.output, file, *place, streams.console, progress);
}

void Convert(const ConvertOptions& options, const Streams& streams) {
    std::optional<OutputFile> palette;
    if (options.paletteOutput) palette.emplace(*options.paletteOutput, streams.out);
    std::optional<zbm::IndexedColors> colors;
    if (options.format) colors = IndexedColorsFor(options.colors, *options.format);
    const auto toFormat = [&](const BitmapPtr& bitmap, Workplace& place, ConsoleProgress& progress) {
        if (!options.format) return bitmap;
        if (HasMask(*options.format) && HasSoftAlpha(*bitmap, progress))
            streams.console.Note(options.input.name, "its soft transparency becomes on or off");
        return ConvertBitmap(*bitmap, *options.format, colors, place, progress);
    };
    const auto convert = [&](const BitmapPtr& bitmap, Workplace& place, ConsoleProgress& progress) {
        BitmapPtr converted = toFormat(bitmap, place, progress);
        if (palette) WritePalette(*converted, *palette);
        return converted;
    };
    EditFile(options.input, options.output, streams, convert);
    if (palette) palette->Commit();
}

}  // namespace tool
