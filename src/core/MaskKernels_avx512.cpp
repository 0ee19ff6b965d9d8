#include "core/MaskKernels.inl"

const zbm::MaskKernels zbm::kAvx512MaskKernels = zbm::kKernels;
