#include "CopyBits.inl"

void shr::CopyBits_avx2(std::uint8_t* destination, unsigned destinationPhase, const std::uint8_t* source,
                        unsigned sourcePhase, std::size_t bitCount) noexcept {
    CopyBitsKernel(destination, destinationPhase, source, sourcePhase, bitCount);
}
