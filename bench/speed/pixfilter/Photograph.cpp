#include "pixfilter/Photograph.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>

namespace bench {

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kBytes = kPhotographRowBytes * kPhotographSide;

Bytes MadeUp() {
    const double periods[] = {0.0021, 0.0034, 0.0013};
    Bytes pixels = Noise(kBytes);
    for (std::size_t i = 0; i < kBytes; ++i) {
        const std::size_t channel = i % 4;
        const auto x = static_cast<double>(i % kPhotographRowBytes / 4);
        const auto y = static_cast<double>(i / kPhotographRowBytes);
        pixels[i] = channel == 3
                        ? 255
                        : static_cast<std::uint8_t>(120 + 60 * std::sin(x * periods[channel]) +
                                                    50 * std::sin(y * periods[2 - channel] * 1.7) + pixels[i] % 16);
    }
    return pixels;
}

Bytes Load() {
    const char* folder = std::getenv("ZBM_PICTURES");
    if (folder == nullptr) return MadeUp();
    Bytes pixels(kBytes);
    std::ifstream file(std::string(folder) + "/photo.bgra", std::ios::binary);
    if (!file.read(reinterpret_cast<char*>(pixels.data()), static_cast<std::streamsize>(kBytes)))
        throw std::runtime_error(std::string("no photo.bgra of 4096 x 4096 pixels in ") + folder);
    return pixels;
}

}  // namespace

const Bytes& Photograph() {
    static const Bytes pixels = Load();
    return pixels;
}

bool ReadPhotograph(void*, unsigned line, void* buffer) {
    std::memcpy(buffer, Photograph().data() + line * kPhotographRowBytes, kPhotographRowBytes);
    return true;
}

void FilterPhotograph(benchmark::State& state, zpixf::ZPixFilterBase& filter, unsigned lines) {
    filter.SetInputFormat(zpixf::ZPixFormat(kPhotographSide, lines));
    filter.SetOutputFormat(zpixf::ZPixFormat(kPhotographSide, lines));
    filter.SetScanLineFunction(&ReadPhotograph, nullptr);
    if (!filter.Start()) return state.SkipWithError("the filter does not start");
    Bytes line(kPhotographRowBytes);
    const auto operation = [&] {
        for (unsigned y = 0; y < lines; ++y) filter.FilterScanline(y, line.data());
        benchmark::ClobberMemory();
    };
    const auto rival = [&] {
        for (unsigned y = 0; y < lines; ++y) {
            ReadPhotograph(nullptr, y, line.data());
            benchmark::ClobberMemory();
        }
    };
    TakeTurns(state, {1e-6 * kPhotographSide * lines, "MP/s"}, operation, "ratio_to_memcpy", rival);
}

}  // namespace bench
