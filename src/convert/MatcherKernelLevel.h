#pragma once
// The choice among the matcher's kernels.
#include "convert/MatcherKernels.h"
#include "cpu/CpuLevel.h"

namespace zbm {

/// The kernels in use, chosen once per process.
const MatcherKernels& ActiveMatcherKernels() noexcept;

/// For tests and benchmarks, which walk the levels: has all matching from now on use the kernels of `level`; false,
/// changing nothing, if this processor does not run them. Not to be called while another thread matches.
bool UseMatcherKernels(cpu::Level level) noexcept;

}  // namespace zbm
