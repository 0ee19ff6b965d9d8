#define SIMD_PLAIN_BYTES 64
#include "median/MedianKernels.inl"

#include "EmulatedKernels.h"

const zpixf::MedianKernels zpixf::kEmulatedMedianKernels = zpixf::kKernels;
