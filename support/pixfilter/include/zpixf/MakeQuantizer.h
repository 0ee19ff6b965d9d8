#pragma once
#include <memory>

#include "zpixf/ZPixFilterBase.h"

namespace zpixf {

/// A filter that gives indices: the quantiser or ditherer of that type, null for all other types. A quantiser is to
/// choose `colors` colours (SetDesiredColors); a ditherer takes them from its output format.
ZPIXF_API std::unique_ptr<ZPixFilterBase> MakeQuantizer(ZPixfType type, unsigned colors);

}  // namespace zpixf
