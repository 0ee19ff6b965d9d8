// Ordered dither to any palette: of the mixture of entries that shows a pixel's colour, the pixel gets the one that the
// threshold of its place names. The entries' order, from dark to light, spreads each as evenly as the pattern does its
// thresholds.
//
// Mixtures are made for the colours of a lattice, when the first pixel needs them. A second threshold takes the pixel's
// colour to a colour of the lattice. Its steps are so small beside the distances of the entries that two neighbours on
// it differ in few thresholds; where entries are close, the lattice has all colours.
#include <array>

#include "dither/BlueNoise.h"
#include "dither/DitherKernels.h"
#include "dither/ZPixfDitherExact.h"
#include "dither/ZPixfDitherLines.h"
#include "dither/ZPixfDitherMixer.h"
#include "zpixf/ZPixfDither.h"

namespace zpixf {
namespace {

using Pattern = std::array<PatternLine, kPatternSide>;

/// Both thresholds of a place. Over the pattern each pair occurs once, so they do not disturb each other's means.
struct Thresholds {
    unsigned mixture, lattice;
};

/// What Bayer's pattern makes of the lowest six bits of a pixel's place: of each pair of bits first whether they
/// differ, then the row's. The lowest bits of the place change most often and so count most.
unsigned BayerRank(unsigned x, unsigned y) {
    unsigned bits = 0;
    for (unsigned bit = 0; bit < 6; ++bit) bits = bits << 2 | ((x ^ y) >> bit & 1) << 1 | (y >> bit & 1);
    return bits;
}

/// Within each square of 8 x 8 the thresholds of the lattice are even in any run of those of the mixture: the reverse
/// of two bits of theirs. From square to square they are shifted, so that over all 64 x 64 each meets each.
Thresholds BayerThresholds(unsigned x, unsigned y) {
    const unsigned rank = BayerRank(x, y);
    const unsigned reversed = (rank >> 6 & 1) << 1 | (rank >> 7 & 1);
    return {rank / kLatticeThresholds, (reversed + rank) % kLatticeThresholds};
}

Thresholds BlueNoiseThresholds(unsigned x, unsigned y) {
    const unsigned rank = kBlueNoise[y][x];
    return {rank / kLatticeThresholds, rank % kLatticeThresholds};
}

Pattern MakePattern(Thresholds (*thresholdsAt)(unsigned x, unsigned y)) {
    Pattern pattern{};
    for (unsigned y = 0; y < kPatternSide; ++y)
        for (unsigned x = 0; x < kPatternSide + kRun; ++x) {
            const Thresholds thresholds = thresholdsAt(x % kPatternSide, y);
            pattern[y].lattice[x] = thresholds.lattice;
            // The lowest threshold is the first to be passed, and so goes to the lightest entry.
            pattern[y].mixture[x] = ((kMixtureThresholds - 1 - thresholds.mixture) | 0x8000) * kInThreeLanes;
        }
    return pattern;
}

class OrderedDitherer : public LineDitherer {
public:
    OrderedDitherer(const RGBQUAD* entries, unsigned numEntries, std::size_t newWidth, double strength,
                    const Pattern& newPattern)
        : width(newWidth),
          pattern(newPattern),
          exactColors(entries, numEntries),
          mixer(entries, numEntries, strength) {}
    void Dither(unsigned line, const std::uint8_t* pixels, std::uint8_t* indices) override;

private:
    void Prepare(std::uint32_t color, std::uint32_t latticeThreshold);

    const std::size_t width;
    const DitherKernels& kernels = ActiveDitherKernels();
    const Pattern& pattern;
    const ExactColors exactColors;
    Mixer mixer;
    const std::unique_ptr<Mixture[]> mixtures = std::make_unique<Mixture[]>(std::size_t{1} << kPlaceBits);
    const std::unique_ptr<std::uint8_t[]> steps = std::make_unique<std::uint8_t[]>(kStepCells);
};

void OrderedDitherer::Dither(unsigned line, const std::uint8_t* pixels, std::uint8_t* indices) {
    const PatternLine& patternLine = pattern[line % kPatternSide];
    const MixtureTables tables{mixtures.get(), steps.get(), exactColors.slots.data(), exactColors.factor,
                               exactColors.shift};
    for (std::size_t x = 0;;) {
        x = kernels.ordered(tables, patternLine, pixels, x, width, indices);
        if (x == width) return;
        Prepare(PixelColor(pixels + 4 * x), patternLine.lattice[x % kPatternSide]);
    }
}

/// Makes what the kernel lacks for a pixel. A mixture depends on its colour alone, and not on what had its place
/// before.
void OrderedDitherer::Prepare(std::uint32_t color, std::uint32_t latticeThreshold) {
    std::uint8_t& step = steps[CellOf(color)];
    if (step == 0) step = static_cast<std::uint8_t>(mixer.StepAround((color & 0xF8F8F8) | 0x040404));
    const std::uint32_t latticeColor = LatticeColor(color, step, latticeThreshold);
    mixtures[latticeColor * kPlaceFactor >> kPlaceShift] = mixer.Mix(latticeColor);
}

}  // namespace

std::unique_ptr<LineDitherer> MakeOrderedDitherer(const RGBQUAD* entries, unsigned numEntries, std::size_t width,
                                                  double strength) {
    static const Pattern bayer = MakePattern(&BayerThresholds);
    return std::make_unique<OrderedDitherer>(entries, numEntries, width, strength, bayer);
}

std::unique_ptr<LineDitherer> MakeBlueNoiseDitherer(const RGBQUAD* entries, unsigned numEntries, std::size_t width,
                                                    double strength) {
    static const Pattern blueNoise = MakePattern(&BlueNoiseThresholds);
    return std::make_unique<OrderedDitherer>(entries, numEntries, width, strength, blueNoise);
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
