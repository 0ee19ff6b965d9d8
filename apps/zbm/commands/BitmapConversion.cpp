#include "commands/BitmapConversion.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "pictures/RowConversion.h"
#include "pictures/TileRows.h"
#include "zbm/CPixFilterPipeline.h"
#include "zbm/ZBasicMemBitmap.h"
#include "zbm/ZPixelRect.h"
#include "zpixf/MakeQuantizer.h"

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

/// The lines of a bitmap as straight BGRA, for filters; some are held at a time.
class BgraLines {
public:
    BgraLines(const zbm::ZBitmap& from, unsigned passes, shr::IProgress& target)
        : source(from),
          progress(target),
          bandHeight(BandHeightFor(from)),
          allLines(1.0 * passes * from.GetPixelHeight()) {}

    static bool Pull(void* lines, unsigned line, void* buffer) {
        auto& self = *static_cast<BgraLines*>(lines);
        const unsigned char* pixels = self.Line(static_cast<int>(line));
        std::memcpy(buffer, pixels, std::size_t{4} * static_cast<unsigned>(self.source.GetPixelWidth()));
        self.progress.SetProgress(self.linesGiven++ / self.allLines);
        return true;
    }

    unsigned char* Line(int y) {
        if (!band || y < band->GetRegionRect().top || y >= band->GetRegionRect().bottom) FetchBand(y);
        return band->GetRowPtr(y - static_cast<int>(band->GetRegionRect().top));
    }

private:
    void FetchBand(int y) {
        const int top = y - y % bandHeight, height = std::min(bandHeight, source.GetPixelHeight() - top);
        if (band)
            band->Fetch(0, top, source.GetPixelWidth(), height, nullptr);
        else
            band.emplace(source, 0, top, source.GetPixelWidth(), height, shr::BGRA_32, nullptr);
    }

    /// Few lines stay in the cache; but tiles in a file are to be read seldom.
    static int BandHeightFor(const zbm::ZBitmap& bitmap) {
        const bool isInMemory = dynamic_cast<const zbm::ZBasicMemBitmap*>(&bitmap) != nullptr;
        constexpr int kFewLines = 64, kMostBytes = 16 << 20;
        return isInMemory
                   ? kFewLines
                   : std::max(kFewLines, std::min(bitmap.GetScanRectHeight(), kMostBytes / 4 / bitmap.GetPixelWidth()));
    }

    const zbm::ZBitmap& source;
    shr::IProgress& progress;
    const int bandHeight;
    const double allLines;
    double linesGiven = 0;
    std::optional<zbm::ZPixelRect> band;
};

/// How often a filter reads the picture: those that choose colours do before they give them.
unsigned PassesOf(zpixf::ZPixfType quantizer) {
    using enum zpixf::ZPixfType;
    return quantizer == DitherOrdered || quantizer == DitherDiffuse ? 1 : 2;
}

void RequireFilter(bool succeeded, const zpixf::ZPixFilterBase& filter) {
    if (!succeeded) throw std::runtime_error(filter.GetErrorDescription().ToUtf8());
}

void Quantize(const zbm::ZBitmap& source, zbm::ZBitmap& result, const ColorChoice& colors, shr::IProgress& progress) {
    const shr::ColorFormat format = result.GetColorFormat();
    const int width = source.GetPixelWidth(), height = source.GetPixelHeight();
    const auto columns = static_cast<unsigned>(width), lines = static_cast<unsigned>(height);
    const zpixf::ZPixfType quantizer = colors.quantizer.value_or(zpixf::ZPixfType::QuantizeMedian8);
    const auto filter =
        zpixf::MakeQuantizer(quantizer, colors.most.value_or(static_cast<unsigned>(shr::ColorFmtToTblSize[format])));
    BgraLines bgra(source, PassesOf(quantizer), progress);
    filter->SetInputFormat(zpixf::ZPixFormat(columns, lines));
    filter->SetOutputFormat(zpixf::ZPixFormat(columns, lines, 1, static_cast<unsigned>(shr::ColorFmtToBPP[format])));
    filter->SetScanLineFunction(&BgraLines::Pull, &bgra);
    RequireFilter(filter->Start(), *filter);

    std::vector<unsigned char> row(shr::RowBytes(columns, format)), mask(shr::RowBytes(columns, shr::GRAYSCALE_1));
    TileRows rows(result);
    for (int y = 0; y < height; ++y) {
        RequireFilter(filter->FilterScanline(static_cast<unsigned>(y), row.data()), *filter);
        MaskOfAlpha(mask.data(), bgra.Line(y), width);
        rows.Store(0, y, width, row.data(), mask.data());
    }
    rows.Finish();
    zbm::TakePalette(result, filter->GetOutputFormat());
    filter->Stop();
}

/// Whether indices come from the source's values without a choice of colours: grey levels index a ramp, and indices a
/// table that is no smaller.
bool GivesIndices(shr::ColorFormat source, shr::ColorFormat indexed) {
    return IsGrey(source) || (IsIndexed(source) && source <= indexed);
}

}  // namespace

BitmapPtr ConvertBitmap(const zbm::ZBitmap& source, shr::ColorFormat format, const ColorChoice& colors,
                        Workplace& place, shr::IProgress& progress) {
    const shr::ColorFormat from = source.GetColorFormat();
    BitmapPtr result = place.Make(BlankLike(source, format));
    const shr::CScopedIProgressTask task(&progress, L"Converting pixels...");
    if (IsIndexed(format) && (colors.IsGiven() || !GivesIndices(from, format))) {
        Quantize(source, *result, colors, progress);
    } else if (from == format || (HasMask(from) && HasMask(format))) {
        ForEachTile(source, progress, DirectConversion(source, *result));
    } else {
        ForEachTile(source, progress,
                    [&](int row, int col) { ConvertWithAlpha(source, *result, source.GetScanRectBBox(row, col)); });
    }
    return result;
}

}  // namespace tool
