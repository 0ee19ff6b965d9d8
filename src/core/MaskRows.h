#pragma once
#include <cstddef>
#include <cstdint>

namespace zbm {

/// Writes 255 for each set and 0 for each clear one of `count` mask bits, from bit `x` on, into every `pixelStep`-th
/// byte from `lastByte` on. Other bytes stay.
void ExpandMaskRow(std::uint8_t* lastByte, std::size_t pixelStep, const std::uint8_t* mask, std::size_t x,
                   std::size_t count);

/// Whether all of the first `count` bits are set.
bool IsMaskRowOpaque(const std::uint8_t* mask, std::size_t count);

/// Sets mask bit x + i where byte 4 i + 3 of `pixels` is 128 or more, and clears it where not, for `count` pixels.
/// Other bits stay.
void PackMaskRow(std::uint8_t* mask, std::size_t x, const std::uint8_t* pixels, std::size_t count);

}  // namespace zbm
