#define SIMD_PLAIN_BYTES 64
#include "Words.inl"

const simd_tests::Words simd_tests::kPlainWords64 = simd_tests::kWords;
