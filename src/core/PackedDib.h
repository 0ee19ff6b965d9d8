#pragma once
#include <cstddef>
#include <cstdint>

#include "gdi/gdi.h"

namespace zbm {

/// The parts of a packed DIB: the table of colours behind the 40 bytes of the header, null if there is none, and behind
/// header, masks and table the bits. All within the DIB's memory, which is neither looked at nor checked.
struct PackedDib {
    const BITMAPINFOHEADER* header;
    const RGBQUAD* colors;
    const void* bits;

    explicit PackedDib(const BITMAPINFO& dib) noexcept : header(&dib.bmiHeader) {
        const auto* const start = reinterpret_cast<const std::uint8_t*>(&dib);
        const std::size_t count = CountColors(*header), masks = header->biCompression == BI_BITFIELDS ? 3 : 0;
        colors = count == 0 ? nullptr : reinterpret_cast<const RGBQUAD*>(start + sizeof(BITMAPINFOHEADER));
        bits = start + header->biSize + sizeof(RGBQUAD) * (count + masks);
    }

    static std::size_t CountColors(const BITMAPINFOHEADER& header) noexcept {
        if (header.biClrUsed != 0 || header.biBitCount > 8) return header.biClrUsed;
        return std::size_t{1} << header.biBitCount;
    }
};

}  // namespace zbm
