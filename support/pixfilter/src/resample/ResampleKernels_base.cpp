#include "resample/ResampleKernels.inl"

const zpixf::ResampleKernels zpixf::kBaseResampleKernels = zpixf::kKernels;
