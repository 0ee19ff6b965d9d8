#include "convert/Quantize.h"
#include "zpixf/ZPixfDither.h"
#include "zpixf/ZPixfQuantize.h"

namespace zbm {
namespace {

template <class Filter>
std::unique_ptr<zpixf::ZPixFilterBase> Choosing(unsigned colors) {
    auto filter = std::make_unique<Filter>();
    filter->SetDesiredColors(colors);
    return filter;
}

}  // namespace

std::unique_ptr<zpixf::ZPixFilterBase> MakeQuantizer(int method, unsigned colors) {
    switch (method) {
        case QuantizeBy::ditherOrdered: return std::make_unique<zpixf::ZPixfDitherOrdered>();
        case QuantizeBy::ditherDiffuse: return std::make_unique<zpixf::ZPixfDitherDiffuse>();
        case QuantizeBy::popularity: return Choosing<zpixf::ZPixfQuantizePopularity>(colors);
        case QuantizeBy::median5: return Choosing<zpixf::ZPixfQuantizeMedian5>(colors);
        case QuantizeBy::median8: return Choosing<zpixf::ZPixfQuantizeMedian8>(colors);
        default: return nullptr;
    }
}

}  // namespace zbm
