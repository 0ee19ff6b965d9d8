#include "dither/DitherKernels.inl"

const zpixf::DitherKernels zpixf::kAvx2DitherKernels = zpixf::kKernels;
