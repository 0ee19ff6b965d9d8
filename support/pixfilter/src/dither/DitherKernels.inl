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

// What vectors can do for a whole run stands apart from the look-ups, pixel by pixel.
size_t Ordered(const MixtureTables& tables, const PatternLine& pattern, const uint8_t* pixels, size_t x, size_t count,
               uint8_t* indices) {
    uint32_t cells[kRun], numbers[kRun], slots[kRun], entries[kRun], limits[kRun], exact[kRun];
    for (; x < count; x += kRun) {
        const size_t run = count - x < kRun ? count - x : kRun;
        const uint32_t* raise = pattern.raise + x % kPatternSide;
        const uint32_t* threshold = pattern.threshold + x % kPatternSide;
        for (size_t i = 0; i < run; ++i) cells[i] = tables.cells[CellOf(LoadPixel(pixels + 4 * (x + i)))];
        for (size_t i = 0; i < run; ++i) {
            const uint32_t pixel = LoadPixel(pixels + 4 * (x + i));
            numbers[i] = MixtureOf(pixel, cells[i], raise[i]);
            slots[i] = (pixel & 0xFFFFFF) * tables.exactFactor >> tables.exactShift;
        }
        for (size_t i = 0; i < run; ++i) {
            const Mixture mixture = tables.mixtures[numbers[i]];
            entries[i] = mixture.entries;
            limits[i] = mixture.limits;
            exact[i] = tables.exact[slots[i]];
        }
        uint32_t known = Mixture::kKnown;
        for (size_t i = 0; i < run; ++i) known &= limits[i];
        if (known == 0) return x;
        for (size_t i = 0; i < run; ++i) {
            const uint32_t pixel = LoadPixel(pixels + 4 * (x + i));
            const uint32_t past = (threshold[i] > (limits[i] & Mixture::kMostLimit) ? 8u : 0u) +
                                  (threshold[i] > (limits[i] >> 10 & Mixture::kMostLimit) ? 8u : 0u) +
                                  (threshold[i] > (limits[i] >> 20 & Mixture::kMostLimit) ? 8u : 0u);
            const uint32_t mixed = entries[i] >> past & 255;
            const bool isExact = ((exact[i] ^ pixel) & 0xFFFFFF) == 0;
            indices[x + i] = static_cast<uint8_t>(isExact ? exact[i] >> 24 : mixed);
        }
    }
    return count;
}

constexpr DitherKernels kKernels = {&ToGrey, &Ordered};

}  // namespace
}  // namespace zpixf
