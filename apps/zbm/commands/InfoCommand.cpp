// What a file holds, told from what has to be read of it for that.
#include <cmath>
#include <iomanip>
#include <sstream>

#include "ErrorContext.h"
#include "InputFile.h"
#include "Progress.h"
#include "commands/ArchiveFile.h"
#include "commands/ArchiveSurvey.h"
#include "commands/Commands.h"
#include "commands/FileBitmap.h"
#include "commands/FormatNames.h"
#include "pictures/PictureReader.h"
#include "shr/Units.h"
#include "zbm/ZPOTCFileBitmap.h"

namespace tool {

namespace {

int PerInch(int pixelsPerMeter) { return static_cast<int>(std::lround(pixelsPerMeter / shr::INCHES_PER_METER)); }

std::string ResolutionText(int x, int y) {
    if (x <= 0 || y <= 0) return "unknown";
    std::ostringstream text;
    text << x << " x " << y << " pixels per metre (" << PerInch(x) << " x " << PerInch(y) << " dpi)";
    return text.str();
}

/// As many tiles as it takes, of which the last may be cut.
int TilesAlong(int pixels, int tile) { return pixels / tile + (pixels % tile != 0 ? 1 : 0); }

/// The pixels as rows without padding, beside the archive that holds them.
double CompressionRatio(const BitmapShape& shape, std::uint64_t fileBytes) {
    const std::uint64_t rowBytes = shr::PixelBytes(static_cast<std::uint64_t>(shape.width), shape.format);
    return static_cast<double>(rowBytes) * shape.height / static_cast<double>(fileBytes);
}

const char* NameOf(ArchiveKind kind) {
    switch (kind) {
        case ArchiveKind::plain: return "archive of a bitmap in memory";
        case ArchiveKind::withReductions: return "archive of a bitmap in memory that keeps reductions";
        case ArchiveKind::file: return "archive of a bitmap in a file";
        case ArchiveKind::level: break;
    }
    return "archive of a level of a bitmap in a file";
}

void DescribeArchive(const ArchiveSurvey& survey, std::ostream& out) {
    const ArchivedBitmap& image = survey.bitmaps.front();
    const BitmapShape& shape = image.shape;
    out << "kind: " << NameOf(survey.kind) << '\n'
        << "size: " << shape.width << " x " << shape.height << '\n'
        << "format: " << FormatName(shape.format) << '\n'
        << "tile size: " << shape.tileWidth << " x " << shape.tileHeight << '\n'
        << "tiles: " << TilesAlong(shape.width, shape.tileWidth) << " x " << TilesAlong(shape.height, shape.tileHeight)
        << '\n'
        << "resolution: " << ResolutionText(image.xPixelsPerMeter, image.yPixelsPerMeter) << '\n'
        << "colour table entries: " << image.colors.size() << '\n'
        << "transparent pixels: " << (survey.hasTransparentPixels ? "yes" : "no") << '\n'
        << "archive bytes: " << survey.fileBytes << '\n'
        << "ratio: " << std::fixed << std::setprecision(2) << CompressionRatio(shape, survey.fileBytes) << '\n';
    for (std::size_t i = 1; i < survey.bitmaps.size(); ++i)
        out << "reduction: " << survey.bitmaps[i].shape.width << " x " << survey.bitmaps[i].shape.height << '\n';
}

void DescribeTiles(const char* kind, const zbm::ZBitmap& bitmap, const ZString& name, std::ostream& out) {
    out << "kind: " << kind << '\n'
        << "size: " << bitmap.GetPixelWidth() << " x " << bitmap.GetPixelHeight() << '\n'
        << "format: " << FormatName(bitmap.GetColorFormat()) << '\n'
        << "tile size: " << bitmap.GetScanRectWidth() << " x " << bitmap.GetScanRectHeight() << '\n'
        << "tiles: " << TilesAlong(bitmap.GetPixelWidth(), bitmap.GetScanRectWidth()) << " x "
        << TilesAlong(bitmap.GetPixelHeight(), bitmap.GetScanRectHeight()) << '\n'
        << "resolution: " << ResolutionText(bitmap.GetXResolution(), bitmap.GetYResolution()) << '\n'
        << "colour table entries: " << bitmap.GetNumColorTableItems() << '\n'
        << "file bytes: " << OpenInput(name).GetLength() << '\n';
}

void DescribeLevel(const ZString& name, std::ostream& out) {
    shr::CBufferedFile file = OpenInput(name);
    const zbm::ZPOTCFileBitmap level(name, file, 0, true, true);
    DescribeTiles("level of a bitmap in a file, by itself", level, name, out);
}

void DescribeFileBitmap(const ZString& name, std::ostream& out) {
    const FileBitmapPtr file = OpenFileBitmap(name, FileUse::read);
    zbm::ZBitmap& bitmap = *file;
    DescribeTiles("bitmap in a file (.zbf)", bitmap, name, out);
    const int levels = LevelCount(bitmap);
    for (int i = 1; i < levels; ++i) {
        const zbm::ZBitmap& level = *bitmap.GetPtrToPOTReduction(static_cast<unsigned>(i));
        out << "level " << i << ": " << level.GetPixelWidth() << " x " << level.GetPixelHeight() << '\n';
    }
    out << "levels: " << (levels == 1 ? "none" : file->AreReductionsStale() ? "stale" : "up to date") << '\n';
}

void DescribePicture(PictureSource& source, std::ostream& out, Notes& notes) {
    const char* const type = PictureTypeOf(source);
    const PictureInfo info = Upright(OpenPicture(source, notes)->Info());
    out << "kind: " << type << " picture\n"
        << "size: " << info.width << " x " << info.height << '\n'
        << "format: " << FormatName(info.format) << '\n'
        << "resolution: " << ResolutionText(info.xPixelsPerMeter, info.yPixelsPerMeter) << '\n'
        << "colour table entries: " << info.colorTable.size() << '\n'
        << "picture bytes: " << source.Length() << '\n';
}

}  // namespace

void Info(const InfoOptions& options, const Streams& streams) {
    ConsoleProgress progress(streams.console);
    InContextOf(options.file, [&] {
        PictureSource source(options.file);
        Notes notes(streams.console, options.file);
        if (BeginsLikePicture(source)) return DescribePicture(source, streams.out, notes);
        if (BeginsLikeFileBitmap(source)) return DescribeFileBitmap(options.file, streams.out);
        if (BeginsLikeLevel(source)) return DescribeLevel(options.file, streams.out);
        shr::CBufferedFile file = OpenInput(options.file);
        const ArchiveSurvey survey = SurveyForInfo(file, progress);
        NoteBytesAfterArchive(streams.console, options.file, survey.bytesAfterArchive);
        DescribeArchive(survey, streams.out);
    });
}

}  // namespace tool
