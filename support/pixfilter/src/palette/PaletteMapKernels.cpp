#include "palette/PaletteMapKernels.h"

#include <atomic>

#include "palette/PaletteMapLevel.h"

namespace zpixf {
namespace {

const PaletteMapKernels* KernelsOf(cpu::Level level) noexcept {
#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
    switch (level) {
        case cpu::Level::avx2:
        case cpu::Level::avx512: return &kAvx2PaletteMapKernels;  // eight candidates fill no wider vector
        case cpu::Level::base: break;
    }
#else
    static_cast<void>(level);
#endif
    return &kBasePaletteMapKernels;
}

std::atomic<const PaletteMapKernels*>& Active() noexcept {
    static std::atomic<const PaletteMapKernels*> active = KernelsOf(cpu::Choose());
    return active;
}

}  // namespace

const PaletteMapKernels& ActivePaletteMapKernels() noexcept { return *Active().load(std::memory_order_relaxed); }

bool UsePaletteMapKernels(cpu::Level level) noexcept {
    if (!cpu::Runs(level)) return false;
    Active().store(KernelsOf(level), std::memory_order_relaxed);
    return true;
}

}  // namespace zpixf
