#include "dither/DiffuseKernels.inl"

const zpixf::DiffuseKernels zpixf::kBaseDiffuseKernels = zpixf::kKernels;
