// Here, where a bitmap in memory is a complete type.
#include "zbm/FilterState.h"

#include "zbm/ZBasicMemBitmap.h"

namespace zbm {

FilterState::FilterState() = default;
FilterState::~FilterState() = default;
OutputRowState::OutputRowState() = default;
OutputRowState::~OutputRowState() = default;

}  // namespace zbm
