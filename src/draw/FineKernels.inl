// Sums of pixels, compiled once for each instruction-set level, for the file with the other work of drawing. Nothing
// here may have weak linkage.
#include <cstring>

#include "draw/FineKernels.h"

#if defined(__AVX2__)
#include <immintrin.h>
#endif

namespace zbm {
namespace {

using std::int16_t;
using std::int32_t;
using std::int64_t;
using std::size_t;
using std::uint16_t;
using std::uint32_t;
using std::uint64_t;
using std::uint8_t;

constexpr int kBlendBits = 14, kFineBits = 7;
constexpr uint32_t kHalfBlend = kBlendUnit / 2;
static_assert(kBlendUnit == 1u << kBlendBits && kFineUnit == 1u << kFineBits);

/// product * 128 / 255, which is half the product and half of its 255th: within a unit, and exact for opaque pixels.
uint16_t Refined(unsigned product) { return static_cast<uint16_t>((product + (product + 127) / 255 + 1) / 2); }

void RefinePlain(uint16_t* __restrict fine, const uint8_t* __restrict pixels, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        const unsigned alpha = pixels[4 * i + 3];
        for (size_t c = 0; c < 3; ++c) fine[4 * i + c] = Refined(pixels[4 * i + c] * alpha);
        fine[4 * i + 3] = static_cast<uint16_t>(kFineUnit * alpha);
    }
}

void RefinePremultiplied(uint16_t* __restrict fine, const uint8_t* __restrict pixels, size_t count) {
    for (size_t i = 0; i < 4 * count; ++i) fine[i] = static_cast<uint16_t>(kFineUnit * pixels[i]);
}

void RefineOpaquePlain(uint16_t* __restrict fine, const uint8_t* __restrict pixels, size_t count) {
    RefinePremultiplied(fine, pixels, count);
    for (size_t i = 0; i < count; ++i) fine[4 * i + 3] = kFineFull;
}

/// Sums of bytes are 128 times less than those of what they become, and lose nothing.
template <class Channel>
constexpr int kBlendBitsOf = sizeof(Channel) == 1 ? kBlendBits - kFineBits : kBlendBits;
template <class Channel>
constexpr uint32_t kHalfBlendOf = 1u << (kBlendBitsOf<Channel> - 1);

template <class Channel>
void BlendRowsPlain(uint16_t* __restrict fine, const Channel* const* rows, const int16_t* weights, size_t pairs,
                    size_t begin, size_t channels) {
    for (size_t i = begin; i < channels; ++i) {
        uint32_t sum = kHalfBlendOf<Channel>;
        for (size_t k = 0; k < 2 * pairs; ++k) sum += rows[k][i] * static_cast<uint32_t>(weights[k]);
        fine[i] = static_cast<uint16_t>(sum >> kBlendBitsOf<Channel>);
        if (sizeof(Channel) == 1 && i % 4 == 3) fine[i] = kFineFull;
    }
}

void HalveColumnsPlain(uint16_t* __restrict fine, const uint16_t* __restrict pixels, size_t count) {
    for (size_t i = 0; i < count; ++i)
        for (size_t c = 0; c < 4; ++c)
            fine[4 * i + c] = static_cast<uint16_t>((pixels[8 * i + c] + pixels[8 * i + 4 + c] + 1) / 2);
}

const uint16_t* PixelOf(const uint16_t* line, int32_t origin, const Tap& tap) {
    return line + 4 * static_cast<std::ptrdiff_t>(tap.first - origin);
}

void BlendColumnsPlain(uint16_t* __restrict fine, const uint16_t* __restrict line, int32_t origin, const Tap* taps,
                       const int16_t* weights, size_t pairs, size_t count) {
    for (size_t i = 0; i < count; ++i, weights += 2 * pairs) {
        const uint16_t* const pixels = PixelOf(line, origin, taps[i]);
        uint32_t sums[4] = {kHalfBlend, kHalfBlend, kHalfBlend, kHalfBlend};
        for (size_t k = 0; k < 2 * pairs; ++k)
            for (size_t c = 0; c < 4; ++c) sums[c] += pixels[4 * k + c] * static_cast<uint32_t>(weights[k]);
        for (size_t c = 0; c < 4; ++c) fine[4 * i + c] = static_cast<uint16_t>(sums[c] >> kBlendBits);
    }
}

template <Sums as>
uint32_t Summand(uint16_t channel) {
    return as == Sums::fine ? channel : (channel + kFineUnit / 2) / kFineUnit;
}
template <Sums as>
uint16_t Quotient(uint32_t sum, uint32_t reciprocal) {
    const auto quotient = static_cast<uint32_t>((uint64_t{sum} * reciprocal + (uint64_t{1} << 31)) >> 32);
    return static_cast<uint16_t>(as == Sums::fine ? quotient : kFineUnit * quotient);
}

template <Sums as>
void AccumulatePlain(uint32_t* __restrict sums, WeightedRow a, WeightedRow b, size_t channels) {
    for (size_t i = 0; i < channels; ++i)
        sums[i] += Summand<as>(a.fine[i]) * a.weight + Summand<as>(b.fine[i]) * b.weight;
}

template <Sums as>
void AveragePlain(uint16_t* __restrict fine, const uint16_t* __restrict line, int32_t origin, const Tap* taps,
                  uint32_t unit, size_t count) {
    for (size_t i = 0; i < count; ++i, fine += 4) {
        const Tap& tap = taps[i];
        const uint16_t* pixel = PixelOf(line, origin, tap);
        uint32_t sums[4];
        for (size_t c = 0; c < 4; ++c) sums[c] = Summand<as>(pixel[c]) * tap.firstWeight;
        for (int32_t k = 1; k < tap.count; ++k) {
            const uint32_t weight = k + 1 == tap.count ? tap.lastWeight : unit;
            pixel += 4;
            for (size_t c = 0; c < 4; ++c) sums[c] += Summand<as>(pixel[c]) * weight;
        }
        for (size_t c = 0; c < 4; ++c) fine[c] = Quotient<as>(sums[c], tap.reciprocal);
    }
}

#if defined(__AVX2__)

__m256i Load256(const void* bytes) { return _mm256_loadu_si256(static_cast<const __m256i*>(bytes)); }
__m128i Load128(const void* bytes) { return _mm_loadu_si128(static_cast<const __m128i*>(bytes)); }
void Store256(void* bytes, __m256i value) { _mm256_storeu_si256(static_cast<__m256i*>(bytes), value); }

__m256i PairOfWeights(const int16_t* weights) {
    int32_t pair;
    std::memcpy(&pair, weights, sizeof pair);
    return _mm256_set1_epi32(pair);
}

/// Four pixels at a time.
void Refine(uint16_t* __restrict fine, const uint8_t* __restrict pixels, size_t count) {
    const __m256i full = _mm256_set1_epi16(255), half = _mm256_set1_epi16(127);
    const __m256i reciprocal = _mm256_set1_epi16(static_cast<short>(0x8081));
    size_t i = 0;
    for (; i + 4 <= count; i += 4) {
        const __m256i four = _mm256_cvtepu8_epi16(Load128(pixels + 4 * i));
        const __m256i alphas = _mm256_shufflehi_epi16(_mm256_shufflelo_epi16(four, 0xFF), 0xFF);
        const __m256i products = _mm256_mullo_epi16(four, _mm256_blend_epi16(alphas, full, 0x88));
        const __m256i levels =
            _mm256_srli_epi16(_mm256_mulhi_epu16(_mm256_add_epi16(products, half), reciprocal), kFineBits);
        Store256(fine + 4 * i, _mm256_avg_epu16(products, levels));
    }
    RefinePlain(fine + 4 * i, pixels + 4 * i, count - i);
}

void RefineOpaque(uint16_t* __restrict fine, const uint8_t* __restrict pixels, size_t count) {
    const __m256i full = _mm256_set1_epi16(kFineFull);
    size_t i = 0;
    for (; i + 4 <= count; i += 4) {
        const __m256i four = _mm256_slli_epi16(_mm256_cvtepu8_epi16(Load128(pixels + 4 * i)), kFineBits);
        Store256(fine + 4 * i, _mm256_blend_epi16(four, full, 0x88));
    }
    RefineOpaquePlain(fine + 4 * i, pixels + 4 * i, count - i);
}

__m256i Load16Channels(const uint16_t* channels) { return Load256(channels); }
__m256i Load16Channels(const uint8_t* channels) { return _mm256_cvtepu8_epi16(Load128(channels)); }

template <size_t pairs, class Channel>
void BlendPairsOfRows(uint16_t* fine, const Channel* const* rows, const int16_t* weights, size_t channels) {
    constexpr int bits = kBlendBitsOf<Channel>;
    __m256i weightsOf[pairs];
    for (size_t k = 0; k < pairs; ++k) weightsOf[k] = PairOfWeights(weights + 2 * k);
    size_t i = 0;
    for (; i + 16 <= channels; i += 16) {
        __m256i low = _mm256_set1_epi32(kHalfBlendOf<Channel>), high = low;
        for (size_t k = 0; k < pairs; ++k) {
            const __m256i a = Load16Channels(rows[2 * k] + i), b = Load16Channels(rows[2 * k + 1] + i);
            low = _mm256_add_epi32(low, _mm256_madd_epi16(_mm256_unpacklo_epi16(a, b), weightsOf[k]));
            high = _mm256_add_epi32(high, _mm256_madd_epi16(_mm256_unpackhi_epi16(a, b), weightsOf[k]));
        }
        __m256i four = _mm256_packus_epi32(_mm256_srli_epi32(low, bits), _mm256_srli_epi32(high, bits));
        if constexpr (sizeof(Channel) == 1) four = _mm256_blend_epi16(four, _mm256_set1_epi16(kFineFull), 0x88);
        Store256(fine + i, four);
    }
    BlendRowsPlain(fine, rows, weights, pairs, i, channels);
}

template <class Channel>
void BlendRowsOf(uint16_t* fine, const Channel* const* rows, const int16_t* weights, size_t pairs, size_t count) {
    switch (pairs) {
        case 1: return BlendPairsOfRows<1>(fine, rows, weights, 4 * count);
        case 2: return BlendPairsOfRows<2>(fine, rows, weights, 4 * count);
        case 3: return BlendPairsOfRows<3>(fine, rows, weights, 4 * count);
        default: return BlendPairsOfRows<kMostPairs>(fine, rows, weights, 4 * count);
    }
}

/// Four places at a time.
void HalveColumns(uint16_t* fine, const uint16_t* pixels, size_t count) {
    size_t i = 0;
    for (; i + 4 <= count; i += 4) {
        const __m256i a = Load256(pixels + 8 * i), b = Load256(pixels + 8 * i + 16);
        const __m256i halves = _mm256_avg_epu16(_mm256_unpacklo_epi64(a, b), _mm256_unpackhi_epi64(a, b));
        Store256(fine + 4 * i, _mm256_permute4x64_epi64(halves, 0xD8));
    }
    HalveColumnsPlain(fine + 4 * i, pixels + 8 * i, count - i);
}

/// Two places, one in each half, 32 bits a channel.
template <size_t pairs>
__m256i BlendTwo(const uint16_t* a, const uint16_t* b, const int16_t* weightsA, const int16_t* weightsB) {
    const __m256i byChannel =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15));
    __m256i sums = _mm256_set1_epi32(kHalfBlend);
    for (size_t k = 0; k < pairs; ++k) {
        const __m256i pixels =
            _mm256_inserti128_si256(_mm256_castsi128_si256(Load128(a + 8 * k)), Load128(b + 8 * k), 1);
        const __m256i weights =
            _mm256_blend_epi32(PairOfWeights(weightsA + 2 * k), PairOfWeights(weightsB + 2 * k), 0xF0);
        sums = _mm256_add_epi32(sums, _mm256_madd_epi16(_mm256_shuffle_epi8(pixels, byChannel), weights));
    }
    return _mm256_srli_epi32(sums, kBlendBits);
}

