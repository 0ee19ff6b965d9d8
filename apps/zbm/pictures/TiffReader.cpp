#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <string>

#include "pictures/PictureReader.h"
#include "pictures/Resolution.h"
#include "pictures/RowConversion.h"
#include "pictures/TiffStream.h"

namespace tool {

namespace {

/// The library's limit on single allocations holds for ours too.
constexpr std::uint64_t kLargestTileBytes = std::uint64_t{1} << 30;

/// The most that one byte of the file can expand to; 0 where there is no telling.
std::uint64_t LargestExpansion(int compression) {
    switch (compression) {
        case COMPRESSION_NONE: return 1;
        case COMPRESSION_PACKBITS: return 64;
        case COMPRESSION_LZW: return 2731;  // a code of 12 bits stands for at most 4096 bytes
        case COMPRESSION_DEFLATE:
        case COMPRESSION_ADOBE_DEFLATE: return 1032;
        default: return 0;
    }
}

class SourceData final : public TiffStream::Data {
public:
    explicit SourceData(PictureSource& pictureSource) : source(pictureSource) {}
    /// The library never asks for more than what its tags promise. It would go on without a tag that is cut off.
    std::size_t Read(void* destination, std::size_t byteCount) override {
        source.ReadExactly(destination, byteCount);
        return byteCount;
    }
    void Write(const void*, std::size_t) override { throw std::logic_error("a picture that is read was written to"); }
    void Seek(std::int64_t position) override { source.Seek(position); }
    std::int64_t Position() override { return source.Position(); }
    std::int64_t Length() override { return source.Length(); }

private:
    PictureSource& source;
};

/// What the file's samples mean, as its tags say.
struct Samples {
    std::uint16_t perPixel = 1, bits = 1, planarConfig = PLANARCONFIG_CONTIG, photometric = PHOTOMETRIC_MINISBLACK;
    std::uint16_t compression = COMPRESSION_NONE;
    int colors = 1;  // grey and index 1, RGB 3, CMYK 4
    int alpha = -1;  // the sample that holds alpha, if any
    bool associated = false;
    bool IsPlanar() const { return planarConfig == PLANARCONFIG_SEPARATE && perPixel > 1; }
    bool IsCmyk() const { return photometric == PHOTOMETRIC_SEPARATED; }
    /// Whether the largest sample is the darkest.
    bool IsInverted() const { return photometric == PHOTOMETRIC_MINISWHITE || IsCmyk(); }
};

class TiffReader final : public PictureReader {
public:
    TiffReader(PictureSource& pictureSource, Notes& target);
    const PictureInfo& Info() const override { return pictureInfo; }
    void ReadInto(TileRows& rows, shr::IProgress& progress) override;

private:
    void ReadSize();
    void ReadSamples();
    void RefuseUnsupported() const;
    void RefuseImplausibleSize() const;
    void ReadExtraSamples();
    void ChooseFormat();
    void ReadColorTable();
    void ReadResolution();
    void ReadAspect(double x, double y);
    void ReadMetadata();
    std::uint16_t Tag16(std::uint32_t tag);

    bool IsColor() const { return pictureInfo.format >= shr::BGR_24; }
    void ReadScanlines(TileRows& rows, shr::IProgress& progress);
    void ReadTiles(TileRows& rows, shr::IProgress& progress);
    void StoreRun(TileRows& rows, int x, int y, int count, const std::uint8_t* raw, int plane);
    void ConvertSingle(const std::uint8_t* raw, int count);
    void ConvertColor(const std::uint8_t* raw, int count, int plane);
    std::uint64_t RunBytes(std::uint64_t count) const;
    int Planes() const { return samples.IsPlanar() ? samples.perPixel : 1; }

    PictureSource& source;
    Notes& notes;
    SourceData data;
    TiffStream tiff;
    PictureInfo pictureInfo;
    Samples samples;
    std::vector<std::uint8_t> pixels, black;
};

TiffReader::TiffReader(PictureSource& pictureSource, Notes& target)
    : source(pictureSource), notes(target), data(source), tiff(data, "rmO", notes) {
    ReadSize();
    ReadSamples();
    ReadResolution();
    ReadMetadata();
}

std::uint16_t TiffReader::Tag16(std::uint32_t tag) {
    std::uint16_t value = 0;
    tiff.Check(TIFFGetFieldDefaulted(tiff, tag, &value) == 1);
    return value;
}

void TiffReader::ReadSize() {
    std::uint32_t width = 0, height = 0;
    const bool known =
        TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width) == 1 && TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height) == 1;
    if (!known || width == 0 || height == 0 || width > INT32_MAX || height > INT32_MAX) {
        throw std::runtime_error("its size is missing or out of range");
    }
    pictureInfo.width = static_cast<int>(width);
    pictureInfo.height = static_cast<int>(height);
}

