#include "Words.inl"

const simd_tests::Words simd_tests::kAvx512Words = simd_tests::kWords;
