#pragma once
#include "core/Checks.h"

namespace zbm {

/// What a family of bitmaps has of its own when filters run: its checks that a row of tiles holds the first line of the
/// input, a line that a filter pulls, and a line that is to be written; and the QuantizeBy value of what chooses the
/// colours of an indexed result.
struct FilterFamily {
    Check firstRow, inputRow, outputRow;
    int quantizer;
};

}  // namespace zbm
