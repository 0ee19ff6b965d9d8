// Rows of packed indices, for the kernels that make them: several compile this with the flags of their levels, so
// nothing here calls the standard library or is inline with external linkage.
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace cpu {
namespace {

/// Whether each of 8 bytes is not 0, the first in the highest bit. In the product the bit of byte k, times
/// 2^(63 - 9 k), lands at 63 - k; no other two terms meet, so nothing is carried.
[[maybe_unused]] std::uint8_t PackEight(const std::uint8_t* bytes) {
    constexpr std::uint64_t kLow7 = 0x7F7F7F7F7F7F7F7F, kOnes = 0x0101010101010101;
    std::uint64_t v;
    std::memcpy(&v, bytes, sizeof v);
    const std::uint64_t isSet = (((v & kLow7) + kLow7) | v) >> 7 & kOnes;
    return static_cast<std::uint8_t>(isSet * 0x8040201008040201 >> 56);
}

/// A bit an index, set where it is not 0; the first is the highest. Bits of the last byte that hold none stay.
[[maybe_unused]] void PackBits(std::uint8_t* packed, const std::uint8_t* indices, std::size_t count) {
    std::size_t i = 0;
    for (; i + 8 <= count; i += 8) *packed++ = PackEight(indices + i);
    if (i == count) return;
    std::uint8_t last[8] = {};
    std::memcpy(last, indices + i, count - i);
    const unsigned kept = 0xFFu >> (count - i);
    *packed = static_cast<std::uint8_t>((*packed & kept) | PackEight(last));
}

/// Four bits an index, the first in the higher ones. A last byte's half that holds none stays.
[[maybe_unused]] void PackNibbles(std::uint8_t* packed, const std::uint8_t* indices, std::size_t count) {
    for (std::size_t i = 0; i < count / 2; ++i)
        packed[i] = static_cast<std::uint8_t>(indices[2 * i] << 4 | (indices[2 * i + 1] & 15));
    if (count % 2 == 0) return;
    std::uint8_t& last = packed[count / 2];
    last = static_cast<std::uint8_t>(indices[count - 1] << 4 | (last & 15));
}

}  // namespace
}  // namespace cpu
