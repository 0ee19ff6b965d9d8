// Vectors of 64 bytes by AVX-512 (F, BW, DQ), as Vectors.inl has them.
#include <immintrin.h>

namespace simd {
namespace {

using Vec = __m512i;

// Some operations are written with masks of all lanes: without them GCC 12 warns of what it never reads.
constexpr __mmask16 kAll32 = 0xFFFF;
constexpr __mmask8 kAll64 = 0xFF;

inline Vec Load(const void* from) { return _mm512_loadu_si512(from); }
inline void Store(void* to, Vec v) { _mm512_storeu_si512(to, v); }
inline void StorePastCaches(void* to, Vec v) { _mm512_stream_si512(static_cast<__m512i*>(to), v); }
inline void FinishStores() { _mm_sfence(); }
inline void FetchAhead(const void* from) { _mm_prefetch(static_cast<const char*>(from), _MM_HINT_T0); }
inline Vec Zero() { return _mm512_setzero_si512(); }
inline Vec Splat8(int value) { return _mm512_set1_epi8(static_cast<char>(value)); }
inline Vec Splat16(int value) { return _mm512_set1_epi16(static_cast<short>(value)); }
inline Vec Splat32(std::uint32_t value) { return _mm512_set1_epi32(static_cast<int>(value)); }
inline Vec Splat128(std::uint64_t low, std::uint64_t high) {
    return _mm512_maskz_broadcast_i32x4(kAll32,
                                        _mm_set_epi64x(static_cast<long long>(high), static_cast<long long>(low)));
}
inline Vec Splat64(std::uint64_t value) { return _mm512_set1_epi64(static_cast<long long>(value)); }

inline Vec And(Vec a, Vec b) { return _mm512_and_si512(a, b); }
inline Vec AndNot(Vec without, Vec a) { return _mm512_maskz_andnot_epi32(kAll32, without, a); }
inline Vec Or(Vec a, Vec b) { return _mm512_or_si512(a, b); }
inline Vec Min8(Vec a, Vec b) { return _mm512_min_epu8(a, b); }
inline Vec Max8(Vec a, Vec b) { return _mm512_max_epu8(a, b); }
inline Vec Blend(Vec a, Vec b, Vec fromB) { return _mm512_mask_blend_epi8(_mm512_movepi8_mask(fromB), a, b); }

inline Vec Add16(Vec a, Vec b) { return _mm512_add_epi16(a, b); }
inline Vec AddSaturated16(Vec a, Vec b) { return _mm512_adds_epu16(a, b); }
inline Vec SubtractSaturated16(Vec a, Vec b) { return _mm512_subs_epu16(a, b); }
inline Vec Multiply16(Vec a, Vec b) { return _mm512_mullo_epi16(a, b); }
inline Vec MultiplyHigh16(Vec a, Vec b) { return _mm512_mulhi_epu16(a, b); }
inline Vec ShiftRight16(Vec a, unsigned by) { return _mm512_srl_epi16(a, _mm_cvtsi32_si128(static_cast<int>(by))); }

inline Vec MultiplyAdd16(Vec a, Vec b) { return _mm512_madd_epi16(a, b); }
inline Vec Add32(Vec a, Vec b) { return _mm512_add_epi32(a, b); }
inline bool IsAnyGreater32(Vec a, Vec b) { return _mm512_cmpgt_epi32_mask(a, b) != 0; }
template <int>
inline unsigned MaskBitsOfSigns(Vec a) {
    const Vec lastFirst = _mm512_setr_epi32(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8);
    return _mm512_movepi32_mask(_mm512_maskz_permutexvar_epi32(kAll32, lastFirst, a));
}
template <int>
inline Vec LanesOfMaskBits(Vec bits) {
    const Vec bitOfLane = _mm512_setr_epi32(0x80, 0x40, 0x20, 0x10, 0x08, 0x04, 0x02, 0x01, 0x8000, 0x4000, 0x2000,
                                            0x1000, 0x0800, 0x0400, 0x0200, 0x0100);
    return _mm512_movm_epi32(_mm512_test_epi32_mask(bits, bitOfLane));
}
inline Vec ShiftRight32(Vec a, unsigned by) {
    return _mm512_maskz_srl_epi32(kAll32, a, _mm_cvtsi32_si128(static_cast<int>(by)));
}
inline Vec ShiftRightSigned32(Vec a, unsigned by) {
    return _mm512_maskz_sra_epi32(kAll32, a, _mm_cvtsi32_si128(static_cast<int>(by)));
}

inline Vec MultiplyEven32(Vec a, Vec b) { return _mm512_maskz_mul_epu32(kAll64, a, b); }

template <int kBy>
inline Vec ShiftLeft16(Vec a) {
    return _mm512_slli_epi16(a, kBy);
}
template <int kBy>
inline Vec ShiftRight16(Vec a) {
    return _mm512_srli_epi16(a, kBy);
}
template <int kBy>
inline Vec ShiftRight32(Vec a) {
    return _mm512_maskz_srli_epi32(kAll32, a, kBy);
}
template <int kBy>
inline Vec ShiftRightSigned32(Vec a) {
    return _mm512_maskz_srai_epi32(kAll32, a, kBy);
}
template <int kBy>
inline Vec ShiftRight64(Vec a) {
    return _mm512_maskz_srli_epi64(kAll64, a, kBy);
}

inline Vec InterleaveLow8(Vec a, Vec b) { return _mm512_unpacklo_epi8(a, b); }
inline Vec InterleaveHigh8(Vec a, Vec b) { return _mm512_unpackhi_epi8(a, b); }
inline Vec InterleaveLow16(Vec a, Vec b) { return _mm512_unpacklo_epi16(a, b); }
inline Vec InterleaveHigh16(Vec a, Vec b) { return _mm512_unpackhi_epi16(a, b); }
inline Vec InterleaveLow32(Vec a, Vec b) { return _mm512_maskz_unpacklo_epi32(kAll32, a, b); }
inline Vec InterleaveHigh32(Vec a, Vec b) { return _mm512_maskz_unpackhi_epi32(kAll32, a, b); }
inline Vec PackSigned32(Vec a, Vec b) { return _mm512_packs_epi32(a, b); }
inline Vec PackToBytes(Vec a, Vec b) { return _mm512_packus_epi16(a, b); }

inline Vec FirstInOrder(Vec low, Vec high) {
    return _mm512_permutex2var_epi64(low, _mm512_setr_epi64(0, 1, 8, 9, 2, 3, 10, 11), high);
}
inline Vec SecondInOrder(Vec low, Vec high) {
    return _mm512_permutex2var_epi64(low, _mm512_setr_epi64(4, 5, 12, 13, 6, 7, 14, 15), high);
}
inline Vec PackToBytesInOrder(Vec first, Vec second) {
    return _mm512_maskz_permutexvar_epi64(kAll64, _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7),
                                          PackToBytes(first, second));
}

struct PairFactors {
    Vec both;
    void Set(int even, int odd) { both = Splat16((even & 0xFF) | (odd & 0xFF) << 8); }
    Vec SumOfProducts(Vec pairs) const { return _mm512_maddubs_epi16(pairs, both); }
};

inline Vec MultiplyAdd8(Vec a, Vec b) { return _mm512_maddubs_epi16(a, b); }
inline Vec MultiplyRounded16(Vec a, Vec b) { return _mm512_mulhrs_epi16(a, b); }
inline bool AreAllOpaque(Vec pixels) { return _mm512_cmplt_epu32_mask(pixels, Splat32(0xFF000000u)) == 0; }

inline Vec Shuffle8(Vec a, std::uint64_t first, std::uint64_t second) {
    return _mm512_shuffle_epi8(a, Splat128(first, second));
}
inline Vec OddLanes32(Vec a, Vec b) {
    return _mm512_castps_si512(_mm512_maskz_shuffle_ps(kAll32, _mm512_castsi512_ps(a), _mm512_castsi512_ps(b), 0xDD));
}
inline Vec EvenThenOdd32(Vec a) { return _mm512_maskz_shuffle_epi32(kAll32, a, static_cast<_MM_PERM_ENUM>(0xD8)); }
inline Vec Alternate16(Vec a, Vec b) { return _mm512_mask_blend_epi16(0xAAAA'AAAA, a, b); }

inline Vec SpreadLowByte(Vec a) { return Shuffle8(a, 0x8004'0404'8000'0000, 0x800C'0C0C'8008'0808); }

template <int kPixels>
inline Vec Shifted(Vec a, Vec b) {
    return _mm512_maskz_alignr_epi32(kAll32, b, a, kPixels);
}

using Floats = __m512;
using Doubles = __m512d;

inline Floats LoadFloats(const float* from) { return _mm512_loadu_ps(from); }
inline void StoreFloats(float* to, Floats v) { _mm512_storeu_ps(to, v); }
inline Floats SplatFloats(float value) { return _mm512_set1_ps(value); }
inline Floats AddFloats(Floats a, Floats b) { return _mm512_add_ps(a, b); }
inline Floats MultiplyFloats(Floats a, Floats b) { return _mm512_mul_ps(a, b); }
inline Floats AddProduct(Floats sum, Floats a, Floats b) { return _mm512_fmadd_ps(a, b, sum); }
template <std::size_t kFloats>
inline Floats ShiftedFloats(Floats a, Floats b) {
    return _mm512_castsi512_ps(Shifted<int{kFloats}>(_mm512_castps_si512(a), _mm512_castps_si512(b)));
}
inline Floats ToFloats(Vec a) { return _mm512_maskz_cvtepi32_ps(kAll32, a); }
inline Vec MinSigned16(Vec a, Vec b) { return _mm512_min_epi16(a, b); }
inline Vec Nearest32(Floats a) { return _mm512_maskz_cvtps_epi32(kAll32, a); }
inline Vec Truncated32(Floats a) { return _mm512_maskz_cvttps_epi32(kAll32, a); }
inline Floats Reciprocals(Floats a) {
    const Floats nearly = _mm512_maskz_rcp14_ps(kAll32, a);
    return _mm512_mul_ps(nearly, _mm512_fnmadd_ps(a, nearly, _mm512_set1_ps(2)));
}
inline Floats LastOfFour(Floats a) { return _mm512_maskz_shuffle_ps(kAll32, a, a, 0xFF); }
inline Floats WithLastOfFour(Floats a, Floats last) { return _mm512_mask_blend_ps(0x8888, a, last); }
inline bool IsAnyZero(Floats a) { return _mm512_cmp_ps_mask(a, _mm512_setzero_ps(), _CMP_EQ_OQ) != 0; }
inline Floats WhereZero(Floats tested, Floats a, Floats otherwise) {
    return _mm512_mask_blend_ps(_mm512_cmp_ps_mask(tested, _mm512_setzero_ps(), _CMP_EQ_OQ), otherwise, a);
}

inline Doubles LoadAsDoubles(const float* from) { return _mm512_maskz_cvtps_pd(kAll64, _mm256_loadu_ps(from)); }
inline Doubles SplatDoubles(double value) { return _mm512_set1_pd(value); }
inline Doubles AddDoubles(Doubles a, Doubles b) { return _mm512_add_pd(a, b); }
inline Doubles MultiplyDoubles(Doubles a, Doubles b) { return _mm512_mul_pd(a, b); }
inline Doubles DivideDoubles(Doubles a, Doubles b) { return _mm512_div_pd(a, b); }
inline Doubles MinDoubles(Doubles a, Doubles b) { return _mm512_maskz_min_pd(kAll64, a, b); }
inline Doubles MaxDoubles(Doubles a, Doubles b) { return _mm512_maskz_max_pd(kAll64, a, b); }
inline Vec Truncated32(Doubles low, Doubles high) {
    return _mm512_maskz_inserti64x4(kAll64, _mm512_castsi256_si512(_mm512_maskz_cvttpd_epi32(kAll64, low)),
                                    _mm512_maskz_cvttpd_epi32(kAll64, high), 1);
}
/// Of 32-bit lanes: the two fours of a half.
template <int kHalf>
inline Doubles HalfAsDoubles(Vec a) {
    return _mm512_maskz_cvtepi32_pd(kAll64, _mm512_maskz_extracti64x4_epi64(0xF, a, kHalf));
}
template <std::size_t kStep>
inline void StoreFours(double* to, Doubles two) {
    _mm256_storeu_pd(to, _mm512_maskz_extractf64x4_pd(0xF, two, 0));
    _mm256_storeu_pd(to + kStep, _mm512_maskz_extractf64x4_pd(0xF, two, 1));
}
template <std::size_t kStep>
inline void StoreFoursAsDoubles(double* to, Vec a) {
    StoreFours<kStep>(to, HalfAsDoubles<0>(a));
    StoreFours<kStep>(to + 2 * kStep, HalfAsDoubles<1>(a));
}
template <std::size_t kStep>
inline void StoreFoursAsDoubles(double* to, Vec high, Vec low) {
    const auto join = [](Doubles x, Doubles y) { return _mm512_fmadd_pd(x, _mm512_set1_pd(256), y); };
    StoreFours<kStep>(to, join(HalfAsDoubles<0>(high), HalfAsDoubles<0>(low)));
    StoreFours<kStep>(to + 2 * kStep, join(HalfAsDoubles<1>(high), HalfAsDoubles<1>(low)));
}

inline Vec MergeChannels(Vec blue, Vec green, Vec red, Vec alpha) {
    const Vec byChannel = PackToBytes(PackSigned32(blue, green), PackSigned32(red, alpha));
    return Shuffle8(byChannel, 0x0D09'0501'0C08'0400, 0x0F0B'0703'0E0A'0602);
}

}  // namespace
}  // namespace simd
