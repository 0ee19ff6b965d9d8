#include "filter/FilterRun.h"

#include <algorithm>

#include "convert/ZBMColorFormat.h"
#include "filter/TileWays.h"
#include "shr/ScopeExit.h"
#include "zpixf/MakeQuantizer.h"

namespace zbm {

namespace {

constexpr int kLinesBetweenReports = 100;

void GrowToLine(std::vector<std::uint8_t>& line, std::uint32_t width, shr::ColorFormat format) {
    const auto bytes = static_cast<std::size_t>(shr::RowBytes(width, format));
    if (line.size() < bytes) line.resize(bytes);
}

std::uint32_t WidthOf(const RECT& rect) { return static_cast<std::uint32_t>(rect.right - rect.left); }
std::uint32_t WidthOf(const ZBitmap& bitmap) { return static_cast<std::uint32_t>(bitmap.GetPixelWidth()); }

bool HasColorTable(const ZBitmap& bitmap) {
    return bitmap.GetNumColorTableItems() != 0 && shr::ColorFmtToTblSize[bitmap.GetColorFormat()] != 0;
}

bool PullForward(std::span<const CPixFilterContext> stages) {
    return std::all_of(stages.begin(), stages.end(), [](const auto& stage) { return stage.filter->PullsForward(); });
}

/// The filters give true colours; for an indexed bitmap one more chooses the colours of its table.
std::unique_ptr<zpixf::ZPixFilterBase> QuantizerFor(const ZBitmap& bitmap, zpixf::ZPixfType type) {
    // An archive may have more colours than the indices can tell apart.
    const unsigned colors = std::min(bitmap.GetNumColorTableItems(),
                                     static_cast<unsigned>(shr::ColorFmtToTblSize[bitmap.GetColorFormat()]));
    zpixf::ZPixFormat format;
    InitPixFormat(format, bitmap.GetPixelWidth(), bitmap.GetPixelHeight(), bitmap.GetColorFormat(),
                  bitmap.GetConstColorTablePtr(), colors);
    auto quantizer = zpixf::MakeQuantizer(type, colors);
    quantizer->SetOutputFormat(format);
    return quantizer;
}

/// False when the start of one was cancelled.
bool AddStages(CPixFilterPipeline& pipeline, std::span<const CPixFilterContext> stages,
               zpixf::ZPixFilterBase* quantizer) {
    for (const CPixFilterContext& stage : stages)
        if (!pipeline.AddPixFilter(stage)) return false;
    if (quantizer == nullptr) return true;
    const CPixFilterContext& first = stages.front();
    quantizer->SetInputFormat(stages.back().filter->GetOutputFormat());
    return pipeline.AddPixFilter(CPixFilterContext(quantizer, first.scanLineFunction, first.bitmap));
}

}  // namespace

bool FilterRun::Run(ZBitmap& input, std::span<const CPixFilterContext> stages, shr::IProgress* progress) {
    LineSource source(family, state);
    const auto freeCopies = [&] {
        source.Free();
        sink.Free();
    };
    const shr::ScopeExit atTheEnd(freeCopies);
    freeCopies();
    if (HasNoPixels() && input.GetNumScanRectRows() > 0) return true;
    std::unique_ptr<zpixf::ZPixFilterBase> quantizer;  // outlives the pipeline
    if (HasColorTable(output)) quantizer = QuantizerFor(output, family.quantizer);
    const FilterTask task{input, state.inputRect, output, stages, quantizer.get(), sink};
    const MakeTileChange makeChange = FindTileWay(task);
    const bool readsOverwritten = &input == &output && !PullForward(stages);
    source.Begin(input, makeChange != nullptr ? LineSource::RowCopy::onDemand
                        : readsOverwritten    ? LineSource::RowCopy::needed
                                              : LineSource::RowCopy::needless);
    if (makeChange == nullptr) sink.Begin();
    GrowLines();

    CPixFilterPipeline pipeline;
    pipeline.progress = progress;
    pipeline.progressLastLine = static_cast<std::uint32_t>(output.GetPixelHeight()) - 1;
    pipeline.CollectAlphaChanges(!shr::ColorFmtHasAlphaChannel[output.GetColorFormat()]);
    if (!AddStages(pipeline, stages, quantizer.get())) return false;
    std::unique_ptr<TileChange> change;  // there to the end: the sink may put tiles off
    if (makeChange != nullptr)
        ChangeTiles(*(change = makeChange(task, pipeline)), progress);
    else
        WriteLines(pipeline, quantizer != nullptr);
    if (progress != nullptr) progress->SetProgress(1.0);
    sink.Finish();
    freeCopies();
    if (quantizer) TakePalette(output, quantizer->GetOutputFormat());
    return true;
}

bool FilterRun::HasNoPixels() const {
    return output.GetPixelWidth() == 0 || output.GetPixelHeight() == 0 || WidthOf(state.inputRect) == 0;
}

void FilterRun::GrowLines() {
    GrowToLine(state.inputLine, WidthOf(state.inputRect), state.inputBitmap->GetColorFormat());
    GrowToLine(state.outputLine, WidthOf(output), output.GetColorFormat());
    GrowToLine(state.outputLine32, WidthOf(output), shr::BGRA_32);
}

void FilterRun::WriteLines(CPixFilterPipeline& pipeline, bool indexed) {
    const int height = output.GetPixelHeight();
    const shr::ColorFormat format = output.GetColorFormat();
    const bool converts = !indexed && format != shr::BGRA_32;
    for (int y = 0; y < height; ++y) {
        pipeline.FilterScanline(converts ? state.outputLine32.data() : state.outputLine.data(), y);
        if (converts)
            ConvertPixels({state.outputLine.data(), format, 0}, {state.outputLine32.data(), shr::BGRA_32, 0},
                          WidthOf(output), 1);
        sink.Write(pipeline.changedAlpha, state.outputLine.data(), y);
        if (pipeline.progress != nullptr && y % kLinesBetweenReports == 0)
            pipeline.progress->SetProgress(static_cast<double>(y) / height);
    }
}

/// From report to report, so that each finds the lines that it would find if they came one by one.
void FilterRun::ChangeTiles(TileChange& change, shr::IProgress* progress) {
    const int height = output.GetPixelHeight();
    if (progress == nullptr) return sink.ChangeTiles(0, height, change);
    int done = 0;
    for (int report = 0; report <= (height - 1) / kLinesBetweenReports; ++report) {
        const int line = report * kLinesBetweenReports;
        sink.ChangeTiles(done, line + 1, change);
        done = line + 1;
        progress->SetProgress(static_cast<double>(line) / height);
    }
    sink.ChangeTiles(done, height, change);
}

void SetTrueColors(zpixf::ZPixFilterBase& filter, SIZE input, SIZE result) {
    const auto trueColor = [](SIZE size) {
        return zpixf::ZPixFormat(static_cast<unsigned>(size.cx), static_cast<unsigned>(size.cy), 4, 8, 0);
    };
    filter.SetInputFormat(trueColor(input));
    filter.SetOutputFormat(trueColor(result));
}

}  // namespace zbm
