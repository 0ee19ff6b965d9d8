#pragma once
// What ZBitmap::DrawOnPixels draws on, which part of the bitmap, and how.
#include <cstddef>
#include <cstdint>
#include <optional>

#include "gdi/gdi.h"
#include "shr/Color4b.h"

namespace zbm {

/// How four bytes of a surface make a pixel. Of each, the first three are blue, green, red.
enum class SurfaceLayout {
    bgrx,   ///< the fourth means nothing; every pixel that shows the bitmap or a background gets 255
    bgra,   ///< the fourth is alpha, the colour straight
    pbgra,  ///< the fourth is alpha, the colour multiplied by it
};

/// The caller's memory as something to draw on: a window's back buffer, a DIB section, a QImage, a Cairo surface.
///
/// Row y starts at firstRow + y * stride, at any address. A stride, in bytes, may be negative: then `firstRow`, the top
/// one, is the last in memory. Bytes between rows are neither read nor written.
struct PixelSurface {
    std::uint8_t* firstRow;
    std::ptrdiff_t stride;
    int width, height;
    SurfaceLayout layout;
};

/// A part of a bitmap in its pixels, whose corners need not be whole numbers. Pixel (x, y) is the square from (x, y) to
/// (x + 1, y + 1). It may reach outside the bitmap.
struct SourceArea {
    double left, top, width, height;
};

/// How a bitmap is drawn.
struct DrawOptions {
    enum class Enlarging { nearest, bilinear };
    enum class Shrinking { nearest, average };
    /// What is seen through transparent pixels and beside the bitmap.
    enum class Background {
        kept,          ///< what is on the surface
        color,         ///< colors[0]
        checkerboard,  ///< squares of colors[0] and colors[1]; colors[0] is in the destination's corner
    };

    /// Nothing outside of this rectangle of the surface is drawn; none: the whole surface.
    std::optional<RECT> clip = std::nullopt;
    Enlarging enlarging = Enlarging::bilinear;
    Shrinking shrinking = Shrinking::average;
    Background background = Background::kept;
    /// With their alpha, which replaces the surface's where it has one.
    shr::Color4b colors[2] = {{255, 255, 255}, {204, 204, 204}};
    /// The squares' side in pixels of the surface; below 1 stands for 1.
    int checkerSide = 8;
};

}  // namespace zbm
