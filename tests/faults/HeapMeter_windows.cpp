// All modules share the heap of one C runtime, which can be walked.
#include <malloc.h>

#include <stdexcept>

#include "faults/HeapMeter.h"

namespace faults {

std::int64_t LiveBlocks() {
    std::int64_t used = 0;
    _HEAPINFO entry{};
    int status = _heapwalk(&entry);
    for (; status == _HEAPOK; status = _heapwalk(&entry))
        if (entry._useflag == _USEDENTRY) ++used;
    if (status != _HEAPEND && status != _HEAPEMPTY) throw std::runtime_error("the heap is damaged");
    return used;
}

Requests RequestsSinceReset() noexcept { return {}; }
void ResetRequests() noexcept {}

bool SetMallocFaultHook(MallocFaultHook) noexcept { return false; }

void* AllocateAligned(std::size_t size, std::size_t alignment) noexcept { return _aligned_malloc(size, alignment); }
void FreeAligned(void* block) noexcept { _aligned_free(block); }

}  // namespace faults
