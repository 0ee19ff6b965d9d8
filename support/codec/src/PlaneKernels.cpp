#include "PlaneKernels.h"

#include <atomic>
#include <bit>

#include "KernelLevel.h"

namespace zcdl {
namespace {

static_assert(std::endian::native == std::endian::little, "blocks and kernels count on the low byte first");

const PlaneKernels* KernelsOf(cpu::Level level) noexcept {
    switch (level) {
        case cpu::Level::avx2:
        case cpu::Level::avx512: return &kAvx2Kernels;  // nothing here gains from wider vectors
        case cpu::Level::base: break;
    }
    return &kBaseKernels;
}

std::atomic<const PlaneKernels*>& Active() noexcept {
    static std::atomic<const PlaneKernels*> active = KernelsOf(cpu::Choose());
    return active;
}

}  // namespace

const PlaneKernels& ActiveKernels() noexcept { return *Active().load(std::memory_order_relaxed); }

bool UseKernels(cpu::Level level) noexcept {
    if (!cpu::Runs(level)) return false;
    Active().store(KernelsOf(level), std::memory_order_relaxed);
    return true;
}

}  // namespace zcdl
