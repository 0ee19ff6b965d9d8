// Vectors of 16 bytes by SSE2, as Vectors.inl has them.
#include <emmintrin.h>

namespace simd {
namespace {

using Vec = __m128i;

inline Vec Load(const void* from) { return _mm_loadu_si128(static_cast<const __m128i*>(from)); }
inline void Store(void* to, Vec v) { _mm_storeu_si128(static_cast<__m128i*>(to), v); }
inline void StorePastCaches(void* to, Vec v) { _mm_stream_si128(static_cast<__m128i*>(to), v); }
inline void FinishStores() { _mm_sfence(); }
inline void FetchAhead(const void* from) { _mm_prefetch(static_cast<const char*>(from), _MM_HINT_T0); }
inline Vec Zero() { return _mm_setzero_si128(); }
inline Vec Splat8(int value) { return _mm_set1_epi8(static_cast<char>(value)); }
inline Vec Splat16(int value) { return _mm_set1_epi16(static_cast<short>(value)); }
inline Vec Splat32(std::uint32_t value) { return _mm_set1_epi32(static_cast<int>(value)); }
inline Vec Splat128(std::uint64_t low, std::uint64_t high) {
    return _mm_set_epi64x(static_cast<long long>(high), static_cast<long long>(low));
}
inline Vec Splat64(std::uint64_t value) { return _mm_set1_epi64x(static_cast<long long>(value)); }

inline Vec And(Vec a, Vec b) { return _mm_and_si128(a, b); }
inline Vec AndNot(Vec without, Vec a) { return _mm_andnot_si128(without, a); }
inline Vec Or(Vec a, Vec b) { return _mm_or_si128(a, b); }
inline Vec Min8(Vec a, Vec b) { return _mm_min_epu8(a, b); }
inline Vec Max8(Vec a, Vec b) { return _mm_max_epu8(a, b); }
inline Vec Blend(Vec a, Vec b, Vec fromB) { return Or(AndNot(fromB, a), And(fromB, b)); }

inline Vec Add16(Vec a, Vec b) { return _mm_add_epi16(a, b); }
inline Vec AddSaturated16(Vec a, Vec b) { return _mm_adds_epu16(a, b); }
inline Vec SubtractSaturated16(Vec a, Vec b) { return _mm_subs_epu16(a, b); }
inline Vec Multiply16(Vec a, Vec b) { return _mm_mullo_epi16(a, b); }
inline Vec MultiplyHigh16(Vec a, Vec b) { return _mm_mulhi_epu16(a, b); }
inline Vec ShiftRight16(Vec a, unsigned by) { return _mm_srl_epi16(a, _mm_cvtsi32_si128(static_cast<int>(by))); }

inline Vec MultiplyAdd16(Vec a, Vec b) { return _mm_madd_epi16(a, b); }
inline Vec Add32(Vec a, Vec b) { return _mm_add_epi32(a, b); }
inline bool IsAnyGreater32(Vec a, Vec b) { return _mm_movemask_epi8(_mm_cmpgt_epi32(a, b)) != 0; }
template <int kFirst>
inline unsigned MaskBitsOfSigns(Vec a) {
    return static_cast<unsigned>(_mm_movemask_ps(_mm_castsi128_ps(_mm_shuffle_epi32(a, 0x1B)))) << (4 - kFirst);
}
template <int kFirst>
inline Vec LanesOfMaskBits(Vec bits) {
    const Vec bitOfLane = _mm_setr_epi32(0x80 >> kFirst, 0x40 >> kFirst, 0x20 >> kFirst, 0x10 >> kFirst);
    return _mm_cmpeq_epi32(_mm_and_si128(bits, bitOfLane), bitOfLane);
}
inline Vec ShiftRight32(Vec a, unsigned by) { return _mm_srl_epi32(a, _mm_cvtsi32_si128(static_cast<int>(by))); }
inline Vec ShiftRightSigned32(Vec a, unsigned by) { return _mm_sra_epi32(a, _mm_cvtsi32_si128(static_cast<int>(by))); }

inline Vec MultiplyEven32(Vec a, Vec b) { return _mm_mul_epu32(a, b); }

template <int kBy>
inline Vec ShiftLeft16(Vec a) {
    return _mm_slli_epi16(a, kBy);
}
template <int kBy>
inline Vec ShiftRight16(Vec a) {
    return _mm_srli_epi16(a, kBy);
}
template <int kBy>
inline Vec ShiftRight32(Vec a) {
    return _mm_srli_epi32(a, kBy);
}
template <int kBy>
inline Vec ShiftRightSigned32(Vec a) {
    return _mm_srai_epi32(a, kBy);
}
template <int kBy>
inline Vec ShiftRight64(Vec a) {
    return _mm_srli_epi64(a, kBy);
}

inline Vec InterleaveLow8(Vec a, Vec b) { return _mm_unpacklo_epi8(a, b); }
inline Vec InterleaveHigh8(Vec a, Vec b) { return _mm_unpackhi_epi8(a, b); }
inline Vec InterleaveLow16(Vec a, Vec b) { return _mm_unpacklo_epi16(a, b); }
inline Vec InterleaveHigh16(Vec a, Vec b) { return _mm_unpackhi_epi16(a, b); }
inline Vec InterleaveLow32(Vec a, Vec b) { return _mm_unpacklo_epi32(a, b); }
inline Vec InterleaveHigh32(Vec a, Vec b) { return _mm_unpackhi_epi32(a, b); }
inline Vec PackSigned32(Vec a, Vec b) { return _mm_packs_epi32(a, b); }
inline Vec PackToBytes(Vec a, Vec b) { return _mm_packus_epi16(a, b); }

inline Vec FirstInOrder(Vec low, Vec) { return low; }
inline Vec SecondInOrder(Vec, Vec high) { return high; }
inline Vec PackToBytesInOrder(Vec first, Vec second) { return _mm_packus_epi16(first, second); }

struct PairFactors {
    Vec even, odd;
    void Set(int newEven, int newOdd) {
        even = Splat16(newEven);
        odd = Splat16(newOdd);
    }
    Vec SumOfProducts(Vec pairs) const {
        const Vec evens = _mm_and_si128(pairs, _mm_set1_epi16(0xFF)), odds = _mm_srli_epi16(pairs, 8);
        return _mm_add_epi16(_mm_mullo_epi16(evens, even), _mm_mullo_epi16(odds, odd));
    }
};

inline Vec SpreadLowByte(Vec a) {
    const Vec two = _mm_or_si128(a, _mm_slli_epi32(a, 8));
    return _mm_or_si128(two, _mm_slli_epi32(a, 16));
}

template <int kPixels>
inline Vec Shifted(Vec a, Vec b) {
    return _mm_or_si128(_mm_srli_si128(a, 4 * kPixels), _mm_slli_si128(b, 16 - 4 * kPixels));
}

using Floats = __m128;
using Doubles = __m128d;

inline Floats LoadFloats(const float* from) { return _mm_loadu_ps(from); }
inline void StoreFloats(float* to, Floats v) { _mm_storeu_ps(to, v); }
inline Floats SplatFloats(float value) { return _mm_set1_ps(value); }
inline Floats AddFloats(Floats a, Floats b) { return _mm_add_ps(a, b); }
inline Floats MultiplyFloats(Floats a, Floats b) { return _mm_mul_ps(a, b); }
inline Floats AddProduct(Floats sum, Floats a, Floats b) { return _mm_add_ps(sum, _mm_mul_ps(a, b)); }
template <std::size_t kFloats>
inline Floats ShiftedFloats(Floats a, Floats b) {
    return _mm_castsi128_ps(Shifted<int{kFloats}>(_mm_castps_si128(a), _mm_castps_si128(b)));
}
inline Floats ToFloats(Vec a) { return _mm_cvtepi32_ps(a); }
inline Vec MinSigned16(Vec a, Vec b) { return _mm_min_epi16(a, b); }
inline Vec Nearest32(Floats a) { return _mm_cvtps_epi32(a); }
inline Vec Truncated32(Floats a) { return _mm_cvttps_epi32(a); }
inline Floats Reciprocals(Floats a) { return _mm_div_ps(_mm_set1_ps(1), a); }
inline Floats LastOfFour(Floats a) { return _mm_shuffle_ps(a, a, 0xFF); }
inline Floats WithLastOfFour(Floats a, Floats last) { return _mm_shuffle_ps(a, _mm_unpackhi_ps(a, last), 0xC4); }
inline bool IsAnyZero(Floats a) { return _mm_movemask_ps(_mm_cmpeq_ps(a, _mm_setzero_ps())) != 0; }
inline Floats WhereZero(Floats tested, Floats a, Floats otherwise) {
    const Floats isZero = _mm_cmpeq_ps(tested, _mm_setzero_ps());
    return _mm_or_ps(_mm_and_ps(isZero, a), _mm_andnot_ps(isZero, otherwise));
}

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

}  // namespace
}  // namespace simd
