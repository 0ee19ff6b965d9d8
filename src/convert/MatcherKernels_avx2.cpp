namespace {
constexpr int kVectorBytes = 32;
}
#include "MatcherKernels.inl"

const zbm::MatcherKernels zbm::kMatcherKernels_avx2 = zbm::kKernels;
