#include "dither/ZPixfDitherExact.h"

#include <algorithm>

#include "palette/PackedColor.h"

namespace zpixf {
namespace {

constexpr unsigned kLeastBits = 13;  // 32 KB; 256 colours find a factor after some dozens of tries
constexpr unsigned kMostBits = 24;   // where the colour itself is the slot
constexpr unsigned kTries = 512;

}  // namespace

ExactColors::ExactColors(const RGBQUAD* entries, unsigned count) {
    for (unsigned bits = kLeastBits; bits < kMostBits; ++bits) {
        slots.resize(std::size_t{1} << bits);
        shift = 32 - bits;
        factor = 0x9E3779B1;  // odd, near 2^32 over the golden ratio: spreads neighbours well
        for (unsigned i = 0; i < kTries; ++i, factor = factor * 1664525 + 1013904222)
            if (TryToPlace(entries, count)) return;
    }
    slots.resize(std::size_t{1} << kMostBits);
    shift = 32 - kMostBits;
    factor = 1u << shift;
    TryToPlace(entries, count);
}

bool ExactColors::TryToPlace(const RGBQUAD* entries, unsigned count) {
    const std::uint32_t first = PackedColor(entries[0]);
    std::fill(slots.begin(), slots.end(), first);
    const std::uint32_t* firstSlot = &slots[first * factor >> shift];
    for (unsigned i = 1; i < count; ++i) {
        const std::uint32_t color = PackedColor(entries[i]);
        std::uint32_t& slot = slots[color * factor >> shift];
        if ((slot & 0xFFFFFF) == color) continue;  // a repeated entry; the first stands
        if (slot != first || &slot == firstSlot) return false;
        slot = color | i << 24;
    }
    return true;
}

}  // namespace zpixf