/// Four places at a time.
template <size_t pairs>
void BlendPairsOfColumns(uint16_t* fine, const uint16_t* line, int32_t origin, const Tap* taps, const int16_t* weights,
                         size_t count) {
    constexpr size_t next = 2 * pairs;
    size_t i = 0;
    for (; i + 4 <= count; i += 4, weights += 4 * next) {
        const auto at = [&](size_t place) { return PixelOf(line, origin, taps[i + place]); };
        const __m256i even = BlendTwo<pairs>(at(0), at(2), weights, weights + 2 * next);
        const __m256i odd = BlendTwo<pairs>(at(1), at(3), weights + next, weights + 3 * next);
        Store256(fine + 4 * i, _mm256_packus_epi32(even, odd));
    }
    BlendColumnsPlain(fine + 4 * i, line, origin, taps + i, weights, pairs, count - i);
}

void BlendColumns(uint16_t* fine, const uint16_t* line, int32_t origin, const Tap* taps, const int16_t* weights,
                  size_t pairs, size_t count) {
    switch (pairs) {
        case 1: return BlendPairsOfColumns<1>(fine, line, origin, taps, weights, count);
        case 2: return BlendPairsOfColumns<2>(fine, line, origin, taps, weights, count);
        case 3: return BlendPairsOfColumns<3>(fine, line, origin, taps, weights, count);
        default: return BlendPairsOfColumns<kMostPairs>(fine, line, origin, taps, weights, count);
    }
}

