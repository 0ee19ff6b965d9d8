#include "resample/ResampleKernels.h"

#include <atomic>

#include "resample/ResampleKernelsLevel.h"

namespace zpixf {
namespace {

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
const ResampleKernels* KernelsOf(cpu::Level level) noexcept {
    switch (level) {
        case cpu::Level::avx2:
        case cpu::Level::avx512: return &kAvx2ResampleKernels;  // bound by loads, not by arithmetic
        case cpu::Level::base: break;
    }
    return &kBaseResampleKernels;
}
#else
const ResampleKernels* KernelsOf(cpu::Level) noexcept { return &kBaseResampleKernels; }
#endif

std::atomic<const ResampleKernels*>& Active() noexcept {
    static std::atomic<const ResampleKernels*> active = KernelsOf(cpu::Choose());
    return active;
}

}  // namespace

const ResampleKernels& ActiveResampleKernels() noexcept { return *Active().load(std::memory_order_relaxed); }

bool UseResampleKernels(cpu::Level level) noexcept {
    if (!cpu::Runs(level)) return false;
    Active().store(KernelsOf(level), std::memory_order_relaxed);
    return true;
}

}  // namespace zpixf
