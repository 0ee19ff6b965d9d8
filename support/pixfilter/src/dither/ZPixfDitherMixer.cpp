#include "dither/ZPixfDitherMixer.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "palette/PackedColor.h"
#include "palette/PaletteShape.h"

namespace zpixf {
namespace {

void DrawToNearest(Shares& shares, unsigned nearest, double strength) {
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

/// Puts the darkest first, of equal ones that of the lowest number. (Of so few, std::sort is no quicker.)
void Sort(Shares& shares, const MixEntries& entries) {
    const auto luma = [&](unsigned i) { return 114 * entries.blue[i] + 587 * entries.green[i] + 299 * entries.red[i]; };
    const auto isDarker = [&](unsigned a, unsigned b) { return luma(a) != luma(b) ? luma(a) < luma(b) : a < b; };
    for (unsigned sorted = 1; sorted < shares.count; ++sorted)
        for (unsigned i = sorted; i > 0 && isDarker(shares.entries[i], shares.entries[i - 1]); --i) {
            std::swap(shares.entries[i], shares.entries[i - 1]);
            std::swap(shares.shares[i], shares.shares[i - 1]);
        }
}

/// The mixture of shares in order. An entry whose share holds no threshold is left out.
Mixture Packed(const Shares& shares, const std::uint8_t* indices) {
    std::array<std::uint32_t, Mixture::kEntries> entries{}, ends{};
    unsigned used = 0, end = 0;
    double share = 0;
    for (unsigned i = 0; i < shares.count; ++i) {
        share += shares.shares[i];
        const bool isLast = i + 1 == shares.count;
        const unsigned newEnd =
            isLast ? kMixtureThresholds : static_cast<unsigned>(std::floor(share * kMixtureThresholds + 0.5));
        if (newEnd <= end) continue;
        end = newEnd;
        entries[used] = indices[shares.entries[i]];
        ends[used++] = end;
    }
    Mixture mixture{entries[0], Mixture::kKnown};
    for (unsigned i = 1; i < Mixture::kEntries; ++i) {
        mixture.entries |= entries[std::min(i, used - 1)] << (8 * i);
        mixture.limits |= (ends[std::min(i, used) - 1] - 1) << (Mixture::kLimitBits * (i - 1));
    }
    return mixture;
}

}  // namespace

Mixer::Mixer(const RGBQUAD* entries, unsigned numEntries, double newStrength) : strength(newStrength) {
    for (unsigned i = 0; i < numEntries; ++i) {
        const std::uint32_t color = PackedColor(entries[i]);
        const bool isRepeated = std::any_of(entries, entries + i,
                                            [color](const RGBQUAD& earlier) { return PackedColor(earlier) == color; });
        if (isRepeated) continue;
        blue[count] = entries[i].rgbBlue;
        green[count] = entries[i].rgbGreen;
        red[count] = entries[i].rgbRed;
        indices[count] = static_cast<std::uint8_t>(i);
        ++count;
    }
    // Where every colour lies amid entries, its mean can be kept at little cost. Other palettes leave colours outside,
    // or between entries that are far apart, where a near mean is not worth what it takes.
    const bool spansAll = AreGreys(entries, numEntries) || HaveAllCorners(entries, numEntries);
    const bool hasFew = HasFew();
    if (spansAll) {
        weights = {0.005F, 1.0F / 6, 0};
        forTwo = 4 * 4;
        forFour = std::numeric_limits<std::uint32_t>::max();
    } else {
        constexpr float kReach = 1.9F;
        weights = {hasFew ? 0.041F : 0.0285F, 1.0F / 64, count < 4 ? 0 : kReach * kReach};
        forTwo = hasFew ? 32 * 32 : 20 * 20;
        forFour = 4 * forTwo;
    }
}

/// Shares change from colour to colour in proportion to the distances of the entries. Steps of a small part of these
/// are not seen in the pattern, the less the closer the entries are. Without strength each colour is on its own, as the
/// nearest entry must be its very own.
unsigned Mixer::StepShift(std::uint32_t lowest) const {
    if (strength == 0) return 0;
    constexpr std::uint32_t kHalfCell = 0x040404;
    const std::uint32_t fourth = kernels.lookAround(All().entries, lowest + kHalfCell).fourth;
    return fourth >= forFour ? 2 : fourth >= forTwo ? 1 : 0;
}

unsigned Mixer::FindNear(std::uint32_t lowest, std::uint8_t* numbers) const {
    return kernels.findNear(All().entries, weights, lowest, kCellLevels - 1, numbers);
}

Mixture Mixer::Mix(const MixList& list, std::uint32_t color) const {
    Shares shares{};
    kernels.mix(list.entries, weights, color, shares);
    if (strength < 1) DrawToNearest(shares, kernels.lookAround(list.entries, color).nearest, strength);
    Sort(shares, list.entries);
    return Packed(shares, list.indices);
}

}  // namespace zpixf
