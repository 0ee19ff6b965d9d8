#include "median/MedianHistogramKernels.inl"

const zpixf::MedianHistogramKernels zpixf::kBaseMedianHistogramKernels = zpixf::kKernels;
