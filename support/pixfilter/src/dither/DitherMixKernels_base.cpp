#include "dither/DitherMixKernels.inl"

const zpixf::DitherMixKernels zpixf::kBaseDitherMixKernels = zpixf::kKernels;
