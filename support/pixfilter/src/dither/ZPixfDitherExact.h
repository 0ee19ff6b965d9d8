#pragma once
#include <cstdint>
#include <vector>

#include "gdi/gdi.h"

namespace zpixf {

/// The colour of a pixel of 4 bytes in the form of PackedColor.
inline std::uint32_t PixelColor(const std::uint8_t* pixel) {
    return pixel[0] | static_cast<std::uint32_t>(pixel[1]) << 8 | static_cast<std::uint32_t>(pixel[2]) << 16;
}

/// Tells whether a colour is one of the palette's, in one look: a table hashed without collisions.
class ExactColors {
public:
    ExactColors(const RGBQUAD* entries, unsigned count);

    /// The first entry of the colour (0x00RRGGBB), or -1.
    int Find(std::uint32_t color) const {
        const std::uint32_t slot = slots[color * factor >> shift];
        return (slot & 0xFFFFFF) == color ? static_cast<int>(slot >> 24) : -1;
    }

    /// The colour in a slot's low 24 bits, its index above. A slot without a colour of its own holds entry 0, which a
    /// look-up then finds there only if it looked for just that.
    std::vector<std::uint32_t> slots;
    std::uint32_t factor = 1;
    unsigned shift = 0;

private:
    bool TryToPlace(const RGBQUAD* entries, unsigned count);
};

}  // namespace zpixf
