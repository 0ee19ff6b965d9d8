#include "palette/ColorBoxes.h"
#include "zpixf/ZPixfQuantize.h"

namespace zpixf {

ZPixfQuantizeMedian5::ZPixfQuantizeMedian5() = default;
ZPixfQuantizeMedian5::~ZPixfQuantizeMedian5() = default;

ZPixfType ZPixfQuantizeMedian5::FilterType() const { return ZPixfType::QuantizeMedian5; }

std::vector<ColorPoint> ZPixfQuantizeMedian5::ChooseColors(const ColorHistogram& histogram) const {
    std::vector<ColorPoint> colors = histogram.Points(), merged = Merge(colors, 5);
    return CutIntoBoxes(merged.size() < desiredColors ? colors : merged, desiredColors, CutRule::median);
}

}  // namespace zpixf
