// Ordered dither to any palette: of the mixture of entries that shows a pixel's colour, the pixel gets the one that the
// threshold of its place names. The entries' order, from dark to light, spreads each as evenly as the pattern does its
// thresholds.
//
// Mixtures are made for small cubes of colours, when the first pixel needs them. Within a cube the shares are linear in
// the colour, so that the pixel's own colour decides.
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

/// What Bayer's pattern makes of the lowest six bits of a pixel's place: of each pair of bits first whether they
/// differ, then the row's. The lowest bits of the place change most often and so count most.
unsigned BayerRank(unsigned x, unsigned y) {
    unsigned bits = 0;
    for (unsigned bit = 0; bit < 6; ++bit) bits = bits << 2 | ((x ^ y) >> bit & 1) << 1 | (y >> bit & 1);
    return bits;
}

unsigned BlueNoiseRank(unsigned x, unsigned y) { return kBlueNoise[y][x]; }

Pattern MakePattern(unsigned (*rankAt)(unsigned x, unsigned y)) {
    Pattern pattern{};
    for (unsigned y = 0; y < kPatternSide; ++y)
        for (unsigned x = 0; x < kPatternSide + kRun; ++x)
            // The lowest rank is the first to be passed, and so goes to the lightest entry.
            pattern[y][x] = static_cast<std::uint16_t>(kThresholds - rankAt(x % kPatternSide, y));
    return pattern;
}

class OrderedDitherer : public LineDitherer {
public:
    OrderedDitherer(const RGBQUAD* entries, unsigned numEntries, std::size_t newWidth, double strength,
                    const Pattern& newPattern)
        : width(newWidth), pattern(newPattern), exactColors(entries, numEntries), mixer(entries, numEntries, strength) {}
    void Dither(unsigned line, const std::uint8_t* pixels, std::uint8_t* indices) override;

private:
    void Prepare(std::uint32_t color);

    const std::size_t width;
    const DitherKernels& kernels = ActiveDitherKernels();
    const Pattern& pattern;
    const ExactColors exactColors;
    const Mixer mixer;
    const std::unique_ptr<Mixture[]> mixtures = std::make_unique<Mixture[]>(std::size_t{1} << kPlaceBits);
    const std::unique_ptr<std::uint8_t[]> sides = std::make_unique<std::uint8_t[]>(kCubeCells);
};

void OrderedDitherer::Dither(unsigned line, const std::uint8_t* pixels, std::uint8_t* indices) {
    const PatternLine& patternLine = pattern[line % kPatternSide];
    const MixtureTables tables{mixtures.get(), sides.get(), exactColors.slots.data(), exactColors.factor,
                               exactColors.shift};
    for (std::size_t x = 0;;) {
        x = kernels.ordered(tables, patternLine, pixels, x, width, indices);
        if (x == width) return;
        Prepare(PixelColor(pixels + 4 * x));
    }
}

/// Makes what the kernel lacks for a pixel. A mixture depends on its cube alone, and not on what had its place before.
void OrderedDitherer::Prepare(std::uint32_t color) {
    std::uint8_t& side = sides[CellOf(color)];
    if (side == 0) side = static_cast<std::uint8_t>(mixer.SideIn(CubeOf(color, 8)));
    const std::uint32_t cube = CubeOf(color, side);
    mixtures[cube * kPlaceFactor >> kPlaceShift] = mixer.Mix(cube, side);
}

}  // namespace

std::unique_ptr<LineDitherer> MakeOrderedDitherer(const RGBQUAD* entries, unsigned numEntries, std::size_t width,
                                                  double strength) {
    static const Pattern bayer = MakePattern(&BayerRank);
    return std::make_unique<OrderedDitherer>(entries, numEntries, width, strength, bayer);
}

std::unique_ptr<LineDitherer> MakeBlueNoiseDitherer(const RGBQUAD* entries, unsigned numEntries, std::size_t width,
                                                    double strength) {
    static const Pattern blueNoise = MakePattern(&BlueNoiseRank);
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
