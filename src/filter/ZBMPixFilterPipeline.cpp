#include <algorithm>
#include <span>

#include "core/MaskRows.h"
#include "core/checks/PixFilterPipelineChecks.h"
#include "shr/ScopeExit.h"
#include "zbm/CPixFilterPipeline.h"
#include "zbm/ZBMLib2.h"
#include "zpixf/ZPixfQuantize.h"

namespace zbm {

namespace {

std::size_t MaskRowBytes(std::uint32_t width) {
    return static_cast<std::size_t>(shr::RowBytes(width, shr::GRAYSCALE_1));
}

void GrowTo(std::vector<std::uint8_t>& row, std::size_t bytes) {
    if (row.size() < bytes) row.resize(bytes);
}

struct AlphaUse {
    bool usesInput, changes;
};

/// A filter that moves or merges pixels moves their alpha as well; one that works on colours leaves alpha alone.
AlphaUse AlphaUseOf(zpixf::ZPixfType type) {
    using enum zpixf::ZPixfType;
    switch (type) {
        case Brightness:
        case Contrast:
        case Saturation:
        case Desaturate:
        case Convolution3:
        case Convolution5:
        case Median:
        case DitherOrdered:
        case DitherBlueNoise:
        case DitherDiffuse:
        case QuantizePopularity:
        case QuantizeMedian5:
        case QuantizeMedian8:
        case KeepsAlpha: return {false, false};
        case Null:
        case Resize:
        case ResizeBicubic: return {true, true};
        case MakesAlpha: return {false, true};
    }
    require.Fail(PixFilterPipelineCheck::filterType);
}

/// Says why the last of these stages did not start: the first that knows a reason had no part in the others' failures.
/// Where none does, as where memory is short, that is what is said.
[[noreturn]] void RefuseToStart(std::span<const CPixFilterContext> stages) {
    constexpr Check check = PixFilterPipelineCheck::filterStart;
    for (const CPixFilterContext& stage : stages) {
        const shr::ZString& reason = stage.filter->GetErrorDescription();
        if (stage.filter->LacksMemory()) break;
        if (!reason.IsEmpty()) throw shr::Exception(ModuleName(), check.Source(), check.Line(), reason, false);
    }
    require.Fail(check);
}

/// Where a line fails, so do the stages behind; the first that knows a reason is the one to quote.
const zpixf::ZPixFilterBase& FirstToFail(std::span<const CPixFilterContext> stages) {
    for (const CPixFilterContext& stage : stages)
        if (!stage.filter->GetErrorDescription().IsEmpty()) return *stage.filter;
    return *stages.back().filter;
}

}  // namespace

CPixFilterContext::CPixFilterContext() = default;
CPixFilterContext::CPixFilterContext(const CPixFilterContext& source) = default;
CPixFilterContext& CPixFilterContext::operator=(const CPixFilterContext& source) = default;
CPixFilterContext::~CPixFilterContext() = default;

CPixFilterContext::CPixFilterContext(zpixf::ZPixFilterBase* stageFilter, zpixf::ScanLineFunction function,
                                     ZBitmap* owner) {
    require(stageFilter != nullptr, PixFilterPipelineCheck::filter);
    require(function != nullptr, PixFilterPipelineCheck::function);
    require(owner != nullptr, PixFilterPipelineCheck::bitmap);
    filter = stageFilter;
    scanLineFunction = function;
    bitmap = owner;
    inputWidth = filter->GetInputFormat().GetWidth();
    outputWidth = filter->GetOutputFormat().GetWidth();
    const AlphaUse alpha = AlphaUseOf(filter->FilterType());
    usesInputAlpha = alpha.usesInput;
    changesAlpha = alpha.changes;
}

CPixFilterPipeline::CPixFilterPipeline() = default;

CPixFilterPipeline::~CPixFilterPipeline() {
    try {
        Destroy();
    } catch (...) { shr::LogExceptionInfoAndRethrowIfUnknown(ModuleName(), "ZBMPixFilterPipeline", __LINE__, nullptr); }
}

bool CPixFilterPipeline::AddPixFilter(const CPixFilterContext& stage) {
    require(numStages < kMaxStages, PixFilterPipelineCheck::stages);
    require(stage.filter != nullptr, PixFilterPipelineCheck::filter);
    const std::uint32_t added = numStages;
    require(added == 0 || stage.inputWidth == stages[added - 1].outputWidth, PixFilterPipelineCheck::stageWidth);
    cookies[added] = {this, added};
    stages[added] = stage;
    numStages = added + 1;
    for (std::uint32_t i = 0; i < numStages; ++i)
        if (stages[i].changesAlpha) alphaStage = i;

    zpixf::ZPixFilterBase& filter = *stages[added].filter;
    filter.SetScanLineFunction(&PullLine, &cookies[added]);
    bool started = false;
    {
        const shr::ScopeExit startIsOver([this] { reportingStart = false; });
        reportingStart = true;
        cancelled = false;
        started = filter.Start();
    }
    if (cancelled) return false;
    if (!started) RefuseToStart({stages, numStages});
    return true;
}

bool CPixFilterPipeline::PullLine(void* cookie, unsigned line, void* buffer) {
    const auto& [pipeline, stage] = *static_cast<const Cookie*>(cookie);
    return pipeline->GetScanline(stage, line, buffer);
}

bool CPixFilterPipeline::GetScanline(unsigned stage, unsigned line, void* buffer) {
    if (!(stage == 0 ? GetSourceLine(line, buffer) : GetStageLine(stage, line, buffer))) return false;
    ReportStart(stage, line);
    return true;
}

bool CPixFilterPipeline::GetSourceLine(unsigned line, void* buffer) {
    CPixFilterContext& source = stages[0];
    GrowTo(source.maskRow, MaskRowBytes(source.inputWidth));
    if (!source.scanLineFunction(&source, line, buffer)) return false;
    if (source.maskSupplied)
        ExpandMaskRow(static_cast<std::uint8_t*>(buffer) + 3, 4, source.maskRow.data(), 0, source.inputWidth);
    return true;
}

bool CPixFilterPipeline::GetStageLine(unsigned stage, unsigned line, void* buffer) {
    CPixFilterContext& former = stages[stage - 1];
    if (!former.filter->FilterScanline(line, buffer)) return false;
    if (stage - 1 == alphaStage && collectAlphaChanges) StoreChangedAlphaValues(&former, buffer);
    return true;
}

/// Reads of the source while the last stage starts are what takes the time then.
void CPixFilterPipeline::ReportStart(unsigned stage, unsigned line) {
    if (!reportingStart || progress == nullptr || stage != numStages - 1) return;
    const std::uint32_t done = line - progressFirstLine, all = progressLastLine - progressFirstLine;
    if (all > 0 && (done % 100 == 0 || line >= progressLastLine))
        progress->SetProgress(static_cast<double>(done) / all);
}

void CPixFilterPipeline::FilterScanline(unsigned char* buffer, int line) {
    require(numStages > 0, PixFilterPipelineCheck::anyStage);
    zpixf::ZPixFilterBase& last = *stages[numStages - 1].filter;
    if (!last.FilterScanline(static_cast<unsigned>(line), buffer)) RaiseFailure(FirstToFail({stages, numStages}));
    // With more stages alpha is taken where one pulls it from the next; so what a last stage after others makes of it
    // is deliberately not taken.
    if (numStages == 1 && alphaStage == 0 && collectAlphaChanges) StoreChangedAlphaValues(&stages[0], buffer);
}

void CPixFilterPipeline::ChangePixels(std::uint8_t* pixels, std::size_t count) {
    for (std::uint32_t i = 0; i < numStages; ++i) {
        zpixf::ZPixfPointwise* const filter = stages[i].filter->AsPointwise();
        if (filter != nullptr && !filter->ChangePixels(pixels, count)) RaiseFailure(*filter);
    }
}

void CPixFilterPipeline::MapPixels(const std::uint8_t* pixels, std::size_t count, std::uint8_t* result) {
    zpixf::ZPixfQuantize& last = *stages[numStages - 1].filter->AsQuantize();
    if (!last.MapPixels(pixels, count, result)) RaiseFailure(last);
}

void CPixFilterPipeline::RaiseFailure(const zpixf::ZPixFilterBase& filter) {
    const shr::ZString& reason = filter.GetErrorDescription();
    const shr::Exception error(filter.GetErrorModule(), filter.GetErrorFile(), filter.GetErrorLine(),
                               reason.IsEmpty() ? L"A filter gave no line, and no reason." : reason, false);
    Destroy();
    throw shr::Exception(error);
}

void CPixFilterPipeline::StoreChangedAlphaValues(CPixFilterContext* context, void* buffer) {
    GrowTo(changedAlpha, MaskRowBytes(context->outputWidth));
    PackMaskRow(changedAlpha.data(), 0, static_cast<const std::uint8_t*>(buffer), context->outputWidth);
}

void CPixFilterPipeline::Destroy() {
    for (std::uint32_t i = 0; i < numStages; ++i) stages[i].filter->Stop();
    numStages = 0;
    alphaStage = kNoStage;
    collectAlphaChanges = true;
    changedAlpha.clear();
}

void InitPixFormat(zpixf::ZPixFormat& format, int width, int height, shr::ColorFormat colorFormat,
                   const shr::Color4b* colorTable, unsigned numColors) {
    const bool isPacked = shr::IsColorFormat(colorFormat) && !shr::TraitsOf(colorFormat).IsColor();
    format.SetWidth(static_cast<unsigned>(width));
    format.SetHeight(static_cast<unsigned>(height));
    format.SetChannels(isPacked ? 1 : colorFormat == shr::BGR_24 ? 3 : 4);
    format.SetBitsPerChannel(isPacked ? static_cast<unsigned>(shr::ColorFmtToBPP[colorFormat]) : 8);
    if (colorTable == nullptr || numColors == 0) return format.SetNumColors(0);
    std::vector<RGBQUAD> entries(numColors);
    shr::CopyColor4bToRGBQUAD(entries.data(), colorTable, numColors, false);
    format.FillColorTable(numColors, entries.data());
}

}  // namespace zbm
