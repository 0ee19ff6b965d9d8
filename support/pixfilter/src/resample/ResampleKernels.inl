// Kernels of the resampling filters; the including file defines the table of its level. Nothing here calls the standard
// library or is inline with external linkage, so no copy compiled for a wide level can stand in for another.
#include <cstring>

#include "resample/ResampleKernels.h"
#include "simd/Vectors.inl"

namespace zpixf {
namespace {

using std::int32_t;
using std::size_t;
using std::uint32_t;
using std::uint64_t;
using std::uint8_t;

constexpr size_t kChannels = 4, kAlpha = 3;

uint32_t LoadPixel(const uint8_t* pixel) {
    uint32_t value;
    std::memcpy(&value, pixel, sizeof value);
    return value;
}

uint64_t LoadPair(const uint8_t* pixels) {
    uint64_t value;
    std::memcpy(&value, pixels, sizeof value);
    return value;
}

void StorePixel(uint8_t* pixel, uint32_t value) { std::memcpy(pixel, &value, sizeof value); }

void PickFrom(size_t x, const uint8_t* pixels, int32_t origin, const uint32_t* columns, size_t count, uint8_t* out) {
    const auto begin = static_cast<uint32_t>(origin);
    for (; x < count; ++x) StorePixel(out + 4 * x, LoadPixel(pixels + size_t{4} * (columns[x] - begin)));
}

/// Two channels of two pixels, blue and red or, of what is shifted, green and alpha, in 16 bits each.
uint64_t EveryOther(uint64_t pixels) { return pixels & 0x00FF'00FF'00FF'00FF; }

/// A quarter of the sum of a pair of pixels, both channels rounded the same way.
uint32_t QuarterOf(uint64_t pair, uint32_t rounding) {
    return (static_cast<uint32_t>(pair) + static_cast<uint32_t>(pair >> 32) + rounding) >> 2 & 0x00FF'00FF;
}

/// Whether all are opaque; if not, what came out is of no use.
bool HalveOpaque(const uint8_t* upper, const uint8_t* lower, size_t count, bool roundsUp, uint8_t* out) {
    constexpr uint32_t kDown = 0x0001'0001, kUp = 2 * kDown;
    constexpr uint64_t kAlphas = 0xFF00'0000'FF00'0000;
    const uint32_t even = roundsUp ? kUp : kDown, odd = roundsUp ? kDown : kUp;
    uint64_t all = kAlphas;
    for (size_t x = 0; x < count; ++x) {
        const uint64_t above = LoadPair(upper + 8 * x), below = LoadPair(lower + 8 * x);
        const uint32_t rounding = even + static_cast<uint32_t>(x % 2) * (odd - even);  // (GCC vectorises this form)
        const uint32_t blueRed = QuarterOf(EveryOther(above) + EveryOther(below), rounding);
        const uint32_t greenAlpha = QuarterOf(EveryOther(above >> 8) + EveryOther(below >> 8), rounding);
        StorePixel(out + 4 * x, blueRed | greenAlpha << 8);
        all &= above & below;
    }
    return all == kAlphas;
}

/// What makes the halves of means of four go one way: less than the 1 / 2040 that any other mean, of colours whose
/// weights sum to at most 4 * 255, lies from a half, and more than the errors of quotients in floats.
constexpr float kHalvingTieBreaker = 1.0F / 4096;

void HalveWeighted(const uint8_t* upper, const uint8_t* lower, size_t count, bool roundsUp, uint8_t* out) {
    for (size_t x = 0; x < count; ++x, upper += 8, lower += 8, out += 4) {
        const uint32_t a = upper[3], b = upper[7], c = lower[3], d = lower[7], alphas = a + b + c + d;
        const float rounding = roundsUp == (x % 2 == 0) ? 0.5F + kHalvingTieBreaker : 0.5F - kHalvingTieBreaker;
        const float factor = alphas == 0 ? 0.25F : 1 / static_cast<float>(static_cast<int32_t>(alphas));
        for (size_t i = 0; i < kAlpha; ++i) {
            const uint32_t sum = alphas == 0 ? uint32_t{upper[i]} + upper[i + 4] + lower[i] + lower[i + 4]
                                             : upper[i] * a + upper[i + 4] * b + lower[i] * c + lower[i + 4] * d;
            out[i] = static_cast<uint8_t>(
                static_cast<int32_t>(static_cast<float>(static_cast<int32_t>(sum)) * factor + rounding));
        }
        out[kAlpha] = static_cast<uint8_t>(
            static_cast<int32_t>(static_cast<float>(static_cast<int32_t>(alphas)) * 0.25F + rounding));
    }
}

void HalveSome(const uint8_t* upper, const uint8_t* lower, size_t count, bool roundsUp, uint8_t* out) {
    if (!HalveOpaque(upper, lower, count, roundsUp, out)) HalveWeighted(upper, lower, count, roundsUp, out);
}

bool IsOpaqueFrom(size_t x, const uint8_t* pixels, size_t count) {
    uint32_t all = 0xFFFFFFFF;
    for (; x < count; ++x) all &= LoadPixel(pixels + 4 * x);
    return all >= 0xFF000000;
}

double TieBreaker(const ResampleColumns& columns, size_t x) {
    return columns.roundsUp == (x % 2 == 0) ? kTieBreaker : -kTieBreaker;
}

}  // namespace
}  // namespace zpixf

#if defined(SIMD_HAS_SHUFFLES)
#include "resample/ResampleSums.inl"
#else
#include "resample/ResampleSumsPlain.inl"
#endif

#if defined(__AVX2__)
#include "resample/ResampleMixingVectors.inl"
#else
#include "resample/ResampleMixingPlain.inl"
#endif

namespace zpixf {
namespace {

template <bool kFetches>
void HalveLines(const HalvedLines& lines) {
    const uint8_t* from = lines.from;
    uint8_t* to = lines.to;
    for (size_t y = 0; y < lines.height; ++y, from += 2 * lines.fromStride, to += lines.toStride) {
        const auto halve = [&](const HalvedLines::Part& part, size_t x) {
            const bool roundsUp = part.roundsUp == (y % 2 == 0);
            HalveLine<kFetches>(from + 8 * x, lines.fromStride, part.width, roundsUp, to + 4 * x);
        };
        halve(lines.left, 0);
        if (lines.right.width != 0) halve(lines.right, lines.left.width);
    }
}

void Halve(const HalvedLines& lines) { lines.fetchesNext ? HalveLines<true>(lines) : HalveLines<false>(lines); }

constexpr ResampleKernels kKernels = {&IsOpaque, &Pick, &Halve, &SumPlain, &SumWeighted, &MixPlain, &MixWeighted};

}  // namespace
}  // namespace zpixf
