// Colour quantisers on a photograph: megapixels a second from Start to the last line, and how close the result comes.
// With ZBM_PICTURES naming a folder, its photo.bgra (4096 x 4096 pixels of B, G, R, A) is taken; else a picture is made
// up.
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>

#include "Harness.h"
#include "zpixf/ZPixfQuantize.h"

namespace {

using zpixf::ZPixFormat;
using zpixf::ZPixfQuantize;

constexpr unsigned kSide = 4096;
constexpr std::size_t kPixels = std::size_t{kSide} * kSide;
constexpr std::size_t kRowBytes = 4 * kSide;

using Bytes = std::vector<std::uint8_t>;

/// Slow waves of each channel under a little noise.
Bytes MadeUpPicture() {
    Bytes pixels = bench::Noise(4 * kPixels);
    const double periods[] = {0.0021, 0.0034, 0.0013};
    for (std::size_t i = 0; i < kPixels; ++i)
        for (unsigned c = 0; c < 4; ++c) {
            const auto x = static_cast<double>(i % kSide), y = static_cast<double>(i / kSide);
            std::uint8_t& value = pixels[4 * i + c];
            value = c == 3 ? 255
                           : static_cast<std::uint8_t>(120 + 60 * std::sin(x * periods[c]) +
                                                       50 * std::sin(y * periods[2 - c] * 1.7) + value % 16);
        }
    return pixels;
}

Bytes LoadPicture() {
    if (const char* folder = std::getenv("ZBM_PICTURES")) {
        Bytes pixels(4 * kPixels);
        std::ifstream file(std::string(folder) + "/photo.bgra", std::ios::binary);
        if (file.read(reinterpret_cast<char*>(pixels.data()), static_cast<std::streamsize>(pixels.size())))
            return pixels;
    }
    return MadeUpPicture();
}

Bytes& Picture() {
    static Bytes picture = LoadPicture();
    return picture;
}

bool ReadLine(void*, unsigned line, void* buffer) {
    std::memcpy(buffer, &Picture()[kRowBytes * line], kRowBytes);
    return true;
}

double Psnr(const Bytes& indices, const RGBQUAD* palette) {
    const Bytes& pixels = Picture();
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
    filter.SetScanLineFunction(&ReadLine, nullptr);
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
