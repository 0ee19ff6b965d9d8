#pragma once
// Where a run of filters writes its lines.
#include <cstdint>
#include <vector>

#include "filter/FilterFamily.h"
#include "shr/CopyPixelRows.h"
#include "zbm/FilterState.h"
#include "zbm/ZBitmap.h"

namespace zbm {

class LineSink {
public:
    virtual ~LineSink() = default;
    /// Before the first line.
    virtual void Begin() {}
    /// Output line `y` in the destination's format. `alpha` is its mask, or empty when masks stay as they are. Lines
    /// come in increasing order.
    virtual void Write(const std::vector<std::uint8_t>& alpha, const std::uint8_t* line, int y) = 0;
    /// After the last line, unless the run was given up.
    virtual void Finish() {}
    /// At the end of every run.
    virtual void Free() noexcept {}
};

/// Into the tiles of the destination, all of which are locked and committed for each line: derived classes see each
/// change. For bitmaps in memory.
class TileSink final : public LineSink {
public:
    TileSink(const FilterFamily& family, ZBitmap& destination, shr::CopyWrites howToWrite) noexcept;
    ~TileSink() override;
    void Write(const std::vector<std::uint8_t>& alpha, const std::uint8_t* line, int y) override;

private:
    const FilterFamily& family;
    ZBitmap& bitmap;
    const shr::CopyWrites writes;
};

/// Into a copy of the destination's row of tiles. When all its lines are there, its tiles go one by one where they
/// belong; until then the destination is as it was, and none of its tiles is locked. Where masks stay, the copy begins
/// with what the destination has.
class RowSink : public LineSink {
public:
    RowSink(const FilterFamily& family, OutputRowState& state, ZBitmap& destination) noexcept;
    void Begin() override;
    void Write(const std::vector<std::uint8_t>& alpha, const std::uint8_t* line, int y) override;
    void Finish() override;
    void Free() noexcept override;

    void CreateRow(int row);
    void DeliverRow(int row);

protected:
    /// Brings a finished tile to its place.
    virtual void Deliver(const ZScanRect& tile, int row, int col) = 0;

    ZBitmap& bitmap;

private:
    void BeginRow(int row);

    const FilterFamily& family;
    OutputRowState& state;
};

}  // namespace zbm
