#pragma once
// Filters chained: each stage pulls its input lines from the one before, the first from a bitmap.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "shr/Color4b.h"
#include "shr/ColorFormat.h"
#include "shr/IProgress.h"
#include "zbm/Export.h"
#include "zpixf/ZPixFilterBase.h"

namespace zbm {

class ZBitmap;

/// One stage: a filter and what it has to do with alpha. Filter and bitmap are borrowed.
class ZBM_API CPixFilterContext {
public:
    CPixFilterContext();
    /// The filter's formats must be set: their widths are read here. Raises internal errors of source file
    /// "ZBMPixFilterPipeline" without filter (line 76), function (77) or bitmap (78), and for a type of filter that is
    /// not known (139).
    CPixFilterContext(zpixf::ZPixFilterBase* stageFilter, zpixf::ScanLineFunction function, ZBitmap* owner);
    CPixFilterContext(const CPixFilterContext& source);
    CPixFilterContext& operator=(const CPixFilterContext& source);
    ~CPixFilterContext();

    zpixf::ZPixFilterBase* filter = nullptr;
    std::uint32_t inputWidth = 0;
    std::uint32_t outputWidth = 0;
    /// Called for the first stage only, with the stage itself as user data.
    zpixf::ScanLineFunction scanLineFunction = nullptr;
    ZBitmap* bitmap = nullptr;          ///< whose filtering this is; it holds what the function works with
    bool usesInputAlpha = false;        ///< the source's mask has to become the alpha of its lines
    bool changesAlpha = false;          ///< the filter's alpha has to go into the destination
    std::vector<std::uint8_t> maskRow;  ///< one bit a pixel, filled by the scan-line function
    bool maskSupplied = false;          ///< set by the scan-line function when it filled `maskRow`
};

/// Up to 16 stages, driven by asking the last one for lines. Lines are 4 bytes a pixel (B, G, R, A), but for what a
/// quantizer at the end gives.
///
///     CPixFilterPipeline pipeline;
///     pipeline.progress = progress;
///     pipeline.AddPixFilter(stage);
///     for (int y = 0; y < height; ++y) pipeline.FilterScanline(line, y);
///
/// The filters must outlive the pipeline. The filters hold its address, so it stays where it is.
class ZBM_API CPixFilterPipeline {
public:
    static constexpr std::uint32_t kMaxStages = 16;
    static constexpr std::uint32_t kNoStage = 0xFFFFFFFF;

    CPixFilterPipeline();
    ~CPixFilterPipeline();
    CPixFilterPipeline(const CPixFilterPipeline&) = delete;
    CPixFilterPipeline& operator=(const CPixFilterPipeline&) = delete;

    /// Copies the stage in and starts its filter, which may pull lines already. False when `cancelled` was set
    /// meanwhile; the stage stays. Raises an internal error of source file "ZBMPixFilterPipeline" for a 17th stage
    /// (line 165), for one without filter (76) and for one whose input is not as wide as what the stage before gives
    /// (9001), and a shr::Exception (line 218) when the filter does not start: its message is why, in the filter's
    /// words, and that memory is short where it gives none. What lines and progress throw passes on.
    [[nodiscard]] bool AddPixFilter(const CPixFilterContext& stage);
    /// Gives output line `line` of the last stage. When a filter fails, the pipeline is emptied, and a shr::Exception
    /// says where and why, in the words of the first stage that failed.
    void FilterScanline(unsigned char* buffer, int line);
    /// Where all stages are filters of single pixels, but for a quantiser that may be the last: sends `count` pixels
    /// through all but that, in place, without lines. Fails as FilterScanline does, in the words of the filter that
    /// failed.
    void ChangePixels(std::uint8_t* pixels, std::size_t count);
    /// The quantiser that is the last stage does the rest: `result` gets what a line of its output has of the pixels.
    /// For one that gives colours it may be `pixels`.
    void MapPixels(const std::uint8_t* pixels, std::size_t count, std::uint8_t* result);
    void CollectAlphaChanges(bool collect) { collectAlphaChanges = collect; }
    /// Stops and drops all stages. From then on alpha changes are collected.
    void Destroy();

    struct Cookie {
        CPixFilterPipeline* pipeline;
        std::uint32_t stage;
    };
    Cookie cookies[kMaxStages] = {};
    CPixFilterContext stages[kMaxStages];
    std::uint32_t numStages = 0;
    std::uint32_t alphaStage = kNoStage;     ///< the last stage that changes alpha
    bool collectAlphaChanges = false;        ///< whether to keep the alpha that this stage makes
    std::vector<std::uint8_t> changedAlpha;  ///< that alpha of the last line as mask bits; set is 128 or more
    shr::IProgress* progress = nullptr;      ///< target while stages start; may be null
    bool cancelled = false;                  ///< set from outside while a stage starts, to cancel that
    std::uint32_t progressFirstLine = 0;
    std::uint32_t progressLastLine = 0;
    bool reportingStart = false;

protected:
    bool GetScanline(unsigned stage, unsigned line, void* buffer);
    void StoreChangedAlphaValues(CPixFilterContext* context, void* buffer);

private:
    [[noreturn]] void RaiseFailure(const zpixf::ZPixFilterBase& filter);
    static bool PullLine(void* cookie, unsigned line, void* buffer);
    bool GetSourceLine(unsigned line, void* buffer);
    bool GetStageLine(unsigned stage, unsigned line, void* buffer);
    void ReportStart(unsigned stage, unsigned line);
};

/// Describes the lines of a bitmap to filters. With a table of `numColors` entries these become the palette; without,
/// there is none.
ZBM_API void InitPixFormat(zpixf::ZPixFormat& format, int width, int height, shr::ColorFormat colorFormat,
                           const shr::Color4b* colorTable, unsigned numColors);

/// The palette that a quantizer or ditherer set in its output format becomes the colour table of an indexed bitmap,
/// which may then have fewer colours than before. Without a palette nothing happens.
ZBM_API void TakePalette(ZBitmap& bitmap, const zpixf::ZPixFormat& format);

}  // namespace zbm
