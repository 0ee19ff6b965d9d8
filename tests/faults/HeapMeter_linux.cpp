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
constinit std::atomic<std::int64_t> liveBytes = 0, peakBytes = 0, bytesAtReset = 0;

constinit std::atomic<faults::MallocFaultHook> faultHook = nullptr;

bool FailsNow() noexcept {
    const faults::MallocFaultHook hook = faultHook.load(std::memory_order_relaxed);
    if (hook == nullptr || !hook()) return false;
    errno = ENOMEM;
    return true;
}

template <class T>
void RaiseTo(std::atomic<T>& most, T value) noexcept {
    T known = most.load(std::memory_order_relaxed);
    while (value > known && !most.compare_exchange_weak(known, value)) {}
}

std::int64_t SizeOf(void* block) noexcept { return static_cast<std::int64_t>(malloc_usable_size(block)); }

void* Counted(void* block, std::size_t size) noexcept {
    totalRequested.fetch_add(size, std::memory_order_relaxed);
    RaiseTo(largestRequest, std::uint64_t{size});
    if (block == nullptr) return nullptr;
    liveBlocks.fetch_add(1, std::memory_order_relaxed);
    const std::int64_t bytes = SizeOf(block);
    RaiseTo(peakBytes, liveBytes.fetch_add(bytes, std::memory_order_relaxed) + bytes);
    return block;
}

void CountFreed(std::int64_t bytes) noexcept {
    liveBlocks.fetch_sub(1, std::memory_order_relaxed);
    liveBytes.fetch_sub(bytes, std::memory_order_relaxed);
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) noexcept { return FailsNow() ? nullptr : Counted(__libc_malloc(size), size); }
void* calloc(std::size_t count, std::size_t size) noexcept {
    return FailsNow() ? nullptr : Counted(__libc_calloc(count, size), count * size);
}
void* realloc(void* block, std::size_t size) noexcept {
    if (FailsNow()) return nullptr;
    const std::int64_t before = SizeOf(block);
    void* moved = Counted(__libc_realloc(block, size), size);
    const bool releases = block != nullptr && (moved != nullptr || size == 0);
    if (releases) CountFreed(before);
    return moved;
}
void* memalign(std::size_t alignment, std::size_t size) noexcept {
    return FailsNow() ? nullptr : Counted(__libc_memalign(alignment, size), size);
}
void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept { return memalign(alignment, size); }
int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept {
    void* made = memalign(alignment, size);
    if (made == nullptr) return ENOMEM;
    *block = made;
    return 0;
}
void free(void* block) noexcept {
    if (block != nullptr) CountFreed(SizeOf(block));
    __libc_free(block);
}
}

namespace faults {

std::int64_t LiveBlocks() { return liveBlocks.load(std::memory_order_relaxed); }
Requests RequestsSinceReset() noexcept {
    return {largestRequest.load(), totalRequested.load(), peakBytes - bytesAtReset, liveBytes - bytesAtReset};
}
void ResetRequests() noexcept {
    largestRequest = 0;
    totalRequested = 0;
    bytesAtReset = liveBytes.load();
    peakBytes = bytesAtReset.load();
}

bool SetMallocFaultHook(MallocFaultHook hook) noexcept {
    faultHook = hook;
    return true;
}

void* AllocateAligned(std::size_t size, std::size_t alignment) noexcept { return memalign(alignment, size); }
void FreeAligned(void* block) noexcept { free(block); }

}  // namespace faults
