// libimagequant.
#include <libimagequant.h>

#include <memory>
#include <stdexcept>

#include "operations/ConvertRules.h"
#include "operations/Indexed.h"

namespace contest {

namespace {

/// A picture for which it has chosen colours.
class Choice {
public:
    Choice(std::shared_ptr<const Square> rgba, int colors, int speed)
        : picture(std::move(rgba)), attributes(liq_attr_create()) {
        liq_set_max_colors(attributes.get(), colors);
        liq_set_speed(attributes.get(), speed);
        image.reset(liq_image_create_rgba(attributes.get(), picture->pixels.data(), picture->side, picture->side, 0));
        liq_result* chosen = nullptr;
        Check(liq_image_quantize(image.get(), attributes.get(), &chosen));
        result.reset(chosen);
    }

    void Map(bool dithers, Square& indices) const {
        liq_set_dithering_level(result.get(), dithers ? 1.0F : 0.0F);
        Check(liq_write_remapped_image(result.get(), image.get(), indices.pixels.data(), indices.pixels.size()));
        const liq_palette* palette = liq_get_palette(result.get());
        for (unsigned i = 0; i < palette->count; ++i) {
            const liq_color color = palette->entries[i];
            indices.table[i] = {color.r, color.g, color.b};
        }
    }

private:
    static void Check(liq_error error) {
        if (error != LIQ_OK) throw std::runtime_error("libimagequant fails");
    }
    struct Destroy {
        void operator()(liq_attr* what) const { liq_attr_destroy(what); }
        void operator()(liq_image* what) const { liq_image_destroy(what); }
        void operator()(liq_result* what) const { liq_result_destroy(what); }
    };
    std::shared_ptr<const Square> picture;  // which the image does not copy
    std::unique_ptr<liq_attr, Destroy> attributes;
    std::unique_ptr<liq_image, Destroy> image;
    std::unique_ptr<liq_result, Destroy> result;
};

std::shared_ptr<const Square> ToRgba(const Square& bgra) {
    const auto rgba = std::make_shared<Square>(bgra);
    rules::SwapRedAndBlue(bgra, *rgba);
    return rgba;
}

Entrant Choosing(int speed, int colors, bool dithers) {
    return {"libimagequant speed " + std::to_string(speed), [=](const Scene& scene) {
                return Painting([=, rgba = ToRgba(scene.source)](const Square&, Square& indices) {
                    Choice(rgba, colors, speed).Map(dithers, indices);
                })(scene);
            }};
}

/// The colours are chosen beforehand.
Entrant Mapping(bool dithers) {
    return {"libimagequant, own colours", [=](const Scene& scene) {
                const auto choice = std::make_shared<Choice>(ToRgba(scene.source), 256, 10);
                return Painting([=](const Square&, Square& indices) { choice->Map(dithers, indices); })(scene);
            }};
}

Rows RowsOfImageQuant() {
    Rows rows = {{"dither to a palette", Mapping(true)}, {"map to a table", Mapping(false)}};
    for (const int speed : {4, 10}) {
        rows.push_back({"quantise 256", Choosing(speed, 256, false)});
        rows.push_back({"quantise 16", Choosing(speed, 16, false)});
        rows.push_back({"quantise and dither 256", Choosing(speed, 256, true)});
    }
    return rows;
}

[[maybe_unused]] const bool kAdded = Add({"libimagequant", RowsOfImageQuant});

}  // namespace

}  // namespace contest
