// Cairo's image surfaces, whose pixels are made by pixman.
#include <cairo.h>

#include <memory>

#include "Contest.h"
#include "operations/Draw.h"

namespace contest {

namespace {

using SurfacePtr = std::shared_ptr<cairo_surface_t>;
using CairoPtr = std::shared_ptr<cairo_t>;

SurfacePtr SurfaceOf(const Square& square) {
    auto* const pixels = const_cast<std::uint8_t*>(square.pixels.data());  // a source is not written
    return {cairo_image_surface_create_for_data(pixels, CAIRO_FORMAT_RGB24, square.side, square.side, square.stride),
            cairo_surface_destroy};
}

Enter Paint(cairo_filter_t filter) {
    return [=](const Scene& scene) {
        const SurfacePtr from = SurfaceOf(scene.source), to = SurfaceOf(scene.result);
        const CairoPtr cairo(cairo_create(to.get()), cairo_destroy);
        const double scale = double(scene.result.side) / scene.source.side;
        cairo_scale(cairo.get(), scale, scale);
        cairo_set_source_surface(cairo.get(), from.get(), 0, 0);
        cairo_set_operator(cairo.get(), CAIRO_OPERATOR_SOURCE);
        cairo_pattern_set_filter(cairo_get_source(cairo.get()), filter);
        cairo_pattern_set_extend(cairo_get_source(cairo.get()), CAIRO_EXTEND_PAD);
        return Doing([from, to, cairo] { cairo_paint(cairo.get()); });
    };
}

Rows RowsOfCairo() {
    Rows rows;
    for (const Drawn& drawn : kDrawn) {
        if (drawn.isNearest)
            rows.push_back({drawn.name, {"Cairo NEAREST", Paint(CAIRO_FILTER_NEAREST)}});
        else if (drawn.zoom < 1)
            rows.push_back({drawn.name, {"Cairo BILINEAR", Paint(CAIRO_FILTER_BILINEAR)}});
        else
            rows.push_back({drawn.name, {"Cairo GOOD", Paint(CAIRO_FILTER_GOOD)}});
    }
    return rows;
}

[[maybe_unused]] const bool kAdded = Add({"Cairo", RowsOfCairo});

}  // namespace

}  // namespace contest