void AccumulateFine(uint32_t* sums, WeightedRow a, WeightedRow b, size_t channels) {
    const __m256i weights = _mm256_set1_epi32(static_cast<int>(a.weight | b.weight << 16));
    const auto add = [&](uint32_t* to, __m128i low, __m128i high) {
        const __m256i products = _mm256_madd_epi16(_mm256_set_m128i(high, low), weights);
        Store256(to, _mm256_add_epi32(Load256(to), products));
    };
    size_t i = 0;
    for (; i + 16 <= channels; i += 16) {
        const __m256i first = Load256(a.fine + i), second = Load256(b.fine + i);
        const __m256i low = _mm256_unpacklo_epi16(first, second), high = _mm256_unpackhi_epi16(first, second);
        add(sums + i, _mm256_castsi256_si128(low), _mm256_castsi256_si128(high));
        add(sums + i + 8, _mm256_extracti128_si256(low, 1), _mm256_extracti128_si256(high, 1));
    }
    AccumulatePlain<Sums::fine>(sums + i, {a.fine + i, a.weight}, {b.fine + i, b.weight}, channels - i);
}

/// Two pixels times their weights, which lie in the halves of `weights`.
__m128i SumOfTwo(const uint16_t* pixels, uint32_t weights) {
    const __m128i byChannel = _mm_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15);
    return _mm_madd_epi16(_mm_shuffle_epi8(Load128(pixels), byChannel), _mm_set1_epi32(static_cast<int>(weights)));
}

