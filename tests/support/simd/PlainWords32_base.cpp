#define SIMD_PLAIN_BYTES 32
#include "Words.inl"

const simd_tests::Words simd_tests::kPlainWords32 = simd_tests::kWords;
