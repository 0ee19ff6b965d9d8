// Vectors of 32 bytes by AVX2, as Vectors.inl has them.
#include <immintrin.h>

namespace simd {
namespace {

using Vec = __m256i;

inline Vec Load(const void* from) { return _mm256_loadu_si256(static_cast<const __m256i*>(from)); }
inline void Store(void* to, Vec v) { _mm256_storeu_si256(static_cast<__m256i*>(to), v); }
inline void StorePastCaches(void* to, Vec v) { _mm256_stream_si256(static_cast<__m256i*>(to), v); }
inline void FinishStores() { _mm_sfence(); }
inline void FetchAhead(const void* from) { _mm_prefetch(static_cast<const char*>(from), _MM_HINT_T0); }
inline Vec Zero() { return _mm256_setzero_si256(); }
inline Vec Splat8(int value) { return _mm256_set1_epi8(static_cast<char>(value)); }
inline Vec Splat16(int value) { return _mm256_set1_epi16(static_cast<short>(value)); }
inline Vec Splat32(std::uint32_t value) { return _mm256_set1_epi32(static_cast<int>(value)); }
inline Vec Splat128(std::uint64_t low, std::uint64_t high) {
    return _mm256_broadcastsi128_si256(_mm_set_epi64x(static_cast<long long>(high), static_cast<long long>(low)));
}
inline Vec Splat64(std::uint64_t value) { return _mm256_set1_epi64x(static_cast<long long>(value)); }

inline Vec And(Vec a, Vec b) { return _mm256_and_si256(a, b); }
inline Vec AndNot(Vec without, Vec a) { return _mm256_andnot_si256(without, a); }
inline Vec Or(Vec a, Vec b) { return _mm256_or_si256(a, b); }
inline Vec Min8(Vec a, Vec b) { return _mm256_min_epu8(a, b); }
inline Vec Max8(Vec a, Vec b) { return _mm256_max_epu8(a, b); }
inline Vec Blend(Vec a, Vec b, Vec fromB) { return _mm256_blendv_epi8(a, b, fromB); }

inline Vec Add16(Vec a, Vec b) { return _mm256_add_epi16(a, b); }
inline Vec AddSaturated16(Vec a, Vec b) { return _mm256_adds_epu16(a, b); }
inline Vec SubtractSaturated16(Vec a, Vec b) { return _mm256_subs_epu16(a, b); }
inline Vec Multiply16(Vec a, Vec b) { return _mm256_mullo_epi16(a, b); }
inline Vec MultiplyHigh16(Vec a, Vec b) { return _mm256_mulhi_epu16(a, b); }
inline Vec ShiftRight16(Vec a, unsigned by) { return _mm256_srl_epi16(a, _mm_cvtsi32_si128(static_cast<int>(by))); }

inline Vec MultiplyAdd16(Vec a, Vec b) { return _mm256_madd_epi16(a, b); }
inline Vec Add32(Vec a, Vec b) { return _mm256_add_epi32(a, b); }
inline bool IsAnyGreater32(Vec a, Vec b) { return _mm256_movemask_epi8(_mm256_cmpgt_epi32(a, b)) != 0; }
template <int>
inline unsigned MaskBitsOfSigns(Vec a) {
    const Vec lastFirst = _mm256_permutevar8x32_epi32(a, _mm256_setr_epi32(7, 6, 5, 4, 3, 2, 1, 0));
    return static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(lastFirst)));
}
template <int>
inline Vec LanesOfMaskBits(Vec bits) {
    const Vec bitOfLane = _mm256_setr_epi32(0x80, 0x40, 0x20, 0x10, 0x08, 0x04, 0x02, 0x01);
    return _mm256_cmpeq_epi32(_mm256_and_si256(bits, bitOfLane), bitOfLane);
}
inline Vec ShiftRight32(Vec a, unsigned by) { return _mm256_srl_epi32(a, _mm_cvtsi32_si128(static_cast<int>(by))); }
inline Vec ShiftRightSigned32(Vec a, unsigned by) {
    return _mm256_sra_epi32(a, _mm_cvtsi32_si128(static_cast<int>(by)));
}

inline Vec MultiplyEven32(Vec a, Vec b) { return _mm256_mul_epu32(a, b); }

