#include "draw/FineKernels.inl"
//
#include "draw/DrawKernels.inl"

const zbm::DrawKernels zbm::kAvx512DrawKernels = zbm::kKernels;
