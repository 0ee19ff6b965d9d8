#include "core/MaskKernels.inl"

const zbm::MaskKernels zbm::kBaseMaskKernels = zbm::kKernels;
