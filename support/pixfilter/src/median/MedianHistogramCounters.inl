// Rows of 16 counters, which the median's histograms are made of: by AVX2, by the SSE2 that every 64-bit x86 has, or by
// plain loops. A wider vector would have to hold counters of several histograms.
#include <cstring>

#include "median/MedianKernels.h"

#if defined(SIMD_NO_VECTORS) || defined(SIMD_PLAIN_BYTES)
#elif defined(__AVX2__)
#include <immintrin.h>
#define ZPIXF_AVX2_VECTORS
#elif defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#define ZPIXF_SSE2_VECTORS
#endif
#if defined(_MSC_VER) && !defined(__clang__)
#include <intrin.h>
#endif

namespace zpixf {
namespace {

using std::size_t;
using std::uint8_t;

constexpr size_t kBins = ColumnHistograms::kBins;

// From byte 15 - n on stand n clear bytes and then set ones, 16 together.
alignas(32) constexpr uint8_t kSetFromTable[31] = {0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,
                                                   0,   0,   0,   0,   255, 255, 255, 255, 255, 255, 255,
                                                   255, 255, 255, 255, 255, 255, 255, 255, 255};

const uint8_t* SetFrom(size_t bin) { return kSetFromTable + 15 - bin; }

/// How many of the lowest bits are set; not all of them are.
[[maybe_unused]] unsigned TrailingOnes(unsigned bits) {
#if defined(_MSC_VER) && !defined(__clang__)
    unsigned long count;
    _BitScanForward(&count, ~bits);
    return count;
#else
    return static_cast<unsigned>(__builtin_ctz(~bits));
#endif
}

// Counters: 16 of a byte (Narrow) or of 16 bits (Wide), all sums being modulo their size.
//   LoadNarrow, Store, Add, Subtract, And
//   Widen(const uint8_t*)            16 bytes as a Wide
//   Negatives(Wide)                  how many counters are negative; they are the first ones, and not all are
//   PlusEach(Wide, number)           the number added to each counter

#if defined(ZPIXF_AVX2_VECTORS)

struct Wide {
    __m256i v;
};

Wide Widen(const uint8_t* from) {
    return {_mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from)))};
}
Wide Add(Wide a, Wide b) { return {_mm256_add_epi16(a.v, b.v)}; }
Wide Subtract(Wide a, Wide b) { return {_mm256_sub_epi16(a.v, b.v)}; }
Wide PlusEach(Wide a, std::int16_t number) { return {_mm256_add_epi16(a.v, _mm256_set1_epi16(number))}; }
Wide LoadWide(const std::int16_t* from) { return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(from))}; }
void Store(std::int16_t* to, Wide a) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), a.v); }
unsigned Negatives(Wide a) { return TrailingOnes(static_cast<unsigned>(_mm256_movemask_epi8(a.v)) | 0x55555555u) / 2; }

#elif defined(ZPIXF_SSE2_VECTORS)

struct Wide {
    __m128i low, high;
};

Wide Widen(const uint8_t* from) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from)), zero = _mm_setzero_si128();
    return {_mm_unpacklo_epi8(bytes, zero), _mm_unpackhi_epi8(bytes, zero)};
}
Wide Add(Wide a, Wide b) { return {_mm_add_epi16(a.low, b.low), _mm_add_epi16(a.high, b.high)}; }
Wide Subtract(Wide a, Wide b) { return {_mm_sub_epi16(a.low, b.low), _mm_sub_epi16(a.high, b.high)}; }
Wide PlusEach(Wide a, std::int16_t number) {
    const __m128i each = _mm_set1_epi16(number);
    return Add(a, {each, each});
}
Wide LoadWide(const std::int16_t* from) {
    return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(from)),
            _mm_loadu_si128(reinterpret_cast<const __m128i*>(from) + 1)};
}
void Store(std::int16_t* to, Wide a) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), a.low);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to) + 1, a.high);
}
unsigned Negatives(Wide a) {
    return TrailingOnes(static_cast<unsigned>(_mm_movemask_epi8(_mm_packs_epi16(a.low, a.high))));
}

#else

struct Wide {
    std::uint16_t v[kBins];
};

Wide Widen(const uint8_t* from) {
    Wide wide;
    for (size_t i = 0; i < kBins; ++i) wide.v[i] = from[i];
    return wide;
}
Wide Add(Wide a, Wide b) {
    for (size_t i = 0; i < kBins; ++i) a.v[i] = static_cast<std::uint16_t>(a.v[i] + b.v[i]);
    return a;
}
Wide Subtract(Wide a, Wide b) {
    for (size_t i = 0; i < kBins; ++i) a.v[i] = static_cast<std::uint16_t>(a.v[i] - b.v[i]);
    return a;
}
Wide PlusEach(Wide a, std::int16_t number) {
    for (size_t i = 0; i < kBins; ++i) a.v[i] = static_cast<std::uint16_t>(a.v[i] + number);
    return a;
}
Wide LoadWide(const std::int16_t* from) {
    Wide wide;
    std::memcpy(wide.v, from, sizeof wide.v);
    return wide;
}
void Store(std::int16_t* to, Wide a) { std::memcpy(to, a.v, sizeof a.v); }
unsigned Negatives(Wide a) {
    unsigned count = 0;
    while (a.v[count] >= 0x8000) ++count;
    return count;
}

#endif

#if defined(ZPIXF_AVX2_VECTORS) || defined(ZPIXF_SSE2_VECTORS)

struct Narrow {
    __m128i v;
};

Narrow LoadNarrow(const uint8_t* from) { return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(from))}; }
void Store(uint8_t* to, Narrow a) { _mm_storeu_si128(reinterpret_cast<__m128i*>(to), a.v); }
Narrow Add(Narrow a, Narrow b) { return {_mm_add_epi8(a.v, b.v)}; }
Narrow Subtract(Narrow a, Narrow b) { return {_mm_sub_epi8(a.v, b.v)}; }
Narrow AndEach(Narrow a, uint8_t number) { return {_mm_and_si128(a.v, _mm_set1_epi8(static_cast<char>(number)))}; }

#else

struct Narrow {
    uint8_t v[kBins];
};

Narrow LoadNarrow(const uint8_t* from) {
    Narrow narrow;
    std::memcpy(narrow.v, from, sizeof narrow.v);
    return narrow;
}
void Store(uint8_t* to, Narrow a) { std::memcpy(to, a.v, sizeof a.v); }
Narrow Add(Narrow a, Narrow b) {
    for (size_t i = 0; i < kBins; ++i) a.v[i] = static_cast<uint8_t>(a.v[i] + b.v[i]);
    return a;
}
Narrow Subtract(Narrow a, Narrow b) {
    for (size_t i = 0; i < kBins; ++i) a.v[i] = static_cast<uint8_t>(a.v[i] - b.v[i]);
    return a;
}
Narrow AndEach(Narrow a, uint8_t number) {
    for (size_t i = 0; i < kBins; ++i) a.v[i] = static_cast<uint8_t>(a.v[i] & number);
    return a;
}

#endif

Wide ZeroWide() {
    const std::int16_t zeros[kBins] = {};
    return LoadWide(zeros);
}

}  // namespace
}  // namespace zpixf
