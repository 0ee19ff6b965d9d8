namespace {
constexpr int kVectorBytes = 32;
}
#include "MatcherKernels.inl"

const zbm::MatcherKernels zbm::kAvx2MatcherKernels = zbm::kKernels;
