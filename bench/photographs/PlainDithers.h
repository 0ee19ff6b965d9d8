#pragma once
// Dithers as their authors describe them, in plain words: what ours are judged by.
#include <cstdint>
#include <vector>

#include "gdi/gdi.h"
#include "harness/Pictures.h"

namespace photographs {

using Palette = std::vector<RGBQUAD>;
using Indices = std::vector<std::uint8_t>;

/// T. Knoll's pattern dithering (US patent 6606166, expired): for 64 thresholds, each time the entry nearest to the
/// colour and a quarter of the errors so far; sorted by luma, the pixel gets that of its place in Bayer's matrix.
Indices KnollsPattern(const bench::Square& bgra, const Palette& palette);

/// Error diffusion (R. W. Floyd, L. Steinberg, 1976), each line from the left; values are clamped to the cube.
Indices FloydSteinberg(const bench::Square& bgra, const Palette& palette);

}  // namespace photographs
