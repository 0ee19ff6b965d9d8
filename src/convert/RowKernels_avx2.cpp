#include "convert/RowKernels.inl"

const zbm::RowKernels zbm::kAvx2RowKernels = zbm::kKernels;
