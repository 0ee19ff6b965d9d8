#include "palette/ColorBoxes.h"
#include "zpixf/ZPixfQuantize.h"

namespace zpixf {

ZPixfQuantizeMedian5::ZPixfQuantizeMedian5() = default;
ZPixfQuantizeMedian5::~ZPixfQuantizeMedian5() = default;

ZPixfType ZPixfQuantizeMedian5::FilterType() const { return ZPixfType::QuantizeMedian5; }

void ZPixfQuantizeMedian5::ChooseColors(std::vector<ColorPoint>& colors) const {
    std::vector<ColorPoint> merged = Merge(colors, 5);
    colors = CutIntoBoxes(merged.size() < desiredColors ? colors : merged, desiredColors, CutRule::median);
}

}  // namespace zpixf
