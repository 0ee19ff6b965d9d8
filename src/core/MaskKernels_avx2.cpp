#include "core/MaskKernels.inl"

const zbm::MaskKernels zbm::kAvx2MaskKernels = zbm::kKernels;