void TiffReader::ReadSamples() {
    samples.perPixel = Tag16(TIFFTAG_SAMPLESPERPIXEL);
    samples.bits = Tag16(TIFFTAG_BITSPERSAMPLE);
    samples.planarConfig = Tag16(TIFFTAG_PLANARCONFIG);
    samples.compression = Tag16(TIFFTAG_COMPRESSION);
    if (TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &samples.photometric) != 1) {
        samples.photometric = samples.perPixel >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
    }
    if (samples.photometric == PHOTOMETRIC_YCBCR && samples.compression == COMPRESSION_JPEG && !samples.IsPlanar()) {
        tiff.Check(TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB) == 1);
        samples.photometric = PHOTOMETRIC_RGB;
    }
    samples.colors = samples.IsCmyk() ? 4 : samples.photometric == PHOTOMETRIC_RGB ? 3 : 1;
    RefuseUnsupported();
    RefuseImplausibleSize();
    ReadExtraSamples();
    ChooseFormat();
}

void TiffReader::RefuseUnsupported() const {
    const auto refuse = [](const std::string& what) { throw std::runtime_error(what + " are not supported"); };
    std::uint16_t sampleFormat = SAMPLEFORMAT_UINT;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &sampleFormat);
    if (sampleFormat == SAMPLEFORMAT_IEEEFP) refuse("floating-point pictures");
    if (sampleFormat != SAMPLEFORMAT_UINT && sampleFormat != SAMPLEFORMAT_VOID) refuse("signed or complex samples");
    switch (samples.photometric) {
        case PHOTOMETRIC_MINISWHITE:
        case PHOTOMETRIC_MINISBLACK:
        case PHOTOMETRIC_RGB:
        case PHOTOMETRIC_PALETTE: break;
        case PHOTOMETRIC_SEPARATED: {
            std::uint16_t inkSet = INKSET_CMYK;
            TIFFGetFieldDefaulted(tiff, TIFFTAG_INKSET, &inkSet);
            if (inkSet != INKSET_CMYK) refuse("inks other than CMYK");
            break;
        }
        case PHOTOMETRIC_YCBCR: refuse("YCbCr pictures without JPEG compression"); break;
        default: refuse("pictures of colour model " + std::to_string(samples.photometric)); break;
    }
    const int bits = samples.bits;
    const bool single = samples.perPixel == 1;
    const bool packed = bits == 1 || bits == 2 || bits == 4;
    const bool palette = samples.photometric == PHOTOMETRIC_PALETTE;
    const bool supported =
        bits == 8 || (bits == 16 && !palette) || (bits == 32 && single && !palette) || (packed && single);
    if (samples.perPixel < samples.colors || !supported) {
        refuse(std::to_string(samples.perPixel) + " samples of " + std::to_string(bits) + " bits a pixel");
    }
    if (TIFFIsCODECConfigured(samples.compression) == 0) {
        refuse("pictures of compression " + std::to_string(samples.compression));
    }
}

void TiffReader::RefuseImplausibleSize() const {
    const std::uint64_t expansion = LargestExpansion(samples.compression);
    if (expansion == 0) return;
    const std::uint64_t rowBytes = (static_cast<std::uint64_t>(pictureInfo.width) * samples.bits + 7) / 8;
    source.RefuseUnlessHolding(rowBytes * static_cast<unsigned>(pictureInfo.height) / expansion, pictureInfo.width,
                               pictureInfo.height);
}

