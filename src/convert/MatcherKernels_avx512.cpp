namespace {
constexpr int kVectorBytes = 32;
}
#include "MatcherKernels.inl"

const zbm::MatcherKernels zbm::kAvx512MatcherKernels = zbm::kKernels;
