#include "convolve/ConvolutionKernels.h"

#include <atomic>

#include "convolve/ConvolutionKernelsLevel.h"

namespace zpixf {
namespace {

const ConvolutionKernels* KernelsOf(cpu::Level level) noexcept {
#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
    switch (level) {
        case cpu::Level::avx2:
        case cpu::Level::avx512: return &kAvx2ConvolutionKernels;  // written for vectors of 32 bytes
        case cpu::Level::base: break;
    }
#else
    static_cast<void>(level);
#endif
    return &kBaseConvolutionKernels;
}

std::atomic<const ConvolutionKernels*>& Active() noexcept {
    static std::atomic<const ConvolutionKernels*> active = KernelsOf(cpu::Choose());
    return active;
}

}  // namespace

const ConvolutionKernels& ActiveConvolutionKernels() noexcept { return *Active().load(std::memory_order_relaxed); }

bool UseConvolutionKernels(cpu::Level level) noexcept {
    if (!cpu::Runs(level)) return false;
    Active().store(KernelsOf(level), std::memory_order_relaxed);
    return true;
}

}  // namespace zpixf
