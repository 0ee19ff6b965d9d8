#pragma once
#include <vector>

#include "commands/MemoryLimit.h"
#include "commands/Workplace.h"
#include "zbm/ZCachedBitmap.h"

namespace tool {

/// Those that go into an archive.
struct KeptReductions {
    std::vector<BitmapPtr> bitmaps;
    bool areCurrent = false;
};

/// A bitmap that is too large for memory, in a temporary file. What is done to it gives what it gives in memory, to the
/// bit: filters choose colours as they do there, and in an archive it has the tiles, and the reductions, that it would
/// have.
///
/// Its tiles in the file are flat, so that a row of them, which filters hold, takes little memory however wide it is.
class PagedBitmap final : public zbm::ZCachedBitmap {
public:
    /// In an empty file that there is already. It is deleted with the bitmap; but where memory is too short even for
    /// that, who made the file sees to it.
    explicit PagedBitmap(const ZString& emptyFile) : ZCachedBitmap({}, {}, false), name(emptyFile) {}

    /// As Workplace::Make.
    void Make(const Blank& blank);
    /// The whole source at another size, in its format, which has no colour table.
    void MakeResized(zbm::ZBitmap& source, PixelSize size, zbm::ResizeMethod method, shr::IProgress& progress);

    bool FilterScanLines(zpixf::ZPixFilterBase& filter, shr::IProgress* progress) override;
    void CommitScanRect(int row, int col) override;

    TileSize ArchivedTiles() const noexcept { return archivedTiles; }

    /// Of a bitmap that keeps reductions.
    std::optional<KeptReductions> reductionsKept;

private:
    void LayOut(const BitmapShape& shape);

    const ZString name;
    TileSize archivedTiles;
};

/// The size of tiles that the bitmap has in an archive.
TileSize ArchivedTilesOf(const zbm::ZBitmap& bitmap);

}  // namespace tool
