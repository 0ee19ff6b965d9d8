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

void CopyBitsKernel(std::uint8_t* destination, unsigned destinationPhase, const std::uint8_t* source,
                    unsigned sourcePhase, std::size_t bitCount) {
    if (destinationPhase + bitCount <= kByteBits)
        return CopyWithinByte(destination, destinationPhase, source, sourcePhase, static_cast<unsigned>(bitCount));
    if (destinationPhase != 0) {
        const unsigned headBits = kByteBits - destinationPhase;
        Merge(destination, TopBits(source, sourcePhase, headBits) >> destinationPhase, kFullByte >> destinationPhase);
        ++destination;
        sourcePhase += headBits;
        source += sourcePhase / kByteBits;
        sourcePhase %= kByteBits;
        bitCount -= headBits;
    }
    const std::size_t byteCount = bitCount / kByteBits;
    const auto tailBits = static_cast<unsigned>(bitCount % kByteBits);
    if (tailBits != 0)
        Merge(destination + byteCount, TopBits(source + byteCount, sourcePhase, tailBits), ~(kFullByte >> tailBits));
    if (sourcePhase == 0) {
        std::memcpy(destination, source, byteCount);
    } else {
        ByteShifter{sourcePhase}.MoveBytes(destination, source, byteCount);
    }
}

}  // namespace
}  // namespace shr
