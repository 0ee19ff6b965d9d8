#include "PlainDithers.h"

#include <algorithm>
#include <array>
#include <unordered_map>

namespace photographs {
namespace {

using Color = std::array<float, 3>;  // blue, green, red

constexpr std::size_t kThresholds = 64;

/// A palette's channels one after the other, so that the compiler makes vectors of the search.
class Entries {
public:
    explicit Entries(const Palette& palette) {
        for (const RGBQUAD& entry : palette) {
            const float entryChannels[] = {static_cast<float>(entry.rgbBlue), static_cast<float>(entry.rgbGreen),
                                           static_cast<float>(entry.rgbRed)};
            for (std::size_t c = 0; c < 3; ++c) channels[c].push_back(entryChannels[c]);
        }
        distances.resize(palette.size());
    }

    Color At(std::size_t i) const { return {channels[0][i], channels[1][i], channels[2][i]}; }

    /// Of equal ones the first.
    std::uint8_t Nearest(const Color& color) {
        for (std::size_t i = 0; i < distances.size(); ++i) {
            const float blue = channels[0][i] - color[0], green = channels[1][i] - color[1],
                        red = channels[2][i] - color[2];
            distances[i] = blue * blue + green * green + red * red;
        }
        return static_cast<std::uint8_t>(std::min_element(distances.begin(), distances.end()) - distances.begin());
    }

private:
    std::array<std::vector<float>, 3> channels;
    std::vector<float> distances;
};

Color ColorOf(const std::uint8_t* pixel) {
    return {static_cast<float>(pixel[0]), static_cast<float>(pixel[1]), static_cast<float>(pixel[2])};
}

using Pattern = std::array<std::uint8_t, kThresholds>;

Pattern PatternFor(const Color& color, Entries& entries, const Palette& palette) {
    Pattern pattern;
    Color errors{};
    for (std::uint8_t& chosen : pattern) {
        Color wanted = color;
        for (std::size_t c = 0; c < 3; ++c) wanted[c] += errors[c] / 4;
        chosen = entries.Nearest(wanted);
        const Color entry = entries.At(chosen);
        for (std::size_t c = 0; c < 3; ++c) errors[c] += color[c] - entry[c];
    }
    const auto luma = [&](std::uint8_t i) {
        return 114 * palette[i].rgbBlue + 587 * palette[i].rgbGreen + 299 * palette[i].rgbRed;
    };
    std::sort(pattern.begin(), pattern.end(),
              [&](std::uint8_t a, std::uint8_t b) { return luma(a) != luma(b) ? luma(a) < luma(b) : a < b; });
    return pattern;
}

std::size_t BayersThreshold(std::size_t x, std::size_t y) {
    std::size_t threshold = 0;
    for (unsigned bit = 0; bit < 3; ++bit) threshold = threshold << 2 | ((x ^ y) >> bit & 1) << 1 | (y >> bit & 1);
    return threshold;
}

}  // namespace

Indices KnollsPattern(const bench::Square& bgra, const Palette& palette) {
    Entries entries(palette);
    std::unordered_map<std::uint32_t, Pattern> patterns;
    Indices indices;
    const auto side = static_cast<std::size_t>(bgra.side);
    for (std::size_t y = 0; y < side; ++y)
        for (std::size_t x = 0; x < side; ++x) {
            const std::uint8_t* pixel = &bgra.pixels[4 * (y * side + x)];
            const std::uint32_t color =
                pixel[0] | static_cast<std::uint32_t>(pixel[1]) << 8 | static_cast<std::uint32_t>(pixel[2]) << 16;
            auto found = patterns.find(color);
            if (found == patterns.end())
                found = patterns.emplace(color, PatternFor(ColorOf(pixel), entries, palette)).first;
            indices.push_back(found->second[BayersThreshold(x, y)]);
        }
    return indices;
}

Indices FloydSteinberg(const bench::Square& bgra, const Palette& palette) {
    Entries entries(palette);
    const auto side = static_cast<std::size_t>(bgra.side);
    std::vector<Color> errors(side + 2), below(side + 2);  // with a place beside the picture at either end
    Indices indices;
    for (std::size_t y = 0; y < side; ++y) {
        std::fill(below.begin(), below.end(), Color{});
        for (std::size_t x = 0; x < side; ++x) {
            Color value = ColorOf(&bgra.pixels[4 * (y * side + x)]);
            for (std::size_t c = 0; c < 3; ++c) value[c] = std::clamp(value[c] + errors[x + 1][c], 0.0F, 255.0F);
            indices.push_back(entries.Nearest(value));
            const Color entry = entries.At(indices.back());
            for (std::size_t c = 0; c < 3; ++c) {
                const float error = value[c] - entry[c];
                errors[x + 2][c] += error * 7 / 16;
                below[x][c] += error * 3 / 16;
                below[x + 1][c] += error * 5 / 16;
                below[x + 2][c] += error / 16;
            }
        }
        std::swap(errors, below);
    }
    return indices;
}

}  // namespace photographs
