#include "convert/MatcherKernels.h"

#include <atomic>
#include <bit>

#include "convert/MatcherKernelLevel.h"

namespace zbm {

namespace {

static_assert(std::endian::native == std::endian::little, "the kernels count on the low byte first");

const MatcherKernels* KernelsOf(cpu::Level level) noexcept {
    switch (level) {
        case cpu::Level::avx512: return &kMatcherKernels_avx512;
        case cpu::Level::avx2: return &kMatcherKernels_avx2;
        case cpu::Level::base: break;
    }
    return &kMatcherKernels_base;
}

std::atomic<const MatcherKernels*>& Active() noexcept {
    static std::atomic<const MatcherKernels*> active = KernelsOf(cpu::Choose());
    return active;
}

}  // namespace

const MatcherKernels& ActiveMatcherKernels() noexcept { return *Active().load(std::memory_order_relaxed); }

bool UseMatcherKernels(cpu::Level level) noexcept {
    if (!cpu::Runs(level)) return false;
    Active().store(KernelsOf(level), std::memory_order_relaxed);
    return true;
}

}  // namespace zbm
