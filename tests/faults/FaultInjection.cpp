#include "faults/FaultInjection.h"

#include <cstdlib>

#include "shr/ByteBuffer.h"
#include "shr/ZString.h"

namespace faults {
namespace {

struct FaultPlan {
    bool armed = false;
    Failing failing = Failing::once;
    unsigned nth = 0;
    unsigned made = 0;
};
constinit FaultPlan plan;

bool IsDue() noexcept {
    ++plan.made;
    return plan.failing == Failing::once ? plan.made == plan.nth : plan.made >= plan.nth;
}

bool FailsNow() noexcept { return plan.armed && IsDue(); }

void* AllocateOrNull(std::size_t size) noexcept { return FailsNow() ? nullptr : std::malloc(size == 0 ? 1 : size); }

void* AllocateAlignedOrNull(std::size_t size, std::size_t alignment) noexcept {
    return FailsNow() ? nullptr : AllocateAligned(size == 0 ? 1 : size, alignment);
}

void* OrThrow(void* block) {
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

}  // namespace

ScopedFault::ScopedFault(unsigned nth, Failing failing) noexcept {
    plan = {true, failing, nth, 0};
    shr::ByteBuffer::SetFaultHook(&FailsNow);
}

ScopedFault::~ScopedFault() {
    shr::ByteBuffer::SetFaultHook(nullptr);
    plan.armed = false;
}

bool ScopedFault::WasMet() const noexcept { return plan.made >= plan.nth; }

ScopedMallocFault::ScopedMallocFault(unsigned nth, Failing failing) noexcept {
    plan = {false, failing, nth, 0};
    SetMallocFaultHook([]() noexcept { return IsDue(); });
}

ScopedMallocFault::~ScopedMallocFault() { SetMallocFaultHook(nullptr); }

bool ScopedMallocFault::WasMet() const noexcept { return plan.made >= plan.nth; }

bool ReachesLibraries() {
    const ScopedFault counting(detail::kEndless, Failing::once);
    const shr::ZString tooLongForTheObjectItself = shr::ZString::FromUtf8("this text is made inside a library");
    return plan.made > 0 && !tooLongForTheObjectItself.IsEmpty();
}

}  // namespace faults

using std::align_val_t;
using std::nothrow_t;
using std::size_t;

void* operator new(size_t size) { return faults::OrThrow(faults::AllocateOrNull(size)); }
void* operator new[](size_t size) { return faults::OrThrow(faults::AllocateOrNull(size)); }
void* operator new(size_t size, const nothrow_t&) noexcept { return faults::AllocateOrNull(size); }
void* operator new[](size_t size, const nothrow_t&) noexcept { return faults::AllocateOrNull(size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, size_t) noexcept { std::free(block); }
void operator delete[](void* block, size_t) noexcept { std::free(block); }
void operator delete(void* block, const nothrow_t&) noexcept { std::free(block); }
void operator delete[](void* block, const nothrow_t&) noexcept { std::free(block); }

void* operator new(size_t size, align_val_t alignment) {
    return faults::OrThrow(faults::AllocateAlignedOrNull(size, static_cast<size_t>(alignment)));
}
void* operator new[](size_t size, align_val_t alignment) {
    return faults::OrThrow(faults::AllocateAlignedOrNull(size, static_cast<size_t>(alignment)));
}
void* operator new(size_t size, align_val_t alignment, const nothrow_t&) noexcept {
    return faults::AllocateAlignedOrNull(size, static_cast<size_t>(alignment));
}
void* operator new[](size_t size, align_val_t alignment, const nothrow_t&) noexcept {
    return faults::AllocateAlignedOrNull(size, static_cast<size_t>(alignment));
}
void operator delete(void* block, align_val_t) noexcept { faults::FreeAligned(block); }
void operator delete[](void* block, align_val_t) noexcept { faults::FreeAligned(block); }
void operator delete(void* block, size_t, align_val_t) noexcept { faults::FreeAligned(block); }
void operator delete[](void* block, size_t, align_val_t) noexcept { faults::FreeAligned(block); }
void operator delete(void* block, align_val_t, const nothrow_t&) noexcept { faults::FreeAligned(block); }
void operator delete[](void* block, align_val_t, const nothrow_t&) noexcept { faults::FreeAligned(block); }
