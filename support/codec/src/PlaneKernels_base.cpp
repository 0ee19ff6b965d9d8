namespace {
constexpr int kVectorBytes = 16;
}
#include "PlaneKernels.inl"

const zcdl::PlaneKernels zcdl::kBaseKernels = zcdl::kKernels;
