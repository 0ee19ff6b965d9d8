// Draws a picture into a Cairo surface, between what Cairo draws itself, and stores that as cairo.png.
#include <cairo.h>

#include <cstdint>
#include <cstdio>
#include <vector>

#include "zbm/Drawing.h"
#include "zbm/ZMemBitmap.h"

namespace {

/// Cairo's pixels are 32-bit numbers with alpha on top, premultiplied: on the processors that we run on, these bytes.
zbm::PixelSurface SurfaceOf(cairo_surface_t* image) {
    cairo_surface_flush(image);
    return {cairo_image_surface_get_data(image), cairo_image_surface_get_stride(image),
            cairo_image_surface_get_width(image), cairo_image_surface_get_height(image), zbm::SurfaceLayout::pbgra};
}

zbm::ZMemBitmap Rings() {
    constexpr int kSide = 1024;
    zbm::ZMemBitmap rings(kSide, kSide, shr::BGR_24);
    std::vector<std::uint8_t> row(3 * kSide, 90);
    for (int y = 0; y < kSide; ++y) {
        for (int x = 0; x < kSide; ++x) row.data()[3 * x] = static_cast<std::uint8_t>((x * x + y * y) >> 10);
        rings.StoreRegion(row.data(), 3 * kSide, 0, y, kSide, 1);
    }
    return rings;
}

}  // namespace

int main() {
    cairo_surface_t* const image = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 400, 300);
    cairo_t* const cairo = cairo_create(image);
    cairo_set_source_rgb(cairo, 1, 1, 1);
    cairo_paint(cairo);

    zbm::ZMemBitmap rings = Rings();
    bool drawn = rings.CommitAll(nullptr);  // reductions, of which small copies are made quickly
    drawn = drawn && rings.DrawOnPixels(SurfaceOf(image), {50, 0, 350, 300}, {0, 0, 1024, 1024}, {}, nullptr);
    cairo_surface_mark_dirty(image);

    cairo_set_source_rgb(cairo, 1, 0, 0);
    cairo_rectangle(cairo, 50, 0, 300, 300);
    cairo_stroke(cairo);
    const bool isStored = cairo_surface_write_to_png(image, "cairo.png") == CAIRO_STATUS_SUCCESS;
    const std::uint8_t* const middle =
        cairo_image_surface_get_data(image) + 150 * cairo_image_surface_get_stride(image) + 4 * 200;
    std::printf("drawn: %d, stored: %d, in the middle %d %d %d\n", drawn, isStored, middle[2], middle[1], middle[0]);
    cairo_destroy(cairo);
    cairo_surface_destroy(image);
    return drawn && isStored ? 0 : 1;
}
