#include "ImageQuant.h"

#include <libimagequant.h>

#include <memory>
#include <stdexcept>
#include <utility>

namespace photographs {
namespace {

struct Destroy {
    void operator()(liq_attr* what) const { liq_attr_destroy(what); }
    void operator()(liq_image* what) const { liq_image_destroy(what); }
    void operator()(liq_result* what) const { liq_result_destroy(what); }
};

}  // namespace

Palette ImageQuantPalette(const bench::Square& bgra, unsigned colors) {
    bench::Square rgba = bgra;
    for (std::size_t i = 0; i < rgba.pixels.size(); i += 4) std::swap(rgba.pixels[i], rgba.pixels[i + 2]);
    const std::unique_ptr<liq_attr, Destroy> attributes(liq_attr_create());
    liq_set_max_colors(attributes.get(), static_cast<int>(colors));
    liq_set_speed(attributes.get(), 4);
    const std::unique_ptr<liq_image, Destroy> image(
        liq_image_create_rgba(attributes.get(), rgba.pixels.data(), rgba.side, rgba.side, 0));
    liq_result* chosen = nullptr;
    if (liq_image_quantize(image.get(), attributes.get(), &chosen) != LIQ_OK)
        throw std::runtime_error("libimagequant fails");
    const std::unique_ptr<liq_result, Destroy> result(chosen);
    // The palette is final only when a picture has been mapped to it.
    std::vector<std::uint8_t> indices(rgba.PixelCount());
    liq_set_dithering_level(result.get(), 0);
    if (liq_write_remapped_image(result.get(), image.get(), indices.data(), indices.size()) != LIQ_OK)
        throw std::runtime_error("libimagequant fails");
    const liq_palette* const entries = liq_get_palette(result.get());
    Palette palette;
    for (unsigned i = 0; i < entries->count; ++i)
        palette.push_back({entries->entries[i].b, entries->entries[i].g, entries->entries[i].r, 0});
    return palette;
}

}  // namespace photographs
