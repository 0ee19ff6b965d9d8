#include "zpixf/MakeQuantizer.h"

#include "zpixf/ZPixfDither.h"
#include "zpixf/ZPixfQuantize.h"

namespace zpixf {
namespace {

template <class Quantizer>
std::unique_ptr<ZPixFilterBase> Choosing(unsigned colors) {
    auto quantizer = std::make_unique<Quantizer>();
    quantizer->SetDesiredColors(colors);
    return quantizer;
}

}  // namespace

std::unique_ptr<ZPixFilterBase> MakeQuantizer(ZPixfType type, unsigned colors) {
    switch (type) {
        case ZPixfType::DitherOrdered: return std::make_unique<ZPixfDitherOrdered>();
        case ZPixfType::DitherBlueNoise: return std::make_unique<ZPixfDitherBlueNoise>();
        case ZPixfType::DitherDiffuse: return std::make_unique<ZPixfDitherDiffuse>();
        case ZPixfType::QuantizePopularity: return Choosing<ZPixfQuantizePopularity>(colors);
        case ZPixfType::QuantizeMedian5: return Choosing<ZPixfQuantizeMedian5>(colors);
        case ZPixfType::QuantizeMedian8: return Choosing<ZPixfQuantizeMedian8>(colors);
        default: return nullptr;
    }
}

}  // namespace zpixf
