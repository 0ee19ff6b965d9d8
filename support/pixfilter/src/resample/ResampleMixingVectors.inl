// Picking and mixing on vectors of 32 bytes, eight pixels of a line or the four channels of one sum: wider ones would
// have to be put together of pixels that lie apart.
#include <immintrin.h>

namespace zpixf {
namespace {

__m256i LoadBytes(const uint8_t* bytes) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes)); }

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