template <int kBy>
inline Vec ShiftLeft16(Vec a) {
    return _mm256_slli_epi16(a, kBy);
}
template <int kBy>
inline Vec ShiftRight16(Vec a) {
    return _mm256_srli_epi16(a, kBy);
}
template <int kBy>
inline Vec ShiftRight32(Vec a) {
    return _mm256_srli_epi32(a, kBy);
}
template <int kBy>
inline Vec ShiftRightSigned32(Vec a) {
    return _mm256_srai_epi32(a, kBy);
}
template <int kBy>
inline Vec ShiftRight64(Vec a) {
    return _mm256_srli_epi64(a, kBy);
}

inline Vec InterleaveLow8(Vec a, Vec b) { return _mm256_unpacklo_epi8(a, b); }
inline Vec InterleaveHigh8(Vec a, Vec b) { return _mm256_unpackhi_epi8(a, b); }
inline Vec InterleaveLow16(Vec a, Vec b) { return _mm256_unpacklo_epi16(a, b); }
inline Vec InterleaveHigh16(Vec a, Vec b) { return _mm256_unpackhi_epi16(a, b); }
inline Vec InterleaveLow32(Vec a, Vec b) { return _mm256_unpacklo_epi32(a, b); }
inline Vec InterleaveHigh32(Vec a, Vec b) { return _mm256_unpackhi_epi32(a, b); }
inline Vec PackSigned32(Vec a, Vec b) { return _mm256_packs_epi32(a, b); }
inline Vec PackToBytes(Vec a, Vec b) { return _mm256_packus_epi16(a, b); }

inline Vec FirstInOrder(Vec low, Vec high) { return _mm256_permute2x128_si256(low, high, 0x20); }
inline Vec SecondInOrder(Vec low, Vec high) { return _mm256_permute2x128_si256(low, high, 0x31); }
inline Vec PackToBytesInOrder(Vec first, Vec second) {
    return _mm256_permute4x64_epi64(_mm256_packus_epi16(first, second), 0xD8);
}

struct PairFactors {
    Vec both;
    void Set(int even, int odd) { both = Splat16((even & 0xFF) | (odd & 0xFF) << 8); }
    Vec SumOfProducts(Vec pairs) const { return _mm256_maddubs_epi16(pairs, both); }
};

inline Vec MultiplyAdd8(Vec a, Vec b) { return _mm256_maddubs_epi16(a, b); }
inline Vec MultiplyRounded16(Vec a, Vec b) { return _mm256_mulhrs_epi16(a, b); }
inline bool AreAllOpaque(Vec pixels) {
    const Vec isFull = _mm256_cmpeq_epi8(pixels, _mm256_set1_epi32(-1));
    return (static_cast<std::uint32_t>(_mm256_movemask_epi8(isFull)) & 0x88888888) == 0x88888888;
}

inline Vec Shuffle8(Vec a, std::uint64_t first, std::uint64_t second) {
    return _mm256_shuffle_epi8(a, Splat128(first, second));
}
inline Vec OddLanes32(Vec a, Vec b) {
    return _mm256_castps_si256(_mm256_shuffle_ps(_mm256_castsi256_ps(a), _mm256_castsi256_ps(b), 0xDD));
}
inline Vec EvenThenOdd32(Vec a) { return _mm256_shuffle_epi32(a, 0xD8); }
inline Vec Alternate16(Vec a, Vec b) { return _mm256_blend_epi16(a, b, 0xAA); }

inline Vec SpreadLowByte(Vec a) { return Shuffle8(a, 0x8004'0404'8000'0000, 0x800C'0C0C'8008'0808); }

template <int kPixels>
inline Vec Shifted(Vec a, Vec b) {
    const Vec between = _mm256_permute2x128_si256(a, b, 0x21);
    if constexpr (kPixels < 4)
        return _mm256_alignr_epi8(between, a, 4 * kPixels);
    else
        return _mm256_alignr_epi8(b, between, 4 * kPixels - 16);
}

using Floats = __m256;
using Doubles = __m256d;

