#include "operations/FilterReferences.h"

#include <cstring>

#include "operations/ConvertRules.h"

namespace contest::filters::references {

namespace {

const std::uint8_t* PixelAt(const Canvas& canvas, int x, int y) {
    return canvas.source + std::ptrdiff_t{canvas.SourceStride()} * y + 4 * x;
}

/// Gives `make` each pixel of the result with its place.
template <class MakePixel>
void ForEachPixel(const Canvas& canvas, const MakePixel& make) {
    std::uint8_t* pixel = canvas.result;
    for (int y = 0; y < canvas.to; ++y)
        for (int x = 0; x < canvas.to; ++x, pixel += 4) make(pixel, x, y);
}

/// Gives `level` of each colour of a pixel, and hands alpha through.
template <class Level>
void SetColors(std::uint8_t* pixel, const std::uint8_t* source, const Level& level) {
    for (int c = 0; c < 3; ++c) pixel[c] = level(c);
    pixel[3] = source[3];
}

double WeighedNeighbours(const Canvas& canvas, const Kernel& kernel, int left, int top, int channel) {
    double sum = 0;
    const double* factor = kernel.factors.data();
    for (int y = top; y < top + kernel.side; ++y)
        for (int x = left; x < left + kernel.side; ++x)
            sum += *factor++ *
                   PixelAt(canvas, std::clamp(x, 0, canvas.from - 1), std::clamp(y, 0, canvas.from - 1))[channel];
    return sum;
}

}  // namespace

Reference Levels(const Line& line) {
    return [levels = line.Levels()](const Canvas& canvas) {
        ForEachPixel(canvas, [&](std::uint8_t* pixel, int x, int y) {
            const std::uint8_t* source = PixelAt(canvas, x, y);
            SetColors(pixel, source, [&](int c) { return levels[source[c]]; });
        });
    };
}

Reference Saturation(double amount) {
    constexpr unsigned kOne = 1 << 14;
    return [factor = static_cast<unsigned>(std::lround(amount * kOne))](const Canvas& canvas) {
        ForEachPixel(canvas, [&](std::uint8_t* pixel, int x, int y) {
            const std::uint8_t* source = PixelAt(canvas, x, y);
            const unsigned grey = ((kOne - factor) * rules::WeighedSum(source) + 500 * kOne) / 1000;
            SetColors(pixel, source, [&](int c) { return rules::Byte((factor * source[c] + grey) / kOne); });
        });
    };
}

Reference Convolution(const Kernel& kernel) {
    return [kernel](const Canvas& canvas) {
        const int reach = kernel.side / 2;
        ForEachPixel(canvas, [&](std::uint8_t* pixel, int x, int y) {
            SetColors(pixel, PixelAt(canvas, x, y), [&](int c) {
                const double sum = WeighedNeighbours(canvas, kernel, x - reach, y - reach, c);
                return Line::Clamped(std::floor(sum + Line::kHalf));
            });
        });
    };
}

void Desaturation(const Canvas& canvas) {
    ForEachPixel(canvas, [&](std::uint8_t* pixel, int x, int y) {
        const std::uint8_t* source = PixelAt(canvas, x, y);
        SetColors(pixel, source, [&](int) { return rules::Byte((rules::WeighedSum(source) + 500) / 1000); });
    });
}

/// Exact halves go up in the fields of one colour of a chequered board, and down in the others.
void Half(const Canvas& canvas) {
    ForEachPixel(canvas, [&](std::uint8_t* pixel, int x, int y) {
        const int last = canvas.to - 1;
        const bool goesUp = (std::min(x, last - x) + std::min(y, last - y)) % 2 == 0;
        const std::uint8_t *upper = PixelAt(canvas, 2 * x, 2 * y), *lower = PixelAt(canvas, 2 * x, 2 * y + 1);
        for (int c = 0; c < 4; ++c)
            pixel[c] = rules::Byte((0U + upper[c] + upper[c + 4] + lower[c] + lower[c + 4] + (goesUp ? 2 : 1)) / 4);
    });
}

void Nearest(const Canvas& canvas) {
    const auto nearest = [&](int place) { return (2 * place + 1) * canvas.from / (2 * canvas.to); };
    ForEachPixel(canvas, [&](std::uint8_t* pixel, int x, int y) {
        std::memcpy(pixel, PixelAt(canvas, nearest(x), nearest(y)), 4);
    });
}

}  // namespace contest::filters::references
