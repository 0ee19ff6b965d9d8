#pragma once
// For tests and benchmarks, which walk the levels that a program otherwise chooses from once.
#include "cpu/CpuLevel.h"

namespace shr {

/// Has all copying of pixels from now on use the kernels of `level`; false, changing nothing, if this processor does
/// not run them. Not to be called while another thread copies pixels.
bool UseKernels(cpu::Level level) noexcept;

}  // namespace shr
