// Drawing, compiled once for each instruction-set level. Nothing here may have weak linkage, so the standard library
// stays out: a copy that was compiled for a wide level must never stand in for one that runs everywhere.
//
// Loops go over channels, not pixels, wherever all four are treated alike: that is what compilers vectorise.
#include <cstring>

#include "draw/DrawKernels.h"

#if defined(__AVX2__)
#include <immintrin.h>
#endif

namespace zbm {
namespace {

using std::int32_t;
using std::int64_t;
using std::size_t;
using std::uint16_t;
using std::uint32_t;
using std::uint64_t;
using std::uint8_t;

constexpr uint32_t kFull = 255 * 255;

uint32_t LoadPixel(const uint8_t* pixel) {
    uint32_t value;
    std::memcpy(&value, pixel, sizeof value);
    return value;
}
void StorePixel(uint8_t* pixel, uint32_t value) { std::memcpy(pixel, &value, sizeof value); }

bool IsOpaque(const uint8_t* pixels, size_t count) {
    uint32_t all = 0xFFFFFFFFu;
    for (size_t i = 0; i < count; ++i) all &= LoadPixel(pixels + 4 * i);
    return all >> 24 == 0xFF;
}

/// 256 bytes: four lines of the caches.
constexpr size_t kCopied = 64, kLineBytes = 64;

/// The lines that `count` pixels from pixel `i` on lie in.
inline void Fetch(CopyAhead ahead, size_t i, size_t count) {
    for (size_t byte = 4 * i; byte < 4 * (i + count); byte += kLineBytes) {
        __builtin_prefetch(ahead.src + byte, 0);
        __builtin_prefetch(ahead.dst + byte, 1);
    }
}

size_t CopyOpaque(uint8_t* __restrict dst, const uint8_t* __restrict src, uint32_t alpha, size_t count,
                  CopyAhead ahead) {
    size_t i = 0;
    for (; i + kCopied <= count; i += kCopied) {
        Fetch(ahead, i, kCopied);
        uint32_t pixels[kCopied], all = 0xFFFFFFFFu;
        std::memcpy(pixels, src + 4 * i, sizeof pixels);
        for (uint32_t& pixel : pixels) {
            pixel |= alpha;
            all &= pixel;
        }
        if (all >> 24 != 0xFF) return i;
        std::memcpy(dst + 4 * i, pixels, sizeof pixels);
    }
    Fetch(ahead, i, count - i);
    for (; i < count; ++i) {
        const uint32_t pixel = LoadPixel(src + 4 * i) | alpha;
        if (pixel >> 24 != 0xFF) break;
        StorePixel(dst + 4 * i, pixel);
    }
    return i;
}

void GatherPlain(uint8_t* __restrict dst, const uint8_t* __restrict line, int32_t origin, const int32_t* index,
                 size_t count) {
    for (size_t i = 0; i < count; ++i) StorePixel(dst + 4 * i, LoadPixel(line + 4 * std::ptrdiff_t{index[i] - origin}));
}

#if defined(__AVX2__)

/// Eight at a time while they lie within eight pixels of the line, as they do where it is enlarged.
void Gather(uint8_t* __restrict dst, const uint8_t* __restrict line, int32_t origin, const int32_t* index,
            size_t count) {
    size_t i = 0;
    for (; i + 8 <= count && index[i + 7] - index[i] < 8 && index[i] + 7 <= index[count - 1]; i += 8) {
        const std::ptrdiff_t first = index[i] - origin;
        const __m256i eight = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(line + 4 * first));
        const __m256i wanted = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(index + i));
        const __m256i places = _mm256_sub_epi32(wanted, _mm256_set1_epi32(index[i]));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + 4 * i), _mm256_permutevar8x32_epi32(eight, places));
    }
    GatherPlain(dst + 4 * i, line, origin, index + i, count - i);
}

#else

void Gather(uint8_t* dst, const uint8_t* line, int32_t origin, const int32_t* index, size_t count) {
    GatherPlain(dst, line, origin, index, count);
}

#endif

void WidenPlain(uint16_t* __restrict wide, const uint8_t* __restrict pixels, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        const unsigned alpha = pixels[4 * i + 3];
        for (size_t c = 0; c < 3; ++c) wide[4 * i + c] = static_cast<uint16_t>(pixels[4 * i + c] * alpha);
        wide[4 * i + 3] = static_cast<uint16_t>(255 * alpha);
    }
}

#if defined(__AVX2__)

/// Four pixels at a time: each channel times alpha, and alpha times 255.
void Widen(uint16_t* __restrict wide, const uint8_t* __restrict pixels, size_t count) {
    const __m256i full = _mm256_set1_epi16(255);
    size_t i = 0;
    for (; i + 4 <= count; i += 4) {
        const __m256i four = _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels + 4 * i)));
        const __m256i alphas = _mm256_shufflehi_epi16(_mm256_shufflelo_epi16(four, 0xFF), 0xFF);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(wide + 4 * i),
                            _mm256_mullo_epi16(four, _mm256_blend_epi16(alphas, full, 0x88)));
    }
    WidenPlain(wide + 4 * i, pixels + 4 * i, count - i);
}

#else

void Widen(uint16_t* wide, const uint8_t* pixels, size_t count) { WidenPlain(wide, pixels, count); }

#endif

void WidenPremultiplied(uint16_t* __restrict wide, const uint8_t* __restrict pixels, size_t count) {
    for (size_t i = 0; i < 4 * count; ++i) wide[i] = static_cast<uint16_t>(255 * pixels[i]);
}

