#include "dither/DiffuseKernels.inl"

const zpixf::DiffuseKernels zpixf::kAvx2DiffuseKernels = zpixf::kKernels;
