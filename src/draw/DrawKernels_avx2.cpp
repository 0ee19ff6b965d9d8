#include "draw/FineKernels.inl"
//
#include "draw/DrawKernels.inl"

const zbm::DrawKernels zbm::kAvx2DrawKernels = zbm::kKernels;
