// The filters of colour and the convolutions alone, line by line: the source copies lines of a picture, the results go
// into one line's buffer. The rival copies the same lines.
#include "pixfilter/Photograph.h"
#include "zpixf/ZPixfAdjust.h"
#include "zpixf/ZPixfConvolution.h"

namespace {

using namespace zpixf;

void Brightness(benchmark::State& state, double amount) {
    ZPixfBrightness filter;
    filter.SetBrightness(amount);
    bench::FilterPhotograph(state, filter);
}

void Contrast(benchmark::State& state, double amount) {
    ZPixfContrast filter;
    filter.SetContrast(amount);
    bench::FilterPhotograph(state, filter);
}

void Saturation(benchmark::State& state, double amount) {
    ZPixfSaturation filter;
    filter.SetSaturation(amount);
    bench::FilterPhotograph(state, filter);
}

void Desaturate(benchmark::State& state) {
    ZPixfDesaturate filter;
    bench::FilterPhotograph(state, filter);
}

void Sharpen(benchmark::State& state, double amount) {
    ZPixfConvolution3 filter;
    filter.SetSharpeningConvolution(amount);
    bench::FilterPhotograph(state, filter);
}

void Convolution3(benchmark::State& state, ZPixf3x3Mode mode) {
    ZPixfConvolution3 filter;
    filter.SetConvolution(mode);
    bench::FilterPhotograph(state, filter);
}

void Convolution5(benchmark::State& state, ZPixf5x5Mode mode) {
    ZPixfConvolution5 filter;
    filter.SetConvolution(mode);
    bench::FilterPhotograph(state, filter);
}

/// Numbers that are no fractions.
template <class Filter, unsigned kCount>
void DoubleKernel(benchmark::State& state) {
    double kernel[kCount];
    for (unsigned i = 0; i < kCount; ++i) kernel[i] = 1 / (1.3 + (i * 7 + 3) % 11);
    Filter filter;
    filter.SetUserConvolution(kernel, 0, 0.3);
    bench::FilterPhotograph(state, filter);
}

/// Whole numbers that 16 bits do not hold.
template <class Filter, unsigned kCount>
void LargeKernel(benchmark::State& state) {
    double kernel[kCount];
    for (unsigned i = 0; i < kCount; ++i) kernel[i] = 100.0 + 7 * i;
    Filter filter;
    filter.SetUserConvolution(kernel, 0, 0);
    bench::FilterPhotograph(state, filter);
}

#define ZBM_BENCH(function, name, ...) BENCHMARK_CAPTURE(function, name, __VA_ARGS__)->UseManualTime()->Iterations(9)
ZBM_BENCH(Brightness, lighter, 0.3);
ZBM_BENCH(Brightness, darker, -0.3);
ZBM_BENCH(Contrast, more, 0.3);
ZBM_BENCH(Contrast, less, -0.3);
ZBM_BENCH(Saturation, less, 0.4);
BENCHMARK(Desaturate)->UseManualTime()->Iterations(9);
ZBM_BENCH(Sharpen, full, 1.0);
ZBM_BENCH(Sharpen, some, 0.3);
ZBM_BENCH(Sharpen, blurs, -0.5);

ZBM_BENCH(Convolution3, blur, ZPixf3x3Mode::blur);
ZBM_BENCH(Convolution3, gaussian, ZPixf3x3Mode::gaussian);
ZBM_BENCH(Convolution3, edge, ZPixf3x3Mode::edge);
ZBM_BENCH(Convolution3, sobelVertical, ZPixf3x3Mode::sobelVertical);
ZBM_BENCH(Convolution5, blur, ZPixf5x5Mode::blur);
ZBM_BENCH(Convolution5, gaussian, ZPixf5x5Mode::gaussian);
ZBM_BENCH(Convolution5, sharpen, ZPixf5x5Mode::sharpen);
ZBM_BENCH(Convolution5, sobelVertical, ZPixf5x5Mode::sobelVertical);

BENCHMARK(DoubleKernel<ZPixfConvolution3, 9>)->UseManualTime()->Iterations(9);
BENCHMARK(DoubleKernel<ZPixfConvolution5, 25>)->UseManualTime()->Iterations(9);
BENCHMARK(LargeKernel<ZPixfConvolution3, 9>)->UseManualTime()->Iterations(9);
BENCHMARK(LargeKernel<ZPixfConvolution5, 25>)->UseManualTime()->Iterations(9);

}  // namespace