void TiffReader::ReadExtraSamples() {
    std::uint16_t count = 0;
    std::uint16_t* kinds = nullptr;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &count, &kinds);
    const bool canHaveAlpha = samples.photometric != PHOTOMETRIC_PALETTE;
    for (int i = 0; i < count && samples.alpha < 0 && canHaveAlpha; ++i) {
        if (kinds[i] != EXTRASAMPLE_ASSOCALPHA && kinds[i] != EXTRASAMPLE_UNASSALPHA) continue;
        samples.alpha = samples.colors + i;
        samples.associated = kinds[i] == EXTRASAMPLE_ASSOCALPHA;
    }
    if (samples.alpha >= samples.perPixel) samples.alpha = -1;
    if (samples.IsCmyk() && samples.associated)
        throw std::runtime_error("CMYK with premultiplied alpha is not supported");
    const int kept = samples.colors + (samples.alpha >= 0 ? 1 : 0);
    if (samples.perPixel > kept) {
        notes.Add("its " + std::to_string(samples.perPixel - kept) +
                  " additional sample(s) a pixel, which are no alpha, are not kept");
    }
}

void TiffReader::ChooseFormat() {
    if (samples.photometric == PHOTOMETRIC_PALETTE) {
        pictureInfo.format = samples.bits == 1 ? shr::INDEXED_1 : samples.bits == 8 ? shr::INDEXED_8 : shr::INDEXED_4;
        ReadColorTable();
    } else if (samples.alpha >= 0) {
        pictureInfo.format = samples.associated ? shr::PBGRA_32 : shr::BGRA_32;
    } else if (samples.colors >= 3) {
        pictureInfo.format = shr::BGR_24;
    } else {
        switch (samples.bits) {
            case 1: pictureInfo.format = shr::GRAYSCALE_1; break;
            case 8: pictureInfo.format = shr::GRAYSCALE_8; break;
            case 16: pictureInfo.format = shr::GRAYSCALE_16; break;
            case 32: pictureInfo.format = shr::GRAYSCALE_32; break;
            default: pictureInfo.format = shr::GRAYSCALE_4; break;
        }
    }
    if (IsColor() && samples.bits == 16) NoteReducedDepth(notes);
}

void TiffReader::ReadColorTable() {
    std::uint16_t *red = nullptr, *green = nullptr, *blue = nullptr;
    if (TIFFGetField(tiff, TIFFTAG_COLORMAP, &red, &green, &blue) != 1) {
        throw std::runtime_error("its colour table is missing");
    }
    const int count = 1 << samples.bits;
    // Levels have 16 bits; some old writers gave 8.
    const auto isWide = [&](const std::uint16_t* levels) {
        return std::any_of(levels, levels + count, [](std::uint16_t level) { return level > 255; });
    };
    const int shift = isWide(red) || isWide(green) || isWide(blue) ? 8 : 0;
    for (int i = 0; i < count; ++i) {
        const auto level = [&](const std::uint16_t* levels) { return static_cast<std::uint8_t>(levels[i] >> shift); };
        pictureInfo.colorTable.emplace_back(level(red), level(green), level(blue));
    }
}

void TiffReader::ReadResolution() {
    float x = 0, y = 0;
    if (TIFFGetField(tiff, TIFFTAG_XRESOLUTION, &x) != 1 || TIFFGetField(tiff, TIFFTAG_YRESOLUTION, &y) != 1) return;
    const auto unit = static_cast<ResolutionUnit>(Tag16(TIFFTAG_RESOLUTIONUNIT));
    if (unit == ResolutionUnit::none) return ReadAspect(static_cast<double>(x), static_cast<double>(y));
    pictureInfo.xPixelsPerMeter = PixelsPerMeter(static_cast<double>(x), unit);
    pictureInfo.yPixelsPerMeter = PixelsPerMeter(static_cast<double>(y), unit);
}

void TiffReader::ReadAspect(double x, double y) {
    constexpr double kScale = 1000, kMost = 1e6;
    if (!(x > 1 / kScale && x < kMost && y > 1 / kScale && y < kMost)) return;
    pictureInfo.metadata.xAspect = static_cast<std::uint32_t>(std::lround(x * kScale));
    pictureInfo.metadata.yAspect = static_cast<std::uint32_t>(std::lround(y * kScale));
}

