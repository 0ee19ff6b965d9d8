#pragma once
#include <cstddef>
#include <cstdint>

namespace shr {

/// memcpy whose stores bypass the caches, and which fetches the row that will be read next. StreamFence must be called
/// before others may read what was written.
void StreamCopy(std::uint8_t* destination, const std::uint8_t* source, std::size_t byteCount,
                const std::uint8_t* nextSource) noexcept;
void StreamFence() noexcept;

}  // namespace shr
