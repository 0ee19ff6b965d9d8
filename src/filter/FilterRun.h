#pragma once
// The run of filters that all bitmaps share: lines of a source through a chain of stages into a sink. What needs no
// lines goes the shorter ways of PointwiseRun.h and HalvingRun.h where it can.
#include <span>

#include "filter/LineSink.h"
#include "filter/LineSource.h"
#include "zbm/CPixFilterPipeline.h"

namespace zbm {

/// One run over `output`, whose tiles the sink fills. The state's inputRect says what of the input is filtered.
class FilterRun {
public:
    FilterRun(const FilterFamily& runningFamily, FilterState& runningState, ZBitmap& destination,
              LineSink& destinationSink)
        : family(runningFamily), state(runningState), output(destination), sink(destinationSink) {}

    /// False, with nothing written, when the start of a stage was cancelled. What filters and progress throw passes on;
    /// what the sink wrote until then stays. No copy of a row of tiles remains.
    bool Run(ZBitmap& input, std::span<const CPixFilterContext> stages, shr::IProgress* progress);

private:
    bool HasNoPixels() const;
    void GrowLines();
    void WriteLines(CPixFilterPipeline& pipeline, bool indexed);
    void ChangeTiles(TileChange& change, shr::IProgress* progress);

    const FilterFamily& family;
    FilterState& state;
    ZBitmap& output;
    LineSink& sink;
};

/// Sets both formats of a filter to true colours, as all filters of pictures work on.
void SetTrueColors(zpixf::ZPixFilterBase& filter, SIZE input, SIZE result);

}  // namespace zbm
