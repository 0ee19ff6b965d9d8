#pragma once
#include "zpixf/ZPixfConvolution.h"

namespace zpixf {

struct ConvolutionKernel3 {
    double coefficients[9];
    double divisor, bias;
};
struct ConvolutionKernel5 {
    double coefficients[25];
    double divisor, bias;
};

/// Those of a mode; null for `user` and for what is no mode.
const ConvolutionKernel3* KernelOf(ZPixf3x3Mode mode);
const ConvolutionKernel5* KernelOf(ZPixf5x5Mode mode);

}  // namespace zpixf
