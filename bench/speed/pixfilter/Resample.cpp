// The resampling filters alone, line by line: one picture after another of the size that the name tells, the lines
// copied from a picture in memory, the results to one line that is used again. Against memcpy of the input's bytes, or
// of the output's where the picture grows: those are also the pixels that are counted.
#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

#include "pixfilter/Photograph.h"
#include "zpixf/ZPixfResize.h"

namespace {

using zpixf::ZPixFilterBase;

constexpr unsigned kSide = bench::kPhotographSide;

enum class Alpha { opaque, varied };

/// The upper left part of the picture. In a band, a few of its lines stand for all, and stay in the cache.
struct Source {
    unsigned width, lines;
    std::vector<std::uint8_t> pixels;

    Source(unsigned newWidth, unsigned newLines, Alpha alpha) : width(newWidth), lines(newLines) {
        pixels.resize(std::size_t{4} * width * lines);
        for (unsigned y = 0; y < lines; ++y)
            std::memcpy(&pixels[std::size_t{4} * width * y], &bench::Photograph()[std::size_t{4} * kSide * y],
                        std::size_t{4} * width);
        for (std::size_t i = 3; i < pixels.size(); i += 4)
            pixels[i] = alpha == Alpha::opaque ? 255 : static_cast<std::uint8_t>(i / 64);
    }
    static bool Read(void* userData, unsigned line, void* buffer) {
        const auto& source = *static_cast<const Source*>(userData);
        const std::size_t bytes = std::size_t{4} * source.width;
        std::memcpy(buffer, &source.pixels[line % source.lines * bytes], bytes);
        return true;
    }
};

std::unique_ptr<ZPixFilterBase> Bicubic(int mode) {
    auto filter = std::make_unique<zpixf::ZPixfResizeBicubic>();
    filter->SetMode(mode);
    return filter;
}

struct Case {
    const char* name;
    std::unique_ptr<ZPixFilterBase> (*make)();
    unsigned from, to;
    Alpha alpha = Alpha::opaque;
    unsigned lines = kSide;  ///< of the input that there are; with fewer, they come round again
};

const Case kCases[] = {
    {"half/4096_to_2048", [] { return std::unique_ptr<ZPixFilterBase>(new zpixf::ZPixfResizeBilinear); }, 4096, 2048},
    {"half/4096_to_2048_in_cache", [] { return std::unique_ptr<ZPixFilterBase>(new zpixf::ZPixfResizeBilinear); }, 4096,
     2048, Alpha::opaque, 16},
    {"half/4096_to_2048_alpha", [] { return std::unique_ptr<ZPixFilterBase>(new zpixf::ZPixfResizeBilinear); }, 4096,
     2048, Alpha::varied},
    {"bilinear/4096_to_1531", [] { return std::unique_ptr<ZPixFilterBase>(new zpixf::ZPixfResizeBilinear); }, 4096,
     1531},
    {"bilinear/4096_to_1531_alpha", [] { return std::unique_ptr<ZPixFilterBase>(new zpixf::ZPixfResizeBilinear); },
     4096, 1531, Alpha::varied},
    {"bilinear/4096_to_31", [] { return std::unique_ptr<ZPixFilterBase>(new zpixf::ZPixfResizeBilinear); }, 4096, 31},
    {"bilinear/1024_to_4096", [] { return std::unique_ptr<ZPixFilterBase>(new zpixf::ZPixfResizeBilinear); }, 1024,
     4096},
    {"bicubic/4096_to_1531", [] { return Bicubic(0); }, 4096, 1531},
    {"bicubic/4096_to_1531_alpha", [] { return Bicubic(0); }, 4096, 1531, Alpha::varied},
    {"bicubic/4096_to_31", [] { return Bicubic(0); }, 4096, 31},
    {"bicubic/1024_to_4096", [] { return Bicubic(0); }, 1024, 4096},
    {"bicubic/1024_to_4096_alpha", [] { return Bicubic(0); }, 1024, 4096, Alpha::varied},
    {"nearest/4096_to_1531", [] { return std::unique_ptr<ZPixFilterBase>(new zpixf::ZPixfResize); }, 4096, 1531},
    {"nearest/4096_to_1531_in_cache", [] { return std::unique_ptr<ZPixFilterBase>(new zpixf::ZPixfResize); }, 4096,
     1531, Alpha::opaque, 16},
    {"nearest/1024_to_4096", [] { return std::unique_ptr<ZPixFilterBase>(new zpixf::ZPixfResize); }, 1024, 4096},
};

void Resize(benchmark::State& state, const Case& which) {
    Source source(which.from, std::min(which.lines, which.from), which.alpha);
    const auto filter = which.make();
    filter->SetInputFormat(zpixf::ZPixFormat(which.from, which.from));
    filter->SetOutputFormat(zpixf::ZPixFormat(which.to, which.to));
    filter->SetScanLineFunction(&Source::Read, &source);
    if (!filter->Start()) return state.SkipWithError("the filter does not start");
    std::vector<std::uint8_t> line(std::size_t{4} * which.to);
    const auto operation = [&] {
        for (unsigned y = 0; y < which.to; ++y) filter->FilterScanline(y, line.data());
        benchmark::DoNotOptimize(line.data());
    };
    const std::size_t counted = std::size_t{std::max(which.from, which.to)} * std::max(which.from, which.to);
    const bench::Copy copy(4 * counted);
    bench::TakeTurns(state, {static_cast<double>(counted) / 1e6, "MP/s"}, operation, "ratio_to_memcpy",
                     [&] { copy(); });
}

const bool kRegistered = [] {
    for (const Case& which : kCases)
        benchmark::RegisterBenchmark((std::string("resize/") + which.name).c_str(),
                                     [&which](benchmark::State& state) { Resize(state, which); })
            ->UseManualTime()
            ->Iterations(7);
    return true;
}();

}  // namespace
