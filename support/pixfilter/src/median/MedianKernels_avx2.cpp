#include "median/MedianKernels.inl"

const zpixf::MedianKernels zpixf::kAvx2MedianKernels = zpixf::kKernels;
