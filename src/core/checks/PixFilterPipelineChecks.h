#pragma once
// The checks of source "ZBMPixFilterPipeline".
#include "core/Checks.h"

namespace zbm {

#define ZBM_PIX_FILTER_PIPELINE_CHECKS(CHECK)                                           \
    CHECK(filter, 76, internalError, "a stage must have a filter")                      \
    CHECK(function, 77, internalError, "a stage must have a function that gives lines") \
    CHECK(bitmap, 78, internalError, "a stage must have a bitmap")                      \
    CHECK(filterType, 139, internalError, "the filter's type must be one of ZPixfType") \
    CHECK(stages, 165, internalError, "a pipeline must have at most 16 stages")         \
    CHECK(filterStart, 218, memoryShort, "a stage's filter must start")                 \
    CHECK(anyStage, 9000, internalError, "a pipeline must have a stage to give lines")  \
    CHECK(stageWidth, 9001, internalError, "a stage must take lines as wide as the stage before gives")

ZBM_DEFINE_CHECKS(PixFilterPipelineCheck, "ZBMPixFilterPipeline", ZBM_PIX_FILTER_PIPELINE_CHECKS)

}  // namespace zbm
