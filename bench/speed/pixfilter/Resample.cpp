// The resampling filters alone, line by line: one picture after another of the size that the name tells, the lines
// copied from a picture in memory, the results to one line that is used again. Against memcpy of the input's bytes, or
// of the output's where the picture grows: those are also the pixels that are counted.
#include <algorithm>
#include <memory>
#include <string>

#include "Benchmark.h"
#include "harness/FilterRun.h"
#include "zpixf/ZPixfResize.h"

namespace {

using bench::kPictureSide;
using FilterPointer = std::unique_ptr<zpixf::ZPixFilterBase>;

enum class Alpha { opaque, varied };

FilterPointer Nearest() { return std::make_unique<zpixf::ZPixfResize>(); }
FilterPointer Bilinear() { return std::make_unique<zpixf::ZPixfResizeBilinear>(); }
FilterPointer Bicubic() { return std::make_unique<zpixf::ZPixfResizeBicubic>(); }

struct Case {
    const char* name;
    FilterPointer (*make)();
    int from, to;
    Alpha alpha = Alpha::opaque;
    int lines = kPictureSide;  ///< of the input that there are; with fewer, they come round again and stay in the cache
};

const Case kCases[] = {
    {"half/4096_to_2048", Bilinear, 4096, 2048},
    {"half/4096_to_2048_in_cache", Bilinear, 4096, 2048, Alpha::opaque, 16},
    {"half/4096_to_2048_alpha", Bilinear, 4096, 2048, Alpha::varied},
    {"bilinear/4096_to_1531", Bilinear, 4096, 1531},
    {"bilinear/4096_to_1531_alpha", Bilinear, 4096, 1531, Alpha::varied},
    {"bilinear/4096_to_31", Bilinear, 4096, 31},
    {"bilinear/1024_to_4096", Bilinear, 1024, 4096},
    {"bicubic/4096_to_1531", Bicubic, 4096, 1531},
    {"bicubic/4096_to_1531_alpha", Bicubic, 4096, 1531, Alpha::varied},
    {"bicubic/4096_to_31", Bicubic, 4096, 31},
    {"bicubic/1024_to_4096", Bicubic, 1024, 4096},
    {"bicubic/1024_to_4096_alpha", Bicubic, 1024, 4096, Alpha::varied},
    {"nearest/4096_to_1531", Nearest, 4096, 1531},
    {"nearest/4096_to_1531_in_cache", Nearest, 4096, 1531, Alpha::opaque, 16},
    {"nearest/1024_to_4096", Nearest, 1024, 4096},
};

bench::Square SourceOf(const Case& which) {
    bench::Square source = CutSquare(bench::Photograph(), which.from);
    if (which.alpha == Alpha::varied)
        for (std::size_t i = 3; i < source.pixels.size(); i += 4) source.pixels[i] = static_cast<std::uint8_t>(i / 64);
    return source;
}

void Resize(bench::Run& run, const Case& which) {
    const bench::Square picture = SourceOf(which);
    bench::LineSource source{picture.pixels.data(), which.from,
                             static_cast<unsigned>(std::min(which.lines, which.from))};
    const FilterPointer filter = which.make();
    Start(*filter, source, bench::BgraFormat(which.from, which.from), bench::BgraFormat(which.to, which.to));
    bench::Pixels line(std::size_t{4} * static_cast<unsigned>(which.to));
    const auto operation = [&] {
        bench::PullLines(*filter, which.to, line.data(), 0);
        bench::KeepWrites();
    };
    const double side = std::max(which.from, which.to);
    run.TakeTurns({side * side / 1e6, "MP/s"}, operation, static_cast<std::size_t>(4 * side * side));
}

[[maybe_unused]] const bool kAdded = [] {
    for (const Case& which : kCases)
        bench::Add({{std::string("resize/") + which.name, 7, [&which](bench::Run& run) { Resize(run, which); }}});
    return true;
}();

}  // namespace
