#include <png.h>

#include <cstdlib>
#include <cstring>
#include <iostream>

#include "apps/Image.h"

namespace test {

namespace {

// What these functions handle is valid; anything else is a bug that ends the test program with the library's words.
[[noreturn]] void Die(png_structp, png_const_charp message) {
    std::cerr << "libpng: " << message << std::endl;
    std::abort();
}
void Ignore(png_structp, png_const_charp) {}

struct Input {
    const Bytes& bytes;
    std::size_t position = 0;
};

int ColorType(Kind kind) {
    switch (kind) {
        case Kind::greyAlpha: return PNG_COLOR_TYPE_GRAY_ALPHA;
        case Kind::rgb: return PNG_COLOR_TYPE_RGB;
        case Kind::rgba: return PNG_COLOR_TYPE_RGB_ALPHA;
        case Kind::palette: return PNG_COLOR_TYPE_PALETTE;
        default: return PNG_COLOR_TYPE_GRAY;
    }
}

Kind KindOf(int colorType) {
    for (const Kind kind : {Kind::greyAlpha, Kind::rgb, Kind::rgba, Kind::palette}) {
        if (ColorType(kind) == colorType) return kind;
    }
    return Kind::grey;
}

void SetPalette(png_structp png, png_infop info, const Image& image) {
    std::vector<png_color> colors;
    Bytes alphas;
    bool opaque = true;
    for (const auto& color : image.palette) {
        colors.push_back({color[0], color[1], color[2]});
        alphas.push_back(color[3]);
        opaque = opaque && color[3] == 255;
    }
    png_set_PLTE(png, info, colors.data(), static_cast<int>(colors.size()));
    if (!opaque) png_set_tRNS(png, info, alphas.data(), static_cast<int>(alphas.size()), nullptr);
}

void SetTransparent(png_structp png, png_infop info, const std::vector<std::uint16_t>& transparent) {
    png_color_16 color{};
    color.gray = color.red = transparent.front();
    if (transparent.size() == 3) {
        color.green = transparent[1];
        color.blue = transparent[2];
    }
    png_set_tRNS(png, info, nullptr, 0, &color);
}

}  // namespace

Bytes EncodePng(const Image& image, const PngOptions& options) {
    Bytes bytes;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, &Die, &Ignore);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(
        png, &bytes,
        [](png_structp writer, png_bytep data, std::size_t count) {
            auto& target = *static_cast<Bytes*>(png_get_io_ptr(writer));
            target.insert(target.end(), data, data + count);
        },
        [](png_structp) {});
    png_set_IHDR(png, info, static_cast<png_uint_32>(image.width), static_cast<png_uint_32>(image.height), image.bits,
                 ColorType(image.kind), options.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_BASE, PNG_FILTER_TYPE_BASE);
    if (image.kind == Kind::palette) SetPalette(png, info, image);
    if (!options.transparent.empty()) SetTransparent(png, info, options.transparent);
    if (image.xPixelsPerMeter > 0) {
        png_set_pHYs(png, info, static_cast<png_uint_32>(image.xPixelsPerMeter),
                     static_cast<png_uint_32>(image.yPixelsPerMeter), PNG_RESOLUTION_METER);
    }
    if (image.xAspect > 0) {
        png_set_pHYs(png, info, static_cast<png_uint_32>(image.xAspect), static_cast<png_uint_32>(image.yAspect),
                     PNG_RESOLUTION_UNKNOWN);
    }
    if (!image.profile.empty()) {
        png_set_iCCP(png, info, "profile", PNG_COMPRESSION_TYPE_BASE, image.profile.data(),
                     static_cast<png_uint_32>(image.profile.size()));
    }
    Bytes exif = options.exif;
    if (!exif.empty() && !options.exifBehindPixels)
        png_set_eXIf_1(png, info, static_cast<png_uint_32>(exif.size()), exif.data());
    png_write_info(png, info);
    png_set_packing(png);
    const int passes = png_set_interlace_handling(png);
    for (int pass = 0; pass < passes; ++pass) {
        for (int y = 0; y < image.height; ++y) {
            Bytes row;
            for (int i = 0; i < image.width * image.Channels(); ++i) {
                const std::uint32_t sample = image.At(0, y, i);
                if (image.bits == 16) row.push_back(static_cast<std::uint8_t>(sample >> 8));
                row.push_back(static_cast<std::uint8_t>(sample));
            }
            png_write_row(png, row.data());
        }
    }
    // Without the record: the library would write what it has written once more.
    if (!exif.empty() && options.exifBehindPixels) {
        png_write_chunk(png, reinterpret_cast<png_const_bytep>("eXIf"), exif.data(), exif.size());
    }
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return bytes;
}

