// The vector operations that kernels on lines of pixels are written in, once for 16 and once for 32 bytes. The wide
// ones work on two halves of 16 bytes each for itself, so that a kernel is the same for both. Internal to each file
// that includes it. Without SSE2, or where ZPIXF_PLAIN_VECTORS says so for a test, there are none, and kernels have
// their plain loops only.
#include <cstddef>
#include <cstdint>
#if defined(__AVX2__)
#include <immintrin.h>
#elif defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#endif

#if !defined(ZPIXF_PLAIN_VECTORS) && (defined(__AVX2__) || defined(__SSE2__) || defined(_M_X64))
#define ZPIXF_HAS_VECTORS

namespace zpixf {
namespace {

#if defined(__AVX2__)

using Vec = __m256i;

inline Vec Load(const void* from) { return _mm256_loadu_si256(static_cast<const __m256i*>(from)); }
inline void Store(void* to, Vec v) { _mm256_storeu_si256(static_cast<__m256i*>(to), v); }
inline Vec Zero() { return _mm256_setzero_si256(); }
inline Vec Splat8(int value) { return _mm256_set1_epi8(static_cast<char>(value)); }
inline Vec Splat16(int value) { return _mm256_set1_epi16(static_cast<short>(value)); }
inline Vec Splat32(std::uint32_t value) { return _mm256_set1_epi32(static_cast<int>(value)); }
inline Vec Splat64(std::uint64_t value) { return _mm256_set1_epi64x(static_cast<long long>(value)); }

inline Vec And(Vec a, Vec b) { return _mm256_and_si256(a, b); }
inline Vec AndNot(Vec without, Vec a) { return _mm256_andnot_si256(without, a); }
inline Vec Or(Vec a, Vec b) { return _mm256_or_si256(a, b); }
inline Vec Min8(Vec a, Vec b) { return _mm256_min_epu8(a, b); }
/// Of `b` where `fromB` is all ones, of `a` where it is 0; byte by byte.
inline Vec Blend(Vec a, Vec b, Vec fromB) { return _mm256_blendv_epi8(a, b, fromB); }

inline Vec Add16(Vec a, Vec b) { return _mm256_add_epi16(a, b); }
inline Vec AddSaturated16(Vec a, Vec b) { return _mm256_adds_epu16(a, b); }
inline Vec SubtractSaturated16(Vec a, Vec b) { return _mm256_subs_epu16(a, b); }
inline Vec Multiply16(Vec a, Vec b) { return _mm256_mullo_epi16(a, b); }
inline Vec MultiplyHigh16(Vec a, Vec b) { return _mm256_mulhi_epu16(a, b); }
inline Vec ShiftRight16(Vec a, unsigned by) { return _mm256_srl_epi16(a, _mm_cvtsi32_si128(static_cast<int>(by))); }

inline Vec MultiplyAdd16(Vec a, Vec b) { return _mm256_madd_epi16(a, b); }
inline Vec Add32(Vec a, Vec b) { return _mm256_add_epi32(a, b); }
inline Vec IsGreater32(Vec a, Vec b) { return _mm256_cmpgt_epi32(a, b); }
inline Vec ShiftRight32(Vec a, unsigned by) { return _mm256_srl_epi32(a, _mm_cvtsi32_si128(static_cast<int>(by))); }
inline Vec ShiftRightSigned32(Vec a, unsigned by) {
    return _mm256_sra_epi32(a, _mm_cvtsi32_si128(static_cast<int>(by)));
}

/// The products of the even 32-bit lanes, unsigned.
inline Vec MultiplyEven32(Vec a, Vec b) { return _mm256_mul_epu32(a, b); }

// By a constant, which saves half of the work.
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
/// 16-bit lanes, signed, clamped to bytes.
inline Vec PackToBytes(Vec a, Vec b) { return _mm256_packus_epi16(a, b); }
inline std::uint32_t TopBitsOfBytes(Vec a) { return static_cast<std::uint32_t>(_mm256_movemask_epi8(a)); }

/// What InterleaveLow8 and InterleaveHigh8 gave, in the order of memory; and packs two such again.
inline Vec FirstInOrder(Vec low, Vec high) { return _mm256_permute2x128_si256(low, high, 0x20); }
inline Vec SecondInOrder(Vec low, Vec high) { return _mm256_permute2x128_si256(low, high, 0x31); }
inline Vec PackToBytesInOrder(Vec first, Vec second) {
    return _mm256_permute4x64_epi64(_mm256_packus_epi16(first, second), 0xD8);
}

/// Two factors for the bytes of a pair. The sum of both products must lie within 16 bits, signed.
struct PairFactors {
    Vec both;
    void Set(int even, int odd) { both = Splat16((even & 0xFF) | (odd & 0xFF) << 8); }
    Vec SumOfProducts(Vec pairs) const { return _mm256_maddubs_epi16(pairs, both); }
};

/// The sums of products of pairs: bytes of `a` times signed ones of `b`. They must lie within 16 bits, signed.
inline Vec MultiplyAdd8(Vec a, Vec b) { return _mm256_maddubs_epi16(a, b); }

/// The bytes of each 16 that have these numbers, the lowest first; 0 for 0x80.
inline Vec Shuffle8(Vec a, std::uint64_t first, std::uint64_t second) {
    const __m128i numbers = _mm_set_epi64x(static_cast<long long>(second), static_cast<long long>(first));
    return _mm256_shuffle_epi8(a, _mm256_broadcastsi128_si256(numbers));
}
/// In each half the odd 32-bit lanes of `a`, then those of `b`.
inline Vec OddLanes32(Vec a, Vec b) {
    return _mm256_castps_si256(_mm256_shuffle_ps(_mm256_castsi256_ps(a), _mm256_castsi256_ps(b), 0xDD));
}
/// In each half the even 32-bit lanes, then the odd ones.
inline Vec EvenThenOdd32(Vec a) { return _mm256_shuffle_epi32(a, 0xD8); }
/// Even 16-bit lanes of `a` and odd ones of `b`.
inline Vec Alternate16(Vec a, Vec b) { return _mm256_blend_epi16(a, b, 0xAA); }

/// Each 32-bit lane's low byte in its three lower bytes; what the others hold must be 0.
inline Vec SpreadLowByte(Vec a) {
    return _mm256_shuffle_epi8(a, _mm256_setr_epi8(0, 0, 0, -1, 4, 4, 4, -1, 8, 8, 8, -1, 12, 12, 12, -1,  //
                                                   0, 0, 0, -1, 4, 4, 4, -1, 8, 8, 8, -1, 12, 12, 12, -1));
}

#else

using Vec = __m128i;

inline Vec Load(const void* from) { return _mm_loadu_si128(static_cast<const __m128i*>(from)); }
inline void Store(void* to, Vec v) { _mm_storeu_si128(static_cast<__m128i*>(to), v); }
inline Vec Zero() { return _mm_setzero_si128(); }
inline Vec Splat8(int value) { return _mm_set1_epi8(static_cast<char>(value)); }
inline Vec Splat16(int value) { return _mm_set1_epi16(static_cast<short>(value)); }
inline Vec Splat32(std::uint32_t value) { return _mm_set1_epi32(static_cast<int>(value)); }
inline Vec Splat64(std::uint64_t value) { return _mm_set1_epi64x(static_cast<long long>(value)); }

inline Vec And(Vec a, Vec b) { return _mm_and_si128(a, b); }
inline Vec AndNot(Vec without, Vec a) { return _mm_andnot_si128(without, a); }
inline Vec Or(Vec a, Vec b) { return _mm_or_si128(a, b); }
inline Vec Min8(Vec a, Vec b) { return _mm_min_epu8(a, b); }
inline Vec Blend(Vec a, Vec b, Vec fromB) { return Or(AndNot(fromB, a), And(fromB, b)); }

inline Vec Add16(Vec a, Vec b) { return _mm_add_epi16(a, b); }
inline Vec AddSaturated16(Vec a, Vec b) { return _mm_adds_epu16(a, b); }
inline Vec SubtractSaturated16(Vec a, Vec b) { return _mm_subs_epu16(a, b); }
inline Vec Multiply16(Vec a, Vec b) { return _mm_mullo_epi16(a, b); }
inline Vec MultiplyHigh16(Vec a, Vec b) { return _mm_mulhi_epu16(a, b); }
inline Vec ShiftRight16(Vec a, unsigned by) { return _mm_srl_epi16(a, _mm_cvtsi32_si128(static_cast<int>(by))); }

inline Vec MultiplyAdd16(Vec a, Vec b) { return _mm_madd_epi16(a, b); }
inline Vec Add32(Vec a, Vec b) { return _mm_add_epi32(a, b); }
inline Vec IsGreater32(Vec a, Vec b) { return _mm_cmpgt_epi32(a, b); }
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
inline std::uint32_t TopBitsOfBytes(Vec a) { return static_cast<std::uint32_t>(_mm_movemask_epi8(a)); }

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

#endif

constexpr std::size_t kVecBytes = sizeof(Vec);
constexpr std::size_t kVecPixels = kVecBytes / 4;

/// The alpha byte of every pixel.
inline Vec AlphaBytes() { return Splat32(0xFF000000u); }

}  // namespace
}  // namespace zpixf

#endif
