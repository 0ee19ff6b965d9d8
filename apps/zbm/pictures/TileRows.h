#pragma once
#include <cstdint>
#include <vector>

#include "pictures/Orientation.h"
#include "pictures/PixelLine.h"
#include "zbm/ZBitmap.h"

namespace tool {

/// A bitmap as rows of pixels, whichever tiles they lie in: what decoders fill and encoders read, row by row or in
/// parts of rows. Keeps those tiles locked that were used of one tile row, that of the row used last; so rows should be
/// walked in order, in either direction.
///
/// With an orientation, rows are those of a file whose picture the bitmap shows upright; they may be columns of the
/// bitmap.
class TileRows {
public:
    explicit TileRows(zbm::ZBitmap& source, Orientation fileOrientation = {});
    /// Unlocks. Changes are certain to be committed only by Finish.
    ~TileRows();
    TileRows(const TileRows&) = delete;
    TileRows& operator=(const TileRows&) = delete;

    /// Those of a row, and how many rows there are.
    int Width() const noexcept { return orientation.transposed ? bitmap.GetPixelHeight() : bitmap.GetPixelWidth(); }
    int Height() const noexcept { return orientation.transposed ? bitmap.GetPixelWidth() : bitmap.GetPixelHeight(); }
    shr::ColorFormat Format() const noexcept { return bitmap.GetColorFormat(); }
    /// The first of always 256 entries.
    const shr::Color4b* ColorTable() const noexcept { return bitmap.GetConstColorTablePtr(); }

    /// Sets pixels x .. x + count of row y from the caller's first `count` pixels in the bitmap's format, and their
    /// mask bits from `mask` (a set bit is opaque, the first in the most significant bit) unless that is null.
    void Store(int x, int y, int count, const std::uint8_t* pixels, const std::uint8_t* mask);
    /// The reverse. A bitmap without mask gives none.
    void Fetch(int x, int y, int count, std::uint8_t* pixels, std::uint8_t* mask);

    /// Commits what was stored.
    void Finish();

private:
    struct Part;
    /// Rows that are to become columns, and wait until there are enough of them to be stored side by side.
    struct Band {
        static constexpr int kMostRows = 16;
        int x = 0, y = 0, count = 0, rows = 0;  // pixels x .. x + count of rows y .. y + rows
        bool masked = false;
        std::size_t rowBytes = 0, maskRowBytes = 0;
        std::vector<std::uint8_t> pixels, masks;
    };

    void StoreRows(int x, int y, int count, const PixelRun& pixels, const PixelRun& masks);
    void AddToBand(int x, int y, int count, const std::uint8_t* pixels, const std::uint8_t* mask);
    bool BandTakes(int x, int y, int count, bool masked) const;
    void StoreBand();
    int LineOf(int y) const { return orientation.flipped ? Height() - 1 - y : y; }
    void Enter(int line);
    void Leave();
    std::size_t TileCount() const;
    zbm::ZScanRect& TileAt(int index);
    void Unlock(int index);
    /// Of tiles: along a row, and across.
    int TileLength() const { return orientation.transposed ? bitmap.GetScanRectHeight() : bitmap.GetScanRectWidth(); }
    int TileDepth() const { return orientation.transposed ? bitmap.GetScanRectWidth() : bitmap.GetScanRectHeight(); }
    template <class Copy>
    void ForEachPart(int x, int y, int count, const Copy& copy);

    zbm::ZBitmap& bitmap;
    const Orientation orientation;
    std::vector<zbm::ZScanRect*> tiles;  // of a tile row, or a tile column if transposed; null where none is locked
    int lockedLine = -1;
    Band band;
    bool changed = false;
};

}  // namespace tool
