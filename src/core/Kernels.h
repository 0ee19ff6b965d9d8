#pragma once
// For tests and benchmarks, which walk the levels that a program otherwise chooses from once.
#include "cpu/CpuLevel.h"

namespace zbm {

/// Has all work on pixels and masks from now on use the kernels of `level`; false, changing nothing, if this processor
/// does not run them. Not to be called while another thread uses bitmaps. The libraries below have their own.
bool UseKernels(cpu::Level level) noexcept;

}  // namespace zbm
