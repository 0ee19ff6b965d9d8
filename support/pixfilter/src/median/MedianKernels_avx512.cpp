#include "median/MedianKernels.inl"

const zpixf::MedianKernels zpixf::kAvx512MedianKernels = zpixf::kKernels;
