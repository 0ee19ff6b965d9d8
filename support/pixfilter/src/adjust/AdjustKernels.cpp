#include "adjust/AdjustKernels.h"

#include <atomic>
#include <bit>

#include "adjust/AdjustKernelsLevel.h"

namespace zpixf {
namespace {

static_assert(std::endian::native == std::endian::little, "the kernels take a pixel's blue from its low byte");

const AdjustKernels* KernelsOf(cpu::Level level) noexcept {
#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
    switch (level) {
        case cpu::Level::avx2:
        case cpu::Level::avx512: return &kAvx2AdjustKernels;  // memory is the limit, not arithmetic
        case cpu::Level::base: break;
    }
#else
    static_cast<void>(level);
#endif
    return &kBaseAdjustKernels;
}

std::atomic<const AdjustKernels*>& Active() noexcept {
    static std::atomic<const AdjustKernels*> active = KernelsOf(cpu::Choose());
    return active;
}

}  // namespace

const AdjustKernels& ActiveAdjustKernels() noexcept { return *Active().load(std::memory_order_relaxed); }

bool UseAdjustKernels(cpu::Level level) noexcept {
    if (!cpu::Runs(level)) return false;
    Active().store(KernelsOf(level), std::memory_order_relaxed);
    return true;
}

}  // namespace zpixf
