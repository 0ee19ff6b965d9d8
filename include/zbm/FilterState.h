#pragma once
// What bitmaps hold while filters run into them; part of the objects that applications are compiled against.
#include <cstdint>
#include <memory>
#include <vector>

#include "gdi/gdi.h"
#include "zbm/Export.h"

namespace zbm {

class ZBasicMemBitmap;
class ZBitmap;
class ZFileBitmap;

/// The input of a run of filters: one row of its tiles, or none where its own tiles can be read, and one line of each
/// kind. The lines keep their memory for the next run.
struct ZBM_API FilterState {
    FilterState();
    ~FilterState();
    FilterState(const FilterState&) = delete;
    FilterState& operator=(const FilterState&) = delete;

    std::unique_ptr<ZBasicMemBitmap> inputRowCopy;
    std::int32_t currentInputRow = -1;  ///< the row of tiles that lines are read from
    RECT inputRect{};                   ///< the part of the input that is filtered; set before a run
    std::vector<std::uint8_t> inputLine;
    std::vector<std::uint8_t> outputLine;
    std::vector<std::uint8_t> outputLine32;
    std::vector<std::uint8_t> inputLine32;
    ZBitmap* inputBitmap = nullptr;     ///< borrowed
    std::int64_t awaitedInputLine = 0;  ///< the one behind the line that was read last
};

/// The row of tiles that a run puts together before it goes, as a whole, where it belongs.
struct ZBM_API OutputRowState {
    OutputRowState();
    ~OutputRowState();
    OutputRowState(const OutputRowState&) = delete;
    OutputRowState& operator=(const OutputRowState&) = delete;

    ZFileBitmap* outputBitmap = nullptr;  ///< borrowed
    std::unique_ptr<ZBasicMemBitmap> outputRowCopy;
    std::int32_t currentOutputRow = -1;
};

}  // namespace zbm
