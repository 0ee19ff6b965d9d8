#pragma once
// The lines that a run of filters reads.
//
// The input's row of tiles is copied first, so that what is written into the same bitmap meanwhile is not read again.
// Where the copy would make no difference there is none: it and its reading cost more than most filters do.
#include <cstdint>

#include "filter/FilterFamily.h"
#include "zbm/CPixFilterPipeline.h"
#include "zbm/FilterState.h"
#include "zbm/ZBitmap.h"

namespace zbm {

/// Works on the state of a bitmap, which holds all that lasts from line to line; so it is made anew wherever one is
/// needed.
class LineSource {
public:
    LineSource(const FilterFamily& runningFamily, FilterState& runningState) noexcept
        : family(runningFamily), state(runningState) {}

    enum class RowCopy { needed, needless, onDemand };
    /// From now on lines are those of the state's inputRect of `input`; its first must be in a row of tiles. The copy
    /// is needless where no line is read again after it was overwritten; tiles that are not in memory are copied
    /// nevertheless: at once, or only when a line is asked for.
    void Begin(ZBitmap& input, RowCopy copy);
    /// Line `y` of inputRect in the input's format. Its mask goes into the stage, if that uses alpha.
    void Read(CPixFilterContext& stage, std::uint8_t* line, int y);
    /// The same as BGRA_32. A mask that says no more than the pixels' alpha is left out.
    void ReadAsBgra(CPixFilterContext& stage, std::uint8_t* line, int y);

    void CreateRowCopy(int row);
    void LoadRowCopy(int row);
    void Free() noexcept;

private:
    void BeginRow(int row);

    const FilterFamily& family;
    FilterState& state;
};

}  // namespace zbm
