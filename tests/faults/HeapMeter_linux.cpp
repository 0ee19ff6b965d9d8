// Counts in malloc itself: the program's own definitions stand before those of the C library for every shared library.
#include <malloc.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>

#include "faults/HeapMeter.h"

extern "C" {
void* __libc_malloc(std::size_t size) noexcept;
void* __libc_calloc(std::size_t count, std::size_t size) noexcept;
void* __libc_realloc(void* block, std::size_t size) noexcept;
void* __libc_memalign(std::size_t alignment, std::size_t size) noexcept;
void __libc_free(void* block) noexcept;
}

namespace {

// The first calls come before any constructor has run.
constinit std::atomic<std::int64_t> liveBlocks = 0;
constinit std::atomic<std::uint64_t> largestRequest = 0, totalRequested = 0;

void* Counted(void* block, std::size_t size) noexcept {
    if (block != nullptr) liveBlocks.fetch_add(1, std::memory_order_relaxed);
    totalRequested.fetch_add(size, std::memory_order_relaxed);
    std::uint64_t largest = largestRequest.load(std::memory_order_relaxed);
    while (size > largest && !largestRequest.compare_exchange_weak(largest, size)) {}
    return block;
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) noexcept { return Counted(__libc_malloc(size), size); }
void* calloc(std::size_t count, std::size_t size) noexcept { return Counted(__libc_calloc(count, size), count * size); }
void* realloc(void* block, std::size_t size) noexcept {
    void* moved = Counted(__libc_realloc(block, size), size);
    const bool releases = block != nullptr && (moved != nullptr || size == 0);
    if (releases) liveBlocks.fetch_sub(1, std::memory_order_relaxed);
    return moved;
}
void* memalign(std::size_t alignment, std::size_t size) noexcept {
    return Counted(__libc_memalign(alignment, size), size);
}
void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept { return memalign(alignment, size); }
int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept {
    void* made = memalign(alignment, size);
    if (made == nullptr) return ENOMEM;
    *block = made;
    return 0;
}
void free(void* block) noexcept {
    if (block != nullptr) liveBlocks.fetch_sub(1, std::memory_order_relaxed);
    __libc_free(block);
}
}

namespace faults {

std::int64_t LiveBlocks() { return liveBlocks.load(std::memory_order_relaxed); }
Requests RequestsSinceReset() noexcept { return {largestRequest.load(), totalRequested.load()}; }
void ResetRequests() noexcept {
    largestRequest = 0;
    totalRequested = 0;
}

void* AllocateAligned(std::size_t size, std::size_t alignment) noexcept { return memalign(alignment, size); }
void FreeAligned(void* block) noexcept { free(block); }

}  // namespace faults
