#pragma once
// A picture in which every pixel, mask bit, colour and resolution follows from a formula, so that it can be made in one
// place and judged in another. tests/persist/read_archive.py states the same formulas in Python.
#include <gtest/gtest.h>

#include "support_code/Pixels.h"
#include "zbm/ZBasicMemBitmap.h"

namespace testkit {

inline std::uint32_t FormulaByte(int x, int y, int k) {
    return static_cast<std::uint32_t>(7 * x + 13 * y + 61 * k + x * y) & 255;
}

inline std::uint32_t FormulaPixel(ColorFormat format, int x, int y) {
    const int bits = BitsPerPixel(format);
    if (bits < 8) return FormulaByte(x, y, 0) >> (8 - bits);
    std::uint32_t value = 0;
    for (int k = bits / 8; k-- > 0;) value = value << 8 | FormulaByte(x, y, k);
    if (format == shr::BGRX_32) return value & 0x00FFFFFF;
    if (format != shr::PBGRA_32) return value;
    const std::uint32_t alpha = FormulaByte(x, y, 3);
    std::uint32_t premultiplied = alpha << 24;
    for (int k = 0; k < 3; ++k) premultiplied |= (FormulaByte(x, y, k) * alpha + 127) / 255 << (8 * k);
    return premultiplied;
}

inline bool FormulaMask(int x, int y) { return (5 * x + 3 * y + x * y) % 7 < 4; }

inline shr::Color4b FormulaColor(int i) {
    const auto byte = [](int value) { return static_cast<std::uint8_t>(value & 255); };
    return {byte(11 * i + 3), byte(7 * i + 5), byte(13 * i + 9), byte(255 - i)};
}

inline int FormulaXResolution(ColorFormat format) { return 1000 + format; }
inline int FormulaYResolution(ColorFormat format) { return 2000 + format; }

inline void FillByFormula(zbm::ZBitmap& bitmap) {
    const ColorFormat format = bitmap.GetColorFormat();
    for (int y = 0; y < bitmap.GetPixelHeight(); ++y)
        for (int x = 0; x < bitmap.GetPixelWidth(); ++x) {
            SetPixel(bitmap, x, y, FormulaPixel(format, x, y));
            if (HasMask(format)) SetMask(bitmap, x, y, FormulaMask(x, y));
        }
    std::vector<shr::Color4b> colors;
    for (int i = 0; i < TableSize(format); ++i) colors.push_back(FormulaColor(i));
    bitmap.FillColorTable(colors.data(), static_cast<unsigned>(colors.size()));
    bitmap.SetXResolution(FormulaXResolution(format));
    bitmap.SetYResolution(FormulaYResolution(format));
}

inline testing::AssertionResult HoldsFormulaPixels(const zbm::ZBitmap& bitmap) {
    const ColorFormat format = bitmap.GetColorFormat();
    for (int y = 0; y < bitmap.GetPixelHeight(); ++y)
        for (int x = 0; x < bitmap.GetPixelWidth(); ++x) {
            if (GetPixel(bitmap, x, y) != FormulaPixel(format, x, y))
                return testing::AssertionFailure() << "pixel (" << x << ", " << y << ") is " << GetPixel(bitmap, x, y)
                                                   << ", not " << FormulaPixel(format, x, y);
            if (HasMask(format) && GetMask(bitmap, x, y) != FormulaMask(x, y))
                return testing::AssertionFailure() << "mask bit (" << x << ", " << y << ") is wrong";
        }
    return testing::AssertionSuccess();
}

/// Whether pixels, masks, colours and resolutions are all those of the formula.
inline testing::AssertionResult IsFormulaPicture(const zbm::ZBitmap& bitmap) {
    const ColorFormat format = bitmap.GetColorFormat();
    if (bitmap.GetNumColorTableItems() != static_cast<unsigned>(TableSize(format)))
        return testing::AssertionFailure() << bitmap.GetNumColorTableItems() << " colours";
    for (int i = 0; i < TableSize(format); ++i)
        if (bitmap.GetColorTableItem(static_cast<unsigned>(i)) != FormulaColor(i))
            return testing::AssertionFailure() << "colour " << i << " is wrong";
    if (bitmap.GetXResolution() != FormulaXResolution(format) || bitmap.GetYResolution() != FormulaYResolution(format))
        return testing::AssertionFailure()
               << "resolution " << bitmap.GetXResolution() << " x " << bitmap.GetYResolution();
    return HoldsFormulaPixels(bitmap);
}

inline zbm::ZBasicMemBitmap FormulaBitmap(int width, int height, ColorFormat format, int tileWidth, int tileHeight) {
    zbm::ZBasicMemBitmap bitmap(width, height, format, tileWidth, tileHeight);
    FillByFormula(bitmap);
    return bitmap;
}

/// Whether two bitmaps agree in layout, pixels, masks, colours and resolutions.
inline testing::AssertionResult AreEqual(const zbm::ZBitmap& a, const zbm::ZBitmap& b) {
    const auto geometry = [](const zbm::ZBitmap& bitmap) {
        return std::vector<int>{
            bitmap.GetPixelWidth(),    bitmap.GetPixelHeight(),     bitmap.GetColorFormat(),
            bitmap.GetScanRectWidth(), bitmap.GetScanRectHeight(),  bitmap.GetXResolution(),
            bitmap.GetYResolution(),   bitmap.GetNumScanRectRows(), static_cast<int>(bitmap.GetNumColorTableItems())};
    };
    if (geometry(a) != geometry(b)) return testing::AssertionFailure() << "their geometry differs";
    for (int i = 0; i < 256; ++i)
        if (a.GetConstColorTablePtr()[i] != b.GetConstColorTablePtr()[i])
            return testing::AssertionFailure() << "colour " << i << " differs";
    for (int y = 0; y < a.GetPixelHeight(); ++y)
        for (int x = 0; x < a.GetPixelWidth(); ++x)
            if (GetPixel(a, x, y) != GetPixel(b, x, y) ||
                (HasMask(a.GetColorFormat()) && GetMask(a, x, y) != GetMask(b, x, y)))
                return testing::AssertionFailure() << "pixel (" << x << ", " << y << ") differs";
    return testing::AssertionSuccess();
}

}  // namespace testkit
