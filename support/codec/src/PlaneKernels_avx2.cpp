namespace {
constexpr int kVectorBytes = 32;
}
#include "PlaneKernels.inl"

const zcdl::PlaneKernels zcdl::kAvx2Kernels = zcdl::kKernels;
