#include <tiffio.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>

#include "apps/Image.h"

namespace test {

namespace {

/// A file in memory for the library.
struct Memory {
    Bytes bytes;
    std::size_t position = 0;

    static Memory& Of(thandle_t handle) { return *static_cast<Memory*>(handle); }
    static tmsize_t Read(thandle_t handle, void* data, tmsize_t count) {
        Memory& self = Of(handle);
        const std::size_t left = self.bytes.size() - std::min(self.position, self.bytes.size());
        const std::size_t taken = std::min(left, static_cast<std::size_t>(count));
        std::memcpy(data, self.bytes.data() + self.position, taken);
        self.position += taken;
        return static_cast<tmsize_t>(taken);
    }
    static tmsize_t Write(thandle_t handle, void* data, tmsize_t count) {
        Memory& self = Of(handle);
        const auto size = static_cast<std::size_t>(count);
        self.bytes.resize(std::max(self.bytes.size(), self.position + size));
        std::memcpy(self.bytes.data() + self.position, data, size);
        self.position += size;
        return count;
    }
    static toff_t Seek(thandle_t handle, toff_t offset, int whence) {
        Memory& self = Of(handle);
        const std::size_t base = whence == SEEK_CUR ? self.position : whence == SEEK_END ? self.bytes.size() : 0;
        self.position = base + static_cast<std::size_t>(offset);
        return self.position;
    }
    static toff_t Size(thandle_t handle) { return Of(handle).bytes.size(); }
};

TIFF* Open(Memory& memory, const char* mode) {
    TIFFSetWarningHandler(nullptr);
    TIFF* tiff = TIFFClientOpen(
        "memory", mode, &memory, &Memory::Read, &Memory::Write, &Memory::Seek, [](thandle_t) { return 0; },
        &Memory::Size, [](thandle_t, void**, toff_t*) { return 0; }, [](thandle_t, void*, toff_t) {});
    if (tiff == nullptr) throw std::runtime_error("no TIFF file");
    return tiff;
}

void Require(bool done) {
    if (!done) throw std::runtime_error("libtiff refused");
}

/// Samples `first`, `first` + `step`, ... of a run, packed as the library takes them.
Bytes Pack(const std::vector<std::uint32_t>& samples, int bits, std::size_t first, std::size_t step) {
    Bytes bytes;
    unsigned free = 0;
    for (std::size_t i = first; i < samples.size(); i += step) {
        if (bits >= 8) {
            for (int b = 0; b < bits; b += 8) bytes.push_back(static_cast<std::uint8_t>(samples[i] >> b));
            continue;
        }
        if (free == 0) {
            bytes.push_back(0);
            free = 8;
        }
        free -= static_cast<unsigned>(bits);
        bytes.back() = static_cast<std::uint8_t>(bytes.back() | samples[i] << free);
    }
    return bytes;
}

std::uint32_t SampleAt(const Bytes& row, std::size_t index, int bits) {
    if (bits < 8) {
        const std::size_t bit = index * static_cast<unsigned>(bits);
        return row.at(bit / 8) >> (8 - static_cast<unsigned>(bits) - bit % 8) & ((1u << bits) - 1);
    }
    std::uint32_t sample = 0;
    std::memcpy(&sample, &row.at(index * static_cast<unsigned>(bits / 8)), static_cast<std::size_t>(bits / 8));
    return sample;
}

/// The samples of a rectangle; what lies outside the picture is 0.
std::vector<std::uint32_t> Cut(const Image& image, int left, int top, int width, int height, bool inverted) {
    std::vector<std::uint32_t> samples;
    const int channels = image.Channels();
    for (int y = top; y < top + height; ++y) {
        for (int x = left; x < left + width; ++x) {
            for (int c = 0; c < channels; ++c) {
                const std::uint32_t sample = x < image.width && y < image.height ? image.At(x, y, c) : 0;
                const bool isAlpha = channels % 2 == 0 && c == channels - 1;
                samples.push_back(inverted && !isAlpha ? image.Largest() - sample : sample);
            }
        }
    }
    return samples;
}

std::uint16_t Photometric(const Image& image, const TiffOptions& options) {
    if (options.photometric >= 0) return static_cast<std::uint16_t>(options.photometric);
    if (image.kind == Kind::palette) return PHOTOMETRIC_PALETTE;
    if (image.kind == Kind::rgb || image.kind == Kind::rgba) return PHOTOMETRIC_RGB;
    return options.inverted ? PHOTOMETRIC_MINISWHITE : PHOTOMETRIC_MINISBLACK;
}

void SetTags(TIFF* tiff, const Image& image, const TiffOptions& options) {
    const auto set = [&](std::uint32_t tag, auto... values) { Require(TIFFSetField(tiff, tag, values...) == 1); };
    set(TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(image.width));
    set(TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(image.height));
    set(TIFFTAG_SAMPLESPERPIXEL, image.Channels());
    set(TIFFTAG_BITSPERSAMPLE, image.bits);
    set(TIFFTAG_PHOTOMETRIC, Photometric(image, options));
    set(TIFFTAG_PLANARCONFIG, options.planar ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
    set(TIFFTAG_COMPRESSION, options.compression);
    if (options.compression == COMPRESSION_JPEG) set(TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    if (options.sampleFormat != 0) set(TIFFTAG_SAMPLEFORMAT, options.sampleFormat);
    if (!image.profile.empty()) {
        set(TIFFTAG_ICCPROFILE, static_cast<std::uint32_t>(image.profile.size()), image.profile.data());
    }
    if (image.xAspect > 0) {
        set(TIFFTAG_RESOLUTIONUNIT, RESUNIT_NONE);
        set(TIFFTAG_XRESOLUTION, static_cast<double>(image.xAspect));
        set(TIFFTAG_YRESOLUTION, static_cast<double>(image.yAspect));
    }
    if (options.profile) set(TIFFTAG_ICCPROFILE, 4, "icc");
    if (options.orientation != 1) set(TIFFTAG_ORIENTATION, options.orientation);
    if (image.Channels() % 2 == 0 && options.photometric < 0) {
        const int kind = options.extraSampleKind >= 0 ? options.extraSampleKind
                         : image.associated           ? EXTRASAMPLE_ASSOCALPHA
                                                      : EXTRASAMPLE_UNASSALPHA;
        const auto value = static_cast<std::uint16_t>(kind);
        set(TIFFTAG_EXTRASAMPLES, 1, &value);
    }
    if (image.kind == Kind::palette) {
        std::vector<std::uint16_t> levels[3];
        for (const auto& color : image.palette) {
            for (std::size_t c = 0; c < 3; ++c) levels[c].push_back(static_cast<std::uint16_t>(color[c] * 257));
        }
        set(TIFFTAG_COLORMAP, levels[0].data(), levels[1].data(), levels[2].data());
    }
    if (image.xPixelsPerMeter > 0) {
        const double unit = options.perInch ? 0.0254 : 0.01;
        set(TIFFTAG_RESOLUTIONUNIT, options.perInch ? RESUNIT_INCH : RESUNIT_CENTIMETER);
        set(TIFFTAG_XRESOLUTION, image.xPixelsPerMeter * unit);
        set(TIFFTAG_YRESOLUTION, image.yPixelsPerMeter * unit);
    }
}

void WriteTiles(TIFF* tiff, const Image& image, const TiffOptions& options) {
    const int size = options.tileSize;
    const std::size_t planes = options.planar ? static_cast<std::size_t>(image.Channels()) : 1;
    for (std::size_t plane = 0; plane < planes; ++plane) {
        for (int top = 0; top < image.height; top += size) {
            for (int left = 0; left < image.width; left += size) {
                Bytes tile = Pack(Cut(image, left, top, size, size, options.inverted), image.bits, plane, planes);
                Require(TIFFWriteTile(tiff, tile.data(), static_cast<std::uint32_t>(left),
                                      static_cast<std::uint32_t>(top), 0, static_cast<std::uint16_t>(plane)) > 0);
            }
        }
    }
}

void WriteRows(TIFF* tiff, const Image& image, const TiffOptions& options) {
    const std::size_t planes = options.planar ? static_cast<std::size_t>(image.Channels()) : 1;
    for (std::size_t plane = 0; plane < planes; ++plane) {
        for (int y = 0; y < image.height; ++y) {
            Bytes row = Pack(Cut(image, 0, y, image.width, 1, options.inverted), image.bits, plane, planes);
            Require(TIFFWriteScanline(tiff, row.data(), static_cast<std::uint32_t>(y),
                                      static_cast<std::uint16_t>(plane)) == 1);
        }
    }
}

}  // namespace

Bytes EncodeTiff(const Image& image, const TiffOptions& options) {
    Memory memory;
    TIFF* tiff = Open(memory, options.bigEndian ? "wb" : "wl");
    for (int i = 0; i < options.pictures; ++i) {
        SetTags(tiff, image, options);
        if (options.tileSize > 0) {
            Require(TIFFSetField(tiff, TIFFTAG_TILEWIDTH, options.tileSize) == 1);
            Require(TIFFSetField(tiff, TIFFTAG_TILELENGTH, options.tileSize) == 1);
            WriteTiles(tiff, image, options);
        } else {
            const int rows = options.rowsPerStrip > 0 ? options.rowsPerStrip : image.height;
            Require(TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rows) == 1);
            WriteRows(tiff, image, options);
        }
        Require(TIFFWriteDirectory(tiff) == 1);
    }
    TIFFClose(tiff);
    return memory.bytes;
}

Image DecodeTiff(const Bytes& bytes) {
    Memory memory{bytes};
    TIFF* tiff = Open(memory, "rm");
    const auto tag16 = [&](std::uint32_t tag) {
        std::uint16_t value = 0;
        Require(TIFFGetFieldDefaulted(tiff, tag, &value) == 1);
        return value;
    };
    Image image;
    Require(TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &image.width) == 1);
    Require(TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &image.height) == 1);
    image.bits = tag16(TIFFTAG_BITSPERSAMPLE);
    const int channels = tag16(TIFFTAG_SAMPLESPERPIXEL);
    const int photometric = tag16(TIFFTAG_PHOTOMETRIC);
    Require(tag16(TIFFTAG_PLANARCONFIG) == PLANARCONFIG_CONTIG && photometric != PHOTOMETRIC_MINISWHITE);
    image.kind = photometric == PHOTOMETRIC_PALETTE ? Kind::palette
                 : channels == 1                    ? Kind::grey
                 : channels == 2                    ? Kind::greyAlpha
                 : channels == 3                    ? Kind::rgb
                                                    : Kind::rgba;
    Require(image.Channels() == channels);
    if (channels % 2 == 0) {
        std::uint16_t count = 0;
        std::uint16_t* kinds = nullptr;
        Require(TIFFGetField(tiff, TIFFTAG_EXTRASAMPLES, &count, &kinds) == 1 && count == 1);
        image.associated = kinds[0] == EXTRASAMPLE_ASSOCALPHA;
    }
    if (image.kind == Kind::palette) {
        std::uint16_t *red = nullptr, *green = nullptr, *blue = nullptr;
        Require(TIFFGetField(tiff, TIFFTAG_COLORMAP, &red, &green, &blue) == 1);
        for (int i = 0; i < 1 << image.bits; ++i) {
            image.palette.push_back({static_cast<std::uint8_t>(red[i] >> 8), static_cast<std::uint8_t>(green[i] >> 8),
                                     static_cast<std::uint8_t>(blue[i] >> 8), 255});
        }
    }
    float x = 0, y = 0;
    if (TIFFGetField(tiff, TIFFTAG_XRESOLUTION, &x) == 1 && TIFFGetField(tiff, TIFFTAG_YRESOLUTION, &y) == 1) {
        const std::uint16_t unitTag = tag16(TIFFTAG_RESOLUTIONUNIT);
        const double unit = unitTag == RESUNIT_NONE ? 1 : unitTag == RESUNIT_CENTIMETER ? 100 : 1 / 0.0254;
        (unitTag == RESUNIT_NONE ? image.xAspect : image.xPixelsPerMeter) =
            static_cast<int>(std::lround(static_cast<double>(x) * unit));
        (unitTag == RESUNIT_NONE ? image.yAspect : image.yPixelsPerMeter) =
            static_cast<int>(std::lround(static_cast<double>(y) * unit));
    }
    std::uint32_t profileLength = 0;
    void* profile = nullptr;
    if (TIFFGetField(tiff, TIFFTAG_ICCPROFILE, &profileLength, &profile) == 1) {
        const auto* first = static_cast<const std::uint8_t*>(profile);
        image.profile.assign(first, first + profileLength);
    }
    Bytes row(static_cast<std::size_t>(TIFFScanlineSize(tiff)));
    for (int r = 0; r < image.height; ++r) {
        Require(TIFFReadScanline(tiff, row.data(), static_cast<std::uint32_t>(r), 0) == 1);
        for (int i = 0; i < image.width * channels; ++i) {
            image.samples.push_back(SampleAt(row, static_cast<std::size_t>(i), image.bits));
        }
    }
    TIFFClose(tiff);
    return image;
}

}  // namespace test
