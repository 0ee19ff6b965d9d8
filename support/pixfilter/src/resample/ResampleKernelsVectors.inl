// The loops of ResampleKernels.inl on vectors of 32 bytes: eight pixels of a line, or the four channels of one sum.
#include <immintrin.h>

namespace zpixf {
namespace {

__m256i LoadBytes(const uint8_t* bytes) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes)); }

bool IsEveryAlphaFull(__m256i pixels) {
    const __m256i isFull = _mm256_cmpeq_epi8(pixels, _mm256_set1_epi32(-1));
    return (static_cast<uint32_t>(_mm256_movemask_epi8(isFull)) & 0x88888888) == 0x88888888;
}

bool IsOpaque(const uint8_t* pixels, size_t count) {
    __m256i all = _mm256_set1_epi32(-1);
    size_t x = 0;
    for (; x + 16 <= count; x += 16)
        all = _mm256_and_si256(all, _mm256_and_si256(LoadBytes(pixels + 4 * x), LoadBytes(pixels + 4 * x + 32)));
    return IsEveryAlphaFull(all) && IsOpaqueFrom(x, pixels, count);
}

__m128i LoadPixels(const uint8_t* pixels, const uint32_t* places) {
    const auto load = [&](size_t i) {
        return _mm_cvtsi32_si128(static_cast<int>(LoadPixel(pixels + size_t{4} * places[i])));
    };
    return _mm_unpacklo_epi64(_mm_unpacklo_epi32(load(0), load(1)), _mm_unpacklo_epi32(load(2), load(3)));
}

/// Eight pixels at a time: where they lie within a vector, by a permutation of it, else one by one. (Gathering takes
/// longer.)
void Pick(const uint8_t* pixels, int32_t origin, const uint32_t* columns, size_t count, uint8_t* out) {
    constexpr size_t kPixels = 8;
    size_t x = 0;
    for (; x + kPixels <= count; x += kPixels) {
        const uint32_t* const places = columns + x;
        const uint8_t* const first = pixels + size_t{4} * (places[0] - static_cast<uint32_t>(origin));
        __m256i picked;
        if (columns[count - 1] - places[0] >= kPixels && places[kPixels - 1] - places[0] < kPixels) {
            const __m256i fromFirst = _mm256_sub_epi32(LoadBytes(reinterpret_cast<const uint8_t*>(places)),
                                                       _mm256_set1_epi32(static_cast<int>(places[0])));
            picked = _mm256_permutevar8x32_epi32(LoadBytes(first), fromFirst);
        } else {
            uint32_t fromFirst[kPixels];
            for (size_t i = 0; i < kPixels; ++i) fromFirst[i] = places[i] - places[0];
            picked = _mm256_setr_m128i(LoadPixels(first, fromFirst), LoadPixels(first, fromFirst + 4));
        }
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 4 * x), picked);
    }
    PickFrom(x, pixels, origin, columns, count, out);
}

/// Sums of neighbours, side by side: those of pixels 0 + 1 and 2 + 3 in the low half, 4 + 5 and 6 + 7 in the high.
__m256i PairSums(const uint8_t* pixels) {
    const __m256i neighbours = _mm256_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15,  //
                                                0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15);
    return _mm256_maddubs_epi16(_mm256_shuffle_epi8(LoadBytes(pixels), neighbours), _mm256_set1_epi8(1));
}

/// `factors` as HalvingFactors gives them.
__m256i MeansOfFour(const uint8_t* upper, const uint8_t* lower, __m256i factors) {
    return _mm256_mulhrs_epi16(_mm256_add_epi16(PairSums(upper), PairSums(lower)), factors);
}

/// Factors of the sums of four bytes: sum * factor / 2^15 goes to the nearest, and halves up if the factor is 2^13. A
/// little less makes them go down, and of alpha, with less still, only the largest sum becomes 255.
__m256i HalvingFactors(bool roundsUp) {
    const std::int64_t up = 0x1FF4'2000'2000'2000, down = 0x1FF4'1FFC'1FFC'1FFC;
    return roundsUp ? _mm256_setr_epi64x(up, down, up, down) : _mm256_setr_epi64x(down, up, down, up);
}

// Of a vector's eight pixels, pairs of neighbours are taken two at a time: `kFirst` 0 for pixels 0 | 1 and 4 | 5, 2 for
// 2 | 3 and 6 | 7.

