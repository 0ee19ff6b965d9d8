#pragma once
// For tests and benchmarks, which walk the levels that a program otherwise chooses from once.
#include "cpu/CpuLevel.h"

namespace zcdl {

/// Has all encoding and decoding from now on use the kernels of `level`; false, changing nothing, if this processor
/// does not run them. Not to be called while another thread encodes or decodes.
bool UseKernels(cpu::Level level) noexcept;

}  // namespace zcdl