void TiffReader::ReadMetadata() {
    std::uint32_t profileLength = 0;
    void* profile = nullptr;
    if (TIFFGetField(tiff, TIFFTAG_ICCPROFILE, &profileLength, &profile) == 1) {
        const auto* bytes = static_cast<const std::uint8_t*>(profile);
        pictureInfo.metadata.colorProfile.assign(bytes, bytes + profileLength);
    }
    if (samples.IsCmyk()) NotePlainConversion(pictureInfo, notes);
    const int orientation = Tag16(TIFFTAG_ORIENTATION);
    if (orientation >= 1 && orientation <= 8) pictureInfo.metadata.orientation = orientation;
    if (TIFFLastDirectory(tiff) == 0) notes.Add("only the first of its pictures is read");
}

void TiffReader::ReadInto(TileRows& rows, shr::IProgress& progress) {
    tiff.Check(true);  // what was wrong with tags has nothing to do with pixels
    if (TIFFIsTiled(tiff) != 0) {
        ReadTiles(rows, progress);
    } else {
        ReadScanlines(rows, progress);
    }
}

/// Bytes of `count` pixels as the library hands them out.
std::uint64_t TiffReader::RunBytes(std::uint64_t count) const {
    return (count * samples.bits * (samples.IsPlanar() ? 1u : samples.perPixel) + 7) / 8;
}

/// Planes come one after the other, each over the whole picture, and are merged in the bitmap itself.
void TiffReader::ReadScanlines(TileRows& rows, shr::IProgress& progress) {
    const tmsize_t rowBytes = TIFFScanlineSize(tiff);
    tiff.Check(rowBytes > 0);
    if (static_cast<std::uint64_t>(rowBytes) < RunBytes(static_cast<std::uint64_t>(pictureInfo.width))) {
        throw std::runtime_error("its rows have an unexpected length");
    }
    std::vector<std::uint8_t> raw(static_cast<std::size_t>(rowBytes));
    pixels.resize(shr::RowBytes(static_cast<std::uint64_t>(pictureInfo.width), pictureInfo.format));
    for (int plane = 0; plane < Planes(); ++plane) {
        for (int y = 0; y < pictureInfo.height; ++y) {
            progress.SetProgress((plane + static_cast<double>(y) / pictureInfo.height) / Planes());
            tiff.CheckPixels(TIFFReadScanline(tiff, raw.data(), static_cast<std::uint32_t>(y),
                                              static_cast<std::uint16_t>(plane)) == 1);
            StoreRun(rows, 0, y, pictureInfo.width, raw.data(), plane);
        }
    }
}

void TiffReader::ReadTiles(TileRows& rows, shr::IProgress& progress) {
    std::uint32_t tileWidth = 0, tileHeight = 0;
    tiff.Check(TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &tileWidth) == 1 &&
               TIFFGetField(tiff, TIFFTAG_TILELENGTH, &tileHeight) == 1);
    const std::uint64_t tileBytes = TIFFTileSize64(tiff), rowBytes = TIFFTileRowSize64(tiff);
    if (tileWidth == 0 || tileHeight == 0 || tileBytes > kLargestTileBytes || rowBytes < RunBytes(tileWidth) ||
        rowBytes > tileBytes / tileHeight) {
        throw std::runtime_error("its tiles have an unexpected size");
    }
    std::vector<std::uint8_t> raw(static_cast<std::size_t>(tileBytes));
    pixels.resize(shr::RowBytes(tileWidth, pictureInfo.format));
    const auto width = static_cast<std::uint32_t>(pictureInfo.width);
    const auto height = static_cast<std::uint32_t>(pictureInfo.height);
    for (int plane = 0; plane < Planes(); ++plane) {
        for (std::uint32_t top = 0; top < height; top += std::min(tileHeight, height - top)) {
            for (std::uint32_t left = 0; left < width; left += std::min(tileWidth, width - left)) {
                progress.SetProgress((plane + (top + static_cast<double>(left) / width) / height) / Planes());
                tiff.CheckPixels(TIFFReadTile(tiff, raw.data(), left, top, 0, static_cast<std::uint16_t>(plane)) >= 0);
                const std::uint32_t rowsHere = std::min(tileHeight, height - top);
                for (std::uint32_t y = 0; y < rowsHere; ++y) {
                    StoreRun(rows, static_cast<int>(left), static_cast<int>(top + y),
                             static_cast<int>(std::min(tileWidth, width - left)), raw.data() + y * rowBytes, plane);
                }
            }
        }
    }
}

