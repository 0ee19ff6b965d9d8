// The median filter alone, line by line: the source copies lines of a picture, the results go into one line's buffer.
// The rival copies the same lines.
#include "pixfilter/Photograph.h"
#include "zpixf/ZPixfMedian.h"

namespace {

/// The first `lines` lines of the picture.
void Median(benchmark::State& state, unsigned span, unsigned lines) {
    zpixf::ZPixfMedian filter;
    filter.SetSpan(span);
    bench::FilterPhotograph(state, filter, lines);
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
