// Kernels of the ditherers; the including file defines the table of its level. Nothing here calls the standard library
// or is inline with external linkage, so no copy compiled for a wide level can stand in for another.
#include <cstring>

#include "dither/DitherKernels.h"

namespace zpixf {
namespace {

using std::size_t;
using std::uint16_t;
using std::uint32_t;
using std::uint64_t;
using std::uint8_t;

// A whole pixel at a time: from four bytes the compilers make no vectors.
uint32_t LoadPixel(const uint8_t* pixel) {
    uint32_t value;
    std::memcpy(&value, pixel, sizeof value);
    return value;
}

void StorePixel(uint8_t* pixel, uint32_t value) { std::memcpy(pixel, &value, sizeof value); }

void ToGrey(uint8_t* pixels, size_t count) {
    for (size_t x = 0; x < count; ++x) {
        const uint32_t pixel = LoadPixel(pixels + 4 * x);
        const uint32_t luma =
            (7471 * (pixel & 255) + 38470 * (pixel >> 8 & 255) + 19595 * (pixel >> 16 & 255) + 32768) >> 16;
        StorePixel(pixels + 4 * x, (pixel & 0xFF000000) | luma << 16 | luma << 8 | luma);
    }
}

// All three comparisons in one word: bit 15 of each lane stays set where the threshold is not below the end.
uint8_t Pick(const Mixture& mixture, uint64_t threshold) {
    uint64_t ends;
    uint32_t entries;
    std::memcpy(&ends, mixture.ends, sizeof ends);
    std::memcpy(&entries, mixture.entries, sizeof entries);
    const uint64_t isPast = ((threshold - (ends & 0xFFFF * kInThreeLanes)) >> 15) & kInThreeLanes;
    const unsigned past = static_cast<unsigned>(isPast + (isPast >> 16) + (isPast >> 32)) & 3;
    return static_cast<uint8_t>(entries >> (8 * past));
}

// First the look-ups of the steps, then what vectors can do for a whole run, then the other look-ups, pixel by pixel.
size_t Ordered(const MixtureTables& tables, const PatternLine& pattern, const uint8_t* pixels, size_t x, size_t count,
               uint8_t* indices) {
    uint32_t steps[kRun], color[kRun], place[kRun], slot[kRun];
    while (x < count) {
        const size_t run = count - x < kRun ? count - x : kRun;
        const uint32_t* latticeThresholds = pattern.lattice + x % kPatternSide;
        const uint64_t* mixtureThresholds = pattern.mixture + x % kPatternSide;
        for (size_t i = 0; i < run; ++i) steps[i] = tables.steps[CellOf(LoadPixel(pixels + 4 * (x + i)))];
        for (size_t i = 0; i < run; ++i) {
            const uint32_t pixel = LoadPixel(pixels + 4 * (x + i));
            color[i] = LatticeColor(pixel, steps[i], latticeThresholds[i]);
            place[i] = color[i] * kPlaceFactor >> kPlaceShift;
            slot[i] = (pixel & 0xFFFFFF) * tables.exactFactor >> tables.exactShift;
        }
        for (size_t i = 0; i < run; ++i) {
            const Mixture& mixture = tables.mixtures[place[i]];
            if (mixture.color != (color[i] | Mixture::kKnown) || steps[i] == 0) return x + i;
            const uint32_t exact = tables.exact[slot[i]];
            const uint8_t mixed = Pick(mixture, mixtureThresholds[i]);
            const bool isExact = ((exact ^ LoadPixel(pixels + 4 * (x + i))) & 0xFFFFFF) == 0;
            indices[x + i] = isExact ? static_cast<uint8_t>(exact >> 24) : mixed;
        }
        x += run;
    }
    return count;
}

constexpr DitherKernels kKernels = {&ToGrey, &Ordered};

}  // namespace
}  // namespace zpixf
