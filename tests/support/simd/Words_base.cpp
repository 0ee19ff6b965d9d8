#include "Words.inl"

const simd_tests::Words simd_tests::kBaseWords = simd_tests::kWords;
