#pragma once
#include <cstdint>
#include <vector>

#include "zbm/ZBitmap.h"

namespace tool {

/// A bitmap as rows of pixels, whichever tiles they lie in: what decoders fill and encoders read, row by row or in
/// parts of rows. Keeps the tiles of one tile row locked, that of the row used last; so rows should be walked in order,
/// in either direction.
class TileRows {
public:
    explicit TileRows(zbm::ZBitmap& source);
    /// Unlocks. Changes are certain to be committed only by Finish.
    ~TileRows();
    TileRows(const TileRows&) = delete;
    TileRows& operator=(const TileRows&) = delete;

    int Width() const noexcept { return bitmap.GetPixelWidth(); }
    int Height() const noexcept { return bitmap.GetPixelHeight(); }
    shr::ColorFormat Format() const noexcept { return bitmap.GetColorFormat(); }
    /// The first of always 256 entries.
    const shr::Color4b* ColorTable() const noexcept { return bitmap.GetConstColorTablePtr(); }

    /// Sets pixels x .. x + count of row y from the caller's first `count` pixels in the bitmap's format, and their
    /// mask bits from `mask` (a set bit is opaque, the first in the most significant bit) unless that is null.
    void Store(int x, int y, int count, const std::uint8_t* pixels, const std::uint8_t* mask);
    /// The reverse. A bitmap without mask gives none.
    void Fetch(int x, int y, int count, std::uint8_t* pixels, std::uint8_t* mask);

    /// Commits what was stored.
    void Finish() { Leave(); }

private:
    void Enter(int y);
    void Leave();
    template <class Copy>
    void ForEachPart(int x, int y, int count, const Copy& copy);

    zbm::ZBitmap& bitmap;
    std::vector<zbm::ZScanRect*> tiles;  // the locked ones
    int lockedRow = -1;
    bool changed = false;
};

}  // namespace tool
