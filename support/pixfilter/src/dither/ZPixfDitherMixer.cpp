#include "dither/ZPixfDitherMixer.h"

#include <algorithm>
#include <utility>

#include "palette/PackedColor.h"

namespace zpixf {

Mixer::Mixer(const RGBQUAD* entries, unsigned numEntries) {
    palette.count = (numEntries + MixPalette::kStep - 1) / MixPalette::kStep * MixPalette::kStep;
    std::uint32_t noise = 1;
    for (unsigned i = 0; i < palette.count; ++i) {
        const RGBQUAD& entry = entries[i < numEntries ? i : 0];
        palette.blue[i] = entry.rgbBlue;
        palette.green[i] = entry.rgbGreen;
        palette.red[i] = entry.rgbRed;
        noise = noise * 1664525 + 1013904223;
        // Repeated entries, and those beyond the count, must not take the place of the first of their kind.
        const bool isRepeated = std::any_of(entries, entries + std::min(i, numEntries), [&](const RGBQUAD& other) {
            return PackedColor(other) == PackedColor(entry);
        });
        palette.bias[i] = isRepeated ? MixPalette::kMostBias : (noise >> 8) * (MixPalette::kMostBias / (1 << 24));
        palette.squares[i] = palette.blue[i] * palette.blue[i] + palette.green[i] * palette.green[i] +
                             palette.red[i] * palette.red[i] + palette.bias[i];
    }
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

namespace {

Shares SharesOf(const Mixture& mixture) {
    Shares shares{};
    unsigned begin = 0;
    for (unsigned i = 0; i < Mixture::kEntries; ++i) {
        if (mixture.ends[i] == begin) continue;
        shares.entries[shares.count] = mixture.entries[i];
        shares.shares[shares.count] = static_cast<double>(mixture.ends[i] - begin) / kMixtureThresholds;
        ++shares.count;
        begin = mixture.ends[i];
    }
    return shares;
}

}  // namespace

Mixture Mixer::Mix(int blue, int green, int red, const Mixture* start) const {
    Shares shares = start != nullptr ? SharesOf(*start) : Shares{};
    kernels.mix(palette, blue, green, red, shares);
    Sort(shares);
    Mixture mixture{};
    double share = 0;
    for (unsigned i = 0; i < Mixture::kEntries; ++i) {
        const bool isLast = i + 1 >= shares.count;
        if (!isLast) share += shares.shares[i];
        mixture.ends[i] = static_cast<std::uint16_t>(isLast ? kMixtureThresholds : share * kMixtureThresholds + 0.5);
        mixture.entries[i] = static_cast<std::uint8_t>(shares.entries[isLast ? shares.count - 1 : i]);
    }
    return mixture;
}

}  // namespace zpixf
