#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "gdi/gdi.h"
#include "zpixf/ZPixFormat.h"

namespace zpixf {

/// What quantisers and ditherers give: lines of indices of 1, 4 or 8 bits, or of pixels of a palette's colours.
class IndexedLines {
public:
    /// Lines of that format, if these are such.
    static std::optional<IndexedLines> Of(const ZPixFormat& format);

    /// How many entries an index tells apart.
    unsigned MostColors() const { return 1u << bits; }
    bool AreColors() const { return areColors; }
    /// Whether a line is nothing but its indices, a byte each: then they may be made where it lies, and are stored.
    bool AreIndexBytes() const { return !areColors && bits == 8; }

    void SetPalette(const RGBQUAD* entries, unsigned count);
    /// Makes a line of indices. Colours take the alpha of `pixels`, which may be the line itself; bits of a packed
    /// line's last byte beyond its pixels stay.
    void Store(const std::uint8_t* indices, const std::uint8_t* pixels, std::size_t count, std::uint8_t* line) const;

private:
    IndexedLines(bool givesColors, unsigned indexBits) : areColors(givesColors), bits(indexBits) {}

    bool areColors;
    unsigned bits;                                               ///< of an index
    std::array<std::uint32_t, ZPixFormat::kMaxColors> colors{};  ///< of the palette, for lines of colours
};

}  // namespace zpixf
