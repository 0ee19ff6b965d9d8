// Ordered dither to any palette: of the mixture of entries that shows a pixel's colour, the pixel gets the one that the
// threshold of its place names. The entries' order, from dark to light, spreads each as evenly as the pattern does its
// thresholds.
//
// Mixtures are made for the colours of a lattice, when the first pixel needs them. A second threshold takes the pixel's
// colour to a colour of the lattice. Its steps are so small beside the distances of the entries that two neighbours on
// it differ in few thresholds; where entries are close, the lattice has all colours.
#include <algorithm>
#include <array>
#include <memory>
#include <utility>

#include "dither/BlueNoise.h"
#include "dither/DitherKernels.h"
#include "dither/ZPixfDitherLines.h"
#include "dither/ZPixfDitherTables.h"
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

/// Those of Bayer's matrix of 8 x 8, each in the middle of its run of mixture thresholds, or rather by turns a bit
/// before and behind it. So flat areas keep one small pattern, and the mean of each square is off by no more than the
/// half of such a run, which between entries that are not far apart is nothing.
Thresholds ShortBayerThresholds(unsigned x, unsigned y) {
    constexpr unsigned kRun = kMixtureThresholds / 64;
    const unsigned rank = BayerRank(x, y);
    const unsigned run = rank >> 6;
    return {run * kRun + ((rank >> 5 & 1) != 0 ? kRun * 5 / 8 : kRun * 3 / 8), (run & 1) << 1 | (run >> 1 & 1)};
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
            // The lowest threshold is the first to be passed, and so goes to the lightest entry.
            pattern[y].raise[x] = kLatticeThresholds - 1 - thresholds.lattice;
            pattern[y].threshold[x] = kMixtureThresholds - 1 - thresholds.mixture;
        }
    return pattern;
}

class OrderedDitherer : public LineDitherer {
public:
    OrderedDitherer(std::unique_ptr<OrderedTables> newTables, std::size_t newWidth, const Pattern& newPattern)
        : width(newWidth), pattern(newPattern), tables(std::move(newTables)) {}
    ~OrderedDitherer() override { KeepTables(std::move(tables)); }
    OrderedDitherer(const OrderedDitherer&) = delete;
    OrderedDitherer& operator=(const OrderedDitherer&) = delete;
    void Dither(unsigned line, const DitheredLine* lines, unsigned count, bool follow) override;

private:
    const std::size_t width;
    const DitherKernels& kernels = ActiveDitherKernels();
    const Pattern& pattern;
    std::unique_ptr<OrderedTables> tables;
};

void OrderedDitherer::Dither(unsigned line, const DitheredLine* lines, unsigned, bool) {
    const auto& [pixels, indices] = lines[0];
    const PatternLine& patternLine = pattern[line % kPatternSide];
    const ExactColors& exact = tables->exactColors;
    Mixtures& mixtures = tables->mixtures;
    const MixtureTables lookedUp{mixtures.Cells(), mixtures.All(), exact.slots.data(), exact.factor, exact.shift};
    for (std::size_t x = 0;;) {
        x = kernels.ordered(lookedUp, patternLine, pixels, x, width, indices);
        if (x == width) return;
        for (std::size_t i = x; i < std::min<std::size_t>(x + kRun, width); ++i)
            mixtures.Prepare(PixelColor(pixels + 4 * i), patternLine.raise[i % kPatternSide]);
    }
}

}  // namespace

std::unique_ptr<LineDitherer> MakeOrderedDitherer(const RGBQUAD* entries, unsigned numEntries, std::size_t width,
                                                  double strength) {
    static const Pattern bayer = MakePattern(&BayerThresholds), shortBayer = MakePattern(&ShortBayerThresholds);
    std::unique_ptr<OrderedTables> tables = TakeTables(entries, numEntries, strength);
    const Pattern& pattern = tables->mixtures.AreOfFew() ? bayer : shortBayer;
    return std::make_unique<OrderedDitherer>(std::move(tables), width, pattern);
}

std::unique_ptr<LineDitherer> MakeBlueNoiseDitherer(const RGBQUAD* entries, unsigned numEntries, std::size_t width,
                                                    double strength) {
    static const Pattern blueNoise = MakePattern(&BlueNoiseThresholds);
    return std::make_unique<OrderedDitherer>(TakeTables(entries, numEntries, strength), width, blueNoise);
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
