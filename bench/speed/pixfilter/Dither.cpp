// Ditherers on a photograph: megapixels a second from Start to the last line, with fixed palettes and one made for the
// picture. With ZBM_PICTURES naming a folder, its photo.bgra (4096 x 4096 pixels of B, G, R, A) is taken; else a
// picture is made up.
#include <cmath>
#include <string>

#include "pixfilter/Photograph.h"
#include "zpixf/ZPixfDither.h"
#include "zpixf/ZPixfQuantize.h"

namespace {

using zpixf::ZPixFilterBase;
using zpixf::ZPixFormat;

constexpr unsigned kSide = bench::kPhotographSide;
constexpr std::size_t kPixels = std::size_t{kSide} * kSide;

using Bytes = std::vector<std::uint8_t>;

void Connect(ZPixFilterBase& filter, const ZPixFormat& output) {
    filter.SetInputFormat(ZPixFormat(kSide, kSide, 4, 8));
    filter.SetOutputFormat(output);
    filter.SetScanLineFunction(&bench::ReadPhotograph, nullptr);
}

/// The format of 256 colours chosen for the picture.
const ZPixFormat& PicturesFormat() {
    static const ZPixFormat format = [] {
        zpixf::ZPixfQuantizeMedian8 quantizer;
        Connect(quantizer, ZPixFormat(kSide, kSide, 1, 8));
        quantizer.Start();
        return quantizer.GetOutputFormat();
    }();
    return format;
}

constexpr int kPicturesPalette = 0;

template <class Filter>
void Dither(benchmark::State& state) {
    const auto colors = static_cast<unsigned>(state.range(0));
    const unsigned bits = colors == 2 ? 1 : colors == 16 ? 4 : 8;
    const ZPixFormat format =
        state.range(0) == kPicturesPalette ? PicturesFormat() : ZPixFormat(kSide, kSide, 1, bits, colors);
    Bytes indices(kPixels, 1);
    const bench::Copy copy(4 * kPixels);
    bool isDone = true;
    const auto operation = [&] {
        Filter filter;
        Connect(filter, format);
        isDone = filter.Start() && isDone;
        for (unsigned y = 0; y < kSide; ++y)
            isDone = filter.FilterScanline(y, &indices[std::size_t{kSide} * y * bits / 8]) && isDone;
    };
    bench::TakeTurns(state, {static_cast<double>(kPixels) / 1e6, "MP/s"}, operation, "ratio_to_memcpy",
                     [&] { copy(); });
    if (!isDone) state.SkipWithError("the ditherer failed");
}

#define ZBM_BENCH(Filter, name) \
    BENCHMARK(Dither<Filter>)   \
        ->Name(name)            \
        ->ArgName("colors")     \
        ->Arg(2)                \
        ->Arg(16)               \
        ->Arg(256)              \
        ->Arg(kPicturesPalette) \
        ->UseManualTime()       \
        ->Iterations(9)
ZBM_BENCH(zpixf::ZPixfDitherOrdered, "Dither/ordered");
ZBM_BENCH(zpixf::ZPixfDitherDiffuse, "Dither/diffuse");

}  // namespace