/// Each channel of the two side by side, in 16 bits.
template <int kFirst>
__m256i SpreadPairs(__m256i pixels) {
    constexpr char k = 4 * kFirst;
    const __m256i spread =
        _mm256_setr_epi8(k, -1, k + 4, -1, k + 1, -1, k + 5, -1, k + 2, -1, k + 6, -1, k + 3, -1, k + 7, -1, k, -1,
                         k + 4, -1, k + 1, -1, k + 5, -1, k + 2, -1, k + 6, -1, k + 3, -1, k + 7, -1);
    return _mm256_shuffle_epi8(pixels, spread);
}

/// Alphas in the places of the colours, and ones in those of alpha.
template <int kFirst>
__m256i AlphasOfPairs(__m256i pixels) {
    constexpr char k = 4 * kFirst + 3;
    const __m256i alphas = _mm256_setr_epi8(k, -1, k + 4, -1, k, -1, k + 4, -1, k, -1, k + 4, -1, -1, -1, -1, -1,  //
                                            k, -1, k + 4, -1, k, -1, k + 4, -1, k, -1, k + 4, -1, -1, -1, -1, -1);
    const __m256i ones = _mm256_setr_epi32(0, 0, 0, 0x0001'0001, 0, 0, 0, 0x0001'0001);
    return _mm256_or_si256(_mm256_shuffle_epi8(pixels, alphas), ones);
}

/// Two pixels of a half, of neighbours as in SpreadPairs: numbers of 32 bits. `rounding` is the tie breaker.
template <int kFirst>
__m256i WeightedMeans(__m256i upper, __m256i lower, __m256 rounding) {
    const __m256i above = SpreadPairs<kFirst>(upper), below = SpreadPairs<kFirst>(lower);
    const __m256i sums = _mm256_add_epi32(_mm256_madd_epi16(above, AlphasOfPairs<kFirst>(upper)),
                                          _mm256_madd_epi16(below, AlphasOfPairs<kFirst>(lower)));
    const __m256 weighted = _mm256_cvtepi32_ps(sums), quarter = _mm256_set1_ps(0.25F);
    const __m256 alphas = _mm256_shuffle_ps(weighted, weighted, 0xFF);
    const __m256 isClear = _mm256_cmp_ps(alphas, _mm256_setzero_ps(), _CMP_EQ_OQ);
    __m256 means = _mm256_div_ps(weighted, _mm256_blend_ps(alphas, _mm256_set1_ps(4), 0x88));
    if (_mm256_movemask_ps(isClear) != 0) {
        const __m256i plain = _mm256_madd_epi16(_mm256_add_epi16(above, below), _mm256_set1_epi16(1));
        means = _mm256_blendv_ps(means, _mm256_mul_ps(_mm256_cvtepi32_ps(plain), quarter), isClear);
    }
    return _mm256_cvtps_epi32(_mm256_add_ps(means, rounding));
}

/// Four pixels of a half, in 16 bits, in the order of MeansOfFour.
__m256i WeightedMeansOfFour(const uint8_t* upper, const uint8_t* lower, __m256 even) {
    const __m256i above = LoadBytes(upper), below = LoadBytes(lower);
    const __m256 odd = _mm256_sub_ps(_mm256_setzero_ps(), even);
    return _mm256_packs_epi32(WeightedMeans<0>(above, below, even), WeightedMeans<2>(above, below, odd));
}

/// Has the two lines behind a pair fetched while that is halved: bytes from `upper` on.
template <bool kFetches>
void FetchNextLines([[maybe_unused]] const uint8_t* upper, [[maybe_unused]] std::ptrdiff_t stride) {
    if constexpr (kFetches) {
        _mm_prefetch(upper + 2 * stride, _MM_HINT_T0);
        _mm_prefetch(upper + 3 * stride, _MM_HINT_T0);
    }
}

#if defined(__AVX512BW__)

constexpr __mmask16 kWideAlphas = 0x8888;  // of four pixels in 32 bits a channel

__m512i LoadWide(const uint8_t* bytes) { return _mm512_loadu_si512(bytes); }

__m512i WidePairSums(const uint8_t* pixels) {
    const __m512i neighbours =
        _mm512_maskz_broadcast_i32x4(0xFFFF, _mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15));
    return _mm512_maddubs_epi16(_mm512_shuffle_epi8(LoadWide(pixels), neighbours), _mm512_set1_epi8(1));
}

