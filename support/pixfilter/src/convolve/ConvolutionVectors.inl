// Vectors of floats and doubles for the convolutions, beside PixelVector.inl and as wide. Floats are multiplied and
// added in one step or in two, as the processor has it: only for sums whose rounding does not tell.
#include "base/PixelVector.inl"

#if defined(ZPIXF_HAS_VECTORS)

namespace zpixf {
namespace {

#if defined(__AVX2__)

using Floats = __m256;
using Doubles = __m256d;

inline Floats LoadFloats(const float* from) { return _mm256_loadu_ps(from); }
inline void StoreFloats(float* to, Floats v) { _mm256_storeu_ps(to, v); }
inline Floats SplatFloats(float value) { return _mm256_set1_ps(value); }
inline Floats MultiplyFloats(Floats a, Floats b) { return _mm256_mul_ps(a, b); }
inline Floats AddProduct(Floats sum, Floats a, Floats b) { return _mm256_fmadd_ps(a, b, sum); }
inline Floats ToFloats(Vec a) { return _mm256_cvtepi32_ps(a); }
inline Vec MinSigned16(Vec a, Vec b) { return _mm256_min_epi16(a, b); }
inline Vec Nearest32(Floats a) { return _mm256_cvtps_epi32(a); }
inline Vec Truncated32(Floats a) { return _mm256_cvttps_epi32(a); }

inline Doubles LoadAsDoubles(const float* from) { return _mm256_cvtps_pd(_mm_loadu_ps(from)); }
inline Doubles SplatDoubles(double value) { return _mm256_set1_pd(value); }
inline Doubles AddDoubles(Doubles a, Doubles b) { return _mm256_add_pd(a, b); }
inline Doubles MultiplyDoubles(Doubles a, Doubles b) { return _mm256_mul_pd(a, b); }
inline Doubles DivideDoubles(Doubles a, Doubles b) { return _mm256_div_pd(a, b); }
inline Doubles MinDoubles(Doubles a, Doubles b) { return _mm256_min_pd(a, b); }
inline Doubles MaxDoubles(Doubles a, Doubles b) { return _mm256_max_pd(a, b); }
/// Two halves of a Vec.
inline Vec Truncated32(Doubles low, Doubles high) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm256_cvttpd_epi32(low)), _mm256_cvttpd_epi32(high), 1);
}

/// Pixels of channels of 32 bits, signed, each clamped to a byte.
inline Vec MergeChannels(Vec blue, Vec green, Vec red, Vec alpha) {
    const Vec byChannel = PackToBytes(PackSigned32(blue, green), PackSigned32(red, alpha));
    return _mm256_shuffle_epi8(byChannel, _mm256_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15,  //
                                                           0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
}

#else

using Floats = __m128;
using Doubles = __m128d;

inline Floats LoadFloats(const float* from) { return _mm_loadu_ps(from); }
inline void StoreFloats(float* to, Floats v) { _mm_storeu_ps(to, v); }
inline Floats SplatFloats(float value) { return _mm_set1_ps(value); }
inline Floats MultiplyFloats(Floats a, Floats b) { return _mm_mul_ps(a, b); }
inline Floats AddProduct(Floats sum, Floats a, Floats b) { return _mm_add_ps(sum, _mm_mul_ps(a, b)); }
inline Floats ToFloats(Vec a) { return _mm_cvtepi32_ps(a); }
inline Vec MinSigned16(Vec a, Vec b) { return _mm_min_epi16(a, b); }
inline Vec Nearest32(Floats a) { return _mm_cvtps_epi32(a); }
inline Vec Truncated32(Floats a) { return _mm_cvttps_epi32(a); }

inline Doubles LoadAsDoubles(const float* from) {
    return _mm_cvtps_pd(_mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(from))));
}
inline Doubles SplatDoubles(double value) { return _mm_set1_pd(value); }
inline Doubles AddDoubles(Doubles a, Doubles b) { return _mm_add_pd(a, b); }
inline Doubles MultiplyDoubles(Doubles a, Doubles b) { return _mm_mul_pd(a, b); }
inline Doubles DivideDoubles(Doubles a, Doubles b) { return _mm_div_pd(a, b); }
inline Doubles MinDoubles(Doubles a, Doubles b) { return _mm_min_pd(a, b); }
inline Doubles MaxDoubles(Doubles a, Doubles b) { return _mm_max_pd(a, b); }
inline Vec Truncated32(Doubles low, Doubles high) {
    return _mm_unpacklo_epi64(_mm_cvttpd_epi32(low), _mm_cvttpd_epi32(high));
}

inline Vec MergeChannels(Vec blue, Vec green, Vec red, Vec alpha) {
    const Vec byChannel = PackToBytes(PackSigned32(blue, green), PackSigned32(red, alpha));
    const Vec blueRedGreenAlpha = _mm_unpacklo_epi8(byChannel, _mm_srli_si128(byChannel, 8));
    return _mm_unpacklo_epi8(blueRedGreenAlpha, _mm_srli_si128(blueRedGreenAlpha, 8));
}

#endif

}  // namespace
}  // namespace zpixf

#endif
