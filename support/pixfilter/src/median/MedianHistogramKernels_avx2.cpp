#include "median/MedianHistogramKernels.inl"

const zpixf::MedianHistogramKernels zpixf::kAvx2MedianHistogramKernels = zpixf::kKernels;
