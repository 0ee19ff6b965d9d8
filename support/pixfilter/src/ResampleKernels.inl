// Kernels of the resampling filters; the including file defines the table of its level. Nothing here calls the standard
// library or is inline with external linkage, so no copy compiled for a wide level can stand in for another.
#include <cstring>

#include "ResampleKernels.h"

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

void StorePixel(uint8_t* pixel, uint32_t value) { std::memcpy(pixel, &value, sizeof value); }

void Pick(const uint8_t* line, const uint32_t* columns, size_t count, uint8_t* out) {
    for (size_t x = 0; x < count; ++x) StorePixel(out + 4 * x, LoadPixel(line + size_t{4} * columns[x]));
}

void HalveFrom(size_t x, const uint8_t* upper, const uint8_t* lower, size_t count, bool roundsUp, uint8_t* out) {
    for (; x < count; ++x)
        for (size_t c = 0; c < kChannels; ++c) {
            const size_t left = 8 * x + c, right = left + 4;
            const unsigned sum = unsigned{upper[left]} + upper[right] + lower[left] + lower[right];
            const unsigned rounding = roundsUp == (x % 2 == 0) ? 2 : 1;
            out[4 * x + c] = static_cast<uint8_t>((sum + rounding) >> 2);
        }
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

#if defined(__AVX2__)
#include "ResampleKernelsVectors.inl"
#else
#include "ResampleKernelsPlain.inl"
#endif

namespace zpixf {
namespace {

constexpr ResampleKernels kKernels = {&IsOpaque, &Pick, &Halve, &SumPlain, &SumWeighted, &MixPlain, &MixWeighted};

}  // namespace
}  // namespace zpixf
