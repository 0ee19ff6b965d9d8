#pragma once
// What a bitmap's formats become in a DIB.
#include <cstdint>

#include "gdi/gdi.h"
#include "shr/Color4b.h"
#include "shr/ColorFormat.h"
#include "shr/CopyPixelRows.h"
#include "zbm/PixelRows.h"

namespace zbm {

/// The format of a DIB's rows: its own, or what is left of more than a DIB can say.
constexpr shr::ColorFormat DibRowFormat(shr::ColorFormat format) noexcept {
    switch (format) {
        case shr::GRAYSCALE_16:
        case shr::GRAYSCALE_32: return shr::GRAYSCALE_8;
        case shr::BGRA_32:
        case shr::RGBA_32:
        case shr::PBGRA_32: return shr::BGRX_32;
        default: return format;
    }
}

/// Bottom-up and uncompressed.
BITMAPINFOHEADER DibHeader(shr::ColorFormat format, int width, int height, int xResolution, int yResolution,
                           unsigned numColors) noexcept;

/// The table for a DIB of a format: greys, the colours given, or none.
class DibTable {
public:
    /// `colors` may be null.
    DibTable(shr::ColorFormat format, const shr::Color4b* colors, unsigned numColors) noexcept;
    DibTable(const DibTable&) = delete;
    DibTable& operator=(const DibTable&) = delete;

    const RGBQUAD* Entries() const noexcept { return entries; }

private:
    RGBQUAD room[256];  ///< as many as a DIB can ask for, whatever the number of colours
    const RGBQUAD* entries;
};

/// Converts rows to the format of a DIB's rows, or RGBA_32 to BGRA_32. A straight colour above 255, which no valid
/// premultiplied pixel has, becomes 255. What is streamed is seen by others after shr::FinishCopyWrites.
void ExportPixels(const PixelRows& dst, const ConstPixelRows& src, int width, int height, shr::CopyWrites writes);

}  // namespace zbm
