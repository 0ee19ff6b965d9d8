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
    /// Whether a line of even number and the next go faster together, with the same results.
    virtual bool LikesPairs() const { return false; }
    /// Lines `line` and `line` + 1.
    virtual void DitherPair(unsigned line, const DitheredLine& first, const DitheredLine& second) {
        Dither(line, first.pixels, first.indices);
        Dither(line + 1, second.pixels, second.indices);
    }
    /// Gives the palette index of each pixel (B, G, R, A) of the line.
    virtual void Dither(unsigned line, const std::uint8_t* pixels, std::uint8_t* indices) = 0;
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
