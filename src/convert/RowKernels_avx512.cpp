#include "convert/RowKernels.inl"

const zbm::RowKernels zbm::kAvx512RowKernels = zbm::kKernels;
