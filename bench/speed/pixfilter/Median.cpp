// The median filter alone, line by line: the source copies lines of a picture, the results go into one line's buffer.
// The rival copies the same lines.
#include "pixfilter/PhotographFilter.h"
#include "zpixf/ZPixfMedian.h"

namespace {

bench::Benchmark Median(unsigned span, int lines) {
    const std::string name = "Median/" + std::to_string(span);
    return bench::PhotographFilter<zpixf::ZPixfMedian>(
        name, [=](auto& filter) { filter.SetSpan(span); }, 5, lines);
}

[[maybe_unused]] const bool kAdded =
    bench::Add({Median(3, 4096), Median(5, 4096), Median(7, 1024), Median(15, 1024), Median(31, 1024), Median(63, 1024),
                Median(101, 1024), Median(255, 1024)});

}  // namespace
