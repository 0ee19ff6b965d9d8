#include "dither/DitherMixKernels.inl"

const zpixf::DitherMixKernels zpixf::kAvx2DitherMixKernels = zpixf::kKernels;