__m512i WideMeansOfFour(const uint8_t* upper, const uint8_t* lower, __m512i factors) {
    return _mm512_mulhrs_epi16(_mm512_add_epi16(WidePairSums(upper), WidePairSums(lower)), factors);
}

/// In each quarter, bytes as `order` has them.
__m512i WideShuffled(__m512i pixels, __m128i order) {
    return _mm512_shuffle_epi8(pixels, _mm512_maskz_broadcast_i32x4(0xFFFF, order));
}

/// As WeightedMeans, of one pair in each quarter. (Quotients by way of reciprocals are off by a few parts in 2^22, and
/// by less than kHalvingTieBreaker.)
template <int kFirst>
__m512i WideWeightedMeans(__m512i upper, __m512i lower, __m512 rounding) {
    constexpr char k = 4 * kFirst, kAlphaPlace = k + 3;
    const __m128i spread =
        _mm_setr_epi8(k, -1, k + 4, -1, k + 1, -1, k + 5, -1, k + 2, -1, k + 6, -1, k + 3, -1, k + 7, -1);
    const __m128i toAlphas = _mm_setr_epi8(kAlphaPlace, -1, kAlphaPlace + 4, -1, kAlphaPlace, -1, kAlphaPlace + 4, -1,
                                           kAlphaPlace, -1, kAlphaPlace + 4, -1, -1, -1, -1, -1);
    const __m512i ones = _mm512_maskz_set1_epi32(kWideAlphas, 0x0001'0001);
    const auto alphasOf = [&](__m512i pixels) { return _mm512_or_si512(WideShuffled(pixels, toAlphas), ones); };
    const __m512i above = WideShuffled(upper, spread), below = WideShuffled(lower, spread);
    const __m512i sums =
        _mm512_add_epi32(_mm512_madd_epi16(above, alphasOf(upper)), _mm512_madd_epi16(below, alphasOf(lower)));
    const __m512 weighted = _mm512_maskz_cvtepi32_ps(0xFFFF, sums);
    const __m512 alphas = _mm512_shuffle_ps(weighted, weighted, 0xFF);
    const __mmask16 isClear = _mm512_cmp_ps_mask(alphas, _mm512_setzero_ps(), _CMP_EQ_OQ);
    const __m512 divisors = _mm512_mask_blend_ps(kWideAlphas, alphas, _mm512_set1_ps(4));
    const __m512 nearly = _mm512_maskz_rcp14_ps(0xFFFF, divisors);
    const __m512 factors = _mm512_mul_ps(nearly, _mm512_fnmadd_ps(divisors, nearly, _mm512_set1_ps(2)));
    __m512 means = _mm512_mul_ps(weighted, factors);
    if (isClear != 0) {
        const __m512i plain = _mm512_madd_epi16(_mm512_add_epi16(above, below), _mm512_set1_epi16(1));
        means = _mm512_mask_mul_ps(means, isClear, _mm512_maskz_cvtepi32_ps(0xFFFF, plain), _mm512_set1_ps(0.25F));
    }
    return _mm512_maskz_cvtps_epi32(0xFFFF, _mm512_add_ps(means, rounding));
}

/// As WideMeansOfFour.
__m512i WideWeightedMeansOfFour(const uint8_t* upper, const uint8_t* lower, __m512 even) {
    const __m512i above = LoadWide(upper), below = LoadWide(lower);
    const __m512 odd = _mm512_sub_ps(_mm512_setzero_ps(), even);
    return _mm512_packs_epi32(WideWeightedMeans<0>(above, below, even), WideWeightedMeans<2>(above, below, odd));
}

/// What HalveLine does, sixteen pixels at a time; returns where too few are left.
template <bool kFetches>
size_t HalveWide(const uint8_t* upper, std::ptrdiff_t stride, size_t count, bool roundsUp, uint8_t* out) {
    const __m512i factors = _mm512_maskz_broadcast_i64x4(0xFF, HalvingFactors(roundsUp));
    const __m512 rounding = _mm512_set1_ps(roundsUp ? kHalvingTieBreaker : -kHalvingTieBreaker);
    const __m512i inOrder = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
    size_t x = 0;
    for (; x + 16 <= count; x += 16) {
        const uint8_t *above = upper + 8 * x, *below = above + stride;
        FetchNextLines<kFetches>(above, stride);
        FetchNextLines<kFetches>(above + 64, stride);
        const __m512i all = _mm512_and_si512(_mm512_and_si512(LoadWide(above), LoadWide(above + 64)),
                                             _mm512_and_si512(LoadWide(below), LoadWide(below + 64)));
        const bool isOpaque = _mm512_cmplt_epu32_mask(all, _mm512_set1_epi32(static_cast<int>(0xFF000000))) == 0;
        const __m512i packed = isOpaque
                                   ? _mm512_packus_epi16(WideMeansOfFour(above, below, factors),
                                                         WideMeansOfFour(above + 64, below + 64, factors))
                                   : _mm512_packus_epi16(WideWeightedMeansOfFour(above, below, rounding),
                                                         WideWeightedMeansOfFour(above + 64, below + 64, rounding));
        _mm512_storeu_si512(out + 4 * x, _mm512_maskz_permutexvar_epi64(0xFF, inOrder, packed));
    }
    return x;
}

#else

template <bool kFetches>
size_t HalveWide(const uint8_t*, std::ptrdiff_t, size_t, bool, uint8_t*) {
    return 0;
}

#endif

template <bool kFetches>
void HalveLine(const uint8_t* upper, std::ptrdiff_t stride, size_t count, bool roundsUp, uint8_t* out) {
    size_t x = HalveWide<kFetches>(upper, stride, count, roundsUp, out);
    if (x == count) return;
    const __m256i factors = HalvingFactors(roundsUp);
    const __m256 rounding = _mm256_set1_ps(roundsUp ? kHalvingTieBreaker : -kHalvingTieBreaker);
    for (; x + 8 <= count; x += 8) {
        const uint8_t *above = upper + 8 * x, *below = above + stride;
        FetchNextLines<kFetches>(above, stride);
        __m256i packed =
            _mm256_packus_epi16(MeansOfFour(above, below, factors), MeansOfFour(above + 32, below + 32, factors));
        if (!IsEveryAlphaFull(packed))
            packed = _mm256_packus_epi16(WeightedMeansOfFour(above, below, rounding),
                                         WeightedMeansOfFour(above + 32, below + 32, rounding));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 4 * x), _mm256_permute4x64_epi64(packed, 0xD8));
    }
    HalveSome(upper + 8 * x, upper + stride + 8 * x, count - x, roundsUp, out + 4 * x);
}

