#include "dither/DitherKernels.inl"

const zpixf::DitherKernels zpixf::kBaseDitherKernels = zpixf::kKernels;
