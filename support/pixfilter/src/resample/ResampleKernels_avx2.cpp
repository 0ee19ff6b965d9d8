#include "resample/ResampleKernels.inl"

const zpixf::ResampleKernels zpixf::kAvx2ResampleKernels = zpixf::kKernels;
