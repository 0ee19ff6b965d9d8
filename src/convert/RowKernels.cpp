#include "convert/RowKernels.h"

#include <atomic>
#include <bit>

#include "convert/RowKernelLevel.h"

namespace zbm {
namespace {

static_assert(std::endian::native == std::endian::little, "kernels count on the low byte first");

const RowKernels* KernelsOf(cpu::Level level) noexcept {
    switch (level) {
        case cpu::Level::avx2: return &kAvx2RowKernels;
        case cpu::Level::avx512: return &kAvx512RowKernels;
        case cpu::Level::base: break;
    }
    return &kBaseRowKernels;
}

std::atomic<const RowKernels*>& Active() noexcept {
    static std::atomic<const RowKernels*> active = KernelsOf(cpu::Choose());
    return active;
}

}  // namespace

const RowKernels& ActiveRowKernels() noexcept { return *Active().load(std::memory_order_relaxed); }

bool UseConvertKernels(cpu::Level level) noexcept {
    if (!cpu::Runs(level)) return false;
    Active().store(KernelsOf(level), std::memory_order_relaxed);
    return true;
}

}  // namespace zbm
