#pragma once
#include <array>

#include "gdi/gdi.h"
#include "zpixf/ZPixFormat.h"

namespace zpixf {

/// A palette that ditherers use when they are given none.
struct FixedPalette {
    unsigned count = 0;
    std::array<RGBQUAD, ZPixFormat::kMaxColors> entries{};
};

/// The fixed palette of 2, 16 or 256 entries, whichever is the largest of at most `count`; an empty one for a count
/// below 2. Each contains black and white, and those of 16 and 256 entries all corners of the cube of colours.
FixedPalette FixedPaletteOf(unsigned count);

}  // namespace zpixf
