// Ordered dither to any palette.
//
// A palette seldom is a regular grid, so that adding a threshold and taking the nearest entry would not keep the mean.
// Instead a colour is made of palette entries in two steps that both keep it. The first dithers each channel to the
// lattice of 33 x 33 x 33 colours 8 levels apart. For each lattice colour there is a mixture, at most four palette
// entries whose mean it is, made when the first pixel needs it; the second step takes the entry of it that the pixel's
// threshold names. Their order, from dark to light, spreads each entry as evenly as the pattern does its thresholds.
#include <array>

#include "dither/DitherKernels.h"
#include "dither/ZPixfDitherExact.h"
#include "dither/ZPixfDitherLines.h"
#include "dither/ZPixfDitherMixer.h"
#include "zpixf/ZPixfDither.h"

namespace zpixf {
namespace {

/// What Bayer's pattern makes of the lowest six bits of a pixel's place: of each pair of bits first whether they
/// differ, then the row's. The lowest bits of the place change most often and so count most.
unsigned PlaceBits(unsigned x, unsigned y) {
    unsigned bits = 0;
    for (unsigned bit = 0; bit < 6; ++bit) bits = bits << 2 | ((x ^ y) >> bit & 1) << 1 | (y >> bit & 1);
    return bits;
}

/// Of the twelve bits, from the highest on, those with a 1 here make the threshold of the mixture, the others that of
/// the lattice. Each pair of thresholds occurs once in the pattern, so the two steps do not disturb each other's means;
/// and bits that change the colour by more levels change more often from pixel to pixel.
constexpr unsigned kMixtureBits = 0b111110101011;

struct Thresholds {
    unsigned mixture = 0, lattice = 0;
};

Thresholds ThresholdsAt(unsigned x, unsigned y) {
    const unsigned place = PlaceBits(x, y);
    Thresholds thresholds;
    for (unsigned bit = 12; bit-- > 0;) {
        unsigned& threshold = (kMixtureBits >> bit & 1) != 0 ? thresholds.mixture : thresholds.lattice;
        threshold = threshold << 1 | (place >> bit & 1);
    }
    // Only the 7 levels of the last step see more than three bits of the lattice's threshold; they share the mixture's.
    thresholds.lattice = thresholds.lattice << 3 | (thresholds.mixture & 7);
    return thresholds;
}

using Pattern = std::array<PatternLine, kPatternSide>;

Pattern MakePattern() {
    Pattern pattern{};
    for (unsigned y = 0; y < kPatternSide; ++y)
        for (unsigned x = 0; x < kPatternSide + kRun; ++x) {
            const Thresholds thresholds = ThresholdsAt(x % kPatternSide, y);
            pattern[y].lattice[x] = thresholds.lattice;
            // The lowest threshold is the first to be passed, and so goes to the lightest entry.
            pattern[y].mixture[x] = ((kMixtureThresholds - 1 - thresholds.mixture) | 0x8000) * kInThreeLanes;
        }
    return pattern;
}

/// Coordinates of a lattice colour.
struct LatticePlace {
    unsigned blue, green, red;
};

class OrderedDitherer : public LineDitherer {
public:
    OrderedDitherer(const RGBQUAD* entries, unsigned numEntries, std::size_t newWidth)
        : width(newWidth), exactColors(entries, numEntries), mixer(entries, numEntries) {}
    void Dither(unsigned line, const std::uint8_t* pixels, std::uint8_t* indices) override;

private:
    const Mixture& MixtureOf(const LatticePlace& place);

    const std::size_t width;
    const DitherKernels& kernels = ActiveDitherKernels();
    const Pattern pattern = MakePattern();
    const ExactColors exactColors;
    const Mixer mixer;
    const std::unique_ptr<Mixture[]> mixtures = std::make_unique<Mixture[]>(kLatticeColors);  // 575 KB
};

void OrderedDitherer::Dither(unsigned line, const std::uint8_t* pixels, std::uint8_t* indices) {
    const PatternLine& patternLine = pattern[line % kPatternSide];
    const MixtureTables tables{mixtures.get(), exactColors.slots.data(), exactColors.factor, exactColors.shift};
    for (std::size_t x = 0;;) {
        x = kernels.ordered(tables, patternLine, pixels, x, width, indices);
        if (x == width) return;
        const std::uint32_t threshold = patternLine.lattice[x % kPatternSide];
        const std::uint8_t* pixel = pixels + 4 * x;
        MixtureOf({LatticeCoordinate(pixel[0], threshold), LatticeCoordinate(pixel[1], threshold),
                   LatticeCoordinate(pixel[2], threshold)});
    }
}

// The search begins with the mixture of the lattice colour that lacks the lowest bit of all three coordinates, which
// may have to be made first. So a mixture does not depend on what else is in the picture.
const Mixture& OrderedDitherer::MixtureOf(const LatticePlace& place) {
    Mixture& mixture = mixtures[(place.red * kLatticeSide + place.green) * kLatticeSide + place.blue];
    if (mixture.ends[Mixture::kEntries - 1] != 0) return mixture;
    const unsigned bits = place.blue | place.green | place.red;
    const Mixture* start = nullptr;
    if (bits != 0) {
        const unsigned kept = ~(bits & (0u - bits));
        start = &MixtureOf({place.blue & kept, place.green & kept, place.red & kept});
    }
    return mixture = mixer.Mix(LatticeLevel(place.blue), LatticeLevel(place.green), LatticeLevel(place.red), start);
}

}  // namespace

std::unique_ptr<LineDitherer> MakeOrderedDitherer(const RGBQUAD* entries, unsigned numEntries, std::size_t width,
                                                  double) {
    return std::make_unique<OrderedDitherer>(entries, numEntries, width);
}

std::unique_ptr<LineDitherer> MakeBlueNoiseDitherer(const RGBQUAD* entries, unsigned numEntries, std::size_t width,
                                                    double) {
    return std::make_unique<OrderedDitherer>(entries, numEntries, width);
}

ZPixfDitherOrdered::ZPixfDitherOrdered() = default;
ZPixfDitherOrdered::~ZPixfDitherOrdered() = default;

ZPixfType ZPixfDitherOrdered::FilterType() const { return ZPixfType::DitherOrdered; }

bool ZPixfDitherOrdered::OnStart() { return StartWith(&MakeOrderedDitherer); }

ZPixfDitherBlueNoise::ZPixfDitherBlueNoise() = default;
ZPixfDitherBlueNoise::~ZPixfDitherBlueNoise() = default;

ZPixfType ZPixfDitherBlueNoise::FilterType() const { return ZPixfType::DitherBlueNoise; }

bool ZPixfDitherBlueNoise::OnStart() { return StartWith(&MakeBlueNoiseDitherer); }

}  // namespace zpixf
