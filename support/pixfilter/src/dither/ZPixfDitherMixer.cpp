#include "dither/ZPixfDitherMixer.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

#include "palette/PackedColor.h"

namespace zpixf {
namespace {

double Blue(std::uint32_t color) { return color & 255; }
double Green(std::uint32_t color) { return color >> 8 & 255; }
double Red(std::uint32_t color) { return color >> 16 & 255; }

constexpr std::size_t kMostNumbers = 1 << 20;

/// With so few, mixtures are coarse, and what is seen of them weighs more.
constexpr unsigned kFewEntries = 32;

bool IsGrey(const RGBQUAD& color) { return color.rgbBlue == color.rgbGreen && color.rgbGreen == color.rgbRed; }

bool IsCorner(const RGBQUAD& color) {
    const auto isEnd = [](unsigned channel) { return channel == 0 || channel == 255; };
    return isEnd(color.rgbBlue) && isEnd(color.rgbGreen) && isEnd(color.rgbRed);
}

}  // namespace

Mixer::Mixer(const RGBQUAD* entries, unsigned numEntries, double newStrength) : strength(newStrength) {
    unsigned corners = 0;
    for (unsigned i = 0; i < numEntries; ++i) {
        const std::uint32_t color = PackedColor(entries[i]);
        const bool isRepeated = std::any_of(entries, entries + i,
                                            [color](const RGBQUAD& earlier) { return PackedColor(earlier) == color; });
        if (isRepeated) continue;
        palette.blue[palette.count] = Blue(color);
        palette.green[palette.count] = Green(color);
        palette.red[palette.count] = Red(color);
        indices[palette.count] = static_cast<std::uint8_t>(i);
        ++palette.count;
        corners += IsCorner(entries[i]) ? 1 : 0;
    }
    // Where every colour lies amid entries, its mean can be kept at little cost. Other palettes leave colours outside,
    // or between entries that are far apart, where a near mean is not worth what it takes.
    const bool spansAll = corners == 8 || std::all_of(entries, entries + numEntries, IsGrey);
    palette.spread = spansAll ? 0.005 : palette.count < kFewEntries ? 0.035 : 0.02;
    palette.reach = spansAll || palette.count < 4 ? 0 : 1.9;
    palette.alongGreys = spansAll ? 1.0 / 6 : 1.0 / 64;
    forTwo = spansAll ? 4 * 4 : 16 * 16;
    forFour = spansAll ? 12 * 12 : 32 * 32;
    std::iota(all.begin(), all.end(), std::uint8_t{0});
    if (palette.reach == 0) return;
    around.resize(kStepCells);
    numbers.reserve(kMostNumbers);
    numbers.resize(1);
}

AmongEntries Mixer::AroundCell(std::uint32_t color) {
    if (palette.reach == 0) return All();
    std::uint32_t& cell = around[CellOf(color)];
    if (cell == 0) FindAround(color);
    return {numbers.data() + cell / MixPalette::kMost, cell % MixPalette::kMost + 1};
}

/// A colour of the cell lies within `radius` of its middle; so no entry is of use whose distance, less that, is more
/// than the palette's reach of the fourth-nearest one's, and that. (A level more makes up for any rounding.)
void Mixer::FindAround(std::uint32_t color) {
    if (numbers.size() + palette.count > kMostNumbers) {
        std::fill(around.begin(), around.end(), 0);
        numbers.resize(1);
    }
    constexpr double kRadius = 8;  // more than half of the diagonal of 8 levels
    const std::uint32_t middle = (color & 0xF8F8F8) | 0x040404;
    const double fourth =
        std::sqrt(kernels.lookAround(palette, All(), Blue(middle), Green(middle), Red(middle)).fourth);
    const double farthest = palette.reach * (fourth + kRadius) + kRadius;
    const std::size_t first = numbers.size();
    for (unsigned i = 0; i < palette.count; ++i) {
        const double blue = palette.blue[i] - Blue(middle), green = palette.green[i] - Green(middle),
                     red = palette.red[i] - Red(middle);
        if (blue * blue + green * green + red * red <= farthest * farthest)
            numbers.push_back(static_cast<std::uint8_t>(i));
    }
    around[CellOf(color)] = static_cast<std::uint32_t>(first * MixPalette::kMost + (numbers.size() - first - 1));
}

// Shares change from colour to colour in proportion to the distances of the entries. Steps of a small part of these are
// not seen in the pattern, the less the closer the entries are. Without strength each colour is on its own, as the
// nearest entry must be its very own.
unsigned Mixer::StepAround(std::uint32_t color) const {
    if (strength == 0) return 1;
    const double fourth = kernels.lookAround(palette, All(), Blue(color), Green(color), Red(color)).fourth;
    return fourth >= forFour ? 4 : fourth >= forTwo ? 2 : 1;
}

void Mixer::DrawToNearest(Shares& shares, unsigned nearest) const {
    for (unsigned i = 0; i < shares.count; ++i) shares.shares[i] *= strength;
    unsigned* place = std::find(shares.entries, shares.entries + shares.count, nearest);
    if (place == shares.entries + Mixture::kEntries) {  // there is no room: the entry of the least share makes way
        const double* const least = std::min_element(shares.shares, shares.shares + shares.count);
        place = shares.entries + (least - shares.shares);
    } else if (place == shares.entries + shares.count) {
        shares.shares[shares.count++] = 0;
    }
    *place = nearest;
    shares.shares[place - shares.entries] += 1 - strength;
}

bool Mixer::IsDarker(unsigned a, unsigned b) const {
    const auto luma = [&](unsigned i) { return 114 * palette.blue[i] + 587 * palette.green[i] + 299 * palette.red[i]; };
    return luma(a) != luma(b) ? luma(a) < luma(b) : a < b;
}

/// Puts the darkest first. (Of so few, std::sort is no quicker.)
void Mixer::Sort(Shares& shares) const {
    for (unsigned sorted = 1; sorted < shares.count; ++sorted)
        for (unsigned i = sorted; i > 0 && IsDarker(shares.entries[i], shares.entries[i - 1]); --i) {
            std::swap(shares.entries[i], shares.entries[i - 1]);
            std::swap(shares.shares[i], shares.shares[i - 1]);
        }
}

Mixture Mixer::Mix(std::uint32_t color) {
    Shares shares{};
    const AmongEntries among = AroundCell(color);
    kernels.mix(palette, among, Blue(color), Green(color), Red(color), shares);
    if (strength < 1)
        DrawToNearest(shares, kernels.lookAround(palette, among, Blue(color), Green(color), Red(color)).nearest);
    Sort(shares);
    Mixture mixture{};
    double share = 0;
    for (unsigned i = 0; i < Mixture::kEntries; ++i) {
        const bool isLast = i + 1 >= shares.count;
        if (!isLast) share += shares.shares[i];
        if (i + 1 < Mixture::kEntries)
            mixture.ends[i] =
                static_cast<std::uint16_t>(isLast ? kMixtureThresholds : share * kMixtureThresholds + 0.5);
        mixture.entries[i] = indices[shares.entries[isLast ? shares.count - 1 : i]];
    }
    mixture.color = color | Mixture::kKnown;
    return mixture;
}

}  // namespace zpixf
