#pragma once
#include <cstddef>
#include <cstdint>

namespace faults {

/// Blocks of the C heap that are in use now, whoever asked for them: operator new, pixel memory, codecs. Two equal
/// answers around a piece of work tell that it leaked nothing.
std::int64_t LiveBlocks();

/// The requests for memory since the last ResetRequests().
struct Requests {
    std::uint64_t largest = 0;
    std::uint64_t total = 0;
};
/// Zeroes where the system gives no way to see requests (Windows).
Requests RequestsSinceReset() noexcept;
void ResetRequests() noexcept;

/// The system's blocks of a given alignment, as its standard library makes them.
void* AllocateAligned(std::size_t size, std::size_t alignment) noexcept;
void FreeAligned(void* block) noexcept;

}  // namespace faults
