#pragma once
#include "core/Checks.h"
#include "zpixf/ZPixFilterBase.h"

namespace zbm {

/// What a family of bitmaps has of its own when filters run: its checks that a row of tiles holds the first line of the
/// input, a line that a filter pulls, and a line that is to be written; and the type of the filter (of
/// zpixf::MakeQuantizer) that chooses the colours of an indexed result.
struct FilterFamily {
    Check firstRow, inputRow, outputRow;
    zpixf::ZPixfType quantizer;
};

}  // namespace zbm