void AverageFine(uint16_t* fine, const uint16_t* line, int32_t origin, const Tap* taps, uint32_t unit, size_t count) {
    const __m128i half = _mm_set1_epi64x(int64_t{1} << 31);
    for (size_t i = 0; i < count; ++i) {
        const Tap& tap = taps[i];
        const uint16_t* pixel = PixelOf(line, origin, tap);
        const uint32_t second = tap.count > 2 ? unit : tap.count == 2 ? tap.lastWeight : 0;
        __m128i sums = SumOfTwo(pixel, tap.firstWeight | second << 16);
        int32_t left = tap.count - 2;
        for (pixel += 8; left > 2; left -= 2, pixel += 8)
            sums = _mm_add_epi32(sums, SumOfTwo(pixel, unit | unit << 16));
        if (left > 0) {
            const uint32_t next = left == 2 ? unit : tap.lastWeight, last = left == 2 ? tap.lastWeight : 0;
            sums = _mm_add_epi32(sums, SumOfTwo(pixel, next | last << 16));
        }
        const __m128i factor = _mm_set1_epi32(static_cast<int>(tap.reciprocal));
        const __m128i even = _mm_add_epi64(_mm_mul_epu32(sums, factor), half);
        const __m128i odd = _mm_add_epi64(_mm_mul_epu32(_mm_srli_epi64(sums, 32), factor), half);
        const __m128i quotients = _mm_blend_epi32(_mm_srli_epi64(even, 32), odd, 0xA);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(fine + 4 * i), _mm_packus_epi32(quotients, quotients));
    }
}

