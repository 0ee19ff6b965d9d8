#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "pictures/PictureRows.h"
#include "pictures/PictureWriter.h"
#include "pictures/RowConversion.h"
#include "pictures/TiffStream.h"

namespace tool {

namespace {

/// A strip is the unit that readers decode at once.
constexpr std::uint64_t kStripBytes = std::uint64_t{256} << 10;
/// LZW may make incompressible rows half as long again; a classic file ends at 4 GiB.
constexpr std::uint64_t kLargestClassicPicture = (std::uint64_t{5} << 30) / 2;

class FileData final : public TiffStream::Data {
public:
    explicit FileData(shr::CBufferedFile& pictureFile) : file(pictureFile) {}
    std::size_t Read(void* destination, std::size_t byteCount) override { return file.Read(destination, byteCount); }
    void Write(const void* bytes, std::size_t byteCount) override { file.Write(bytes, byteCount); }
    void Seek(std::int64_t position) override { file.Seek(position); }
    std::int64_t Position() override { return file.GetPosition(); }
    std::int64_t Length() override { return file.GetLength(); }

private:
    shr::CBufferedFile& file;
};

/// The file's side of a bitmap: what its samples are.
struct Samples {
    std::uint16_t perPixel = 1, bits = 8, photometric = PHOTOMETRIC_MINISBLACK;
    bool alpha = false, associated = false;
};

Samples SamplesFor(shr::ColorFormat format, bool transparent) {
    const auto bits = static_cast<std::uint16_t>(shr::ColorFmtToBPP[format]);
    if (IsGrey(format) && transparent) {
        return {2, std::max<std::uint16_t>(bits, 8), PHOTOMETRIC_MINISBLACK, true, false};
    }
    if (IsGrey(format)) return {1, bits, PHOTOMETRIC_MINISBLACK, false, false};
    if (IsIndexed(format) && !transparent) return {1, bits, PHOTOMETRIC_PALETTE, false, false};
    if (HasMask(format) && !transparent) return {3, 8, PHOTOMETRIC_RGB, false, false};
    return {4, 8, PHOTOMETRIC_RGB, true, format == shr::PBGRA_32};
}

class TiffWriter {
public:
    explicit TiffWriter(PictureJob& newJob);
    void Write();

private:
    std::uint64_t RowBytes() const;
    const char* Mode() const { return RowBytes() * height > kLargestClassicPicture ? "w8" : "w"; }
    template <class... Values>
    void SetTag(std::uint32_t tag, Values... values) {
        tiff.Check(TIFFSetField(tiff, tag, values...) == 1);
    }
    void WriteTags();
    void WriteColorTable();
    void WriteResolution();
    void WriteColorProfile();
    void WriteRows();
    void FetchEncoded(int y);
    void EncodeGreyAlpha();
    void EncodeRgb();
    void EncodeRgba();

