// Copying past the caches, compiled once for each instruction-set level. Nothing here may have weak linkage: a copy
// that was compiled for a wide level must never stand in for one that runs everywhere.
#include <cstring>

#include "StreamCopy.h"
#include "simd/Vectors.inl"

namespace shr {
namespace {

#if defined(SIMD_HAS_VECTORS)

constexpr std::size_t kLine = 64;  // of the caches

/// To the start of a line. All is loaded before anything is stored, as it is fastest.
void StreamLine(std::uint8_t* to, const std::uint8_t* from) {
    simd::Vec vectors[kLine / simd::kVecBytes];
    for (std::size_t i = 0; i < kLine / simd::kVecBytes; ++i) vectors[i] = simd::Load(from + i * simd::kVecBytes);
    for (std::size_t i = 0; i < kLine / simd::kVecBytes; ++i)
        simd::StorePastCaches(to + i * simd::kVecBytes, vectors[i]);
}

void StreamCopyKernel(std::uint8_t* destination, const std::uint8_t* source, std::size_t byteCount,
                      const std::uint8_t* nextSource) {
    const std::size_t misaligned = (0 - reinterpret_cast<std::uintptr_t>(destination)) % kLine;
    std::size_t i = misaligned < byteCount ? misaligned : byteCount;
    std::memcpy(destination, source, i);
    for (; i + kLine <= byteCount; i += kLine) {
        simd::FetchAhead(nextSource + i);
        StreamLine(destination + i, source + i);
    }
    std::memcpy(destination + i, source + i, byteCount - i);
}

#else

void StreamCopyKernel(std::uint8_t* destination, const std::uint8_t* source, std::size_t byteCount,
                      const std::uint8_t*) {
    std::memcpy(destination, source, byteCount);
}

#endif

}  // namespace
}  // namespace shr