#else

void Refine(uint16_t* fine, const uint8_t* pixels, size_t count) { RefinePlain(fine, pixels, count); }
void RefineOpaque(uint16_t* fine, const uint8_t* pixels, size_t count) { RefineOpaquePlain(fine, pixels, count); }

template <class Channel>
void BlendRowsOf(uint16_t* fine, const Channel* const* rows, const int16_t* weights, size_t pairs, size_t count) {
    BlendRowsPlain(fine, rows, weights, pairs, 0, 4 * count);
}

void HalveColumns(uint16_t* fine, const uint16_t* pixels, size_t count) { HalveColumnsPlain(fine, pixels, count); }

void BlendColumns(uint16_t* fine, const uint16_t* line, int32_t origin, const Tap* taps, const int16_t* weights,
                  size_t pairs, size_t count) {
    BlendColumnsPlain(fine, line, origin, taps, weights, pairs, count);
}

void AccumulateFine(uint32_t* sums, WeightedRow a, WeightedRow b, size_t channels) {
    AccumulatePlain<Sums::fine>(sums, a, b, channels);
}

void AverageFine(uint16_t* fine, const uint16_t* line, int32_t origin, const Tap* taps, uint32_t unit, size_t count) {
    AveragePlain<Sums::fine>(fine, line, origin, taps, unit, count);
}

#endif

void Accumulate(uint32_t* sums, WeightedRow a, WeightedRow b, Sums as, size_t count) {
    (as == Sums::fine ? AccumulateFine : AccumulatePlain<Sums::levels>)(sums, a, b, 4 * count);
}

template <Sums as>
void DivideAs(uint16_t* __restrict fine, const uint32_t* __restrict sums, uint32_t reciprocal, size_t count) {
    for (size_t i = 0; i < 4 * count; ++i) fine[i] = Quotient<as>(sums[i], reciprocal);
}
void Divide(uint16_t* fine, const uint32_t* sums, uint32_t reciprocal, Sums as, size_t count) {
    (as == Sums::fine ? DivideAs<Sums::fine> : DivideAs<Sums::levels>)(fine, sums, reciprocal, count);
}

void Average(uint16_t* fine, const uint16_t* line, int32_t origin, const Tap* taps, uint32_t unit, Sums as,
             size_t count) {
    (as == Sums::fine ? AverageFine : AveragePlain<Sums::levels>)(fine, line, origin, taps, unit, count);
}

/// No alpha is above that of opaque pixels, so the others lack one of its bits.
bool IsOpaqueFine(const uint16_t* fine, size_t count) {
    uint64_t all = ~uint64_t{0};
    for (size_t i = 0; i < count; ++i) {
        uint64_t pixel;
        std::memcpy(&pixel, fine + 4 * i, sizeof pixel);
        all &= pixel;
    }
    return all >> 48 == kFineFull;
}

void NarrowFine(uint8_t* __restrict surface, const uint16_t* __restrict fine, size_t count) {
    for (size_t i = 0; i < 4 * count; ++i) surface[i] = static_cast<uint8_t>((fine[i] + kFineUnit / 2) >> kFineBits);
}

/// Times 255 / 128, which is twice, less the 128th. Halves of a level go where narrowing sends them: up.
void WidenFine(uint16_t* fine, size_t count) {
    for (size_t i = 0; i < 4 * count; ++i)
        fine[i] = static_cast<uint16_t>(2 * fine[i] - ((fine[i] + kFineUnit / 2 - 1) >> kFineBits));
}

}  // namespace
}  // namespace zbm