void TiffReader::StoreRun(TileRows& rows, int x, int y, int count, const std::uint8_t* raw, int plane) {
    if (IsColor()) {
        if (plane > 0) rows.Fetch(x, y, count, pixels.data(), nullptr);
        ConvertColor(raw, count, samples.IsPlanar() ? plane : -1);
    } else {
        if (plane > 0) return;
        ConvertSingle(raw, count);
    }
    rows.Store(x, y, count, pixels.data(), nullptr);
}

/// Grey levels and indices: the first sample of each pixel.
void TiffReader::ConvertSingle(const std::uint8_t* raw, int count) {
    const auto bytes = static_cast<std::size_t>(shr::PixelBytes(static_cast<std::uint64_t>(count), pictureInfo.format));
    if (samples.bits == 2) {
        Widen2To4(pixels.data(), raw, count, samples.photometric == PHOTOMETRIC_PALETTE ? 1 : 5);
    } else if (samples.perPixel == 1 || samples.IsPlanar()) {
        std::memcpy(pixels.data(), raw, bytes);
    } else {
        const std::size_t sampleBytes = samples.bits / 8u;
        for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
            std::memcpy(pixels.data() + i * sampleBytes, raw + i * samples.perPixel * sampleBytes, sampleBytes);
        }
    }
    if (!samples.IsInverted()) return;
    for (std::size_t i = 0; i < bytes; ++i) pixels[i] = static_cast<std::uint8_t>(~pixels[i]);
}

/// One sample of each pixel to one byte of each pixel.
struct Channel {
    std::uint8_t* destination;
    std::size_t destinationStep;
    const std::uint8_t* source;
    std::size_t sourceStep;
    std::uint8_t inverted;  // 0xFF or 0

    void Copy8(int count) const {
        for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
            destination[i * destinationStep] = static_cast<std::uint8_t>(source[i * sourceStep] ^ inverted);
        }
    }
    void Copy16(int count) const {
        for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
            std::uint16_t sample;
            std::memcpy(&sample, source + i * sourceStep, sizeof sample);
            destination[i * destinationStep] = static_cast<std::uint8_t>(To8Bits(sample) ^ inverted);
        }
    }
};

/// `plane` is the sample that `raw` holds, or -1 if it holds all.
void TiffReader::ConvertColor(const std::uint8_t* raw, int count, int plane) {
    const int bytesPerPixel = shr::ColorFmtToBPP[pictureInfo.format] / 8;
    if (plane < 0 && samples.bits == 8 && samples.colors == 3 && samples.perPixel == bytesPerPixel) {
        std::memcpy(pixels.data(), raw, static_cast<std::size_t>(count) * static_cast<unsigned>(bytesPerPixel));
        SwapRedAndBlue(pixels.data(), bytesPerPixel, count);
        return;
    }
    const int blue = samples.colors >= 3 ? 2 : 0, green = samples.colors >= 3 ? 1 : 0;
    const int sampleOf[4] = {blue, green, 0, samples.alpha};  // of the bytes B, G, R, A
    const std::size_t sampleBytes = samples.bits / 8u;
    const auto copy = [&](int sample, std::uint8_t* destination, int destinationStep, bool inverted) {
        if (plane >= 0 && sample != plane) return false;
        const std::size_t offset = plane < 0 ? static_cast<std::size_t>(sample) * sampleBytes : 0;
        const std::size_t step = plane < 0 ? samples.perPixel * sampleBytes : sampleBytes;
        const Channel channel{destination, static_cast<std::size_t>(destinationStep), raw + offset, step,
                              static_cast<std::uint8_t>(inverted ? 0xFF : 0)};
        samples.bits == 8 ? channel.Copy8(count) : channel.Copy16(count);
        return true;
    };
    for (int byte = 0; byte < bytesPerPixel; ++byte) {
        copy(sampleOf[byte], pixels.data() + byte, bytesPerPixel, samples.IsInverted() && byte < 3);
    }
    if (!samples.IsCmyk()) return;
    black.resize(static_cast<std::size_t>(count));
    if (copy(3, black.data(), 1, true)) Darken(pixels.data(), bytesPerPixel, black.data(), count);
}

}  // namespace

std::unique_ptr<PictureReader> OpenTiff(PictureSource& source, Notes& notes) {
    return std::make_unique<TiffReader>(source, notes);
}

}  // namespace tool
