#pragma once
// DIBs pixel by pixel, and what each of a bitmap's pixels is to become in one, in the plainest words.
#include <algorithm>

#include "shr/Dib.h"
#include "support_code/FormulaPicture.h"
#include "support_code/Pixels.h"

namespace testkit {

/// Row 0 is the DIB's top one.
inline std::uint32_t DibPixel(const shr::CDib& dib, int x, int y) {
    const auto* row =
        static_cast<const std::uint8_t*>(dib.GetBits()) + std::ptrdiff_t{dib.GetStride()} * (dib.GetHeight() - 1 - y);
    switch (dib.GetBitCount()) {
        case 1: return PixelAt(row, x, shr::GRAYSCALE_1);
        case 4: return PixelAt(row, x, shr::GRAYSCALE_4);
        case 8: return PixelAt(row, x, shr::GRAYSCALE_8);
        case 24: return PixelAt(row, x, shr::BGR_24);
        default: return PixelAt(row, x, shr::BGRA_32);
    }
}

inline std::uint32_t Straight(std::uint32_t pbgra) {
    const std::uint32_t alpha = pbgra >> 24;
    std::uint32_t straight = 0;
    for (int k = 0; k < 3; ++k) {
        const std::uint32_t value = pbgra >> (8 * k) & 255;
        straight |= (alpha == 0 ? value : std::min(255u, value * 255 / alpha)) << (8 * k);
    }
    return straight;
}

inline std::uint32_t SwappedRedAndBlue(std::uint32_t pixel) {
    return (pixel & 0xFF00FF00) | (pixel & 255) << 16 | (pixel >> 16 & 255);
}

/// What a pixel of a bitmap becomes in the DIB of a rectangle.
inline std::uint32_t FetchedPixel(ColorFormat format, std::uint32_t value) {
    switch (format) {
        case shr::GRAYSCALE_16: return value >> 8;
        case shr::GRAYSCALE_32: return value >> 24;
        case shr::BGRA_32: return value & 0x00FFFFFF;
        case shr::RGBA_32: return SwappedRedAndBlue(value) & 0x00FFFFFF;
        case shr::PBGRA_32: return Straight(value);
        default: return value;
    }
}

constexpr int DibBits(ColorFormat format) {
    constexpr int kBits[] = {0, 1, 4, 8, 8, 8, 1, 4, 8, 24, 32, 32, 32, 32};
    return kBits[format];
}

/// Whether the header is that of a bottom-up DIB of the format.
inline testing::AssertionResult HasHeader(const shr::CDib& dib, ColorFormat format, int width, int height,
                                          int xResolution, int yResolution, unsigned colors) {
    const BITMAPINFOHEADER& h = dib.GetDib()->bmiHeader;
    if (h.biSize == 40 && h.biWidth == width && h.biHeight == height && h.biPlanes == 1 &&
        h.biBitCount == DibBits(format) && h.biCompression == 0 && h.biXPelsPerMeter == xResolution &&
        h.biYPelsPerMeter == yResolution && h.biClrUsed == colors && h.biClrImportant == 0)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << h.biWidth << " x " << h.biHeight << ", " << h.biBitCount << " bits, "
                                       << h.biXPelsPerMeter << " x " << h.biYPelsPerMeter << ", " << h.biClrUsed;
}

/// Whether the table is that of the format, of the formula's colours if it is an indexed one.
inline testing::AssertionResult HasTable(const shr::CDib& dib, ColorFormat format) {
    const int colors = DibBits(format) <= 8 ? 1 << DibBits(format) : 0;
    if (dib.GetNumColors() != static_cast<unsigned>(colors))
        return testing::AssertionFailure() << dib.GetNumColors() << " colours";
    for (int i = 0; i < colors; ++i) {
        const auto grey = static_cast<std::uint8_t>(i * 255 / (colors - 1));
        const shr::Color4b expected = TableSize(format) != 0 ? FormulaColor(i) : shr::Color4b(grey, grey, grey);
        const RGBQUAD& found = dib.GetColors()[i];
        if (found.rgbRed != expected.red || found.rgbGreen != expected.green || found.rgbBlue != expected.blue ||
            found.rgbReserved != 0)
            return testing::AssertionFailure() << "colour " << i;
    }
    return testing::AssertionSuccess();
}

}  // namespace testkit