inline Floats LoadFloats(const float* from) { return _mm256_loadu_ps(from); }
inline void StoreFloats(float* to, Floats v) { _mm256_storeu_ps(to, v); }
inline Floats SplatFloats(float value) { return _mm256_set1_ps(value); }
inline Floats AddFloats(Floats a, Floats b) { return _mm256_add_ps(a, b); }
inline Floats MultiplyFloats(Floats a, Floats b) { return _mm256_mul_ps(a, b); }
inline Floats AddProduct(Floats sum, Floats a, Floats b) { return _mm256_fmadd_ps(a, b, sum); }
template <std::size_t kFloats>
inline Floats ShiftedFloats(Floats a, Floats b) {
    return _mm256_castsi256_ps(Shifted<int{kFloats}>(_mm256_castps_si256(a), _mm256_castps_si256(b)));
}
inline Floats ToFloats(Vec a) { return _mm256_cvtepi32_ps(a); }
inline Vec MinSigned16(Vec a, Vec b) { return _mm256_min_epi16(a, b); }
inline Vec Nearest32(Floats a) { return _mm256_cvtps_epi32(a); }
inline Vec Truncated32(Floats a) { return _mm256_cvttps_epi32(a); }
inline Floats Reciprocals(Floats a) { return _mm256_div_ps(_mm256_set1_ps(1), a); }
inline Floats LastOfFour(Floats a) { return _mm256_shuffle_ps(a, a, 0xFF); }
inline Floats WithLastOfFour(Floats a, Floats last) { return _mm256_blend_ps(a, last, 0x88); }
inline bool IsAnyZero(Floats a) { return _mm256_movemask_ps(_mm256_cmp_ps(a, _mm256_setzero_ps(), _CMP_EQ_OQ)) != 0; }
inline Floats WhereZero(Floats tested, Floats a, Floats otherwise) {
    return _mm256_blendv_ps(otherwise, a, _mm256_cmp_ps(tested, _mm256_setzero_ps(), _CMP_EQ_OQ));
}

inline Doubles LoadAsDoubles(const float* from) { return _mm256_cvtps_pd(_mm_loadu_ps(from)); }
inline Doubles SplatDoubles(double value) { return _mm256_set1_pd(value); }
inline Doubles AddDoubles(Doubles a, Doubles b) { return _mm256_add_pd(a, b); }
inline Doubles MultiplyDoubles(Doubles a, Doubles b) { return _mm256_mul_pd(a, b); }
inline Doubles DivideDoubles(Doubles a, Doubles b) { return _mm256_div_pd(a, b); }
inline Doubles MinDoubles(Doubles a, Doubles b) { return _mm256_min_pd(a, b); }
inline Doubles MaxDoubles(Doubles a, Doubles b) { return _mm256_max_pd(a, b); }
inline Vec Truncated32(Doubles low, Doubles high) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm256_cvttpd_epi32(low)), _mm256_cvttpd_epi32(high), 1);
}
template <std::size_t kStep>
inline void StoreFoursAsDoubles(double* to, Vec a) {
    _mm256_storeu_pd(to, _mm256_cvtepi32_pd(_mm256_castsi256_si128(a)));
    _mm256_storeu_pd(to + kStep, _mm256_cvtepi32_pd(_mm256_extracti128_si256(a, 1)));
}
template <std::size_t kStep>
inline void StoreFoursAsDoubles(double* to, Vec high, Vec low) {
    const auto join = [](__m128i x, __m128i y) {
        return _mm256_add_pd(_mm256_mul_pd(_mm256_cvtepi32_pd(x), _mm256_set1_pd(256)), _mm256_cvtepi32_pd(y));
    };
    _mm256_storeu_pd(to, join(_mm256_castsi256_si128(high), _mm256_castsi256_si128(low)));
    _mm256_storeu_pd(to + kStep, join(_mm256_extracti128_si256(high, 1), _mm256_extracti128_si256(low, 1)));
}

inline Vec MergeChannels(Vec blue, Vec green, Vec red, Vec alpha) {
    const Vec byChannel = PackToBytes(PackSigned32(blue, green), PackSigned32(red, alpha));
    return Shuffle8(byChannel, 0x0D09'0501'0C08'0400, 0x0F0B'0703'0E0A'0602);
}

}  // namespace
}  // namespace simd
