#pragma once
// For tests and benchmarks, which walk the levels that a program otherwise chooses from once. Not installed.
#include "cpu/CpuLevel.h"
#include "zpixf/Export.h"

namespace zpixf {

/// Has every PaletteMap from now on use the kernels of `level`; false, changing nothing, if this processor does not run
/// them. Not to be called while another thread maps colours.
ZPIXF_API bool UsePaletteMapKernels(cpu::Level level) noexcept;

}  // namespace zpixf
