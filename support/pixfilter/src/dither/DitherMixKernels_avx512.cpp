#include "dither/DitherMixKernels.inl"

const zpixf::DitherMixKernels zpixf::kAvx512DitherMixKernels = zpixf::kKernels;
