#define SIMD_PLAIN_BYTES 16
#include "Words.inl"

const simd_tests::Words simd_tests::kPlainWords16 = simd_tests::kWords;
