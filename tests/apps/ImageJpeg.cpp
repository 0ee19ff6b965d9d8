// jpeglib.h needs FILE, but does not include it.
#include <cstdio>
// Keep this order.
#include <jpeglib.h>

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "apps/Image.h"

namespace test {

Bytes EncodeJpeg(const Image& image, const JpegOptions& options) {
    jpeg_compress_struct encoder{};
    jpeg_error_mgr errors{};  // the library's own: it prints and ends the program
    encoder.err = jpeg_std_error(&errors);
    jpeg_create_compress(&encoder);
    unsigned char* memory = nullptr;
    unsigned long length = 0;
    jpeg_mem_dest(&encoder, &memory, &length);
    encoder.image_width = static_cast<JDIMENSION>(image.width);
    encoder.image_height = static_cast<JDIMENSION>(image.height);
    encoder.input_components = image.Channels();
    encoder.in_color_space = options.cmyk ? JCS_CMYK : image.kind == Kind::grey ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&encoder);
    if (options.ycck) jpeg_set_colorspace(&encoder, JCS_YCCK);
    if (!options.adobe) encoder.write_Adobe_marker = FALSE;
    jpeg_set_quality(&encoder, options.quality, TRUE);
    if (options.fullColor) encoder.comp_info[0].h_samp_factor = encoder.comp_info[0].v_samp_factor = 1;
    if (options.progressive) jpeg_simple_progression(&encoder);
    const jpeg_scan_info means{encoder.num_components, {0, 1, 2, 3}, 0, 0, 0, 0};
    if (options.onlyMeans) {
        encoder.scan_info = &means;
        encoder.num_scans = 1;
    }
    encoder.arith_code = options.arithmetic ? TRUE : FALSE;
    encoder.restart_in_rows = options.restartRows;
    encoder.density_unit = static_cast<UINT8>(options.densityUnit);
    encoder.X_density = encoder.Y_density = static_cast<UINT16>(options.density);
    if (image.xAspect > 0) {
        encoder.X_density = static_cast<UINT16>(image.xAspect);
        encoder.Y_density = static_cast<UINT16>(image.yAspect);
    }
    jpeg_start_compress(&encoder, TRUE);
    if (!options.exif.empty()) {
        Bytes marker{'E', 'x', 'i', 'f', 0, 0};
        marker.insert(marker.end(), options.exif.begin(), options.exif.end());
        jpeg_write_marker(&encoder, JPEG_APP0 + 1, marker.data(), static_cast<unsigned>(marker.size()));
    }
    if (options.profile) {
        const Bytes marker{'I', 'C', 'C', '_', 'P', 'R', 'O', 'F', 'I', 'L', 'E', 0, 1, 1, 0};
        jpeg_write_marker(&encoder, JPEG_APP0 + 2, marker.data(), static_cast<unsigned>(marker.size()));
    }
    if (!image.profile.empty()) {
        jpeg_write_icc_profile(&encoder, image.profile.data(), static_cast<unsigned>(image.profile.size()));
    }
    for (int y = 0; y < image.height; ++y) {
        Bytes row;
        for (int i = 0; i < image.width * image.Channels(); ++i) {
            row.push_back(static_cast<std::uint8_t>(image.At(0, y, i)));
        }
        JSAMPROW pointer = row.data();
        jpeg_write_scanlines(&encoder, &pointer, 1);
    }
    jpeg_finish_compress(&encoder);
    jpeg_destroy_compress(&encoder);
    Bytes bytes(memory, memory + length);
    std::free(memory);
    return bytes;
}

void SetJpegSize(Bytes& file, int width, int height) {
    // The frame's header is of a marker FFC0 .. FFCF, but for the one of coding tables: length, precision, height,
    // width.
    std::size_t at = 2;
    while ((file[at + 1] & 0xF0) != 0xC0 || file[at + 1] == 0xC4 || file[at + 1] == 0xCC)
        at += 2 + std::size_t{file[at + 2]} * 256 + file[at + 3];
    const auto put = [&](std::size_t offset, int value) {
        file[at + offset] = static_cast<std::uint8_t>(value >> 8);
        file[at + offset + 1] = static_cast<std::uint8_t>(value);
    };
    put(5, height);
    put(7, width);
}

Image DecodeJpeg(const Bytes& bytes) {
    jpeg_decompress_struct decoder{};
    jpeg_error_mgr errors{};
    decoder.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&decoder);
    jpeg_mem_src(&decoder, bytes.data(), static_cast<unsigned long>(bytes.size()));
    jpeg_save_markers(&decoder, JPEG_APP0 + 2, 0xFFFF);
    jpeg_read_header(&decoder, TRUE);
    decoder.out_color_space = decoder.num_components == 1 ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_start_decompress(&decoder);
    Image image;
    image.kind = decoder.num_components == 1 ? Kind::grey : Kind::rgb;
    image.width = static_cast<int>(decoder.output_width);
    image.height = static_cast<int>(decoder.output_height);
    const double unit = decoder.density_unit == 1 ? 1 / 0.0254 : decoder.density_unit == 2 ? 100 : 0;
    image.xPixelsPerMeter = static_cast<int>(std::lround(decoder.X_density * unit));
    image.yPixelsPerMeter = static_cast<int>(std::lround(decoder.Y_density * unit));
    if (decoder.density_unit == 0 && decoder.X_density != decoder.Y_density) {
        image.xAspect = decoder.X_density;
        image.yAspect = decoder.Y_density;
    }
    // The writer puts the parts in their order.
    for (jpeg_saved_marker_ptr marker = decoder.marker_list; marker != nullptr; marker = marker->next) {
        constexpr unsigned kHead = 14;  // the name, and the part's number of how many
        if (marker->data_length < kHead || std::memcmp(marker->data, "ICC_PROFILE", 12) != 0) continue;
        image.profile.insert(image.profile.end(), marker->data + kHead, marker->data + marker->data_length);
    }
    Bytes row(static_cast<std::size_t>(image.width * image.Channels()));
    for (int y = 0; y < image.height; ++y) {
        JSAMPROW pointer = row.data();
        jpeg_read_scanlines(&decoder, &pointer, 1);
        image.samples.insert(image.samples.end(), row.begin(), row.end());
    }
    jpeg_finish_decompress(&decoder);
    jpeg_destroy_decompress(&decoder);
    return image;
}

}  // namespace test
