#pragma once
#include <cstddef>
#include <cstdint>

namespace faults {

/// Blocks of the C heap that are in use now, whoever asked for them: operator new, pixel memory, codecs. Two equal
/// answers around a piece of work tell that it leaked nothing.
std::int64_t LiveBlocks();

/// The requests for memory since the last ResetRequests(), in bytes.
struct Requests {
    std::uint64_t largest = 0;
    std::uint64_t total = 0;
    std::int64_t peak = 0;   ///< the most in use at any time, beyond what was at the reset
    std::int64_t grown = 0;  ///< in use now, beyond what was at the reset
};
/// Zeroes where the system gives no way to see requests (Windows); peak and growth are seen on Linux without
/// sanitizers.
Requests RequestsSinceReset() noexcept;
void ResetRequests() noexcept;

/// Asked before each request to malloc and its kin, those of C libraries among them, which fails when it returns true;
/// null switches that off. False where malloc is not the program's own (Windows, sanitizers): then it is never asked.
using MallocFaultHook = bool (*)() noexcept;
bool SetMallocFaultHook(MallocFaultHook hook) noexcept;

/// The system's blocks of a given alignment, as its standard library makes them.
void* AllocateAligned(std::size_t size, std::size_t alignment) noexcept;
void FreeAligned(void* block) noexcept;

}  // namespace faults
