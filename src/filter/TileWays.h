#pragma once
// The ways of a run of filters that need no lines.
#include <memory>

#include "filter/FilterTask.h"

namespace zbm {

/// Makes what changes the tiles, once the stages are those of the pipeline and started. All must outlive it.
using MakeTileChange = std::unique_ptr<TileChange> (*)(const FilterTask& task, CPixFilterPipeline& pipeline);

/// How the task can be done from tile to tile, with the bits that its lines would have; null if it goes by lines.
MakeTileChange FindTileWay(const FilterTask& task);

}  // namespace zbm
