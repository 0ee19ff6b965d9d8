#define SIMD_PLAIN_BYTES 64
#include "adjust/AdjustKernels.inl"

#include "EmulatedKernels.h"

const zpixf::AdjustKernels zpixf::kEmulatedAdjustKernels = zpixf::kKernels;