/// The weights of two lines in each 32 bits, as _mm256_madd_epi16 wants them.
__m256i PairOfWeights(const ResampleTap* taps) {
    return _mm256_set1_epi32(static_cast<int32_t>(static_cast<uint32_t>(taps[1].weight) << 16 |
                                                  (static_cast<uint32_t>(taps[0].weight) & 0xFFFF)));
}

// Unpacking bytes leaves pixel n in the low half of a vector and pixel n + 4 in the high.
void StorePixels(double* sums, const __m256d* low, const __m256d* high) {
    for (size_t i = 0; i < 4; ++i) {
        _mm256_storeu_pd(sums + 4 * i, low[i]);
        _mm256_storeu_pd(sums + 4 * i + 16, high[i]);
    }
}

__m256d LowPixel(__m256i sums) { return _mm256_cvtepi32_pd(_mm256_castsi256_si128(sums)); }
__m256d HighPixel(__m256i sums) { return _mm256_cvtepi32_pd(_mm256_extracti128_si256(sums, 1)); }

void SumPlain(const ResampleTap* taps, size_t tapCount, size_t first, size_t count, double* sums) {
    const __m256i zero = _mm256_setzero_si256();
    for (size_t x = first; x < first + count; x += 8, sums += 32) {
        __m256i sum0 = zero, sum1 = zero, sum2 = zero, sum3 = zero;
        for (size_t tap = 0; tap < tapCount; tap += 2) {
            const __m256i weights = PairOfWeights(taps + tap);
            const __m256i a = LoadBytes(taps[tap].line + 4 * x), b = LoadBytes(taps[tap + 1].line + 4 * x);
            const __m256i low = _mm256_unpacklo_epi8(a, b), high = _mm256_unpackhi_epi8(a, b);
            const auto add = [&](__m256i sum, __m256i pairs) {
                return _mm256_add_epi32(sum, _mm256_madd_epi16(pairs, weights));
            };
            sum0 = add(sum0, _mm256_unpacklo_epi8(low, zero));
            sum1 = add(sum1, _mm256_unpackhi_epi8(low, zero));
            sum2 = add(sum2, _mm256_unpacklo_epi8(high, zero));
            sum3 = add(sum3, _mm256_unpackhi_epi8(high, zero));
        }
        const __m256d low[] = {LowPixel(sum0), LowPixel(sum1), LowPixel(sum2), LowPixel(sum3)};
        const __m256d high[] = {HighPixel(sum0), HighPixel(sum1), HighPixel(sum2), HighPixel(sum3)};
        StorePixels(sums, low, high);
    }
}

