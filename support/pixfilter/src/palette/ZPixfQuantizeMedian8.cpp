#include "palette/ColorBoxes.h"
#include "palette/ColorRefinement.h"
#include "zpixf/ZPixfQuantize.h"

namespace zpixf {
namespace {

// Further rounds gain less than 0.05 dB.
constexpr unsigned kRounds = 12;

}  // namespace

ZPixfQuantizeMedian8::ZPixfQuantizeMedian8() = default;
ZPixfQuantizeMedian8::~ZPixfQuantizeMedian8() = default;

ZPixfType ZPixfQuantizeMedian8::FilterType() const { return ZPixfType::QuantizeMedian8; }

void ZPixfQuantizeMedian8::ChooseColors(std::vector<ColorPoint>& colors) const {
    std::vector<ColorPoint> palette = CutIntoBoxes(colors, desiredColors, CutRule::variance);
    RefinePalette(palette, colors, kRounds);
    colors.swap(palette);
}

}  // namespace zpixf
