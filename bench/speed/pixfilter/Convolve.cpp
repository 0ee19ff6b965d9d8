// The convolutions alone, line by line: the source copies lines of a picture, the results go into one line's buffer.
// The rival copies the same lines.
#include <vector>

#include "pixfilter/PhotographFilter.h"
#include "zpixf/ZPixfConvolution.h"

namespace {

using namespace zpixf;

bench::Benchmark Sharpen(const char* name, double amount) {
    return bench::PhotographFilter<ZPixfConvolution3>(name,
                                                      [=](auto& filter) { filter.SetSharpeningConvolution(amount); });
}

template <class Filter, class Mode>
bench::Benchmark Preset(const char* name, Mode mode) {
    return bench::PhotographFilter<Filter>(name, [=](auto& filter) { filter.SetConvolution(mode); });
}

template <class Filter>
bench::Benchmark User(const char* name, unsigned count, double (*factor)(unsigned i), double offset) {
    std::vector<double> kernel;
    for (unsigned i = 0; i < count; ++i) kernel.push_back(factor(i));
    return bench::PhotographFilter<Filter>(name,
                                           [=](auto& filter) { filter.SetUserConvolution(kernel.data(), 0, offset); });
}

/// Numbers that are no fractions.
double NoFraction(unsigned i) { return 1 / (1.3 + (i * 7 + 3) % 11); }
/// Whole numbers that 16 bits do not hold.
double Large(unsigned i) { return 100.0 + 7 * i; }

[[maybe_unused]] const bool kAdded = bench::Add({
    Sharpen("Sharpen/full", 1.0),
    Sharpen("Sharpen/some", 0.3),
    Sharpen("Sharpen/blurs", -0.5),
    Preset<ZPixfConvolution3>("Convolution3/blur", ZPixf3x3Mode::blur),
    Preset<ZPixfConvolution3>("Convolution3/gaussian", ZPixf3x3Mode::gaussian),
    Preset<ZPixfConvolution3>("Convolution3/edge", ZPixf3x3Mode::edge),
    Preset<ZPixfConvolution3>("Convolution3/sobelVertical", ZPixf3x3Mode::sobelVertical),
    Preset<ZPixfConvolution5>("Convolution5/blur", ZPixf5x5Mode::blur),
    Preset<ZPixfConvolution5>("Convolution5/gaussian", ZPixf5x5Mode::gaussian),
    Preset<ZPixfConvolution5>("Convolution5/sharpen", ZPixf5x5Mode::sharpen),
    Preset<ZPixfConvolution5>("Convolution5/sobelVertical", ZPixf5x5Mode::sobelVertical),
    User<ZPixfConvolution3>("DoubleKernel<ZPixfConvolution3, 9>", 9, NoFraction, 0.3),
    User<ZPixfConvolution5>("DoubleKernel<ZPixfConvolution5, 25>", 25, NoFraction, 0.3),
    User<ZPixfConvolution3>("LargeKernel<ZPixfConvolution3, 9>", 9, Large, 0),
    User<ZPixfConvolution5>("LargeKernel<ZPixfConvolution5, 25>", 25, Large, 0),
});

}  // namespace
