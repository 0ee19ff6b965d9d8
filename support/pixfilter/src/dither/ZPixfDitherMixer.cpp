#include "dither/ZPixfDitherMixer.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "palette/PackedColor.h"

namespace zpixf {
namespace {

double Blue(std::uint32_t color) { return color & 255; }
double Green(std::uint32_t color) { return color >> 8 & 255; }
double Red(std::uint32_t color) { return color >> 16 & 255; }

bool IsGrey(const RGBQUAD& color) { return color.rgbBlue == color.rgbGreen && color.rgbGreen == color.rgbRed; }

/// Sums of the first `count` - 1 shares, or of their changes, in units.
void SetEnds(const double* shares, unsigned count, double units, double most, std::int16_t* ends) {
    double sum = 0;
    for (unsigned i = 0; i + 1 < count; ++i) {
        sum += shares[i];
        ends[i] = static_cast<std::int16_t>(std::floor(std::clamp(sum * units, -most, most) + 0.5));
    }
}

bool IsCorner(const RGBQUAD& color) {
    const auto isEnd = [](unsigned channel) { return channel == 0 || channel == 255; };
    return isEnd(color.rgbBlue) && isEnd(color.rgbGreen) && isEnd(color.rgbRed);
}

}  // namespace

Mixer::Mixer(const RGBQUAD* entries, unsigned numEntries, double newStrength) : strength(newStrength) {
    unsigned corners = 0;
    for (unsigned i = 0; i < numEntries; ++i) {
        const std::uint32_t color = PackedColor(entries[i]);
        const bool isRepeated = std::any_of(entries, entries + i, [color](const RGBQUAD& earlier) {
            return PackedColor(earlier) == color;
        });
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
    palette.spread = spansAll ? 0.005 : 0.02;
    palette.reach = spansAll || palette.count < 4 ? 0 : 1.9;
    palette.alongGreys = spansAll ? 1.0 / 6 : 1.0 / 64;
}

// Within a cube the same entries have shares. That is little amiss where it is small beside the distances of the
// entries. Without strength each colour is on its own, as the nearest entry must be its very own.
unsigned Mixer::SideIn(std::uint32_t color) const {
    constexpr unsigned kMostSide = 8;
    constexpr double kPart = 1.0 / 4;
    const double fourth = kernels.lookAround(palette, Blue(color) + 3.5, Green(color) + 3.5, Red(color) + 3.5).fourth;
    unsigned side = 1;
    while (strength > 0 && side < kMostSide && (2 * side) * (2 * side) <= kPart * kPart * fourth) side *= 2;
    return side;
}

void Mixer::DrawToNearest(Shares& shares, unsigned nearest) const {
    for (unsigned i = 0; i < shares.count; ++i) {
        shares.shares[i] *= strength;
        for (auto& changes : shares.changes) changes[i] *= strength;
    }
    unsigned* place = std::find(shares.entries, shares.entries + shares.count, nearest);
    if (place == shares.entries + Mixture::kEntries) {  // there is no room: the entry of the least share makes way
        const double* const least = std::min_element(shares.shares, shares.shares + shares.count);
        place = shares.entries + (least - shares.shares);
    } else if (place == shares.entries + shares.count) {
        shares.shares[shares.count] = 0;
        for (auto& changes : shares.changes) changes[shares.count] = 0;
        ++shares.count;
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
            for (auto& changes : shares.changes) std::swap(changes[i], changes[i - 1]);
        }
}

Mixture Mixer::Mix(std::uint32_t color, unsigned side) const {
    const double middle = (side - 1) / 2.0;
    const double blue = Blue(color) + middle, green = Green(color) + middle, red = Red(color) + middle;
    Shares shares{};
    kernels.mix(palette, blue, green, red, shares);
    if (strength < 1) DrawToNearest(shares, kernels.lookAround(palette, blue, green, red).nearest);
    Sort(shares);
    Mixture mixture{};
    SetEnds(shares.shares, shares.count, kThresholds, kThresholds, mixture.values);
    if (side > 1) {
        // Half levels; three such products and a value stay within 16 bits.
        const double most = 9000.0 / (side - 1);
        SetEnds(shares.changes[0], shares.count, kThresholds / 2, most, mixture.blueFactors);
        SetEnds(shares.changes[1], shares.count, kThresholds / 2, most, mixture.greenFactors);
        SetEnds(shares.changes[2], shares.count, kThresholds / 2, most, mixture.redFactors);
    }
    for (unsigned i = 0; i < Mixture::kEntries; ++i)
        mixture.entries[i] = indices[shares.entries[std::min(i, shares.count - 1)]];
    for (unsigned i = shares.count - 1; i < Mixture::kEnds; ++i) mixture.values[i] = kThresholds;
    mixture.color = color | Mixture::kKnown;
    return mixture;
}

}  // namespace zpixf
