// Floyd and Steinberg's error diffusion to any palette, by turns four lines to the right and four to the left.
//
// All sums are in sixteenths of a level. What a pixel passes on are four whole parts that add up to its error, and what
// would fall beside the picture goes to the pixel below instead: no error is lost but in transparent pixels, below
// the last line, and by the limit.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <vector>

#include "dither/ZPixfDitherCandidates.h"
#include "dither/ZPixfDitherLines.h"
#include "palette/PaletteShape.h"
#include "zpixf/ZPixfDither.h"

namespace zpixf {
namespace {

constexpr int kMostLevels = 256;

int Apart(const RGBQUAD& a, const RGBQUAD& b) {
    return std::max(
        {std::abs(a.rgbRed - b.rgbRed), std::abs(a.rgbGreen - b.rgbGreen), std::abs(a.rgbBlue - b.rgbBlue)});
}

/// The way from an entry to its neighbour, in levels, of half of the entries at most. Repeated ones, as those that fill
/// a table up, do not count.
int UsualGap(const RGBQUAD* entries, unsigned numEntries) {
    std::vector<int> gaps;
    for (unsigned i = 0; i < numEntries; ++i) {
        const auto isSame = [&](const RGBQUAD& earlier) { return Apart(earlier, entries[i]) == 0; };
        if (std::any_of(entries, entries + i, isSame)) continue;
        int nearest = kMostLevels;
        for (unsigned j = 0; j < numEntries; ++j) {
            const int apart = Apart(entries[i], entries[j]);
            if (apart != 0) nearest = std::min(nearest, apart);
        }
        gaps.push_back(nearest);
    }
    std::sort(gaps.begin(), gaps.end());
    return gaps[gaps.size() / 2];
}

/// How far, in levels, errors may move a colour, and how far beyond the cube.
struct Limits {
    int move, beyond;
};

/// Where every colour lies amid entries, errors are made good somewhere near. Otherwise those of colours that no
/// mixture reaches would build up, and then be seen as stray dots of other hues, or be smeared over what follows.
Limits LimitsFor(const RGBQUAD* entries, unsigned numEntries) {
    const bool spansAll =
        AreGreys(entries, numEntries) ? HaveBlackAndWhite(entries, numEntries) : HaveAllCorners(entries, numEntries);
    if (spansAll) return {kMostLevels, kMostLevels};
    constexpr int kGaps = 2, kLeast = 16;
    return {std::clamp(kGaps * UsualGap(entries, numEntries), kLeast, kMostLevels), 0};
}

class DiffuseDitherer : public LineDitherer {
public:
    DiffuseDitherer(const RGBQUAD* entries, unsigned numEntries, std::size_t newWidth, double strength)
        : limits(LimitsFor(entries, numEntries)),
          rule{limits.move * kSixteenths, static_cast<std::int32_t>(std::lround(strength * 256))},
          candidates(entries, numEntries, limits.beyond),
          width(newWidth),
          sums(std::make_unique<DiffuseColor[]>(newWidth)) {}
    unsigned LinesAtOnce() const override { return kLines; }
    void Dither(unsigned line, const DitheredLine* lines, unsigned count, bool follow) override;

private:
    static constexpr unsigned kLines = DiffuseKernels::kMostLines;

    DiffuseLine LineOf(unsigned line, const DitheredLine& dithered) const;

    const Limits limits;
    const DiffuseRule rule;
    CandidateCells candidates;
    const std::size_t width;
    const std::unique_ptr<DiffuseColor[]> sums;  ///< what the line before left to each pixel
};

/// Four lines run to the right, the next four to the left.
DiffuseLine DiffuseDitherer::LineOf(unsigned line, const DitheredLine& dithered) const {
    DiffuseLine making{};
    making.pixels = dithered.pixels;
    making.indices = dithered.indices;
    making.count = width;
    const bool runsRight = line / kLines % 2 == 0;
    making.first = runsRight ? 0 : static_cast<std::ptrdiff_t>(width) - 1;
    making.step = runsRight ? 1 : -1;
    making.sums = sums.get();
    return making;
}

void DiffuseDitherer::Dither(unsigned line, const DitheredLine* lines, unsigned count, bool follow) {
    if (!follow) std::fill_n(sums.get(), width, DiffuseColor{});
    std::array<DiffuseLine, kLines> making;
    for (unsigned i = 0; i < count; ++i) making[i] = LineOf(line + i, lines[i]);
    const DiffuseKernels& kernels = ActiveDiffuseKernels();
    const auto go = [&] { return kernels.diffuse(candidates.Cells(), rule, making.data(), count); };
    for (unsigned missing = go(); missing != DiffuseKernels::kAllKnown; missing = go()) candidates.Find(missing);
}

}  // namespace

std::unique_ptr<LineDitherer> MakeDiffuseDitherer(const RGBQUAD* entries, unsigned numEntries, std::size_t width,
                                                  double strength) {
    return std::make_unique<DiffuseDitherer>(entries, numEntries, width, strength);
}

ZPixfDitherDiffuse::ZPixfDitherDiffuse() = default;
ZPixfDitherDiffuse::~ZPixfDitherDiffuse() = default;

ZPixfType ZPixfDitherDiffuse::FilterType() const { return ZPixfType::DitherDiffuse; }

bool ZPixfDitherDiffuse::OnStart() { return StartWith(&MakeDiffuseDitherer); }

}  // namespace zpixf
