// Colour quantisers on a photograph: megapixels a second from Start to the last line, and how close the result comes.
// With ZBM_PICTURES naming a folder, its photo.bgra (4096 x 4096 pixels of B, G, R, A) is taken; else a picture is made
// up.
#include <cmath>
#include <memory>
#include <string>

#include "pixfilter/Photograph.h"
#include "zpixf/ZPixfQuantize.h"

namespace {

using zpixf::ZPixFormat;
using zpixf::ZPixfQuantize;

constexpr unsigned kSide = bench::kPhotographSide;
constexpr std::size_t kPixels = std::size_t{kSide} * kSide;

using Bytes = std::vector<std::uint8_t>;

double Psnr(const Bytes& indices, const RGBQUAD* palette) {
    const Bytes& pixels = bench::Photograph();
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < kPixels; ++i) {
        const RGBQUAD& entry = palette[indices[i]];
        const int b = pixels[4 * i] - entry.rgbBlue, g = pixels[4 * i + 1] - entry.rgbGreen,
                  r = pixels[4 * i + 2] - entry.rgbRed;
        sum += static_cast<std::uint64_t>(b * b + g * g + r * r);
    }
    return 10 * std::log10(255.0 * 255.0 * 3 * static_cast<double>(kPixels) / static_cast<double>(sum));
}

template <class Filter>
void Quantize(benchmark::State& state) {
    Bytes indices(kPixels, 1);
    Filter filter;
    filter.SetInputFormat(ZPixFormat(kSide, kSide, 4, 8));
    filter.SetOutputFormat(ZPixFormat(kSide, kSide, 1, 8));
    filter.SetScanLineFunction(&bench::ReadPhotograph, nullptr);
    filter.SetDesiredColors(static_cast<unsigned>(state.range(0)));
    const bench::Copy copy(4 * kPixels);
    const auto operation = [&] {
        if (!filter.Start()) std::abort();
        for (unsigned y = 0; y < kSide; ++y) filter.FilterScanline(y, &indices[std::size_t{y} * kSide]);
    };
    bench::TakeTurns(state, {static_cast<double>(kPixels) / 1e6, "MP/s"}, operation, "ratio_to_memcpy",
                     [&] { copy(); });
    state.counters["dB"] = Psnr(indices, filter.GetOutputFormat().GetColors());
}

#define ZBM_BENCH(Filter, name) \
    BENCHMARK(Quantize<Filter>)->Name(name)->Arg(256)->Arg(16)->UseManualTime()->Iterations(9)
ZBM_BENCH(zpixf::ZPixfQuantizeMedian5, "Quantize/median5");
ZBM_BENCH(zpixf::ZPixfQuantizeMedian8, "Quantize/median8");
ZBM_BENCH(zpixf::ZPixfQuantizePopularity, "Quantize/popularity");

}  // namespace
