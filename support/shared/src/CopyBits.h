#pragma once
// Declarations only: the kernels' files include this, and must bring no code with weak linkage.
#include <cstddef>
#include <cstdint>

namespace shr {

/// Copies `bitCount` bits (at least 1) from bit `sourcePhase` of `source` to bit `destinationPhase` of `destination`,
/// where bit 0 is a byte's most significant and a phase is 0 .. 7. Reads and writes only bytes that hold such bits, and
/// keeps the other bits of those it writes. Source and destination must not overlap.
using CopyBitsFunction = void(std::uint8_t* destination, unsigned destinationPhase, const std::uint8_t* source,
                              unsigned sourcePhase, std::size_t bitCount) noexcept;

/// One for each level of instruction sets; the caller sees to it that the processor has the level.
CopyBitsFunction CopyBits_base, CopyBits_avx2, CopyBits_avx512;

}  // namespace shr
