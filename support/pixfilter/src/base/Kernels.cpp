// All kernels of the filters, with the levels that they are compiled for.
#include "base/Kernels.h"

#include <bit>

#include "adjust/AdjustKernels.h"
#include "convolve/ConvolutionKernels.h"
#include "cpu/KernelSet.h"
#include "dither/DiffuseKernels.h"
#include "dither/DitherKernels.h"
#include "dither/DitherMixKernels.h"
#include "median/MedianKernels.h"
#include "palette/PaletteMapKernels.h"
#include "resample/ResampleKernels.h"

namespace zpixf {
namespace {

static_assert(std::endian::native == std::endian::little, "the kernels take a pixel's blue from its low byte");

// Those without kernels for AVX-512 gain nothing from it: diffusion is bound by look-ups, a column's 16 counters of 16
// bits are one vector of AVX2, and eight candidates for a palette entry fill no wider one.
constinit cpu::KernelSet<AdjustKernels> adjust(kBaseAdjustKernels, CPU_WIDE(kAvx2AdjustKernels),
                                               CPU_WIDE(kAvx512AdjustKernels));
constinit cpu::KernelSet<ConvolutionKernels> convolution(kBaseConvolutionKernels, CPU_WIDE(kAvx2ConvolutionKernels),
                                                         CPU_WIDE(kAvx512ConvolutionKernels));
constinit cpu::KernelSet<DiffuseKernels> diffuse(kBaseDiffuseKernels, CPU_WIDE(kAvx2DiffuseKernels));
constinit cpu::KernelSet<DitherKernels> dither(kBaseDitherKernels, CPU_WIDE(kAvx2DitherKernels),
                                               CPU_WIDE(kAvx512DitherKernels));
constinit cpu::KernelSet<DitherMixKernels> ditherMix(kBaseDitherMixKernels, CPU_WIDE(kAvx2DitherMixKernels),
                                                     CPU_WIDE(kAvx512DitherMixKernels));
constinit cpu::KernelSet<MedianKernels> median(kBaseMedianKernels, CPU_WIDE(kAvx2MedianKernels),
                                               CPU_WIDE(kAvx512MedianKernels));
constinit cpu::KernelSet<MedianHistogramKernels> medianHistogram(kBaseMedianHistogramKernels,
                                                                 CPU_WIDE(kAvx2MedianHistogramKernels));
constinit cpu::KernelSet<PaletteMapKernels> paletteMap(kBasePaletteMapKernels, CPU_WIDE(kAvx2PaletteMapKernels));
constinit cpu::KernelSet<ResampleKernels> resample(kBaseResampleKernels, CPU_WIDE(kAvx2ResampleKernels),
                                                   CPU_WIDE(kAvx512ResampleKernels));

}  // namespace

const AdjustKernels& ActiveAdjustKernels() noexcept { return adjust.Active(); }
const ConvolutionKernels& ActiveConvolutionKernels() noexcept { return convolution.Active(); }
const DiffuseKernels& ActiveDiffuseKernels() noexcept { return diffuse.Active(); }
const DitherKernels& ActiveDitherKernels() noexcept { return dither.Active(); }
const DitherMixKernels& ActiveDitherMixKernels() noexcept { return ditherMix.Active(); }
const MedianKernels& ActiveMedianKernels() noexcept { return median.Active(); }
const MedianHistogramKernels& ActiveMedianHistogramKernels() noexcept { return medianHistogram.Active(); }
const PaletteMapKernels& ActivePaletteMapKernels() noexcept { return paletteMap.Active(); }
const ResampleKernels& ActiveResampleKernels() noexcept { return resample.Active(); }

bool UseKernels(cpu::Level level) noexcept {
    return cpu::UseLevel(level, adjust, convolution, diffuse, dither, ditherMix, median, medianHistogram, paletteMap,
                         resample);
}

void UseKernels(const AdjustKernels& kernels) noexcept { adjust.Use(kernels); }
void UseKernels(const ConvolutionKernels& kernels) noexcept { convolution.Use(kernels); }
void UseKernels(const MedianKernels& kernels) noexcept { median.Use(kernels); }
void UseKernels(const MedianHistogramKernels& kernels) noexcept { medianHistogram.Use(kernels); }
void UseKernels(const ResampleKernels& kernels) noexcept { resample.Use(kernels); }

}  // namespace zpixf
