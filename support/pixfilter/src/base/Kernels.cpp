// All kernels of the filters, with the levels that they are compiled for.
#include "base/Kernels.h"

#include <bit>

#include "adjust/AdjustKernels.h"
#include "convolve/ConvolutionKernels.h"
#include "cpu/KernelSet.h"
#include "dither/DitherKernels.h"
#include "dither/DitherMixKernels.h"
#include "median/MedianKernels.h"
#include "palette/PaletteMapKernels.h"
#include "resample/ResampleKernels.h"

namespace zpixf {
namespace {

static_assert(std::endian::native == std::endian::little, "the kernels take a pixel's blue from its low byte");

// None gains from AVX-512: filters of colour are bound by memory and resampling by loads, ditherers by look-ups; a
// column's 16 counters of 16 bits are one vector of AVX2, and eight candidates for a palette entry fill no wider one.
constinit cpu::KernelSet<AdjustKernels> adjust(kBaseAdjustKernels, CPU_WIDE(kAvx2AdjustKernels));
constinit cpu::KernelSet<ConvolutionKernels> convolution(kBaseConvolutionKernels, CPU_WIDE(kAvx2ConvolutionKernels));
constinit cpu::KernelSet<DitherKernels> dither(kBaseDitherKernels, CPU_WIDE(kAvx2DitherKernels));
constinit cpu::KernelSet<DitherMixKernels> ditherMix(kBaseDitherMixKernels, CPU_WIDE(kAvx2DitherMixKernels));
constinit cpu::KernelSet<MedianKernels> median(kBaseMedianKernels, CPU_WIDE(kAvx2MedianKernels));
constinit cpu::KernelSet<PaletteMapKernels> paletteMap(kBasePaletteMapKernels, CPU_WIDE(kAvx2PaletteMapKernels));
constinit cpu::KernelSet<ResampleKernels> resample(kBaseResampleKernels, CPU_WIDE(kAvx2ResampleKernels),
                                                   CPU_WIDE(kAvx512ResampleKernels));

}  // namespace

const AdjustKernels& ActiveAdjustKernels() noexcept { return adjust.Active(); }
const ConvolutionKernels& ActiveConvolutionKernels() noexcept { return convolution.Active(); }
const DitherKernels& ActiveDitherKernels() noexcept { return dither.Active(); }
const DitherMixKernels& ActiveDitherMixKernels() noexcept { return ditherMix.Active(); }
const MedianKernels& ActiveMedianKernels() noexcept { return median.Active(); }
const PaletteMapKernels& ActivePaletteMapKernels() noexcept { return paletteMap.Active(); }
const ResampleKernels& ActiveResampleKernels() noexcept { return resample.Active(); }

bool UseKernels(cpu::Level level) noexcept {
    return cpu::UseLevel(level, adjust, convolution, dither, ditherMix, median, paletteMap, resample);
}

void UseKernels(const MedianKernels& kernels) noexcept { median.Use(kernels); }

}  // namespace zpixf
