#pragma once
// For tests and benchmarks, which walk the levels that a program otherwise chooses from once. Not installed.
#include "cpu/CpuLevel.h"
#include "zpixf/Export.h"

namespace zpixf {

/// Has every median filter from now on use the kernels of `level`; false, changing nothing, if this processor does not
/// run them. Not to be called while another thread filters.
ZPIXF_API bool UseMedianKernels(cpu::Level level) noexcept;

/// The same with kernels of the caller's, which must outlive their use.
struct MedianKernels;
ZPIXF_API void UseMedianKernels(const MedianKernels& kernels) noexcept;

}  // namespace zpixf
