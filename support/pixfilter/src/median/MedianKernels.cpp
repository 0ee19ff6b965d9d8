#include "median/MedianKernels.h"

#include <atomic>

#include "median/MedianKernelsLevel.h"

namespace zpixf {
namespace {

const MedianKernels* KernelsOf(cpu::Level level) noexcept {
#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
    switch (level) {
        case cpu::Level::avx2:
        case cpu::Level::avx512: return &kAvx2MedianKernels;  // 16 counters of 16 bits are one vector of AVX2
        case cpu::Level::base: break;
    }
#else
    static_cast<void>(level);
#endif
    return &kBaseMedianKernels;
}

std::atomic<const MedianKernels*>& Active() noexcept {
    static std::atomic<const MedianKernels*> active = KernelsOf(cpu::Choose());
    return active;
}

}  // namespace

const MedianKernels& ActiveMedianKernels() noexcept { return *Active().load(std::memory_order_relaxed); }

bool UseMedianKernels(cpu::Level level) noexcept {
    if (!cpu::Runs(level)) return false;
    UseMedianKernels(*KernelsOf(level));
    return true;
}

void UseMedianKernels(const MedianKernels& kernels) noexcept { Active().store(&kernels, std::memory_order_relaxed); }

}  // namespace zpixf
