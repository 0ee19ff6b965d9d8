#include "adjust/AdjustKernels.inl"

const zpixf::AdjustKernels zpixf::kAvx2AdjustKernels = zpixf::kKernels;
