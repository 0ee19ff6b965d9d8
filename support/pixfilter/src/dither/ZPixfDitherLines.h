#pragma once
// What the ditherers do to a line, once formats and palette are settled.
#include <cstddef>
#include <cstdint>
#include <memory>

#include "gdi/gdi.h"

namespace zpixf {

struct DitheredLine {
    const std::uint8_t* pixels;
    std::uint8_t* indices;
};

class LineDitherer {
public:
    virtual ~LineDitherer() = default;
    /// How many lines, from a multiple of it on, go faster together, with the same results.
    virtual unsigned LinesAtOnce() const { return 1; }
    /// Gives the palette index of each pixel (B, G, R, A) of lines from number `line` on, LinesAtOnce() at most and
    /// none beyond the next multiple of it. They follow those given before, or begin anew.
    virtual void Dither(unsigned line, const DitheredLine* lines, unsigned count, bool follow) = 0;
};

/// `numEntries` is 1 to 256, `strength` 0 to 1. Lines of `width` pixels are given in any order. These may raise
/// std::bad_alloc.
std::unique_ptr<LineDitherer> MakeOrderedDitherer(const RGBQUAD* entries, unsigned numEntries, std::size_t width,
                                                  double strength);
std::unique_ptr<LineDitherer> MakeBlueNoiseDitherer(const RGBQUAD* entries, unsigned numEntries, std::size_t width,
                                                    double strength);
std::unique_ptr<LineDitherer> MakeDiffuseDitherer(const RGBQUAD* entries, unsigned numEntries, std::size_t width,
                                                  double strength);

}  // namespace zpixf
