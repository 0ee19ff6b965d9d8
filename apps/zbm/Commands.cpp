#include "Commands.h"

#include <iomanip>
#include <memory>
#include <sstream>

#include "ArchiveFile.h"
#include "ErrorContext.h"
#include "MemoryLimit.h"
#include "OutputFile.h"
#include "PictureReader.h"
#include "Progress.h"

namespace tool {

namespace {

using BitmapPtr = std::unique_ptr<zbm::ZBasicMemBitmap>;

BitmapPtr MakeBitmap(const PictureInfo& info, const PackOptions& options) {
    RefuseBeyondMemory({info.width, info.height, info.format, options.tileWidth, options.tileHeight},
                       info.decoderBytes);
    auto bitmap = std::make_unique<zbm::ZBasicMemBitmap>(info.width, info.height, info.format, options.tileWidth,
                                                         options.tileHeight);
    if (!info.colorTable.empty()) {
        bitmap->FillColorTable(info.colorTable.data(), static_cast<unsigned>(info.colorTable.size()));
    }
    // Where the file tells nothing, 0 keeps it that way; a new bitmap's own resolution is a guess from its size.
    bitmap->SetXResolution(info.xPixelsPerMeter);
    bitmap->SetYResolution(info.yPixelsPerMeter);
    return bitmap;
}

BitmapPtr ReadPicture(const PackOptions& options, Console& console, ConsoleProgress& progress) {
    return InContextOf(options.picture, [&] {
        PictureSource source(options.picture);
        const std::unique_ptr<PictureReader> reader = OpenPicture(source, console);
        BitmapPtr bitmap = MakeBitmap(reader->Info(), options);
        const shr::CScopedIProgressTask task(&progress, L"Reading picture...");
        TileRows rows(*bitmap);
        reader->ReadInto(rows, progress);
        rows.Finish();
        return bitmap;
    });
}

BitmapFacts Examine(zbm::ZBitmap& bitmap, ConsoleProgress& progress) {
    const shr::CScopedIProgressTask task(&progress, L"Examining pixels...");
    return LookAt(bitmap, progress);
}

void WritePicture(zbm::ZBitmap& bitmap, OutputFile& output, const UnpackOptions& options, Console& console,
                  ConsoleProgress& progress) {
    const PictureWriter write = WriterFor(options.picture);
    const BitmapFacts facts = Examine(bitmap, progress);
    InContextOf(
        options.picture,
        [&] {
            const shr::CScopedIProgressTask task(&progress, L"Writing picture...");
            PictureJob job{bitmap, facts, output.File(), options.picture, console, progress, options.jpegQuality};
            write(job);
            output.Commit();
        },
        output.TemporaryName());
}

constexpr const char* kFormatNames[shr::kColorFormats] = {
    "none",      "GRAYSCALE_1", "GRAYSCALE_4", "GRAYSCALE_8", "GRAYSCALE_16", "GRAYSCALE_32", "INDEXED_1",
    "INDEXED_4", "INDEXED_8",   "BGR_24",      "BGRA_32",     "RGBA_32",      "BGRX_32",      "PBGRA_32",
};

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
    const BitmapPtr bitmap = ReadPicture(options, console, progress);
    StoreArchive(*bitmap, output, options.method, progress);
}

void Unpack(const UnpackOptions& options, Console& console) {
    ConsoleProgress progress(console);
    OutputFile output(options.picture);
    const LoadedArchive archive = LoadArchive(options.archive, console, progress);
    if (archive.bitmap->GetPixelWidth() == 0 || archive.bitmap->GetPixelHeight() == 0) {
        throw ToolError(options.archive, "its bitmap is empty, and no picture can be");
    }
    WritePicture(*archive.bitmap, output, options, console, progress);
}

void Info(const InfoOptions& options, std::ostream& out, Console& console) {
    ConsoleProgress progress(console);
    const LoadedArchive archive = LoadArchive(options.archive, console, progress);
    zbm::ZBitmap& bitmap = *archive.bitmap;
    const BitmapFacts facts = Examine(bitmap, progress);
    const int tileRows = bitmap.GetNumScanRectRows();
    out << "size: " << bitmap.GetPixelWidth() << " x " << bitmap.GetPixelHeight() << '\n'
        << "format: " << kFormatNames[bitmap.GetColorFormat()] << '\n'
        << "tile size: " << bitmap.GetScanRectWidth() << " x " << bitmap.GetScanRectHeight() << '\n'
        << "tiles: " << (tileRows == 0 ? 0 : bitmap.GetNumScanRects(0)) << " x " << tileRows << '\n'
        << "resolution: " << ResolutionLine(bitmap) << '\n'
        << "colour table entries: " << bitmap.GetNumColorTableItems() << '\n'
        << "transparent pixels: " << (facts.hasTransparentPixels ? "yes" : "no") << '\n'
        << "archive bytes: " << archive.fileBytes << '\n'
        << "ratio: " << std::fixed << std::setprecision(2) << CompressionRatio(archive) << '\n';
}

}  // namespace tool
