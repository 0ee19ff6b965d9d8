#define SIMD_PLAIN_BYTES 64
#include "convolve/ConvolutionKernels.inl"

#include "EmulatedKernels.h"

const zpixf::ConvolutionKernels zpixf::kEmulatedConvolutionKernels = zpixf::kKernels;
