#pragma once
// What a run of filters works on, for those who decide how it goes.
#include <span>

#include "filter/LineSink.h"
#include "zbm/CPixFilterPipeline.h"
#include "zbm/ZBitmap.h"

namespace zbm {

struct FilterTask {
    const ZBitmap& input;
    RECT inputRect;  ///< the part of the input that is filtered
    const ZBitmap& output;
    std::span<const CPixFilterContext> stages;
    zpixf::ZPixFilterBase* quantizer;  ///< behind them; null unless the output has colours to choose
    const LineSink& sink;
};

}  // namespace zbm
