#pragma once
// The part of a surface that is drawn, and what stands on it where the bitmap does not.
#include <cstdint>
#include <vector>

#include "draw/DrawKernels.h"
#include "zbm/Drawing.h"

namespace zbm {

/// Where a bitmap is drawn, in a surface's pixels.
struct Destination {
    std::int64_t left, top, right, bottom;
};

/// Places are columns and rows of the destination, counted from its corner, of those that are inside both the clip and
/// the surface; no other may be named.
class DrawnSurface {
public:
    DrawnSurface(const PixelSurface& surface, const Destination& destination, const DrawOptions& options);

    bool IsEmpty() const noexcept { return left >= right || top >= bottom; }
    std::int64_t Left() const noexcept { return left; }
    std::int64_t Top() const noexcept { return top; }
    std::int64_t Right() const noexcept { return right; }
    std::int64_t Bottom() const noexcept { return bottom; }

    std::uint8_t* At(std::int64_t x, std::int64_t y) const noexcept;
    std::ptrdiff_t Stride() const noexcept { return surface.stride; }

    /// Writes the background unless it is what is there.
    void FillBackground(std::int64_t x, std::int64_t y, std::int64_t count) const noexcept;
    /// The same for all that is outside of a rectangle.
    void FillAround(std::int64_t innerLeft, std::int64_t innerTop, std::int64_t innerRight,
                    std::int64_t innerBottom) const noexcept;
    /// Draws over the background.
    void DrawOver(std::int64_t x, std::int64_t y, const std::uint16_t* wide, std::size_t count) const;
    /// The same with fine pixels, which become wide ones.
    void DrawFine(std::int64_t x, std::int64_t y, std::uint16_t* fine, std::size_t count) const;

private:
    using Over = void(std::uint8_t* surface, const std::uint16_t* wide, std::size_t count);

    PixelSurface surface;
    std::int64_t originX, originY;
    std::int64_t left, top, right, bottom;
    DrawOptions::Background background;
    std::uint32_t colors[2];
    std::int64_t checkerSide;
    Over* drawOver;
};

}  // namespace zbm