/// Colours times alpha, and alpha, of four pixels that have been unpacked to 16 bits.
__m256i TimesAlpha(__m256i pixels) {
    const __m256i alphas = _mm256_setr_epi8(6, 7, 6, 7, 6, 7, -1, -1, 14, 15, 14, 15, 14, 15, -1, -1,  //
                                            6, 7, 6, 7, 6, 7, -1, -1, 14, 15, 14, 15, 14, 15, -1, -1);
    const __m256i one = _mm256_set1_epi64x(std::int64_t{1} << 48);
    return _mm256_mullo_epi16(pixels, _mm256_or_si256(_mm256_shuffle_epi8(pixels, alphas), one));
}

// A product's bytes are summed apart, as madd takes 16 bits with a sign and a product has 16 without. Of each half of
// the eight pixels there are four sums: high bytes and low of pixels n | n + 4, and of the next.
struct SplitSums {
    __m256i high0, low0, high1, low1;

    void Add(__m256i a, __m256i b, __m256i weights) {
        const __m256i byte = _mm256_set1_epi16(255);
        const __m256i pairs0 = _mm256_unpacklo_epi16(a, b), pairs1 = _mm256_unpackhi_epi16(a, b);
        high0 = _mm256_add_epi32(high0, _mm256_madd_epi16(_mm256_srli_epi16(pairs0, 8), weights));
        low0 = _mm256_add_epi32(low0, _mm256_madd_epi16(_mm256_and_si256(pairs0, byte), weights));
        high1 = _mm256_add_epi32(high1, _mm256_madd_epi16(_mm256_srli_epi16(pairs1, 8), weights));
        low1 = _mm256_add_epi32(low1, _mm256_madd_epi16(_mm256_and_si256(pairs1, byte), weights));
    }
    static void StoreJoined(double* sums, __m256d high, __m256d low) {
        _mm256_storeu_pd(sums, _mm256_add_pd(_mm256_mul_pd(high, _mm256_set1_pd(256)), low));
    }
    void Store(double* sums) const {
        StoreJoined(sums, LowPixel(high0), LowPixel(low0));
        StoreJoined(sums + 4, LowPixel(high1), LowPixel(low1));
        StoreJoined(sums + 16, HighPixel(high0), HighPixel(low0));
        StoreJoined(sums + 20, HighPixel(high1), HighPixel(low1));
    }
};

void SumWeighted(const ResampleTap* taps, size_t tapCount, size_t first, size_t count, double* sums) {
    const __m256i zero = _mm256_setzero_si256();
    for (size_t x = first; x < first + count; x += 8, sums += 32) {
        SplitSums left = {zero, zero, zero, zero}, right = left;
        for (size_t tap = 0; tap < tapCount; tap += 2) {
            const __m256i weights = PairOfWeights(taps + tap);
            const __m256i a = LoadBytes(taps[tap].line + 4 * x), b = LoadBytes(taps[tap + 1].line + 4 * x);
            left.Add(TimesAlpha(_mm256_unpacklo_epi8(a, zero)), TimesAlpha(_mm256_unpacklo_epi8(b, zero)), weights);
            right.Add(TimesAlpha(_mm256_unpackhi_epi8(a, zero)), TimesAlpha(_mm256_unpackhi_epi8(b, zero)), weights);
        }
        left.Store(sums);
        right.Store(sums + 8);
    }
}

/// The sums of one output pixel's four channels, upon `mixed`.
__m256d Mix(const ResampleColumns& columns, size_t x, const double* sums, size_t origin, __m256d mixed) {
    const double* pixel = sums + 4 * (columns.columns[x].first - origin);
    const double* weights = columns.weights + columns.columns[x].weights;
    for (size_t tap = 0; tap < columns.taps; ++tap)
        mixed = _mm256_fmadd_pd(_mm256_loadu_pd(pixel + 4 * tap), _mm256_broadcast_sd(weights + tap), mixed);
    return mixed;
}

