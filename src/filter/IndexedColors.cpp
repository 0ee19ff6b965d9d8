#include "zbm/IndexedColors.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>

#include "convert/Quantize.h"
#include "core/MaskRows.h"
#include "core/TileReading.h"
#include "core/checks/IndexedColorsChecks.h"
#include "filter/LineSink.h"
#include "shr/ScopeExit.h"
#include "zbm/CPixFilterPipeline.h"
#include "zbm/ZPixelRect.h"
#include "zpixf/MakeQuantizer.h"
#include "zpixf/ZPixfDither.h"

namespace zbm {

namespace {

using FilterPtr = std::unique_ptr<zpixf::ZPixFilterBase>;

constexpr FilterFamily kFamily{
    .firstRow = IndexedColorsCheck::outputRow,
    .inputRow = IndexedColorsCheck::outputRow,
    .outputRow = IndexedColorsCheck::outputRow,
    .quantizer = zpixf::ZPixfType::QuantizeMedian8,
};

unsigned TableSizeOf(const ZBitmap& indexed) {
    return static_cast<unsigned>(shr::ColorFmtToTblSize[indexed.GetColorFormat()]);
}

unsigned MostColors(const IndexedColors& colors, const ZBitmap& result) {
    return colors.most == 0 ? TableSizeOf(result) : colors.most;
}

/// The lines of a bitmap as straight BGRA; some are held at a time.
class SourceLines {
public:
    SourceLines(const ZBitmap& from, unsigned passes, shr::IProgress* target)
        : source(from),
          progress(target),
          bandHeight(BandHeightFor(from)),
          allLines(1.0 * passes * from.GetPixelHeight()) {}

    static bool Pull(void* lines, unsigned line, void* buffer) {
        auto& self = *static_cast<SourceLines*>(lines);
        std::memcpy(buffer, self.Line(static_cast<int>(line)),
                    4 * static_cast<std::size_t>(self.source.GetPixelWidth()));
        if (self.progress != nullptr) self.progress->SetProgress(self.linesGiven++ / self.allLines);
        return true;
    }

