#include "convolve/ConvolutionKernels.inl"

const zpixf::ConvolutionKernels zpixf::kAvx512ConvolutionKernels = zpixf::kKernels;
