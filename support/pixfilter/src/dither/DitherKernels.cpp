#include "dither/DitherKernels.h"

#include <atomic>
#include <bit>

#include "dither/DitherKernelsLevel.h"
#include "dither/DitherMixKernels.h"

namespace zpixf {
namespace {

static_assert(std::endian::native == std::endian::little, "the kernels take a pixel's blue from its low byte");

struct Kernels {
    const DitherKernels* pixels;
    const DitherMixKernels* mixtures;
};

constexpr Kernels kBase = {&kBaseDitherKernels, &kBaseDitherMixKernels};
#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
constexpr Kernels kAvx2 = {&kAvx2DitherKernels, &kAvx2DitherMixKernels};

const Kernels* KernelsOf(cpu::Level level) noexcept {
    switch (level) {
        case cpu::Level::avx2:
        case cpu::Level::avx512: return &kAvx2;  // the look-ups take the time, not the arithmetic
        case cpu::Level::base: break;
    }
    return &kBase;
}
#else
const Kernels* KernelsOf(cpu::Level) noexcept { return &kBase; }
#endif

std::atomic<const Kernels*>& Active() noexcept {
    static std::atomic<const Kernels*> active = KernelsOf(cpu::Choose());
    return active;
}

}  // namespace

const DitherKernels& ActiveDitherKernels() noexcept { return *Active().load(std::memory_order_relaxed)->pixels; }
const DitherMixKernels& ActiveDitherMixKernels() noexcept {
    return *Active().load(std::memory_order_relaxed)->mixtures;
}

bool UseDitherKernels(cpu::Level level) noexcept {
    if (!cpu::Runs(level)) return false;
    Active().store(KernelsOf(level), std::memory_order_relaxed);
    return true;
}

}  // namespace zpixf
