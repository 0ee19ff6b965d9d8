#include "StreamCopy.h"

#include <cstring>

#include "shr/Fetch.h"

#if defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#endif

// The instruction that takes a line for writing at once; processors that lack it pass over it.
#if defined(__GNUC__) && (defined(__SSE2__) || defined(_M_X64))
#define FETCHES_FOR_WRITING __attribute__((target("prfchw")))
#define FETCH_FOR_WRITING(address) __builtin_prefetch(address, 1)
#else
#define FETCHES_FOR_WRITING
#define FETCH_FOR_WRITING(address) _m_prefetchw(address)
#endif

namespace shr {

#if defined(__SSE2__) || defined(_M_X64)

namespace {

using Vector = __m128i;
constexpr std::size_t kLineVectors = 4, kLine = kLineVectors * sizeof(Vector);

/// A line of the caches.
struct CacheLine {
    Vector vectors[kLineVectors];

    explicit CacheLine(const std::uint8_t* from) {
        for (std::size_t k = 0; k < kLineVectors; ++k)
            vectors[k] = _mm_loadu_si128(reinterpret_cast<const Vector*>(from) + k);
    }
    void Store(std::uint8_t* to) const {
        for (std::size_t k = 0; k < kLineVectors; ++k) _mm_storeu_si128(reinterpret_cast<Vector*>(to) + k, vectors[k]);
    }
};

void Fetch(const std::uint8_t* address) { _mm_prefetch(reinterpret_cast<const char*>(address), _MM_HINT_T0); }

}  // namespace

void FetchingCopy(std::uint8_t* destination, const std::uint8_t* source, std::size_t byteCount,
                  const std::uint8_t* nextSource) noexcept {
    std::size_t i = 0;
    for (; i + kLine <= byteCount; i += kLine) {
        Fetch(nextSource + i);
        CacheLine(source + i).Store(destination + i);
    }
    std::memcpy(destination + i, source + i, byteCount - i);
}

FETCHES_FOR_WRITING void FetchingRowCopy(std::uint8_t* destination, const std::uint8_t* source, std::size_t byteCount,
                                         const std::uint8_t* nextSource, const std::uint8_t* nextDestination) noexcept {
    std::size_t i = 0;
    for (; i + kLine <= byteCount; i += kLine) {
        Fetch(nextSource + i);
        FETCH_FOR_WRITING(nextDestination + i);
        CacheLine(source + i).Store(destination + i);
    }
    std::memcpy(destination + i, source + i, byteCount - i);
}

void StreamFence() noexcept { _mm_sfence(); }

void FetchForReading(const void* address, std::size_t byteCount) noexcept {
    const auto* const first = static_cast<const std::uint8_t*>(address);
    for (std::size_t i = 0; i < byteCount; i += kLine) Fetch(first + i);
}

FETCHES_FOR_WRITING void FetchForWriting(const void* address, std::size_t byteCount) noexcept {
    const auto* const first = static_cast<const char*>(address);
    for (std::size_t i = 0; i < byteCount; i += kLine) FETCH_FOR_WRITING(first + i);
}

#else

void FetchingCopy(std::uint8_t* destination, const std::uint8_t* source, std::size_t byteCount,
                  const std::uint8_t*) noexcept {
    std::memcpy(destination, source, byteCount);
}

void FetchingRowCopy(std::uint8_t* destination, const std::uint8_t* source, std::size_t byteCount, const std::uint8_t*,
                     const std::uint8_t*) noexcept {
    std::memcpy(destination, source, byteCount);
}

void StreamFence() noexcept {}

void FetchForReading(const void*, std::size_t) noexcept {}
void FetchForWriting(const void*, std::size_t) noexcept {}

#endif

}  // namespace shr
