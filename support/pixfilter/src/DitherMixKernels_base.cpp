#include "DitherMixKernels.inl"

const zpixf::DitherMixKernels zpixf::kBaseDitherMixKernels = zpixf::kKernels;
