// Sanitizers bring a malloc of their own, and hooks to watch it.
#include <malloc.h>
#include <sanitizer/allocator_interface.h>

#include <atomic>
#include <cstdlib>

#include "faults/HeapMeter.h"

namespace {

constinit std::atomic<std::int64_t> liveBlocks = 0;
constinit std::atomic<std::uint64_t> largestRequest = 0, totalRequested = 0;

void OnAllocated(const volatile void*, std::size_t size) {
    liveBlocks.fetch_add(1, std::memory_order_relaxed);
    totalRequested.fetch_add(size, std::memory_order_relaxed);
    std::uint64_t largest = largestRequest.load(std::memory_order_relaxed);
    while (size > largest && !largestRequest.compare_exchange_weak(largest, size)) {}
}

void OnFreed(const volatile void*) { liveBlocks.fetch_sub(1, std::memory_order_relaxed); }

[[maybe_unused]] const int installed = __sanitizer_install_malloc_and_free_hooks(&OnAllocated, &OnFreed);

}  // namespace

namespace faults {

std::int64_t LiveBlocks() { return liveBlocks.load(std::memory_order_relaxed); }
Requests RequestsSinceReset() noexcept { return {largestRequest.load(), totalRequested.load(), 0, 0}; }
void ResetRequests() noexcept {
    largestRequest = 0;
    totalRequested = 0;
}

bool SetMallocFaultHook(MallocFaultHook) noexcept { return false; }

void* AllocateAligned(std::size_t size, std::size_t alignment) noexcept { return memalign(alignment, size); }
void FreeAligned(void* block) noexcept { std::free(block); }

}  // namespace faults
