#pragma once
// The work per pixel of drawing, compiled once per instruction-set level. Every level gives the same bytes.
//
// Wide pixels are blue, green, red and alpha in 16 bits each: colours multiplied by alpha, all in units of 1/255, so
// that an opaque white is four times 65025. No colour and alpha of 8 bits loses anything by becoming one.
//
// Declarations only: the kernels' files include this, and must bring no code with weak linkage.
#include <cstddef>
#include <cstdint>

#include "draw/FineKernels.h"

namespace zbm {

/// What is copied next, which is brought near meanwhile; the same again if nothing is.
struct CopyAhead {
    const std::uint8_t* src;
    const std::uint8_t* dst;
};

struct DrawKernels {
    /// Copies up to `count` pixels of 4 bytes, with the bits of `alpha` set in each, until some are not opaque. Gives
    /// how many, from the first on, are copied; behind them nothing is written.
    std::size_t (*copyOpaque)(std::uint8_t* dst, const std::uint8_t* src, std::uint32_t alpha, std::size_t count,
                              CopyAhead ahead);
    /// Whether the fourth byte of each of `count` pixels is 255.
    bool (*isOpaque)(const std::uint8_t* pixels, std::size_t count);
    /// The pixels of 4 bytes of a line that `index` names in rising order; the line starts at the bitmap's pixel
    /// `origin`.
    void (*gather)(std::uint8_t* dst, const std::uint8_t* line, std::int32_t origin, const std::int32_t* index,
                   std::size_t count);
    /// BGRA, straight or premultiplied, as wide pixels.
    void (*widen)(std::uint16_t* wide, const std::uint8_t* pixels, std::size_t count);
    void (*widenPremultiplied)(std::uint16_t* wide, const std::uint8_t* pixels, std::size_t count);
    bool (*isOpaqueWide)(const std::uint16_t* wide, std::size_t count);
    /// Opaque wide pixels, rounded to nearest.
    void (*narrow)(std::uint8_t* surface, const std::uint16_t* wide, std::size_t count);
    /// Draws wide pixels over those of a surface: each channel is the exact sum, rounded to nearest.
    void (*drawOverBgrx)(std::uint8_t* surface, const std::uint16_t* wide, std::size_t count);
    void (*drawOverBgra)(std::uint8_t* surface, const std::uint16_t* wide, std::size_t count);
    void (*drawOverPbgra)(std::uint8_t* surface, const std::uint16_t* wide, std::size_t count);
    FineKernels fine;
};

extern const DrawKernels kBaseDrawKernels, kAvx2DrawKernels, kAvx512DrawKernels;

/// The kernels in use, chosen once per process.
const DrawKernels& ActiveDrawKernels() noexcept;

}  // namespace zbm
