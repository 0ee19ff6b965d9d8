#include "adjust/AdjustKernels.inl"

const zpixf::AdjustKernels zpixf::kBaseAdjustKernels = zpixf::kKernels;
