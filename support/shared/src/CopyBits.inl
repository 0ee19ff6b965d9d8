// Copying a run of bits, compiled once for each instruction-set level. Nothing here may have weak linkage: a copy that
// was compiled for a wide level must never stand in for one that runs everywhere.
//
// A run is the bits up to the destination's next whole byte (head), whole bytes of the destination (body), and the bits
// left over (tail). If the source's bits lie within their bytes as the destination's do, the body is a memcpy.
// Otherwise each byte of it holds the low bits of one source byte and the high bits of the next; so any word of it,
// whatever the byte order, is two loads one byte apart, each shifted and masked.
#include <cstring>

#include "CopyBits.h"

namespace shr {
namespace {

constexpr unsigned kByteBits = 8, kFullByte = 0xFF;

/// The `bitCount` bits (1 .. 8) from bit `phase` of `source` on, at the top of a byte; what lies below them means
/// nothing. Reads a second byte only if some of the bits lie in it.
unsigned TopBits(const std::uint8_t* source, unsigned phase, unsigned bitCount) {
    unsigned bits = static_cast<unsigned>(source[0]) << phase;
    if (phase + bitCount > kByteBits) bits |= static_cast<unsigned>(source[1]) >> (kByteBits - phase);
    return bits & kFullByte;
}

/// Replaces the bits of `mask` in a byte.
void Merge(std::uint8_t* destination, unsigned bits, unsigned mask) {
    *destination = static_cast<std::uint8_t>(*destination ^ ((*destination ^ bits) & mask));
}

#if defined(__GNUC__)
// Compilers do not make vectors of the loop below by themselves.
using Words4 = std::uint64_t __attribute__((vector_size(32)));
using Words2 = std::uint64_t __attribute__((vector_size(16)));
#else
using Words4 = std::uint64_t;
using Words2 = std::uint64_t;
#endif
constexpr std::uint64_t kEachByte = 0x0101010101010101;

/// Moves whole bytes of the destination out of a source of another phase (1 .. 7), a `Unit` of integers at a time.
struct ByteShifter {
    unsigned phase;

    template <class Unit>
    void Move(std::uint8_t* destination, const std::uint8_t* source) const {
        const std::uint64_t fromFirst = (kFullByte << phase & kFullByte) * kEachByte;
        Unit first, second;
        std::memcpy(&first, source, sizeof first);
        std::memcpy(&second, source + 1, sizeof second);
        first = (first << phase & fromFirst) | (second >> (kByteBits - phase) & ~fromFirst);
        std::memcpy(destination, &first, sizeof first);
    }

    /// A run of at least one Unit. Its last one ends where the run ends, and may overlap the one before; so there is no
    /// remainder to go through byte by byte.
    template <class Unit>
    void MoveRun(std::uint8_t* __restrict destination, const std::uint8_t* __restrict source,
                 std::size_t byteCount) const {
        const std::size_t last = byteCount - sizeof(Unit);
        for (std::size_t i = 0; i < last; i += sizeof(Unit)) Move<Unit>(destination + i, source + i);
        Move<Unit>(destination + last, source + last);
    }

    void MoveBytes(std::uint8_t* destination, const std::uint8_t* source, std::size_t byteCount) const {
        if (byteCount >= sizeof(Words4)) {
            MoveRun<Words4>(destination, source, byteCount);
        } else if (byteCount >= sizeof(Words2)) {
            MoveRun<Words2>(destination, source, byteCount);
        } else if (byteCount >= sizeof(std::uint64_t)) {
            MoveRun<std::uint64_t>(destination, source, byteCount);
        } else {
            for (std::size_t i = 0; i < byteCount; ++i)
                destination[i] = static_cast<std::uint8_t>(TopBits(source + i, phase, kByteBits));
        }
    }
};

/// A run that ends within the byte in which it starts.
void CopyWithinByte(std::uint8_t* destination, unsigned destinationPhase, const std::uint8_t* source,
                    unsigned sourcePhase, unsigned bitCount) {
    const unsigned mask = (kFullByte >> destinationPhase) & ~(kFullByte >> (destinationPhase + bitCount));
    Merge(destination, TopBits(source, sourcePhase, bitCount) >> destinationPhase, mask);
}

void CopyRunsWithinByte(const BitRuns& runs) {
    std::uint8_t* destination = runs.destination;
    const std::uint8_t* source = runs.source;
    for (int row = 0; row < runs.rows; ++row, destination += runs.destinationStep, source += runs.sourceStep)
        CopyWithinByte(destination, runs.destinationPhase, source, runs.sourcePhase,
                       static_cast<unsigned>(runs.bitCount));
}

/// What head, body and tail are is the same for all rows, and so found out once.
void CopyBitsKernel(const BitRuns& runs) {
    if (runs.destinationPhase + runs.bitCount <= kByteBits) return CopyRunsWithinByte(runs);
    const unsigned headBits = (kByteBits - runs.destinationPhase) % kByteBits;
    const std::size_t headBytes = headBits != 0 ? 1 : 0;
    const unsigned bodyBit = runs.sourcePhase + headBits;
    const ByteShifter body{bodyBit % kByteBits};
    const std::size_t byteCount = (runs.bitCount - headBits) / kByteBits;
    const auto tailBits = static_cast<unsigned>((runs.bitCount - headBits) % kByteBits);

    std::uint8_t* head = runs.destination;
    const std::uint8_t* source = runs.source;
    for (int row = 0; row < runs.rows; ++row, head += runs.destinationStep, source += runs.sourceStep) {
        std::uint8_t* const destination = head + headBytes;
        const std::uint8_t* const bodySource = source + bodyBit / kByteBits;
        if (headBits != 0)
            Merge(head, TopBits(source, runs.sourcePhase, headBits) >> runs.destinationPhase,
                  kFullByte >> runs.destinationPhase);
        if (tailBits != 0)
            Merge(destination + byteCount, TopBits(bodySource + byteCount, body.phase, tailBits),
                  ~(kFullByte >> tailBits));
        if (body.phase == 0) {
            std::memcpy(destination, bodySource, byteCount);
        } else {
            body.MoveBytes(destination, bodySource, byteCount);
        }
    }
}

}  // namespace
}  // namespace shr
