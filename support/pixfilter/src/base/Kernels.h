#pragma once
// For tests and benchmarks, which walk the levels that a program otherwise chooses from once.
#include "cpu/CpuLevel.h"

namespace zpixf {

struct AdjustKernels;
struct ConvolutionKernels;
struct MedianHistogramKernels;
struct MedianKernels;
struct ResampleKernels;

/// Has every filter from now on use the kernels of `level`; false, changing nothing, if this processor does not run
/// them. Not to be called while another thread filters.
bool UseKernels(cpu::Level level) noexcept;

/// Has filters use kernels of the caller's, which must outlive their use.
void UseKernels(const AdjustKernels& kernels) noexcept;
void UseKernels(const ConvolutionKernels& kernels) noexcept;
void UseKernels(const MedianHistogramKernels& kernels) noexcept;
void UseKernels(const MedianKernels& kernels) noexcept;
void UseKernels(const ResampleKernels& kernels) noexcept;

}  // namespace zpixf
