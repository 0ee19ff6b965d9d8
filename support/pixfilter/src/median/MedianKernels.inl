// Kernels of the median filter; the including file defines the table of its level. Nothing here calls the standard
// library or is inline with external linkage, so no copy compiled for a wide level can stand in for another.
#include "median/MedianKernels.h"

#include "median/MedianKernelsVectors.inl"

#include "median/MedianKernelsNetworks.inl"

#include "median/MedianKernelsHistograms.inl"

namespace zpixf {
namespace {

constexpr MedianKernels kKernels = {&Median3, &Split, &Median5, &Count, &Medians};

}  // namespace
}  // namespace zpixf
