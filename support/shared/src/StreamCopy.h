#pragma once
#include <cstddef>
#include <cstdint>

namespace shr {

/// memcpy that fetches the row that will be read next into the nearest cache meanwhile. A tile's rows are too short,
/// and its picture's lines too far apart, for processors to see what comes next.
void FetchingCopy(std::uint8_t* destination, const std::uint8_t* source, std::size_t byteCount,
                  const std::uint8_t* nextSource) noexcept;

/// The same where it is written to as short rows that lie far apart.
void FetchingRowCopy(std::uint8_t* destination, const std::uint8_t* source, std::size_t byteCount,
                     const std::uint8_t* nextSource, const std::uint8_t* nextDestination) noexcept;

/// FetchingCopy with stores that bypass the caches, one for each level of instruction sets: wide stores take less time.
/// StreamFence must be called before others may read what was written.
using StreamCopyFunction = void(std::uint8_t* destination, const std::uint8_t* source, std::size_t byteCount,
                                const std::uint8_t* nextSource);
StreamCopyFunction StreamCopy_base, StreamCopy_avx2, StreamCopy_avx512;
void StreamFence() noexcept;

}  // namespace shr
