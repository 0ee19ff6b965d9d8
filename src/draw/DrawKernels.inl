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

void Gather(uint8_t* __restrict dst, const uint8_t* __restrict line, int32_t origin, const int32_t* index,
            size_t count) {
    for (size_t i = 0; i < count; ++i) StorePixel(dst + 4 * i, LoadPixel(line + 4 * std::ptrdiff_t{index[i] - origin}));
}

void Widen(uint16_t* __restrict wide, const uint8_t* __restrict pixels, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        const unsigned alpha = pixels[4 * i + 3];
        for (size_t c = 0; c < 3; ++c) wide[4 * i + c] = static_cast<uint16_t>(pixels[4 * i + c] * alpha);
        wide[4 * i + 3] = static_cast<uint16_t>(255 * alpha);
    }
}

void WidenPremultiplied(uint16_t* __restrict wide, const uint8_t* __restrict pixels, size_t count) {
    for (size_t i = 0; i < 4 * count; ++i) wide[i] = static_cast<uint16_t>(255 * pixels[i]);
}

template <Sums as>
uint32_t Summand(uint16_t channel) {
    return as == Sums::wide ? channel : (channel + 127u) / 255;
}
template <Sums as>
uint16_t Quotient(uint32_t sum, uint32_t reciprocal) {
    const auto quotient = static_cast<uint32_t>((uint64_t{sum} * reciprocal + (uint64_t{1} << 31)) >> 32);
    return static_cast<uint16_t>(as == Sums::wide ? quotient : 255 * quotient);
}

template <Sums as>
void AccumulateAs(uint32_t* __restrict sums, const uint16_t* __restrict wide, uint32_t weight, size_t count) {
    for (size_t i = 0; i < 4 * count; ++i) sums[i] += Summand<as>(wide[i]) * weight;
}
void Accumulate(uint32_t* sums, const uint16_t* wide, uint32_t weight, Sums as, size_t count) {
    (as == Sums::wide ? AccumulateAs<Sums::wide> : AccumulateAs<Sums::levels>)(sums, wide, weight, count);
}

template <Sums as>
void DivideAs(uint16_t* __restrict wide, const uint32_t* __restrict sums, uint32_t reciprocal, size_t count) {
    for (size_t i = 0; i < 4 * count; ++i) wide[i] = Quotient<as>(sums[i], reciprocal);
}
void Divide(uint16_t* wide, const uint32_t* sums, uint32_t reciprocal, Sums as, size_t count) {
    (as == Sums::wide ? DivideAs<Sums::wide> : DivideAs<Sums::levels>)(wide, sums, reciprocal, count);
}

template <Sums as>
void AverageAs(uint16_t* __restrict wide, const uint16_t* __restrict line, int32_t origin, const Tap* taps,
               uint32_t unit, size_t count) {
    for (size_t i = 0; i < count; ++i, wide += 4) {
        const Tap& tap = taps[i];
        const uint16_t* pixel = line + 4 * static_cast<std::ptrdiff_t>(tap.first - origin);
        uint32_t sums[4], between[4] = {};
        for (size_t c = 0; c < 4; ++c) sums[c] = Summand<as>(pixel[c]) * tap.firstWeight;
        if (tap.count > 1) {
            const uint16_t* const last = pixel + 4 * static_cast<std::ptrdiff_t>(tap.count - 1);
            for (pixel += 4; pixel != last; pixel += 4)
                for (size_t c = 0; c < 4; ++c) between[c] += Summand<as>(pixel[c]);
            for (size_t c = 0; c < 4; ++c) sums[c] += between[c] * unit + Summand<as>(last[c]) * tap.lastWeight;
        }
        for (size_t c = 0; c < 4; ++c) wide[c] = Quotient<as>(sums[c], tap.reciprocal);
    }
}
void Average(uint16_t* wide, const uint16_t* line, int32_t origin, const Tap* taps, uint32_t unit, Sums as,
             size_t count) {
    (as == Sums::wide ? AverageAs<Sums::wide> : AverageAs<Sums::levels>)(wide, line, origin, taps, unit, count);
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

template <bool isAlphaDrawn>
void DrawOver(uint8_t* __restrict surface, const uint16_t* __restrict wide, size_t count) {
    for (size_t i = 0; i < count; ++i, surface += 4, wide += 4) {
        const uint32_t alpha = wide[3] < kFull ? wide[3] : kFull;
        for (size_t c = 0; c < 3; ++c) surface[c] = Over(wide[c], alpha, surface[c]);
        surface[3] = isAlphaDrawn ? Over(alpha, alpha, surface[3]) : 255;
    }
}

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
            DrawOver<false>(surface, wide, 1);
        else
            DrawOverStraight(surface, wide, alpha);
    }
}

constexpr DrawKernels kKernels = {&IsOpaque,        &Gather,       &Widen,         &WidenPremultiplied,
                                  &Accumulate,      &Divide,       &Average,       &IsOpaqueWide,
                                  &DrawOver<false>, &DrawOverBgra, &DrawOver<true>};

}  // namespace
}  // namespace zbm
