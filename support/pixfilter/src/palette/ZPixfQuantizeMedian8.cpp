#include "palette/ColorHistogram.h"
#include "palette/LeastErrorPalette.h"
#include "zpixf/ZPixfQuantize.h"

namespace zpixf {

ZPixfQuantizeMedian8::ZPixfQuantizeMedian8() = default;
ZPixfQuantizeMedian8::~ZPixfQuantizeMedian8() = default;

ZPixfType ZPixfQuantizeMedian8::FilterType() const { return ZPixfType::QuantizeMedian8; }

std::vector<ColorPoint> ZPixfQuantizeMedian8::ChooseColors(const ColorHistogram& histogram) const {
    return LeastErrorPalette(histogram.FinestPoints(), desiredColors);
}

}  // namespace zpixf