// (Converting rounds to nearest; packing clamps.)
void StoreFour(uint8_t* out, __m256d a, __m256d b, __m256d c, __m256d d) {
    const __m128i ab = _mm_packs_epi32(_mm256_cvtpd_epi32(a), _mm256_cvtpd_epi32(b));
    const __m128i cd = _mm_packs_epi32(_mm256_cvtpd_epi32(c), _mm256_cvtpd_epi32(d));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_packus_epi16(ab, cd));
}

void StoreOne(uint8_t* out, __m256d pixel) {
    const __m128i words = _mm_packs_epi32(_mm256_cvtpd_epi32(pixel), _mm_setzero_si128());
    StorePixel(out, static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_packus_epi16(words, words))));
}

/// Adds what four taps of a pixel give to `mixed`. Their weights are loaded at once and then moved: to load each of
/// them takes longer.
__m256d MixTaps(const double* sums, const double* weights, __m256d mixed) {
    const __m256d four = _mm256_loadu_pd(weights);
    const auto add = [&](size_t tap, __m256d weight) {
        mixed = _mm256_fmadd_pd(_mm256_loadu_pd(sums + 4 * tap), weight, mixed);
    };
    add(0, _mm256_permute4x64_pd(four, 0x00));
    add(1, _mm256_permute4x64_pd(four, 0x55));
    add(2, _mm256_permute4x64_pd(four, 0xAA));
    add(3, _mm256_permute4x64_pd(four, 0xFF));
    return mixed;
}

struct FourPixels {
    __m256d pixel0, pixel1, pixel2, pixel3;
};

/// Adds the sums of pixels x .. x + 3 to `mixed`: four at a time, as a sum waits for its last addition. `kTaps` is a
/// constant where it is often met; 0 for any number. (Inline, as a call would take the sums through memory.)
template <size_t kTaps>
inline void MixFour(const ResampleColumns& columns, size_t x, const double* sums, size_t origin, FourPixels& mixed) {
    const size_t taps = kTaps != 0 ? kTaps : columns.taps;
    const ResampleColumn* column = columns.columns + x;
    const auto pixel = [&](size_t i) { return sums + 4 * (column[i].first - origin); };
    const auto weight = [&](size_t i) { return columns.weights + column[i].weights; };
    const auto add = [](__m256d& to, const double* from, const double* by) {
        to = _mm256_fmadd_pd(_mm256_loadu_pd(from), _mm256_broadcast_sd(by), to);
    };
    const double *pixel0 = pixel(0), *pixel1 = pixel(1), *pixel2 = pixel(2), *pixel3 = pixel(3);
    const double *weight0 = weight(0), *weight1 = weight(1), *weight2 = weight(2), *weight3 = weight(3);
    size_t tap = 0;
    for (; tap + 4 <= taps; tap += 4) {
        mixed.pixel0 = MixTaps(pixel0 + 4 * tap, weight0 + tap, mixed.pixel0);
        mixed.pixel1 = MixTaps(pixel1 + 4 * tap, weight1 + tap, mixed.pixel1);
        mixed.pixel2 = MixTaps(pixel2 + 4 * tap, weight2 + tap, mixed.pixel2);
        mixed.pixel3 = MixTaps(pixel3 + 4 * tap, weight3 + tap, mixed.pixel3);
    }
    for (; tap < taps; ++tap) {
        add(mixed.pixel0, pixel0 + 4 * tap, weight0 + tap);
        add(mixed.pixel1, pixel1 + 4 * tap, weight1 + tap);
        add(mixed.pixel2, pixel2 + 4 * tap, weight2 + tap);
        add(mixed.pixel3, pixel3 + 4 * tap, weight3 + tap);
    }
}

template <size_t kTaps>
void MixPlainOf(const ResampleColumns& columns, const double* sums, size_t origin, uint8_t* out) {
    const __m256d even = _mm256_set1_pd(TieBreaker(columns, 0)), odd = _mm256_set1_pd(TieBreaker(columns, 1));
    size_t x = 0;
    for (; x + 4 <= columns.count; x += 4) {
        FourPixels four = {even, odd, even, odd};
        MixFour<kTaps>(columns, x, sums, origin, four);
        StoreFour(out + 4 * x, four.pixel0, four.pixel1, four.pixel2, four.pixel3);
    }
    for (; x < columns.count; ++x) StoreOne(out + 4 * x, Mix(columns, x, sums, origin, x % 2 == 0 ? even : odd));
}

