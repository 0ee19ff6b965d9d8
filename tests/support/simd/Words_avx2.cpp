#include "Words.inl"

const simd_tests::Words simd_tests::kAvx2Words = simd_tests::kWords;
