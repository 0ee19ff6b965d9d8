#pragma once
// Kernels on vectors of 64 bytes made of plain words: what the level of AVX-512 computes, on any processor.
#include "adjust/AdjustKernels.h"
#include "convolve/ConvolutionKernels.h"
#include "median/MedianKernels.h"
#include "resample/ResampleKernels.h"

namespace zpixf {

extern const AdjustKernels kEmulatedAdjustKernels;
extern const ConvolutionKernels kEmulatedConvolutionKernels;
extern const MedianKernels kEmulatedMedianKernels;
extern const ResampleKernels kEmulatedResampleKernels;

}  // namespace zpixf
