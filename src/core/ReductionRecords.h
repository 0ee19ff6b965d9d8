#pragma once
// What follows a bitmap's record in an archive: u32 whether reductions do, and if so u32 how many, and the record of
// each.
#include "core/ArchiveValues.h"
#include "shr/IProgress.h"

namespace zbm {

/// What is held is stored as it is: stale reductions are not built again first. False when cancelled.
template <class Levels>
bool StoreReductions(const Levels& levels, SerializeIO& io, shr::IProgress* progress) {
    const bool isWanted = io.StoringPOTReductions();
    WriteU32(io, isWanted ? 1 : 0);
    if (!isWanted) return true;
    WriteU32(io, static_cast<std::uint32_t>(levels.size()));
    for (const auto& level : levels)
        if (!level->Serialize(io, progress, nullptr)) return false;
    return true;
}

}  // namespace zbm
