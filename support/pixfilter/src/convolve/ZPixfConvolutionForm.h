#pragma once
#include "convolve/ConvolutionKernels.h"

namespace zpixf {

/// By which arithmetic a convolution is done; for each kernel the first that provably gives what the plain one gives.
enum class ConvolutionWay { separable, narrow, wide, fraction, plain };

/// Finds the way of a kernel of `side` x `side` coefficients, and fills in what its kernel needs. The divisor is not 0;
/// all numbers are finite, and so is the sum of the coefficients times 255.
ConvolutionWay FindConvolutionForm(unsigned side, const double* coefficients, double divisor, double bias,
                                   ConvolutionForm& form);

}  // namespace zpixf
