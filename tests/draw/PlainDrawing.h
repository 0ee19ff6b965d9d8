#pragma once
// Drawing pixel by pixel in doubles and whole numbers, in the plainest words: the judge of DrawOnPixels.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "support_code/Pixels.h"
#include "zbm/Drawing.h"
#include "zbm/ZBMLib2.h"

namespace testkit {

/// Blue, green, red, each times alpha, and alpha times 255: 0 .. 65025.
struct WideColor {
    double channel[4];
};

/// The pixels of a bitmap as colours with alpha. What is no alpha is opaque, and a mask decides where there is one.
class PlainPicture {
public:
    explicit PlainPicture(const zbm::ZBitmap& bitmap)
        : width(bitmap.GetPixelWidth()), height(bitmap.GetPixelHeight()), format(bitmap.GetColorFormat()) {
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) pixels.push_back(ColorOf(bitmap, x, y));
    }

    const WideColor& At(int x, int y) const {
        return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)];
    }

    const int width, height;

private:
    WideColor ColorOf(const zbm::ZBitmap& bitmap, int x, int y) const {
        const std::uint32_t value = GetPixel(bitmap, x, y);
        double b, g, r, a = HasMask(format) ? (GetMask(bitmap, x, y) ? 255 : 0) : value >> 24;
        if (TableSize(format) != 0) {
            const shr::Color4b color = bitmap.GetConstColorTablePtr()[value];
            b = color.blue, g = color.green, r = color.red;
        } else if (BitsPerPixel(format) >= 24 && format != shr::GRAYSCALE_32) {
            b = value & 255, g = value >> 8 & 255, r = value >> 16 & 255;
            if (format == shr::RGBA_32) std::swap(b, r);
        } else {
            b = g = r = GreyOf(value);
        }
        const double factor = format == shr::PBGRA_32 ? 255 : a;
        return {{b * factor, g * factor, r * factor, a * 255}};
    }
    double GreyOf(std::uint32_t value) const {
        switch (format) {
            case shr::GRAYSCALE_1: return value * 255;
            case shr::GRAYSCALE_4: return value * 17;
            case shr::GRAYSCALE_16: return value >> 8;
            case shr::GRAYSCALE_32: return value >> 24;
            default: return value;
        }
    }

    ColorFormat format;
    std::vector<WideColor> pixels;
};

/// The pixels that one place shows along one axis, with weights that add up to 1.
struct PlainTap {
    int first;
    std::vector<double> weights;  ///< none: outside of the bitmap
    bool isExact = false;         ///< pixels are taken as they are, not blended
};

inline PlainTap PlainTapOf(double start, double length, long long places, long long i, int pixels,
                           const zbm::DrawOptions& options) {
    const double scale = length / static_cast<double>(places);
    const double middle = start + (static_cast<double>(i) + 0.5) * scale;
    if (!(middle >= 0 && middle < pixels)) return {0, {}};
    const bool isWhole = scale == 1 && start == std::floor(start);
    const bool isNearest = scale > 1 ? options.shrinking == zbm::DrawOptions::Shrinking::nearest
                                     : options.enlarging == zbm::DrawOptions::Enlarging::nearest;
    if (isNearest || isWhole) return {static_cast<int>(std::floor(middle)), {1}, true};
    if (scale <= 1) {
        const double place = std::clamp(middle - 0.5, 0.0, pixels - 1.0), before = std::floor(place);
        if (place == before) return {static_cast<int>(before), {1}};
        return {static_cast<int>(before), {1 - (place - before), place - before}};
    }
    const double begin = std::max(0.0, start + static_cast<double>(i) * scale);
    const double end = std::min<double>(pixels, start + static_cast<double>(i + 1) * scale);
    PlainTap tap{static_cast<int>(std::floor(begin)), {}};
    for (int x = tap.first; x < end; ++x)
        tap.weights.push_back((std::min(end, x + 1.0) - std::max<double>(begin, x)) / (end - begin));
    return tap;
}

