#include "convolve/ConvolutionKernels.inl"

const zpixf::ConvolutionKernels zpixf::kBaseConvolutionKernels = zpixf::kKernels;
