#include "device/DibExport.h"

#include <algorithm>

#include "convert/ConvertRows.h"

namespace zbm {
namespace {

/// Whether a channel of any pixel is above its alpha.
bool HasChannelAboveAlpha(const std::uint8_t* pbgra, int width) {
    unsigned above = 0;
    for (int x = 0; x < width; ++x, pbgra += 4)
        above |= static_cast<unsigned>((pbgra[0] > pbgra[3]) | (pbgra[1] > pbgra[3]) | (pbgra[2] > pbgra[3]));
    return above != 0;
}

/// Conversion keeps the low 8 bits of what exceeds a byte. Of pixels without alpha the channels are no such thing.
void Saturate(std::uint8_t* bgrx, const std::uint8_t* pbgra, int width) {
    for (int x = 0; x < width; ++x, bgrx += 4, pbgra += 4)
        for (int k = 0; k < 3; ++k)
            if (pbgra[3] != 0 && pbgra[k] > pbgra[3]) bgrx[k] = 255;
}

}  // namespace

BITMAPINFOHEADER DibHeader(shr::ColorFormat format, int width, int height, int xResolution, int yResolution,
                           unsigned numColors) noexcept {
    BITMAPINFOHEADER header{};
    header.biSize = sizeof header;
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = static_cast<WORD>(shr::ColorFmtToDibBPP[format]);
    header.biCompression = BI_RGB;
    header.biXPelsPerMeter = xResolution;
    header.biYPelsPerMeter = yResolution;
    header.biClrUsed = numColors;
    return header;
}

DibTable::DibTable(shr::ColorFormat format, const shr::Color4b* colors, unsigned numColors) noexcept
    : room{}, entries(nullptr) {
    const shr::ColorFormatTraits& traits = shr::TraitsOf(format);
    if (traits.IsIndexed()) {
        if (colors != nullptr) shr::CopyColor4bToRGBQUAD(room, colors, std::min(numColors, 256u), false);
        entries = room;
    } else if (traits.IsGrey()) {
        entries = traits.dibBitsPerPixel == 1   ? shr::GRAYSCALE_1_RGBQUADTable
                  : traits.dibBitsPerPixel == 4 ? shr::GRAYSCALE_4_RGBQUADTable
                                                : shr::GRAYSCALE_8_RGBQUADTable;
    }
}

void ExportPixels(const PixelRows& dst, const ConstPixelRows& src, int width, int height, shr::CopyWrites writes) {
    ConvertRows(dst, src, static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), writes);
    if (src.format != shr::PBGRA_32) return;
    for (int y = 0; y < height; ++y) {
        const std::uint8_t* const row = src.first + static_cast<std::ptrdiff_t>(src.stride) * y;
        if (HasChannelAboveAlpha(row, width))
            Saturate(dst.first + static_cast<std::ptrdiff_t>(dst.stride) * y, row, width);
    }
}

}  // namespace zbm
