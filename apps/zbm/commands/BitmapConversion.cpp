#include "commands/BitmapConversion.h"

#include <cstring>
#include <vector>

#include "pictures/RowConversion.h"
#include "zbm/ZPixelRect.h"

namespace tool {

namespace {

template <class Convert>
void ForEachTile(const zbm::ZBitmap& bitmap, shr::IProgress& progress, Convert convert) {
    const int rows = bitmap.GetNumScanRectRows();
    for (int row = 0; row < rows; ++row) {
        const int columns = bitmap.GetNumScanRects(row);
        for (int col = 0; col < columns; ++col) {
            progress.SetProgress((row + static_cast<double>(col) / columns) / rows);
            convert(row, col);
        }
    }
}

/// Pixels by their values alone: between formats without alpha, masks go over as they are.
class DirectConversion {
public:
    DirectConversion(const zbm::ZBitmap& from, zbm::ZBitmap& to) : source(from), result(to) {}

    void operator()(int row, int col) {
        const RECT box = source.GetScanRectBBox(row, col);
        const zbm::ZPixelRect pixels(source, box, result.GetColorFormat(), nullptr);
        if (row == 0 && col == 0) TakeColorTable(pixels);
        result.StoreRegion(pixels.GetFirstRowPtr(), pixels.GetStride(), box);
        if (HasMask(source.GetColorFormat()) && HasMask(result.GetColorFormat())) CopyMask(box);
    }

private:
    /// It depends on the two formats and the source's table only, and so is the same for all tiles.
    void TakeColorTable(const zbm::ZPixelRect& pixels) const {
        std::vector<shr::Color4b> colors;
        for (unsigned i = 0; i < pixels.GetNumColorTableItems(); ++i) colors.push_back(pixels.GetColorTableItem(i));
        if (!colors.empty()) result.FillColorTable(colors.data(), static_cast<unsigned>(colors.size()));
    }

    /// By way of alpha: the result's tiles may lie otherwise.
    void CopyMask(const RECT& box) {
        const int stride = 4 * static_cast<int>(box.right - box.left);
        alpha.resize(static_cast<std::size_t>(stride) * static_cast<std::size_t>(box.bottom - box.top));
        source.GetAlphaFromMask(alpha.data(), stride, box, 4);
        result.SetMaskFromAlpha(alpha.data(), stride, box);
    }

    const zbm::ZBitmap& source;
    zbm::ZBitmap& result;
    std::vector<unsigned char> alpha;
};

/// By way of straight alpha: the mask becomes alpha, colours are multiplied by it or not as the formats want, and alpha
/// becomes the mask.
void ConvertWithAlpha(const zbm::ZBitmap& source, zbm::ZBitmap& result, const RECT& box) {
    const zbm::ZPixelRect from(source, box, shr::BGRA_32, nullptr);
    zbm::ZPixelRect to(result, box, shr::BGRA_32, nullptr);
    std::memcpy(to.GetFirstRowPtr(), from.GetFirstRowPtr(), std::size_t{4} * from.GetWidth() * from.GetHeight());
    to.CommitPixels(nullptr);
}

/// Whether indices come from the source's values without a choice of colours: grey levels index a ramp, and indices a
/// table that is no smaller.
bool GivesIndices(shr::ColorFormat source, shr::ColorFormat indexed) {
    return IsGrey(source) || (IsIndexed(source) && source <= indexed);
}

}  // namespace

BitmapPtr ConvertBitmap(const zbm::ZBitmap& source, shr::ColorFormat format,
                        const std::optional<zbm::IndexedColors>& colors, Workplace& place, shr::IProgress& progress) {
    const shr::ColorFormat from = source.GetColorFormat();
    BitmapPtr result = place.Make(BlankLike(source, format));
    const shr::CScopedIProgressTask task(&progress, L"Converting pixels...");
    if (IsIndexed(format) && (colors || !GivesIndices(from, format))) {
        zbm::ConvertToIndexed(source, *result, colors.value_or(zbm::IndexedColors()), &progress);
    } else if (from == format || (HasMask(from) && HasMask(format))) {
        ForEachTile(source, progress, DirectConversion(source, *result));
    } else {
        ForEachTile(source, progress,
                    [&](int row, int col) { ConvertWithAlpha(source, *result, source.GetScanRectBBox(row, col)); });
    }
    return result;
}

}  // namespace tool
