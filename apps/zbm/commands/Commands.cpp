#include "commands/Commands.h"

#include <memory>

#include "ErrorContext.h"
#include "OutputFile.h"
#include "Progress.h"
#include "commands/ArchiveFile.h"
#include "commands/BitmapFile.h"
#include "pictures/BitmapFacts.h"
#include "pictures/RowConversion.h"

namespace tool {

void Pack(const PackOptions& options, const Streams& streams) {
    ConsoleProgress progress(streams.console);
    OutputFile file(options.output.name, streams.out);  // first, so that a name that cannot be written is told early
    const Picture picture = ReadPicture(options.input, options.tiles, streams.console, progress);
    WritePicture(picture, options.output, file, streams.console, progress);
}

void Unpack(const UnpackOptions& options, const Streams& streams) {
    ConsoleProgress progress(streams.console);
    OutputFile file(options.output.name, streams.out);
    const Picture picture = ReadArchive(options.input, streams.console, progress);
    WritePicture(picture, options.output, file, streams.console, progress);
}

void Convert(const ConvertOptions& options, const Streams& streams) {
    ConsoleProgress progress(streams.console);
    OutputFile file(options.output.name, streams.out);
    Picture picture = ReadPictureOrArchive(options.input, streams.console, progress);
    if (options.format) {
        InContextOf(options.input.name, [&] {
            if (HasMask(*options.format) && HasSoftAlpha(*picture.bitmap, progress))
                streams.console.Note(options.input.name, "its soft transparency becomes on or off");
            picture.bitmap = ConvertBitmap(*picture.bitmap, *options.format, options.colors, progress);
        });
    }
    WritePicture(picture, options.output, file, streams.console, progress);
}

}  // namespace tool
