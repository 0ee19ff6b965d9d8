namespace {
constexpr int kVectorBytes = 16;
}
#include "MatcherKernels.inl"

const zbm::MatcherKernels zbm::kMatcherKernels_base = zbm::kKernels;
