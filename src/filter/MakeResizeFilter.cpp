#include "filter/MakeResizeFilter.h"

namespace zbm {

std::unique_ptr<zpixf::ZPixFilterBase> MakeResizeFilter(ResizeMethod) { return nullptr; }

}  // namespace zbm
