#include "draw/DrawnSurface.h"

#include <algorithm>
#include <cstring>

namespace zbm {

namespace {

std::uint32_t PixelOf(const shr::Color4b& color, SurfaceLayout layout) {
    const auto channel = [&](unsigned value) {
        return layout == SurfaceLayout::pbgra ? (value * color.alpha + 127) / 255 : value;
    };
    const unsigned alpha = layout == SurfaceLayout::bgrx ? 255u : color.alpha;
    return channel(color.blue) | channel(color.green) << 8 | channel(color.red) << 16 | alpha << 24;
}

void Fill(std::uint8_t* pixels, std::uint32_t pixel, std::int64_t count) {
    for (std::int64_t i = 0; i < count; ++i) std::memcpy(pixels + 4 * i, &pixel, 4);
}

auto* DrawOverFor(SurfaceLayout layout) {
    const DrawKernels& kernels = ActiveDrawKernels();
    switch (layout) {
        case SurfaceLayout::bgra: return kernels.drawOverBgra;
        case SurfaceLayout::pbgra: return kernels.drawOverPbgra;
        default: return kernels.drawOverBgrx;
    }
}

RECT ClipOf(const PixelSurface& surface, const DrawOptions& options) {
    const RECT whole{0, 0, surface.width, surface.height};
    RECT clip = whole;
    if (options.clip) IntersectRect(&clip, &whole, &*options.clip);
    return clip;
}

}  // namespace

DrawnSurface::DrawnSurface(const PixelSurface& drawn, const Destination& destination, const DrawOptions& options)
    : surface(drawn),
      originX(destination.left),
      originY(destination.top),
      background(options.background),
      colors{PixelOf(options.colors[0], drawn.layout), PixelOf(options.colors[1], drawn.layout)},
      checkerSide(std::max(1, options.checkerSide)),
      drawOver(DrawOverFor(drawn.layout)) {
    const RECT clip = ClipOf(drawn, options);
    left = std::max<std::int64_t>(clip.left, destination.left) - originX;
    top = std::max<std::int64_t>(clip.top, destination.top) - originY;
    right = std::min<std::int64_t>(clip.right, destination.right) - originX;
    bottom = std::min<std::int64_t>(clip.bottom, destination.bottom) - originY;
}

std::uint8_t* DrawnSurface::At(std::int64_t x, std::int64_t y) const noexcept {
    return surface.firstRow + surface.stride * static_cast<std::ptrdiff_t>(originY + y) +
           4 * static_cast<std::ptrdiff_t>(originX + x);
}

void DrawnSurface::FillBackground(std::int64_t x, std::int64_t y, std::int64_t count) const noexcept {
    if (background == DrawOptions::Background::kept) return;
    std::uint8_t* pixels = At(x, y);
    if (background == DrawOptions::Background::color) return Fill(pixels, colors[0], count);
    for (const std::int64_t end = x + count; x < end;) {
        const std::int64_t run = std::min(end - x, checkerSide - x % checkerSide);
        Fill(pixels, colors[(x / checkerSide + y / checkerSide) % 2], run);
        pixels += 4 * run;
        x += run;
    }
}

void DrawnSurface::FillAround(std::int64_t innerLeft, std::int64_t innerTop, std::int64_t innerRight,
                              std::int64_t innerBottom) const noexcept {
    for (std::int64_t y = top; y < bottom; ++y) {
        if (y < innerTop || y >= innerBottom) {
            FillBackground(left, y, right - left);
        } else {
            FillBackground(left, y, innerLeft - left);
            FillBackground(innerRight, y, right - innerRight);
        }
    }
}

void DrawnSurface::DrawOver(std::int64_t x, std::int64_t y, const std::uint16_t* wide, std::size_t count) const {
    const DrawKernels& kernels = ActiveDrawKernels();
    if (kernels.isOpaqueWide(wide, count)) return kernels.narrow(At(x, y), wide, count);
    FillBackground(x, y, static_cast<std::int64_t>(count));
    drawOver(At(x, y), wide, count);
}

void DrawnSurface::DrawFine(std::int64_t x, std::int64_t y, std::uint16_t* fine, std::size_t count) const {
    const FineKernels& kernels = ActiveDrawKernels().fine;
    if (kernels.isOpaque(fine, count)) return kernels.narrow(At(x, y), fine, count);
    FillBackground(x, y, static_cast<std::int64_t>(count));
    kernels.widen(fine, count);
    drawOver(At(x, y), fine, count);
}

}  // namespace zbm