bool IsOpaqueWide(const uint16_t* wide, size_t count) {
    uint32_t least = kFull;
    for (size_t i = 0; i < count; ++i) least = wide[4 * i + 3] < least ? wide[4 * i + 3] : least;
    return least == kFull;
}

/// (value * 255 + below * (65025 - alpha)) / 65025 to nearest. The quotient of two exact numbers, as IEEE 754 has it,
/// is never rounded up to a whole number: below 256 these lie farther apart than 1 / 65025 from it.
uint8_t Over(uint32_t value, uint32_t alpha, uint32_t below) {
    const uint32_t sum = value * 255 + below * (kFull - alpha) + kFull / 2;
    const auto quotient = static_cast<int32_t>(static_cast<float>(static_cast<int32_t>(sum)) / float{kFull});
    return static_cast<uint8_t>(quotient < 255 ? quotient : 255);
}

void Narrow(uint8_t* __restrict surface, const uint16_t* __restrict wide, size_t count) {
    for (size_t i = 0; i < 4 * count; ++i) surface[i] = static_cast<uint8_t>((wide[i] + 127u) * 0x8081u >> 23);
}

template <bool isAlphaDrawn>
void DrawOverPlain(uint8_t* __restrict surface, const uint16_t* __restrict wide, size_t count) {
    for (size_t i = 0; i < count; ++i, surface += 4, wide += 4) {
        const uint32_t alpha = wide[3] < kFull ? wide[3] : kFull;
        for (size_t c = 0; c < 3; ++c) surface[c] = Over(wide[c], alpha, surface[c]);
        surface[3] = isAlphaDrawn ? Over(alpha, alpha, surface[3]) : 255;
    }
}

#if defined(__AVX2__)

/// Two pixels at a time, as in Over.
template <bool isAlphaDrawn>
void DrawOver(uint8_t* __restrict surface, const uint16_t* __restrict wide, size_t count) {
    const __m256i full = _mm256_set1_epi32(kFull), most = _mm256_set1_epi32(255);
    const __m256 divisor = _mm256_set1_ps(float{kFull});
    size_t i = 0;
    for (; i + 2 <= count; i += 2) {
        auto* const two = reinterpret_cast<__m128i*>(surface + 4 * i);
        const __m256i loaded = _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(wide + 4 * i)));
        const __m256i value = _mm256_blend_epi32(loaded, _mm256_min_epu32(loaded, full), 0x88);
        const __m256i rest = _mm256_sub_epi32(full, _mm256_shuffle_epi32(value, 0xFF));
        const __m256i below = _mm256_mullo_epi32(_mm256_cvtepu8_epi32(_mm_loadl_epi64(two)), rest);
        const __m256i sum =
            _mm256_add_epi32(_mm256_add_epi32(_mm256_mullo_epi32(value, most), below), _mm256_set1_epi32(kFull / 2));
        __m256i over = _mm256_cvttps_epi32(_mm256_div_ps(_mm256_cvtepi32_ps(sum), divisor));
        if constexpr (!isAlphaDrawn) over = _mm256_blend_epi32(over, most, 0x88);
        const __m128i words = _mm_packus_epi32(_mm256_castsi256_si128(over), _mm256_extracti128_si256(over, 1));
        _mm_storel_epi64(two, _mm_packus_epi16(words, words));
    }
    DrawOverPlain<isAlphaDrawn>(surface + 4 * i, wide + 4 * i, count - i);
}

#else

template <bool isAlphaDrawn>
void DrawOver(uint8_t* surface, const uint16_t* wide, size_t count) {
    DrawOverPlain<isAlphaDrawn>(surface, wide, count);
}

#endif

/// The straight colour of the sum: what is below counts by its own alpha, and all is divided by that of both.
void DrawOverStraight(uint8_t* surface, const uint16_t* wide, uint32_t alpha) {
    const uint64_t below = surface[3] * uint64_t{kFull - alpha};
    const uint64_t both = uint64_t{alpha} * kFull + 255 * below;
    for (size_t c = 0; c < 3; ++c) {
        const uint64_t color = (255 * (uint64_t{wide[c]} * kFull + surface[c] * below) + both / 2) / both;
        surface[c] = static_cast<uint8_t>(color < 255 ? color : 255);
    }
    surface[3] = Over(alpha, alpha, surface[3]);
}

void DrawOverBgra(uint8_t* surface, const uint16_t* wide, size_t count) {
    for (size_t i = 0; i < count; ++i, surface += 4, wide += 4) {
        const uint32_t alpha = wide[3] < kFull ? wide[3] : kFull;
        if (alpha == 0) continue;
        if (alpha == kFull || surface[3] == 255)
            DrawOverPlain<false>(surface, wide, 1);
        else
            DrawOverStraight(surface, wide, alpha);
    }
}

constexpr DrawKernels kKernels = {
    &CopyOpaque,
    &IsOpaque,
    &Gather,
    &Widen,
    &WidenPremultiplied,
    &IsOpaqueWide,
    &Narrow,
    &DrawOver<false>,
    &DrawOverBgra,
    &DrawOver<true>,
    {&Refine, &RefinePremultiplied, &RefineOpaque, &BlendRowsOf<uint16_t>, &BlendRowsOf<uint8_t>, &BlendColumns,
     &HalveColumns, &Accumulate, &Divide, &Average, &IsOpaqueFine, &NarrowFine, &WidenFine}};

}  // namespace
}  // namespace zbm
