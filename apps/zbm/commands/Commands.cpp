#include "commands/Commands.h"

#include <iomanip>
#include <memory>
#include <sstream>

#include "ErrorContext.h"
#include "OutputFile.h"
#include "Progress.h"
#include "commands/ArchiveFile.h"
#include "commands/BitmapFile.h"
#include "commands/FormatNames.h"
#include "pictures/BitmapFacts.h"

namespace tool {

namespace {

std::string ResolutionLine(const zbm::ZBitmap& bitmap) {
    const int x = bitmap.GetXResolution(), y = bitmap.GetYResolution();
    if (x <= 0 || y <= 0) return "unknown";
    std::ostringstream line;
    line << x << " x " << y << " pixels per metre (" << bitmap.GetXDPIResolution() << " x "
         << bitmap.GetYDPIResolution() << " dpi)";
    return line.str();
}

/// The pixels as rows without padding, beside the archive that holds them.
double CompressionRatio(const LoadedArchive& archive) {
    const zbm::ZBitmap& bitmap = *archive.bitmap;
    const std::uint64_t rowBytes =
        shr::PixelBytes(static_cast<std::uint64_t>(bitmap.GetPixelWidth()), bitmap.GetColorFormat());
    return static_cast<double>(rowBytes) * bitmap.GetPixelHeight() / static_cast<double>(archive.fileBytes);
}

}  // namespace

void Pack(const PackOptions& options, Console& console) {
    ConsoleProgress progress(console);
    OutputFile output(options.archive);  // first, so that a name that cannot be written is told before the work
    const Picture picture = ReadPicture(options.picture, options.tiles, options.reading, console, progress);
    Notes notes(console, options.picture);
    NoteLost(picture.metadata, notes);
    StoreArchive(*picture.bitmap, output, options.method, progress);
}

void Unpack(const UnpackOptions& options, Console& console) {
    ConsoleProgress progress(console);
    OutputFile output(options.picture);
    LoadedArchive archive = LoadArchive(options.archive, console, progress);
    if (archive.bitmap->GetPixelWidth() == 0 || archive.bitmap->GetPixelHeight() == 0) {
        throw ToolError(options.archive, "its bitmap is empty, and no picture can be");
    }
    WritePicture({std::move(archive.bitmap), {}}, output, options.writing, console, progress);
}

void Convert(const ConvertOptions& options, Console& console) {
    ConsoleProgress progress(console);
    OutputFile output(options.output);
    Picture picture = ReadPictureOrArchive(options.input, options.reading, console, progress);
    InContextOf(options.input,
                [&] { picture.bitmap = ConvertBitmap(*picture.bitmap, options.format, options.quantizer, progress); });
    WriteBitmap(picture, output, options.writing, console, progress);
}

void Info(const InfoOptions& options, std::ostream& out, Console& console) {
    ConsoleProgress progress(console);
    const LoadedArchive archive = LoadArchive(options.archive, console, progress);
    zbm::ZBitmap& bitmap = *archive.bitmap;
    const BitmapFacts facts = LookAt(bitmap, progress);
    const int tileRows = bitmap.GetNumScanRectRows();
    out << "size: " << bitmap.GetPixelWidth() << " x " << bitmap.GetPixelHeight() << '\n'
        << "format: " << FormatName(bitmap.GetColorFormat()) << '\n'
        << "tile size: " << bitmap.GetScanRectWidth() << " x " << bitmap.GetScanRectHeight() << '\n'
        << "tiles: " << (tileRows == 0 ? 0 : bitmap.GetNumScanRects(0)) << " x " << tileRows << '\n'
        << "resolution: " << ResolutionLine(bitmap) << '\n'
        << "colour table entries: " << bitmap.GetNumColorTableItems() << '\n'
        << "transparent pixels: " << (facts.hasTransparentPixels ? "yes" : "no") << '\n'
        << "archive bytes: " << archive.fileBytes << '\n'
        << "ratio: " << std::fixed << std::setprecision(2) << CompressionRatio(archive) << '\n';
    for (unsigned level = 1; const zbm::ZBitmap* reduction = bitmap.GetPtrToPOTReduction(level); ++level) {
        if (reduction == &bitmap) break;  // too small to have any
        out << "reduction: " << reduction->GetPixelWidth() << " x " << reduction->GetPixelHeight() << '\n';
    }
}

}  // namespace tool
