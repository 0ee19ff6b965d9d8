#include "filter/TileWays.h"

#include "filter/HalvingRun.h"
#include "filter/PickingRun.h"
#include "filter/PointwiseRun.h"

namespace zbm {

namespace {

template <class Change>
std::unique_ptr<TileChange> Make(const FilterTask& task, CPixFilterPipeline& pipeline) {
    return std::make_unique<Change>(task, pipeline);
}

}  // namespace

MakeTileChange FindTileWay(const FilterTask& task) {
    if (PointwiseRun::Suits(task)) return &Make<PointwiseRun>;
    if (HalvingRun::Suits(task)) return &Make<HalvingRun>;
    if (PickingRun::Suits(task)) return &Make<PickingRun>;
    return nullptr;
}

}  // namespace zbm
