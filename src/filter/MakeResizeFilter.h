#pragma once
#include <memory>

#include "zbm/ZBMLib2.h"
#include "zpixf/ZPixFilterBase.h"

namespace zbm {

/// The filter of a method; null for one that is none.
std::unique_ptr<zpixf::ZPixFilterBase> MakeResizeFilter(ResizeMethod method);

}  // namespace zbm
