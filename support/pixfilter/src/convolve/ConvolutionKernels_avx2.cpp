#include "convolve/ConvolutionKernels.inl"

const zpixf::ConvolutionKernels zpixf::kAvx2ConvolutionKernels = zpixf::kKernels;
