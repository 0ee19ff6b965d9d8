#pragma once
#include "Benchmark.h"
#include "zpixf/ZPixFilterBase.h"

namespace bench {

/// Runs the filter over the first `lines` lines of the photograph, line by line into one buffer, against copying these
/// lines.
void FilterPhotograph(Run& run, zpixf::ZPixFilterBase& filter, int lines);

/// A row for a filter that `setUp` prepares.
template <class Filter, class SetUp>
Benchmark PhotographFilter(const std::string& name, SetUp setUp, int rounds = 9, int lines = 4096) {
    return {name, rounds, [=](Run& run) {
                Filter filter;
                setUp(filter);
                FilterPhotograph(run, filter, lines);
            }};
}

}  // namespace bench
