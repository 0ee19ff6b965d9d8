#include "resample/ResampleKernels.inl"

const zpixf::ResampleKernels zpixf::kAvx512ResampleKernels = zpixf::kKernels;
