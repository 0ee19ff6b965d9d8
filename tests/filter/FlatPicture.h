#pragma once
// A picture as one block of rows, and what a filter makes of it at one go: the judge of what is done tile by tile.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "convert/ZBMColorFormat.h"
#include "core/LockedTile.h"
#include "support_code/Pixels.h"
#include "zbm/CPixFilterPipeline.h"
#include "zpixf/ZPixfQuantize.h"

namespace testkit {

/// Rows padded to 32 bits, the first on top. A format with a mask has a bit for every pixel, row by row.
struct FlatPicture {
    FlatPicture(int newWidth, int newHeight, ColorFormat newFormat)
        : width(newWidth),
          height(newHeight),
          format(newFormat),
          rows(static_cast<std::size_t>(RowBytes()) * static_cast<std::size_t>(height)) {}

    int RowBytes() const { return PaddedRowBytes(width, BitsPerPixel(format)); }
    std::uint8_t* Row(int y) { return rows.data() + RowBytes() * y; }
    const std::uint8_t* Row(int y) const { return rows.data() + RowBytes() * y; }
    std::size_t Index(int x, int y) const { return static_cast<std::size_t>(width * y + x); }
    zbm::ConstPixelRows Pixels() const { return {rows.data(), format, RowBytes(), colors.data()}; }