    PictureJob& job;
    PictureRows rows;
    const shr::ColorFormat format;
    const std::uint64_t width, height;
    const Samples samples;
    FileData data;
    TiffStream tiff;
    std::vector<std::uint8_t> row, mask, grey, encoded;
};

TiffWriter::TiffWriter(PictureJob& newJob)
    : job(newJob),
      rows(job.bitmap, job.background),
      format(rows.Format()),
      width(static_cast<std::uint64_t>(rows.Width())),
      height(static_cast<std::uint64_t>(rows.Height())),
      samples(SamplesFor(format, job.facts.hasTransparentPixels)),
      data(job.file),
      tiff(data, Mode(), job.notes) {}

std::uint64_t TiffWriter::RowBytes() const { return (width * samples.perPixel * samples.bits + 7) / 8; }

void TiffWriter::Write() {
    WriteTags();
    WriteRows();
    // Closing would do these too, but could not report that they failed.
    tiff.Check(TIFFFlushData(tiff) == 1);
    tiff.Check(TIFFWriteDirectory(tiff) == 1);
}

void TiffWriter::WriteTags() {
    SetTag(TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(width));
    SetTag(TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(height));
    SetTag(TIFFTAG_SAMPLESPERPIXEL, samples.perPixel);
    SetTag(TIFFTAG_BITSPERSAMPLE, samples.bits);
    SetTag(TIFFTAG_PHOTOMETRIC, samples.photometric);
    SetTag(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    SetTag(TIFFTAG_ORIENTATION, job.metadata.orientation);
    SetTag(TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    // Differences of indices and of packed pixels mean nothing.
    if (samples.bits >= 8 && samples.photometric != PHOTOMETRIC_PALETTE) {
        SetTag(TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    }
    if (samples.alpha) {
        const std::uint16_t kind = samples.associated ? EXTRASAMPLE_ASSOCALPHA : EXTRASAMPLE_UNASSALPHA;
        SetTag(TIFFTAG_EXTRASAMPLES, 1, &kind);
    }
    const std::uint64_t stripRows =
        std::clamp<std::uint64_t>(kStripBytes / std::max<std::uint64_t>(RowBytes(), 1), 1, height);
    SetTag(TIFFTAG_ROWSPERSTRIP, static_cast<std::uint32_t>(stripRows));
    if (samples.photometric == PHOTOMETRIC_PALETTE) WriteColorTable();
    WriteResolution();
    WriteColorProfile();
}

void TiffWriter::WriteColorTable() {
    std::array<std::uint16_t, 256> red{}, green{}, blue{};
    for (std::size_t i = 0; i < std::size_t{1} << samples.bits; ++i) {
        const shr::Color4b color = rows.ColorTable()[i];
        red[i] = static_cast<std::uint16_t>(color.red * 257);
        green[i] = static_cast<std::uint16_t>(color.green * 257);
        blue[i] = static_cast<std::uint16_t>(color.blue * 257);
    }
    SetTag(TIFFTAG_COLORMAP, red.data(), green.data(), blue.data());
}

void TiffWriter::WriteResolution() {
    const int x = job.bitmap.GetXResolution(), y = job.bitmap.GetYResolution();
    if (x <= 0 || y <= 0) {
        if (!job.metadata.HasAspect()) return;
        SetTag(TIFFTAG_RESOLUTIONUNIT, RESUNIT_NONE);
        SetTag(TIFFTAG_XRESOLUTION, static_cast<double>(job.metadata.xAspect));
        SetTag(TIFFTAG_YRESOLUTION, static_cast<double>(job.metadata.yAspect));
        return;
    }
    // Per centimetre the numbers have two decimals and survive exactly; per inch they would be rounded.
    SetTag(TIFFTAG_RESOLUTIONUNIT, RESUNIT_CENTIMETER);
    SetTag(TIFFTAG_XRESOLUTION, x / 100.0);
    SetTag(TIFFTAG_YRESOLUTION, y / 100.0);
}

void TiffWriter::WriteColorProfile() {
    NoteLostColorMarks(job.metadata, job.notes);
    const bool isGrey = samples.photometric == PHOTOMETRIC_MINISBLACK;
    if (const std::vector<std::uint8_t>* profile = ProfileFor(isGrey, job.metadata, job.notes)) {
        SetTag(TIFFTAG_ICCPROFILE, static_cast<std::uint32_t>(profile->size()), profile->data());
    }
}

void TiffWriter::WriteRows() {
    row.resize(shr::RowBytes(width, format));
    mask.resize(shr::RowBytes(width, shr::GRAYSCALE_1));
    if (samples.perPixel == 2 && samples.bits == 8) grey.resize(width);
    encoded.resize(RowBytes());
    for (int y = 0; y < rows.Height(); ++y) {
        job.progress.SetProgress(static_cast<double>(y) / rows.Height());
        FetchEncoded(y);
        tiff.Check(TIFFWriteScanline(tiff, encoded.data(), static_cast<std::uint32_t>(y), 0) == 1);
    }
}

/// The row as the file's samples, in a buffer that the library may work on in place.
void TiffWriter::FetchEncoded(int y) {
    rows.Fetch(y, row.data(), mask.data());
    switch (samples.perPixel) {
        case 1: std::memcpy(encoded.data(), row.data(), RowBytes()); break;
        case 2: EncodeGreyAlpha(); break;
        case 3: EncodeRgb(); break;
        default: EncodeRgba(); break;
    }
}

void TiffWriter::EncodeGreyAlpha() {
    const std::uint8_t* levels = row.data();
    if (samples.bits == 8) {
        ToGrey8(grey.data(), row.data(), format, rows.Width());
        levels = grey.data();
    }
    AddAlpha(encoded.data(), levels, mask.data(), samples.bits / 8, rows.Width());
}

void TiffWriter::EncodeRgb() {
    const std::size_t step = format == shr::BGRX_32 ? 4 : 3;
    for (std::size_t x = 0; x < width; ++x) {
        encoded[3 * x] = row[step * x + 2];
        encoded[3 * x + 1] = row[step * x + 1];
        encoded[3 * x + 2] = row[step * x];
    }
}

void TiffWriter::EncodeRgba() {
    if (HasMask(format)) {
        ToBgra(encoded.data(), row.data(), mask.data(), format, rows.ColorTable(), rows.Width());
    } else {
        std::memcpy(encoded.data(), row.data(), RowBytes());
    }
    if (format != shr::RGBA_32) SwapRedAndBlue(encoded.data(), 4, rows.Width());
}

}  // namespace

void WriteTiff(PictureJob& job) {
    FlattenIfAsked(job);
    TiffWriter(job).Write();
}

}  // namespace tool
