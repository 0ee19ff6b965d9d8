#include "median/MedianKernels.inl"

const zpixf::MedianKernels zpixf::kBaseMedianKernels = zpixf::kKernels;