    const std::uint8_t* Line(int y) {
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

    /// Few lines stay in the cache; but tiles that are not in memory are to be read seldom. Lines that a filter pulls
    /// at once lie in one band.
    static int BandHeightFor(const ZBitmap& bitmap) {
        constexpr int kFewLines = 64, kMostBytes = 16 << 20, kAtOnce = 4;
        if (StayInMemory(bitmap)) return kFewLines;
        const int lines = std::min(bitmap.GetScanRectHeight(), kMostBytes / 4 / bitmap.GetPixelWidth());
        return std::max(kFewLines, (lines + kAtOnce - 1) / kAtOnce * kAtOnce);
    }

    const ZBitmap& source;
    shr::IProgress* const progress;
    const int bandHeight;
    const double allLines;
    double linesGiven = 0;
    std::optional<ZPixelRect> band;
};

void CheckColors(const IndexedColors& colors, const ZBitmap& result) {
    const std::size_t mostEntries = TableSizeOf(result);
    switch (colors.source) {
        case PaletteSource::picture:
            QuantizerOf(colors.method, IndexedColorsCheck::method);
            require(colors.most <= mostEntries, IndexedColorsCheck::most);
            return;
        case PaletteSource::fixed:
            require(colors.most != 1, IndexedColorsCheck::mostFixed);
            require(colors.most <= mostEntries, IndexedColorsCheck::most);
            return;
        case PaletteSource::given:
            require(!colors.entries.empty() && colors.entries.size() <= mostEntries, IndexedColorsCheck::entries);
            return;
    }
    require.Fail(IndexedColorsCheck::source);
}

void CheckArguments(const ZBitmap& source, const ZBitmap& result, const IndexedColors& colors) {
    require(TableSizeOf(result) != 0, IndexedColorsCheck::indexedResult);
    require(&source != &result, IndexedColorsCheck::anotherResult);
    require(source.GetPixelWidth() == result.GetPixelWidth() && source.GetPixelHeight() == result.GetPixelHeight(),
            IndexedColorsCheck::sameSize);
    CheckColors(colors, result);
    require(colors.dither >= Dither::none && colors.dither <= Dither::blueNoise, IndexedColorsCheck::dither);
    require(colors.strength >= 0 && colors.strength <= 1, IndexedColorsCheck::strength);  // NaN is neither
}

/// Sets what all filters from such lines to indices have in common. `palette` may have none.
void SetFormats(zpixf::ZPixFilterBase& filter, const ZBitmap& result, const zpixf::ZPixFormat& palette,
                SourceLines& lines) {
    const auto width = static_cast<unsigned>(result.GetPixelWidth()),
               height = static_cast<unsigned>(result.GetPixelHeight());
    zpixf::ZPixFormat indices(width, height, 1, static_cast<unsigned>(shr::ColorFmtToBPP[result.GetColorFormat()]),
                              palette.GetNumColors());
    if (palette.GetColors() != nullptr) indices.FillColorTable(palette.GetNumColors(), palette.GetColors());
    filter.SetInputFormat(zpixf::ZPixFormat(width, height));
    filter.SetOutputFormat(indices);
    filter.SetScanLineFunction(&SourceLines::Pull, &lines);
}

void Start(zpixf::ZPixFilterBase& filter) {
    if (!filter.Start()) RaiseErrorOf(filter);
}

/// The filter that chooses the picture's colours, started: it has chosen.
FilterPtr StartChoosing(const IndexedColors& colors, const ZBitmap& result, SourceLines& lines) {
    FilterPtr chooser =
        zpixf::MakeQuantizer(QuantizerOf(colors.method, IndexedColorsCheck::method), MostColors(colors, result));
    SetFormats(*chooser, result, zpixf::ZPixFormat(), lines);
    Start(*chooser);
    return chooser;
}

zpixf::ZPixFormat PaletteOf(const std::vector<shr::Color4b>& entries) {
    std::vector<RGBQUAD> colors;
    for (const shr::Color4b& entry : entries) colors.push_back({entry.blue, entry.green, entry.red, 0});
    zpixf::ZPixFormat palette;
    palette.FillColorTable(static_cast<unsigned>(colors.size()), colors.data());
    return palette;
}

/// A count alone stands for the fixed palette.
zpixf::ZPixFormat FixedPaletteOf(unsigned most) { return zpixf::ZPixFormat(0, 0, 1, 8, most); }

/// Without dither the nearest entries are what a diffusion gives that hands nothing on.
FilterPtr MakeDitherer(const IndexedColors& colors) {
    const auto withStrength = [](auto ditherer, double strength) -> FilterPtr {
        ditherer->SetStrength(strength);
        ditherer->SetPullsAhead(true);
        return ditherer;
    };
    switch (colors.dither) {
        case Dither::ordered: return withStrength(std::make_unique<zpixf::ZPixfDitherOrdered>(), colors.strength);
        case Dither::diffusion: return withStrength(std::make_unique<zpixf::ZPixfDitherDiffuse>(), colors.strength);
        case Dither::blueNoise: return withStrength(std::make_unique<zpixf::ZPixfDitherBlueNoise>(), colors.strength);
        case Dither::none: break;
    }
    return withStrength(std::make_unique<zpixf::ZPixfDitherDiffuse>(), 0.0);
}

FilterPtr StartDithering(const IndexedColors& colors, const zpixf::ZPixFormat& palette, const ZBitmap& result,
                         SourceLines& lines) {
    FilterPtr ditherer = MakeDitherer(colors);
    SetFormats(*ditherer, result, palette, lines);
    Start(*ditherer);
    return ditherer;
}

/// The filter that gives the result's lines, started.
FilterPtr StartFilter(const IndexedColors& colors, const ZBitmap& result, SourceLines& lines) {
    if (colors.source == PaletteSource::given) return StartDithering(colors, PaletteOf(colors.entries), result, lines);
    if (colors.source == PaletteSource::fixed)
        return StartDithering(colors, FixedPaletteOf(MostColors(colors, result)), result, lines);
    FilterPtr chooser = StartChoosing(colors, result, lines);
    if (colors.dither == Dither::none) return chooser;
    const zpixf::ZPixFormat palette = chooser->GetOutputFormat();
    chooser->Stop();
    return StartDithering(colors, palette, result, lines);
}

void WriteLines(zpixf::ZPixFilterBase& filter, SourceLines& lines, const ZBitmap& result, LineSink& sink) {
    const auto width = static_cast<std::uint32_t>(result.GetPixelWidth());
    std::vector<std::uint8_t> indices(shr::RowBytes(width, result.GetColorFormat()));
    std::vector<std::uint8_t> mask(shr::RowBytes(width, shr::GRAYSCALE_1));
    const shr::ScopeExit free([&] { sink.Free(); });
    sink.Begin();
    for (int y = 0; y < result.GetPixelHeight(); ++y) {
        if (!filter.FilterScanline(static_cast<unsigned>(y), indices.data())) RaiseErrorOf(filter);
        PackMaskRow(mask.data(), 0, lines.Line(y), width);
        sink.Write(mask, indices.data(), y);
    }
    sink.Finish();
}

void WriteLinesInto(ZBitmap& result, zpixf::ZPixFilterBase& filter, SourceLines& lines) {
    if (StayInMemory(result)) {
        TileSink tiles(kFamily, result, shr::CopyWrites::cached);
        return WriteLines(filter, lines, result, tiles);
    }
    OutputRowState rowState;
    LockedRowSink rows(kFamily, rowState, result);
    WriteLines(filter, lines, result, rows);
}

}  // namespace

void ConvertToIndexed(const ZBitmap& source, ZBitmap& result, const IndexedColors& colors, shr::IProgress* progress) {
    CheckArguments(source, result, colors);
    if (source.GetPixelWidth() == 0 || source.GetPixelHeight() == 0) return;
    SourceLines lines(source, colors.source == PaletteSource::picture ? 2 : 1, progress);
    const FilterPtr filter = StartFilter(colors, result, lines);
    WriteLinesInto(result, *filter, lines);
    if (progress != nullptr) progress->SetProgress(1.0);
    TakePalette(result, filter->GetOutputFormat());
}

}  // namespace zbm
