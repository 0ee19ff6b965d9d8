namespace {
constexpr int kVectorBytes = 16;
}
#include "MatcherKernels.inl"

const zbm::MatcherKernels zbm::kBaseMatcherKernels = zbm::kKernels;
