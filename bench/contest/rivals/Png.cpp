// libpng: the picture at once, as RGB with its default filters; it is opaque, which spares it a quarter of the bytes.
#include <png.h>

#include <cmath>
#include <cstring>
#include <stdexcept>

#include "operations/Codec.h"

namespace contest {

namespace {

/// Where libpng writes to and reads from.
struct PngStream {
    std::uint8_t* next;
    std::size_t left;
};

[[noreturn]] void RaisePngError(png_structp, png_const_charp message) { throw std::runtime_error(message); }
void IgnorePngWarning(png_structp, png_const_charp) {}

void WritePngBytes(png_structp png, png_bytep bytes, std::size_t count) {
    auto* stream = static_cast<PngStream*>(png_get_io_ptr(png));
    if (count > stream->left) png_error(png, "buffer too small");
    std::memcpy(stream->next, bytes, count);
    stream->next += count;
    stream->left -= count;
}

void ReadPngBytes(png_structp png, png_bytep bytes, std::size_t count) {
    auto* stream = static_cast<PngStream*>(png_get_io_ptr(png));
    if (count > stream->left) png_error(png, "file too short");
    std::memcpy(bytes, stream->next, count);
    stream->next += count;
    stream->left -= count;
}

png_uint_32 SideOf(const Pixels& picture) {
    return static_cast<png_uint_32>(std::lround(std::sqrt(static_cast<double>(picture.size()) / 4)));
}

std::size_t Store(int level, const Pixels& picture, Pixels& block) {
    const png_uint_32 side = SideOf(picture);
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, RaisePngError, IgnorePngWarning);
    png_infop info = png_create_info_struct(png);
    PngStream stream{block.data(), block.size()};
    png_set_write_fn(png, &stream, WritePngBytes, nullptr);
    png_set_compression_level(png, level);
    png_set_IHDR(png, info, side, side, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    png_set_bgr(png);
    png_set_filler(png, 0, PNG_FILLER_AFTER);
    for (png_uint_32 y = 0; y < side; ++y) png_write_row(png, &picture[std::size_t{4} * side * y]);
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return block.size() - stream.left;
}

void Load(const std::uint8_t* block, std::size_t bytes, Pixels& picture) {
    const png_uint_32 side = SideOf(picture);
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, RaisePngError, IgnorePngWarning);
    png_infop info = png_create_info_struct(png);
    PngStream stream{const_cast<std::uint8_t*>(block), bytes};
    png_set_read_fn(png, &stream, ReadPngBytes);
    png_read_info(png, info);
    png_set_bgr(png);
    png_set_filler(png, 255, PNG_FILLER_AFTER);
    png_read_update_info(png, info);
    for (png_uint_32 y = 0; y < side; ++y) png_read_row(png, &picture[std::size_t{4} * side * y], nullptr);
    png_read_end(png, nullptr);
    png_destroy_read_struct(&png, &info, nullptr);
}

Codec Png(const char* name, int level) {
    return {name, Codec::Pieces::whole, [](std::size_t bytes) { return bytes + bytes / 8; },
            [=](const Pixels& picture, Pixels& block) { return Store(level, picture, block); }, Load};
}

[[maybe_unused]] const bool kAdded = Add({"libpng", [] { return RowsOf({Png("png 1", 1), Png("png 6", 6)}); }});

}  // namespace

}  // namespace contest
