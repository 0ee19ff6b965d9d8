#include "pixfilter/PhotographFilter.h"

#include "harness/FilterRun.h"

namespace bench {

void FilterPhotograph(Run& run, zpixf::ZPixFilterBase& filter, int lines) {
    LineSource source{Photograph().pixels.data(), kPictureSide, kPictureSide};
    Start(filter, source, BgraFormat(kPictureSide, lines), BgraFormat(kPictureSide, lines));
    Pixels line(std::size_t{4} * kPictureSide);
    const auto operation = [&] {
        PullLines(filter, lines, line.data(), 0);
        KeepWrites();
    };
    const auto rival = [&] {
        for (unsigned y = 0; y < static_cast<unsigned>(lines); ++y) {
            LineSource::Read(&source, y, line.data());
            KeepWrites();
        }
    };
    run.TakeTurns({1e-6 * kPictureSide * lines, "MP/s"}, operation, "ratio_to_memcpy", rival);
}

}  // namespace bench
