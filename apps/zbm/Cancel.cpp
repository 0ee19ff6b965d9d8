#include "Cancel.h"

#include <atomic>

namespace tool {

namespace {

// Lock-free, so that a signal handler may write it.
std::atomic<bool> cancelRequested{false};
static_assert(std::atomic<bool>::is_always_lock_free);

}  // namespace

bool CancelRequested() noexcept { return cancelRequested.load(std::memory_order_relaxed); }

void SetCancelRequested(bool requested) noexcept { cancelRequested.store(requested, std::memory_order_relaxed); }

}  // namespace tool
