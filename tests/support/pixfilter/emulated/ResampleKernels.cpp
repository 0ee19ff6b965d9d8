#define SIMD_PLAIN_BYTES 64
#include "resample/ResampleKernels.inl"

#include "EmulatedKernels.h"

const zpixf::ResampleKernels zpixf::kEmulatedResampleKernels = zpixf::kKernels;
