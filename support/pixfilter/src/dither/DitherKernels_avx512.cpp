#include "dither/DitherKernels.inl"

const zpixf::DitherKernels zpixf::kAvx512DitherKernels = zpixf::kKernels;
