#pragma once
// Where a run of filters writes its lines, or changes its tiles.
#include <cstdint>
#include <optional>
#include <vector>

#include "filter/FilterFamily.h"
#include "shr/CopyPixelRows.h"
#include "zbm/FilterState.h"
#include "zbm/ZBitmap.h"
#include "zbm/ZScanRect.h"

namespace zbm {

/// What a run that goes from tile to tile does to one of the destination.
class TileChange {
public:
    virtual ~TileChange() = default;
    /// Whether a tile must hold what it held in the destination.
    virtual bool NeedsContent() const = 0;
    /// Lines `first` to before `end` of tile (row, col) of the destination.
    virtual void Change(ZScanRect& tile, int row, int col, int first, int end) = 0;
};

class LineSink {
public:
    virtual ~LineSink() = default;

    // A run goes line by line (Begin, Write ..., Finish, Free), or tile by tile (ChangeTiles ..., Finish, Free).

    /// Whether tiles can be changed past the lines: those of the lines in hand, or each as a whole.
    enum class Tiles { none, inBands, whole };
    virtual Tiles TakenTiles() const { return Tiles::none; }
    /// Makes lines `first` to before `end` of the destination what they become; these follow those of the former call.
    /// At any time between calls the destination holds just the lines that Write would have brought there; so the
    /// change must last until Finish.
    virtual void ChangeTiles(int first, int end, TileChange& change) = 0;
    virtual shr::CopyWrites Writes() const { return shr::CopyWrites::cached; }

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
    Tiles TakenTiles() const override;
    void ChangeTiles(int first, int end, TileChange& change) override;
    shr::CopyWrites Writes() const override { return writes; }

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
    Tiles TakenTiles() const override;
    void ChangeTiles(int first, int end, TileChange& change) override;
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
    void ChangeRow();

    const FilterFamily& family;
    OutputRowState& state;
    TileChange* pendingChange = nullptr;  ///< to the current row
    std::optional<ZScanRect> changedTile;
};

/// Rows of tiles that go into a bitmap of any class under its locks.
class LockedRowSink final : public RowSink {
public:
    using RowSink::RowSink;

private:
    void Deliver(const ZScanRect& tile, int row, int col) override;
};

}  // namespace zbm
