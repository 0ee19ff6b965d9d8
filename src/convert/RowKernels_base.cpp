#include "convert/RowKernels.inl"

const zbm::RowKernels zbm::kBaseRowKernels = zbm::kKernels;
