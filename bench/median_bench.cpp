// The median filter alone, line by line: the source copies lines of a picture, the results go into one line's buffer.
// The rival copies the same lines.
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

#include "Harness.h"
#include "zpixf/ZPixfMedian.h"

namespace {

constexpr unsigned kSide = 4096;
constexpr std::size_t kLineBytes = std::size_t{4} * kSide;

/// A photograph from the folder that the environment names, or else a drawing with edges, slopes and grain.
const std::vector<std::uint8_t>& Picture() {
    static const std::vector<std::uint8_t> picture = [] {
        std::vector<std::uint8_t> pixels = bench::Noise(kLineBytes * kSide);
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            const std::size_t x = i % kLineBytes / 4, y = i / kLineBytes;
            const std::size_t slope = (x + 2 * y) / 16 + (x / 96 * 7 + y / 64 * 11) % 13 * 9 + i % 4 * 20;
            pixels[i] = static_cast<std::uint8_t>(slope % 240 + pixels[i] % 16);
        }
        if (const char* folder = std::getenv("ZBM_PICTURES")) {
            std::ifstream file(std::string(folder) + "/photo.bgra", std::ios::binary);
            file.read(reinterpret_cast<char*>(pixels.data()), static_cast<std::streamsize>(pixels.size()));
        }
        return pixels;
    }();
    return picture;
}

bool CopyLine(void*, unsigned line, void* buffer) {
    std::memcpy(buffer, Picture().data() + line * kLineBytes, kLineBytes);
    return true;
}

/// The first `lines` lines of the picture.
void Median(benchmark::State& state, unsigned span, unsigned lines) {
    zpixf::ZPixfMedian filter;
    filter.SetSpan(span);
    filter.SetInputFormat(zpixf::ZPixFormat(kSide, lines));
    filter.SetOutputFormat(zpixf::ZPixFormat(kSide, lines));
    filter.SetScanLineFunction(&CopyLine, nullptr);
    if (!filter.Start()) return state.SkipWithError("the filter does not start");
    std::vector<std::uint8_t> line(kLineBytes);
    const auto operation = [&] {
        for (unsigned y = 0; y < lines; ++y) filter.FilterScanline(y, line.data());
        benchmark::ClobberMemory();
    };
    const auto rival = [&] {
        for (unsigned y = 0; y < lines; ++y) {
            CopyLine(nullptr, y, line.data());
            benchmark::ClobberMemory();
        }
    };
    bench::TakeTurns(state, {1e-6 * kSide * lines, "MP/s"}, operation, "ratio_to_memcpy", rival);
}

#define ZBM_BENCH(span, lines) BENCHMARK_CAPTURE(Median, span, span, lines)->UseManualTime()->Iterations(5)
ZBM_BENCH(3, 4096);
ZBM_BENCH(5, 4096);
ZBM_BENCH(7, 1024);
ZBM_BENCH(15, 1024);
ZBM_BENCH(31, 1024);
ZBM_BENCH(63, 1024);
ZBM_BENCH(101, 1024);
ZBM_BENCH(255, 1024);

}  // namespace
