// Kernels of the ditherers; the including file defines the table of its level. Nothing here calls the standard library
// or is inline with external linkage, so no copy compiled for a wide level can stand in for another.
#include <cstring>

#include "dither/DitherKernels.h"

namespace zpixf {
namespace {

using std::int32_t;
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

using Lanes = std::int16_t __attribute__((vector_size(8)));

Lanes LoadLanes(const std::int16_t (&values)[4]) {
    Lanes lanes;
    std::memcpy(&lanes, values, sizeof lanes);
    return lanes;
}

// Twice the distance from the middle of the cube.
Lanes OffsetOf(uint32_t channel, uint32_t lowBits) {
    const auto offset = static_cast<std::int16_t>(2 * (channel & lowBits) - lowBits);
    return Lanes{offset, offset, offset, offset};
}

// The ends below the threshold give lanes of ones; the first that is not tells the entry. (An end may come before the
// one that it follows: then the entry between has no part.)
uint8_t Pick(const Mixture& mixture, uint32_t pixel, uint32_t lowBits, uint16_t threshold) {
    const Lanes ends = LoadLanes(mixture.values) + LoadLanes(mixture.blueFactors) * OffsetOf(pixel, lowBits) +
                       LoadLanes(mixture.greenFactors) * OffsetOf(pixel >> 8, lowBits) +
                       LoadLanes(mixture.redFactors) * OffsetOf(pixel >> 16, lowBits);
    const auto limit = static_cast<std::int16_t>(threshold);
    const auto isBelow = ends < Lanes{limit, limit, limit, limit};
    uint64_t below;
    uint32_t entries;
    std::memcpy(&below, &isBelow, sizeof below);
    std::memcpy(&entries, mixture.entries, sizeof entries);
    constexpr uint64_t kFourthLane = uint64_t{1} << 48;
    return static_cast<uint8_t>(entries >> (__builtin_ctzll(~below | kFourthLane) / 2));
}

// First the look-ups of the sides, then what vectors can do for a whole run, then the other look-ups, pixel by pixel.
size_t Ordered(const MixtureTables& tables, const PatternLine& pattern, const uint8_t* pixels, size_t x, size_t count,
               uint8_t* indices) {
    uint32_t lowBits[kRun], cube[kRun], place[kRun], slot[kRun];
    while (x < count) {
        const size_t run = count - x < kRun ? count - x : kRun;
        const uint16_t* thresholds = pattern + x % kPatternSide;
        for (size_t i = 0; i < run; ++i) lowBits[i] = tables.sides[CellOf(LoadPixel(pixels + 4 * (x + i)))] - 1u;
        for (size_t i = 0; i < run; ++i) {
            const uint32_t pixel = LoadPixel(pixels + 4 * (x + i));
            cube[i] = CubeOf(pixel, lowBits[i] + 1) | Mixture::kKnown;
            place[i] = (cube[i] & 0xFFFFFF) * kPlaceFactor >> kPlaceShift;
            slot[i] = (pixel & 0xFFFFFF) * tables.exactFactor >> tables.exactShift;
        }
        for (size_t i = 0; i < run; ++i) {
            const Mixture& mixture = tables.mixtures[place[i]];
            if (mixture.color != cube[i] || lowBits[i] > 7) return x + i;
            const uint32_t pixel = LoadPixel(pixels + 4 * (x + i));
            const uint32_t exact = tables.exact[slot[i]];
            const uint8_t mixed = Pick(mixture, pixel, lowBits[i], thresholds[i]);
            const bool isExact = ((exact ^ pixel) & 0xFFFFFF) == 0;
            indices[x + i] = isExact ? static_cast<uint8_t>(exact >> 24) : mixed;
        }
        x += run;
    }
    return count;
}

// |p - c|^2 less |c|^2, which is the same for all entries. It stays within 32 bits for colours up to 2^17 away.
unsigned Nearest(const SearchPalette& palette, int32_t blue, int32_t green, int32_t red) {
    int32_t distances[256];
    int32_t least = 0x7FFFFFFF;
    for (unsigned i = 0; i < palette.count; i += SearchPalette::kStep)
        for (unsigned j = i; j < i + SearchPalette::kStep; ++j) {
            distances[j] =
                palette.squares[j] - 2 * (palette.blue[j] * blue + palette.green[j] * green + palette.red[j] * red);
            least = distances[j] < least ? distances[j] : least;
        }
    unsigned first = 0;
    while (distances[first] != least) ++first;
    return first;
}

constexpr DitherKernels kKernels = {&ToGrey, &Ordered, &Nearest};

}  // namespace
}  // namespace zpixf
