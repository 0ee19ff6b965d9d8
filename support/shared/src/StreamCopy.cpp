#include "StreamCopy.h"

#include <algorithm>
#include <cstring>

#if defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#endif

namespace shr {

#if defined(__SSE2__) || defined(_M_X64)

void StreamCopy(std::uint8_t* destination, const std::uint8_t* source, std::size_t byteCount,
                const std::uint8_t* nextSource) noexcept {
    constexpr std::size_t kVector = 16, kLine = 64;
    const std::size_t head = std::min((0 - reinterpret_cast<std::uintptr_t>(destination)) % kVector, byteCount);
    std::memcpy(destination, source, head);
    std::size_t i = head;
    for (; i + kLine <= byteCount; i += kLine) {
        _mm_prefetch(reinterpret_cast<const char*>(nextSource + i), _MM_HINT_T0);
        __m128i line[4];
        for (std::size_t k = 0; k < 4; ++k)
            line[k] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source + i + k * kVector));
        for (std::size_t k = 0; k < 4; ++k)
            _mm_stream_si128(reinterpret_cast<__m128i*>(destination + i + k * kVector), line[k]);
    }
    std::memcpy(destination + i, source + i, byteCount - i);
}

void StreamFence() noexcept { _mm_sfence(); }

#else

void StreamCopy(std::uint8_t* destination, const std::uint8_t* source, std::size_t byteCount,
                const std::uint8_t*) noexcept {
    std::memcpy(destination, source, byteCount);
}

void StreamFence() noexcept {}

#endif

}  // namespace shr
