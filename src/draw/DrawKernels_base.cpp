#include "draw/FineKernels.inl"
//
#include "draw/DrawKernels.inl"

const zbm::DrawKernels zbm::kBaseDrawKernels = zbm::kKernels;
