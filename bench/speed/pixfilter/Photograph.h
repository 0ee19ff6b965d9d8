#pragma once
// The picture on which filters are measured, and its lines as a filter pulls them.
#include <cstdint>
#include <vector>

#include "Benchmark.h"
#include "zpixf/ZPixFilterBase.h"

namespace bench {

inline constexpr unsigned kPhotographSide = 4096;
inline constexpr std::size_t kPhotographRowBytes = std::size_t{4} * kPhotographSide;

/// photo.bgra, 4096 x 4096 pixels of B, G, R, A from the top row on, of the folder that ZBM_PICTURES names; without the
/// variable, slow waves under a little noise. Raises std::runtime_error if the file is not there or too short.
const std::vector<std::uint8_t>& Photograph();

/// For SetScanLineFunction: copies line `line` of the photograph.
bool ReadPhotograph(void* unused, unsigned line, void* buffer);

/// Runs the filter over the first `lines` lines of the photograph, line by line into one buffer, against copying these
/// lines.
void FilterPhotograph(benchmark::State& state, zpixf::ZPixFilterBase& filter, unsigned lines = kPhotographSide);

}  // namespace bench
