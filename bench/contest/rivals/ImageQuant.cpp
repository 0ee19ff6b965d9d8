#include "rivals/ImageQuant.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>

namespace contest {

namespace {

constexpr auto kSide = static_cast<unsigned>(kPictureSide);
constexpr std::size_t kRowBytes = kPictureSide * 4;

bool ReadRow(void* picture, unsigned line, void* buffer) {
    std::memcpy(buffer, static_cast<const Pixels*>(picture)->data() + line * kRowBytes, kRowBytes);
    return true;
}

[[noreturn]] void RaiseWhatFailed(const zpixf::ZPixFilterBase& filter) {
    throw std::runtime_error("a filter fails at line " + std::to_string(filter.GetErrorLine()) + " of its source");
}

void Start(zpixf::ZPixFilterBase& filter, const Pixels& bgra, const zpixf::ZPixFormat& output) {
    filter.SetInputFormat(zpixf::ZPixFormat(kSide, kSide, 4, 8));
    filter.SetOutputFormat(output);
    filter.SetScanLineFunction(ReadRow, const_cast<Pixels*>(&bgra));
    if (!filter.Start()) RaiseWhatFailed(filter);
}

void Run(zpixf::ZPixFilterBase& filter, const Pixels& bgra, const zpixf::ZPixFormat& output, IndexedPicture& result) {
    Start(filter, bgra, output);
    for (unsigned y = 0; y < kSide; ++y)
        if (!filter.FilterScanline(y, &result.indices[y * kPictureSide])) RaiseWhatFailed(filter);
    std::copy_n(filter.GetOutputFormat().GetColors(), 256, result.table);
    filter.Stop();
}

zpixf::ZPixFormat Indices() { return zpixf::ZPixFormat(kSide, kSide, 1, 8, 256); }

}  // namespace

Pixels IndexedPicture::ToBgra() const {
    Pixels bgra(kPicturePixels * 4, 255);
    for (std::size_t i = 0; i < kPicturePixels; ++i) {
        const RGBQUAD color = table[indices[i]];
        bgra[4 * i] = color.rgbBlue;
        bgra[4 * i + 1] = color.rgbGreen;
        bgra[4 * i + 2] = color.rgbRed;
    }
    return bgra;
}

void Quantize(zpixf::ZPixfQuantize& quantizer, const Pixels& bgra, unsigned colors, IndexedPicture& result) {
    quantizer.SetDesiredColors(colors);
    Run(quantizer, bgra, Indices(), result);
}

void Dither(zpixf::ZPixfDither& ditherer, const Pixels& bgra, const RGBQUAD* table, IndexedPicture& result) {
    zpixf::ZPixFormat output = Indices();
    if (table != nullptr) output.FillColorTable(256, table);
    Run(ditherer, bgra, output, result);
}

void QuantizeAndDither(zpixf::ZPixfQuantize& quantizer, zpixf::ZPixfDither& ditherer, const Pixels& bgra,
                       IndexedPicture& result) {
    Start(quantizer, bgra, Indices());
    Dither(ditherer, bgra, quantizer.GetOutputFormat().GetColors(), result);
}

LiqChoice::LiqChoice(const Pixels& rgba, int colors, int speed) : attributes(liq_attr_create()) {
    liq_set_max_colors(attributes.get(), colors);
    liq_set_speed(attributes.get(), speed);
    image.reset(liq_image_create_rgba(attributes.get(), rgba.data(), int{kSide}, int{kSide}, 0));
    liq_result* chosen = nullptr;
    if (liq_image_quantize(image.get(), attributes.get(), &chosen) != LIQ_OK)
        throw std::runtime_error("libimagequant fails");
    result.reset(chosen);
}

void LiqChoice::Map(bool dithers, IndexedPicture& picture) const {
    liq_set_dithering_level(result.get(), dithers ? 1.0F : 0.0F);
    if (liq_write_remapped_image(result.get(), image.get(), picture.indices.data(), kPicturePixels) != LIQ_OK)
        throw std::runtime_error("libimagequant fails");
    const liq_palette* palette = liq_get_palette(result.get());
    for (unsigned i = 0; i < palette->count; ++i) {
        const liq_color color = palette->entries[i];
        picture.table[i] = {color.b, color.g, color.r, 0};
    }
}

}  // namespace contest