    int width, height;
    ColorFormat format;
    std::vector<std::uint8_t> rows;
    std::vector<bool> opaque;
    std::vector<shr::Color4b> colors = std::vector<shr::Color4b>(256);
    unsigned numColors = 0;
};

/// The part of a bitmap, pixel by pixel; each tile is locked once.
inline FlatPicture Flattened(const zbm::ZBitmap& bitmap, const RECT& part) {
    const int left = static_cast<int>(part.left), top = static_cast<int>(part.top);
    FlatPicture flat(static_cast<int>(part.right) - left, static_cast<int>(part.bottom) - top, bitmap.GetColorFormat());
    if (HasMask(flat.format)) flat.opaque.resize(flat.Index(0, flat.height));
    for (int row = 0; row < bitmap.GetNumScanRectRows(); ++row)
        for (int col = 0; col < bitmap.GetNumScanRects(row); ++col) {
            const RECT box = bitmap.GetScanRectBBox(row, col);
            RECT common;
            if (!IntersectRect(&common, &box, &part)) continue;
            const zbm::LockedTile tile(bitmap, row, col);
            for (LONG y = common.top; y < common.bottom; ++y)
                for (LONG x = common.left; x < common.right; ++x) {
                    const int tileX = static_cast<int>(x - box.left), tileY = static_cast<int>(y - box.top);
                    const int flatX = static_cast<int>(x) - left, flatY = static_cast<int>(y) - top;
                    SetPixelAt(flat.Row(flatY), flatX, flat.format,
                               PixelAt(tile->GetRowPtr(tileY), tileX, flat.format));
                    if (HasMask(flat.format))
                        flat.opaque[flat.Index(flatX, flatY)] = MaskAt(tile->GetAlphaRowPtr(tileY), tileX);
                }
        }
    const shr::Color4b* colors = bitmap.GetConstColorTablePtr();
    flat.colors.assign(colors, colors + 256);
    flat.numColors = bitmap.GetNumColorTableItems();
    return flat;
}

inline FlatPicture Flattened(const zbm::ZBitmap& bitmap) {
    return Flattened(bitmap, {0, 0, bitmap.GetPixelWidth(), bitmap.GetPixelHeight()});
}

enum class Mask { isLeftOut, becomesAlpha };

inline FlatPicture AsBgra(const FlatPicture& picture, Mask mask) {
    FlatPicture bgra(picture.width, picture.height, shr::BGRA_32);
    zbm::ConvertPixels({bgra.rows.data(), bgra.format, bgra.RowBytes()}, picture.Pixels(),
                       static_cast<unsigned>(picture.width), static_cast<unsigned>(picture.height));
    if (mask == Mask::becomesAlpha)
        for (std::size_t i = 0; i < picture.opaque.size(); ++i) bgra.rows[4 * i + 3] = picture.opaque[i] ? 255 : 0;
    return bgra;
}

/// Runs a filter whose formats are set over the picture, into `result`.
inline void Filter(zpixf::ZPixFilterBase& filter, const FlatPicture& picture, FlatPicture& result) {
    const auto read = [](void* from, unsigned line, void* buffer) {
        const auto& source = *static_cast<const FlatPicture*>(from);
        std::memcpy(buffer, source.Row(static_cast<int>(line)), static_cast<std::size_t>(source.RowBytes()));
        return true;
    };
    filter.SetScanLineFunction(read, const_cast<FlatPicture*>(&picture));
    ASSERT_TRUE(filter.Start());
    for (int y = 0; y < result.height; ++y) ASSERT_TRUE(filter.FilterScanline(static_cast<unsigned>(y), result.Row(y)));
    filter.Stop();
}

inline FlatPicture FilteredBgra(zpixf::ZPixFilterBase& filter, const FlatPicture& bgra, int width, int height) {
    FlatPicture result(width, height, shr::BGRA_32);
    const auto trueColor = [](int w, int h) {
        return zpixf::ZPixFormat(static_cast<unsigned>(w), static_cast<unsigned>(h));
    };
    filter.SetInputFormat(trueColor(bgra.width, bgra.height));
    filter.SetOutputFormat(trueColor(width, height));
    Filter(filter, bgra, result);
    return result;
}

/// `like` gives the format, and how many colours to choose if that is an indexed one.
template <class Quantizer = zpixf::ZPixfQuantizeMedian5>
FlatPicture FromBgra(const FlatPicture& bgra, const FlatPicture& like) {
    FlatPicture result(bgra.width, bgra.height, like.format);
    const auto width = static_cast<unsigned>(bgra.width), height = static_cast<unsigned>(bgra.height);
    if (like.numColors == 0) {
        zbm::ConvertPixels({result.rows.data(), result.format, result.RowBytes()}, bgra.Pixels(), width, height);
        return result;
    }
    Quantizer quantizer;
    quantizer.SetInputFormat(zpixf::ZPixFormat(width, height));
    quantizer.SetOutputFormat(zpixf::ZPixFormat(width, height, 1, static_cast<unsigned>(BitsPerPixel(like.format))));
    quantizer.SetDesiredColors(like.numColors);
    Filter(quantizer, bgra, result);
    const zpixf::ZPixFormat& chosen = quantizer.GetOutputFormat();
    result.numColors = chosen.GetNumColors();
    for (unsigned i = 0; i < result.numColors; ++i) {
        const RGBQUAD& color = chosen.GetColors()[i];
        result.colors[i] = {color.rgbRed, color.rgbGreen, color.rgbBlue};
    }
    return result;
}

/// What the filter makes of the whole source at one go, for a bitmap that was `former`.
template <class Quantizer = zpixf::ZPixfQuantizeMedian5>
FlatPicture FilteredWhole(zpixf::ZPixFilterBase& filter, const FlatPicture& source, const FlatPicture& former) {
    const int type = static_cast<int>(filter.FilterType());
    const bool movesAlpha = type == 6 || type == 7 || type == 16;
    const FlatPicture bgra = FilteredBgra(filter, AsBgra(source, movesAlpha ? Mask::becomesAlpha : Mask::isLeftOut),
                                          former.width, former.height);
    FlatPicture result = FromBgra<Quantizer>(bgra, former);
    result.opaque = former.opaque;
    for (std::size_t i = 0; movesAlpha && i < result.opaque.size(); ++i) result.opaque[i] = bgra.rows[4 * i + 3] >= 128;
    return result;
}

/// Whether pixels, masks and colours are the same, those of the 256 that no pixel should have included.
inline testing::AssertionResult AreAlike(const FlatPicture& picture, const FlatPicture& expected) {
    if (picture.width != expected.width || picture.height != expected.height)
        return testing::AssertionFailure() << picture.width << " x " << picture.height << " pixels, not "
                                           << expected.width << " x " << expected.height;
    if (picture.format != expected.format || picture.numColors != expected.numColors)
        return testing::AssertionFailure()
               << "format " << FormatName(picture.format) << " of " << picture.numColors << " colours, not "
               << FormatName(expected.format) << " of " << expected.numColors;
    for (std::size_t i = 0; i < 256; ++i)
        if (picture.colors[i] != expected.colors[i]) return testing::AssertionFailure() << "colour " << i << " differs";
    for (int y = 0; y < expected.height; ++y)
        for (int x = 0; x < expected.width; ++x) {
            const std::uint32_t pixel = PixelAt(picture.Row(y), x, expected.format),
                                wanted = PixelAt(expected.Row(y), x, expected.format);
            if (pixel != wanted)
                return testing::AssertionFailure()
                       << "pixel (" << x << ", " << y << ") is " << std::hex << pixel << ", not " << wanted;
            const std::size_t i = expected.Index(x, y);
            if (!expected.opaque.empty() && picture.opaque[i] != expected.opaque[i])
                return testing::AssertionFailure() << "mask bit (" << x << ", " << y << ") differs";
        }
    return testing::AssertionSuccess();
}

/// Whether the bitmap has these pixels, masks and colours.
inline testing::AssertionResult Holds(const zbm::ZBitmap& bitmap, const FlatPicture& expected) {
    return AreAlike(Flattened(bitmap), expected);
}

}  // namespace testkit
