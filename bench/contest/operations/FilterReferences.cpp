#include "operations/FilterReferences.h"

#include <cmath>
#include <cstring>

#include "operations/ConvertRules.h"

namespace contest::references {

namespace {

const std::uint8_t* PixelAt(const Square& source, int x, int y) {
    return source.pixels.data() + std::ptrdiff_t{source.stride} * y + 4 * x;
}

/// Gives `make` each pixel of the result with its place.
template <class MakePixel>
void ForEachPlace(Square& result, const MakePixel& make) {
    std::uint8_t* pixel = result.pixels.data();
    for (int y = 0; y < result.side; ++y)
        for (int x = 0; x < result.side; ++x, pixel += 4) make(pixel, x, y);
}

/// Makes B, G and R of each pixel by `level(source pixel, channel)`, and hands alpha through.
template <class Level>
void SetColors(const Square& source, Square& result, const Level& level) {
    rules::ForEachPixel<4, 4>(source, result, [&](const auto* from, auto* to) {
        for (int c = 0; c < 3; ++c) to[c] = level(from, c);
        to[3] = from[3];
    });
}

double WeighedNeighbours(const Square& source, const Kernel& kernel, int left, int top, int channel) {
    double sum = 0;
    const double* factor = kernel.factors.data();
    const auto inside = [last = source.side - 1](int place) { return std::clamp(place, 0, last); };
    for (int y = top; y < top + kernel.side; ++y)
        for (int x = left; x < left + kernel.side; ++x)
            sum += *factor++ * PixelAt(source, inside(x), inside(y))[channel];
    return sum;
}

}  // namespace

Reference Levels(const Line& line) {
    return [levels = line.Levels()](const Square& source, Square& result) {
        SetColors(source, result, [&](const auto* from, int c) { return levels[from[c]]; });
    };
}

Reference Saturation(double amount) {
    constexpr unsigned kOne = 1 << 14;
    return [factor = static_cast<unsigned>(std::lround(amount * kOne))](const Square& source, Square& result) {
        SetColors(source, result, [&](const auto* from, int c) {
            const unsigned grey = ((kOne - factor) * rules::WeighedSum(from) + 500 * kOne) / 1000;
            return rules::Byte((factor * from[c] + grey) / kOne);
        });
    };
}

Reference Convolution(const Kernel& kernel) {
    return [kernel](const Square& source, Square& result) {
        const int reach = kernel.side / 2;
        ForEachPlace(result, [&](std::uint8_t* pixel, int x, int y) {
            for (int c = 0; c < 3; ++c)
                pixel[c] = Clamped(std::floor(WeighedNeighbours(source, kernel, x - reach, y - reach, c) + kHalf));
            pixel[3] = PixelAt(source, x, y)[3];
        });
    };
}

void Desaturation(const Square& source, Square& result) {
    SetColors(source, result,
              [](const auto* from, int) { return rules::Byte((rules::WeighedSum(from) + 500) / 1000); });
}

/// Exact halves go up in the fields of one colour of a chequered board, and down in the others.
void Half(const Square& source, Square& result) {
    ForEachPlace(result, [&, last = result.side - 1](std::uint8_t* pixel, int x, int y) {
        const bool goesUp = (std::min(x, last - x) + std::min(y, last - y)) % 2 == 0;
        const std::uint8_t *upper = PixelAt(source, 2 * x, 2 * y), *lower = PixelAt(source, 2 * x, 2 * y + 1);
        for (int c = 0; c < 4; ++c)
            pixel[c] = rules::Byte((0U + upper[c] + upper[c + 4] + lower[c] + lower[c + 4] + (goesUp ? 2 : 1)) / 4);
    });
}

void Nearest(const Square& source, Square& result) {
    const auto nearest = [&](int place) { return (2 * place + 1) * source.side / (2 * result.side); };
    ForEachPlace(result, [&](std::uint8_t* pixel, int x, int y) {
        std::memcpy(pixel, PixelAt(source, nearest(x), nearest(y)), 4);
    });
}

}  // namespace contest::references
