#include "commands/BitmapConversion.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "commands/MemoryLimit.h"
#include "pictures/RowConversion.h"
#include "zbm/CPixFilterPipeline.h"
#include "zbm/ZPixelRect.h"
#include "zpixf/MakeQuantizer.h"

namespace tool {

namespace {

using BitmapPtr = std::unique_ptr<zbm::ZBasicMemBitmap>;

BitmapPtr MakeAlike(const zbm::ZBasicMemBitmap& source, shr::ColorFormat format) {
    const int width = source.GetPixelWidth(), height = source.GetPixelHeight();
    const int tileWidth = source.GetScanRectWidth(), tileHeight = source.GetScanRectHeight();
    RefuseBeyondMemory({width, height, format, tileWidth, tileHeight}, 0);
    auto bitmap = std::make_unique<zbm::ZBasicMemBitmap>(width, height, format, tileWidth, tileHeight);
    bitmap->SetXResolution(source.GetXResolution());
    bitmap->SetYResolution(source.GetYResolution());
    return bitmap;
}

template <class Convert>
void ForEachTile(const zbm::ZBitmap& bitmap, shr::IProgress& progress, const Convert& convert) {
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
    DirectConversion(const zbm::ZBasicMemBitmap& from, zbm::ZBasicMemBitmap& to) : source(from), result(to) {}

    void operator()(int row, int col) const {
        const RECT box = source.GetScanRectBBox(row, col);
        const zbm::ZPixelRect pixels(source, box, result.GetColorFormat(), nullptr);
        if (row == 0 && col == 0) TakeColorTable(pixels);
        result.StoreRegion(pixels.GetFirstRowPtr(), pixels.GetStride(), box);
        if (HasMask(source.GetColorFormat()) && HasMask(result.GetColorFormat())) CopyMask(row, col);
    }

private:
    /// It depends on the two formats and the source's table only, and so is the same for all tiles.
    void TakeColorTable(const zbm::ZPixelRect& pixels) const {
        std::vector<shr::Color4b> colors;
        for (unsigned i = 0; i < pixels.GetNumColorTableItems(); ++i) colors.push_back(pixels.GetColorTableItem(i));
        if (!colors.empty()) result.FillColorTable(colors.data(), static_cast<unsigned>(colors.size()));
    }

    void CopyMask(int row, int col) const {
        const zbm::ZScanRect& from = source.LockScanRect(row, col);
        zbm::ZScanRect& to = result.LockScanRect(row, col);
        const auto bytes = shr::PixelBytes(static_cast<std::uint64_t>(from.GetWidth()), shr::GRAYSCALE_1);
        for (int y = 0; y < from.GetHeight(); ++y) std::memcpy(to.GetAlphaRowPtr(y), from.GetAlphaRowPtr(y), bytes);
        result.CommitScanRect(row, col);
        result.UnlockScanRect(row, col);
        source.UnlockScanRect(row, col);
    }

    const zbm::ZBasicMemBitmap& source;
    zbm::ZBasicMemBitmap& result;
};

/// By way of straight alpha: the mask becomes alpha, colours are multiplied by it or not as the formats want, and alpha
/// becomes the mask.
void ConvertWithAlpha(const zbm::ZBasicMemBitmap& source, zbm::ZBasicMemBitmap& result, const RECT& box) {
    const zbm::ZPixelRect from(source, box, shr::BGRA_32, nullptr);
    zbm::ZPixelRect to(result, box, shr::BGRA_32, nullptr);
    std::memcpy(to.GetFirstRowPtr(), from.GetFirstRowPtr(), std::size_t{4} * from.GetWidth() * from.GetHeight());
    to.CommitPixels(nullptr);
}

/// The lines of a bitmap as straight BGRA, for filters; some are held at a time.
class BgraLines {
public:
    BgraLines(const zbm::ZBasicMemBitmap& from, unsigned passes, shr::IProgress& target)
        : source(from), progress(target), allLines(1.0 * passes * from.GetPixelHeight()) {}

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
        const int top = y - y % kBandHeight, height = std::min(kBandHeight, source.GetPixelHeight() - top);
        if (band)
            band->Fetch(0, top, source.GetPixelWidth(), height, nullptr);
        else
            band.emplace(source, 0, top, source.GetPixelWidth(), height, shr::BGRA_32, nullptr);
    }

    static constexpr int kBandHeight = 64;
    const zbm::ZBasicMemBitmap& source;
    shr::IProgress& progress;
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

void Quantize(const zbm::ZBasicMemBitmap& source, zbm::ZBasicMemBitmap& result, const ColorChoice& colors,
              shr::IProgress& progress) {
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

    std::vector<unsigned char> row(shr::RowBytes(columns, format));
    const int stride = static_cast<int>(row.size());
    for (int y = 0; y < height; ++y) {
        RequireFilter(filter->FilterScanline(static_cast<unsigned>(y), row.data()), *filter);
        result.StoreRegion(row.data(), stride, 0, y, width, 1);
        result.SetMaskFromAlpha(bgra.Line(y), 4 * width, {0, y, width, y + 1});
    }
    zbm::TakePalette(result, filter->GetOutputFormat());
    filter->Stop();
}

/// Whether indices come from the source's values without a choice of colours: grey levels index a ramp, and indices a
/// table that is no smaller.
bool GivesIndices(shr::ColorFormat source, shr::ColorFormat indexed) {
    return IsGrey(source) || (IsIndexed(source) && source <= indexed);
}

}  // namespace

BitmapPtr ConvertBitmap(const zbm::ZBasicMemBitmap& source, shr::ColorFormat format, const ColorChoice& colors,
                        shr::IProgress& progress) {
    const shr::ColorFormat from = source.GetColorFormat();
    BitmapPtr result = MakeAlike(source, format);
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
