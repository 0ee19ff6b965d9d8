#pragma once
#include <cstdint>

#include "gdi/gdi.h"
#include "zpixf/Export.h"

namespace zpixf {

/// The shape of the lines that a filter takes or gives: size in pixels, channels a pixel, bits a channel, and for
/// indexed lines the palette.
class ZPIXF_API ZPixFormat {
public:
    static constexpr unsigned kMaxColors = 256;

    /// The palette is to have `newColors` entries; which they are is still open.
    explicit ZPixFormat(unsigned newWidth = 0, unsigned newHeight = 0, unsigned newChannels = 4,
                        unsigned newBitsPerChannel = 8, unsigned newColors = 0) noexcept;

    unsigned GetWidth() const noexcept { return width; }
    unsigned GetHeight() const noexcept { return height; }
    unsigned GetChannels() const noexcept { return channels; }
    unsigned GetBitsPerChannel() const noexcept { return bitsPerChannel; }
    unsigned GetNumColors() const noexcept { return numColors; }
    /// The first of always 256 entries, those not in use being black; null unless a palette was given, for a count
    /// alone is none.
    const RGBQUAD* GetColors() const noexcept { return hasPalette && numColors != 0 ? colors : nullptr; }

    void SetWidth(unsigned value) noexcept { width = value; }
    void SetHeight(unsigned value) noexcept { height = value; }
    void SetChannels(unsigned value) noexcept { channels = value; }
    void SetBitsPerChannel(unsigned value) noexcept { bitsPerChannel = value; }
    /// Sets how many entries are in use, at most 256; entries that come into use are black. 0 drops the palette.
    void SetNumColors(unsigned value) noexcept;
    /// Takes `count` entries (at most 256) for the palette.
    void FillColorTable(unsigned count, const RGBQUAD* entries) noexcept;

private:
    std::uint32_t width, height, channels, bitsPerChannel;
    std::uint32_t numColors = 0;
    bool hasPalette = false;
    RGBQUAD colors[kMaxColors] = {};
};

}  // namespace zpixf