Image DecodePng(const Bytes& bytes) {
    Input input{bytes};
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, &Die, &Die);
    png_infop info = png_create_info_struct(png);
    png_set_read_fn(png, &input, [](png_structp reader, png_bytep data, std::size_t count) {
        auto& source = *static_cast<Input*>(png_get_io_ptr(reader));
        if (source.bytes.size() - source.position < count) Die(reader, "no more data");
        std::memcpy(data, source.bytes.data() + source.position, count);
        source.position += count;
    });
    png_read_info(png, info);
    Image image;
    image.kind = KindOf(png_get_color_type(png, info));
    image.bits = png_get_bit_depth(png, info);
    image.width = static_cast<int>(png_get_image_width(png, info));
    image.height = static_cast<int>(png_get_image_height(png, info));
    image.xPixelsPerMeter = static_cast<int>(png_get_x_pixels_per_meter(png, info));
    image.yPixelsPerMeter = static_cast<int>(png_get_y_pixels_per_meter(png, info));
    png_uint_32 xAspect = 0, yAspect = 0;
    int unit = PNG_RESOLUTION_METER;
    if (png_get_pHYs(png, info, &xAspect, &yAspect, &unit) != 0 && unit == PNG_RESOLUTION_UNKNOWN) {
        image.xAspect = static_cast<int>(xAspect);
        image.yAspect = static_cast<int>(yAspect);
    }
    png_charp name = nullptr;
    png_bytep profile = nullptr;
    png_uint_32 profileLength = 0;
    int compression = 0;
    if (png_get_iCCP(png, info, &name, &compression, &profile, &profileLength) != 0) {
        image.profile.assign(profile, profile + profileLength);
    }
    if (image.kind == Kind::palette) {
        png_colorp colors = nullptr;
        png_bytep alphas = nullptr;
        int colorCount = 0, alphaCount = 0;
        png_get_PLTE(png, info, &colors, &colorCount);
        png_get_tRNS(png, info, &alphas, &alphaCount, nullptr);
        for (int i = 0; i < colorCount; ++i) {
            const std::uint8_t alpha = i < alphaCount ? alphas[i] : std::uint8_t{255};
            image.palette.push_back({colors[i].red, colors[i].green, colors[i].blue, alpha});
        }
    }
    png_set_packing(png);
    png_set_interlace_handling(png);
    png_read_update_info(png, info);
    const std::size_t rowBytes = png_get_rowbytes(png, info);
    Bytes pixels(rowBytes * static_cast<unsigned>(image.height));
    std::vector<png_bytep> rows;
    for (int y = 0; y < image.height; ++y) rows.push_back(pixels.data() + rowBytes * static_cast<unsigned>(y));
    png_read_image(png, rows.data());
    png_read_end(png, nullptr);
    png_destroy_read_struct(&png, &info, nullptr);
    const std::size_t step = image.bits == 16 ? 2 : 1;
    for (std::size_t i = 0; i < pixels.size(); i += step) {
        image.samples.push_back(step == 2 ? static_cast<std::uint32_t>(pixels[i] << 8 | pixels[i + 1]) : pixels[i]);
    }
    return image;
}

}  // namespace test
