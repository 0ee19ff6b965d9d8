#include "adjust/AdjustKernels.inl"

const zpixf::AdjustKernels zpixf::kAvx512AdjustKernels = zpixf::kKernels;
