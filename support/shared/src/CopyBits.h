#pragma once
// Declarations only: the kernels' files include this, and must bring no code with weak linkage.
#include <cstddef>
#include <cstdint>

namespace shr {

/// A run of `bitCount` bits (at least 1) in each of `rows` rows: from bit `sourcePhase` of `source` to bit
/// `destinationPhase` of `destination`, where bit 0 is a byte's most significant and a phase is 0 .. 7. A step is the
/// bytes to the next row.
struct BitRuns {
    std::uint8_t* destination;
    std::ptrdiff_t destinationStep;
    unsigned destinationPhase;
    const std::uint8_t* source;
    std::ptrdiff_t sourceStep;
    unsigned sourcePhase;
    std::size_t bitCount;
    int rows;
};

/// Copies the runs. Reads and writes only bytes that hold such bits, and keeps the other bits of those it writes.
/// Source and destination must not overlap.
using CopyBitsFunction = void(const BitRuns& runs) noexcept;

/// One for each level of instruction sets; the caller sees to it that the processor has the level.
CopyBitsFunction CopyBits_base, CopyBits_avx2, CopyBits_avx512;

}  // namespace shr
