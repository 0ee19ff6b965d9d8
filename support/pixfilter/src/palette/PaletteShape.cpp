#include "palette/PaletteShape.h"

#include <algorithm>

namespace zpixf {
namespace {

constexpr unsigned kCorners = 8;

/// The number of the corner that a colour is, black first and white last; kCorners for others.
unsigned CornerOf(const RGBQUAD& color) {
    unsigned corner = 0;
    for (const unsigned channel : {color.rgbRed, color.rgbGreen, color.rgbBlue}) {
        if (channel != 0 && channel != 255) return kCorners;
        corner = corner << 1 | (channel & 1);
    }
    return corner;
}

/// A bit for each corner among the entries, and one for all others.
unsigned Corners(const RGBQUAD* entries, unsigned count) {
    unsigned corners = 0;
    for (unsigned i = 0; i < count; ++i) corners |= 1u << CornerOf(entries[i]);
    return corners;
}

bool Have(const RGBQUAD* entries, unsigned count, unsigned corners) {
    return (Corners(entries, count) & corners) == corners;
}

}  // namespace

bool AreGreys(const RGBQUAD* entries, unsigned count) {
    return std::all_of(entries, entries + count, [](const RGBQUAD& color) {
        return color.rgbBlue == color.rgbGreen && color.rgbGreen == color.rgbRed;
    });
}

bool HaveAllCorners(const RGBQUAD* entries, unsigned count) { return Have(entries, count, (1u << kCorners) - 1); }

bool HaveBlackAndWhite(const RGBQUAD* entries, unsigned count) {
    return Have(entries, count, 1u | 1u << (kCorners - 1));
}

}  // namespace zpixf