inline WideColor PlainSum(const PlainPicture& picture, const PlainTap& column, const PlainTap& row) {
    WideColor sum{};
    for (std::size_t y = 0; y < row.weights.size(); ++y)
        for (std::size_t x = 0; x < column.weights.size(); ++x)
            for (int c = 0; c < 4; ++c)
                sum.channel[c] +=
                    row.weights[y] * column.weights[x] *
                    picture.At(column.first + static_cast<int>(x), row.first + static_cast<int>(y)).channel[c];
    return sum;
}

/// Four bytes as numbers, not yet rounded.
struct PlainPixel {
    double byte[4];
};

inline PlainPixel PlainBackground(const zbm::DrawOptions& options, zbm::SurfaceLayout layout, long long i, long long j,
                                  const std::uint8_t* surface) {
    if (options.background == zbm::DrawOptions::Background::kept)
        return {{double(surface[0]), double(surface[1]), double(surface[2]), double(surface[3])}};
    const long long side = std::max(1, options.checkerSide);
    const bool isSecond = options.background == zbm::DrawOptions::Background::checkerboard && (i / side + j / side) % 2;
    const shr::Color4b color = options.colors[isSecond];
    const double factor = layout == zbm::SurfaceLayout::pbgra ? color.alpha / 255.0 : 1;
    const double alpha = layout == zbm::SurfaceLayout::bgrx ? 255 : color.alpha;
    return {{std::round(color.blue * factor), std::round(color.green * factor), std::round(color.red * factor), alpha}};
}

inline PlainPixel PlainOver(const WideColor& color, const PlainPixel& below, zbm::SurfaceLayout layout) {
    const double alpha = color.channel[3] / 65025;
    PlainPixel pixel{};
    if (layout != zbm::SurfaceLayout::bgra) {
        for (int c = 0; c < 4; ++c)
            pixel.byte[c] = std::min(255.0, color.channel[c] / 255 + below.byte[c] * (1 - alpha));
        if (layout == zbm::SurfaceLayout::bgrx) pixel.byte[3] = 255;
        return pixel;
    }
    if (alpha == 0) return below;
    const double belowShare = below.byte[3] / 255 * (1 - alpha), both = alpha + belowShare;
    for (int c = 0; c < 3; ++c)
        pixel.byte[c] = std::min(255.0, (color.channel[c] / 255 + below.byte[c] * belowShare) / both);
    pixel.byte[3] = both * 255;
    return pixel;
}

/// Calls use(pixel of the surface, what it is to be, whether it is a pixel of the bitmap as it is or none).
template <class Use>
void DrawPlainly(const PlainPicture& picture, const zbm::PixelSurface& surface, const RECT& destination,
                 const zbm::SourceArea& area, const zbm::DrawOptions& options, Use use) {
    const RECT whole{0, 0, surface.width, surface.height};
    const RECT clip = options.clip.value_or(whole);
    for (int y = 0; y < surface.height; ++y) {
        for (int x = 0; x < surface.width; ++x) {
            const auto isIn = [&](const RECT& rect) {
                return x >= rect.left && x < rect.right && y >= rect.top && y < rect.bottom;
            };
            std::uint8_t* const at = surface.firstRow + surface.stride * y + 4 * x;
            if (!isIn(destination) || !isIn(clip)) {
                use(at, PlainPixel{{double(at[0]), double(at[1]), double(at[2]), double(at[3])}}, true);
                continue;
            }
            const long long i = x - static_cast<long long>(destination.left),
                            j = y - static_cast<long long>(destination.top);
            const PlainTap column =
                PlainTapOf(area.left, area.width, static_cast<long long>(destination.right) - destination.left, i,
                           picture.width, options);
            const PlainTap row =
                PlainTapOf(area.top, area.height, static_cast<long long>(destination.bottom) - destination.top, j,
                           picture.height, options);
            const PlainPixel below = PlainBackground(options, surface.layout, i, j, at);
            if (column.weights.empty() || row.weights.empty())
                use(at, below, true);
            else
                use(at, PlainOver(PlainSum(picture, column, row), below, surface.layout),
                    column.isExact && row.isExact);
        }
    }
}

}  // namespace testkit