void MixPlain(const ResampleColumns& columns, const double* sums, size_t origin, uint8_t* out) {
    switch (columns.taps) {
        case 2: return MixPlainOf<2>(columns, sums, origin, out);
        case 4: return MixPlainOf<4>(columns, sums, origin, out);
        default: return MixPlainOf<0>(columns, sums, origin, out);
    }
}

/// Where alpha is above 0: as a mask.
__m256d IsSeen(__m256d alphas) { return _mm256_cmp_pd(alphas, _mm256_setzero_pd(), _CMP_GT_OQ); }

/// By what the colours are multiplied; 0 where nothing is seen of them.
__m256d Reciprocals(__m256d alphas) {
    const __m256d isSeen = IsSeen(alphas), one = _mm256_set1_pd(1);
    return _mm256_and_pd(_mm256_div_pd(one, _mm256_blendv_pd(one, alphas, isSeen)), isSeen);
}

/// `reciprocal` is in all places; that of alpha itself stays out of it.
__m256d Unweighted(__m256d mixed, __m256d reciprocal, __m256d tieBreaker) {
    const __m256d factors = _mm256_blend_pd(reciprocal, _mm256_set1_pd(1), 8);
    const __m256d pixel = _mm256_add_pd(_mm256_mul_pd(mixed, factors), tieBreaker);
    return _mm256_min_pd(_mm256_max_pd(pixel, _mm256_setzero_pd()), _mm256_set1_pd(255));
}

template <size_t kTaps>
bool MixWeightedOf(const ResampleColumns& columns, const double* sums, size_t origin, uint8_t* out, bool* isClear) {
    const __m256d zero = _mm256_setzero_pd();
    const __m256d even = _mm256_set1_pd(TieBreaker(columns, 0)), odd = _mm256_set1_pd(TieBreaker(columns, 1));
    bool isAnyClear = false;
    size_t x = 0;
    for (; x + 4 <= columns.count; x += 4) {
        FourPixels four = {zero, zero, zero, zero};
        MixFour<kTaps>(columns, x, sums, origin, four);
        const __m256d alphas = _mm256_permute2f128_pd(_mm256_unpackhi_pd(four.pixel0, four.pixel1),
                                                      _mm256_unpackhi_pd(four.pixel2, four.pixel3), 0x31);
        const __m256d reciprocals = Reciprocals(alphas);
        StoreFour(out + 4 * x, Unweighted(four.pixel0, _mm256_permute4x64_pd(reciprocals, 0x00), even),
                  Unweighted(four.pixel1, _mm256_permute4x64_pd(reciprocals, 0x55), odd),
                  Unweighted(four.pixel2, _mm256_permute4x64_pd(reciprocals, 0xAA), even),
                  Unweighted(four.pixel3, _mm256_permute4x64_pd(reciprocals, 0xFF), odd));
        const int seen = _mm256_movemask_pd(IsSeen(alphas));
        for (int i = 0; i < 4; ++i) isClear[x + static_cast<size_t>(i)] = (seen >> i & 1) == 0;
        isAnyClear |= seen != 15;
    }
    for (; x < columns.count; ++x) {
        const __m256d mixed = Mix(columns, x, sums, origin, zero);
        const __m256d alpha = _mm256_permute4x64_pd(mixed, 0xFF);
        StoreOne(out + 4 * x, Unweighted(mixed, Reciprocals(alpha), x % 2 == 0 ? even : odd));
        isClear[x] = _mm256_movemask_pd(IsSeen(alpha)) == 0;
        isAnyClear |= isClear[x];
    }
    return isAnyClear;
}

bool MixWeighted(const ResampleColumns& columns, const double* sums, size_t origin, uint8_t* out, bool* isClear) {
    switch (columns.taps) {
        case 2: return MixWeightedOf<2>(columns, sums, origin, out, isClear);
        case 4: return MixWeightedOf<4>(columns, sums, origin, out, isClear);
        default: return MixWeightedOf<0>(columns, sums, origin, out, isClear);
    }
}

}  // namespace
}  // namespace zpixf
