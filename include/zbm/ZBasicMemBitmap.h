#pragma once
#include <vector>

#include "zbm/FilterState.h"
#include "zbm/ZBitmap.h"

namespace zbm {

class CPixFilterContext;
class LineSource;
struct TileGrid;

/// A bitmap with every tile in memory. Locking costs nothing and commits do nothing.
///
/// Every creation first drops what the bitmap held. One that fails leaves it empty (no format, no tiles) but usable,
/// and passes the exception on. Broken preconditions raise internal errors of source file "ZBMBasicMemBitmap".
class ZBM_API ZBasicMemBitmap : public ZBitmap {
public:
    /// Pixels read as zero until they are written, masks as opaque. Raises an internal error for a size below 1 (line
    /// 60) or a tile size below 1 (61); Create, in contrast, takes a width or height of 0, for a bitmap without tiles.
    ZBasicMemBitmap(int width, int height, shr::ColorFormat format, int tileWidth = 512, int tileHeight = 512);
    /// An exact copy; of an empty bitmap, an empty one.
    ZBasicMemBitmap(const ZBasicMemBitmap& source);
    ZBasicMemBitmap& operator=(const ZBasicMemBitmap& source);
    /// Takes the source's tiles without copying them, and what else it holds. The source is then empty (IsEmpty), as
    /// after a failed creation, and can be created anew. Unlike ChangeFrom, neither calls a virtual operation nor
    /// throws.
    ZBasicMemBitmap(ZBasicMemBitmap&& source) noexcept;
    ZBasicMemBitmap& operator=(ZBasicMemBitmap&& source) noexcept;
    ~ZBasicMemBitmap() override;
    const shr::CTypeInfo* GetTypeId() const override;

    void Create(int width, int height, shr::ColorFormat format, int tileWidth = 512, int tileHeight = 512);
    /// A DIB cannot be loaded this way: both raise an internal error (196 without header, else 198) and change nothing.
    /// Make a bitmap of the DIB's size and fill it through ZScanRect::CopyFromDib or StoreRegion.
    void Create(const BITMAPINFO& dib, int tileWidth, int tileHeight);
    void Create(const BITMAPINFOHEADER* header, const void* bits, const RGBQUAD* colors, int tileWidth, int tileHeight);
    void Create(const ZBasicMemBitmap& source);

    // From a bitmap of any class. It must live until the creation is done: a ZMemBitmap drops its reductions with the
    // first changed tile, so only its own creations take one of them. Cancelling leaves an empty bitmap; it arrives as
    // false where tiles are copied, and as shr::AbortException where filters run.

    /// An exact copy, tiles and resolution included. Of itself: true, and nothing changes.
    [[nodiscard]] bool Create(ZBitmap& source, shr::IProgress* progress);
    /// A copy in another format, with tiles of 512 x 512 and the source's resolution; transparency goes over between
    /// alpha and mask, and an indexed format gets colours of its own (median cut). In the source's format it is an
    /// exact copy. Raises internal errors for itself (line 401) and for a format that is none
    /// (402), both before anything changes.
    [[nodiscard]] bool Create(shr::ColorFormat format, ZBitmap& source, shr::IProgress* progress);
    /// A rectangle of the source at another size, in the source's format, with tiles of 512 x 512 and the source's
    /// resolution as it is. Raises internal errors for itself (line 477), for a rectangle that reaches outside the
    /// source (left 479, right 480, top 481, bottom 482) or is empty (484, 485), all before anything changes, and for a
    /// method that is none (633), which leaves the bitmap empty.
    [[nodiscard]] bool Create(int width, int height, ZBitmap& source, RECT rect, ResizeMethod method,
                              shr::IProgress* progress);
    /// Takes over the source's tiles without copying them. The source is then 1 x 1 without its tile, and must be
    /// created anew before its pixels are used.
    void ChangeFrom(ZBasicMemBitmap& source);

    /// A tile that is not there (after ChangeFrom, after a failed load, outside the grid) raises an internal error.
    ZScanRect& LockScanRect(int row, int col) const override;
    void UnlockScanRect(int row, int col) const override;
    void CommitScanRect(int row, int col) override;
    [[nodiscard]] bool CommitAll(shr::IProgress* progress) override;
    ZBitmap* GetPtrToPOTReduction(unsigned level) override;
    /// A load that is cancelled leaves a bitmap of 1 x 1, and one that fails an empty one; only after a record of an
    /// unknown version is there what was read before it, with tiles missing (of a grid that was laid out).
    /// SerializeIO::DamagedBlocks tells afterwards whether pixels are lost. An empty bitmap is not stored: that raises
    /// ERR_ZBM_WRITE_ARCHIVE before anything is written. `legacy` must be null (line 770). Forged sizes and formats are
    /// internal errors, as ZBitmap says.
    [[nodiscard]] bool Serialize(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy) override;
    /// Raises an internal error for a bitmap without rows (line 949). What a filter or the progress throws passes on;
    /// the lines written until then stay.
    [[nodiscard]] bool FilterScanLines(zpixf::ZPixFilterBase& filter, shr::IProgress* progress) override;

    static const shr::CTypeInfo* GetClassTypeId() noexcept { return &ClassTypeId; }
    static const shr::CTypeInfo ClassTypeId;

protected:
    /// A large grid of an archive that does not tell how much is left is not laid out on loading: Serialize adds each
    /// tile's place when the tile arrives.
    void SerializeFormatInfo(SerializeIO& io, ISerializeLegacyGCS* legacy) override;
    /// ZBitmap::Init, after dropping the copy of an input row. Raises std::bad_alloc, before anything is laid out, for
    /// more pixels than any memory holds.
    void Init(int newPixelHeight, int newPixelWidth, shr::ColorFormat newFormat, int newTileHeight, int newTileWidth);
    void CopyAll(const ZBasicMemBitmap& source);
    void AllocateScanRects();
    void CreateCleanup() noexcept;

    // Filtering into this bitmap: the lines of `inputRect` of `input` go through the stage.
    [[nodiscard]] bool FilterScanLines(const CPixFilterContext* context, ZBitmap* input, shr::IProgress* progress);
    void GetInputBitmapScanLine(CPixFilterContext* context, unsigned char* line, int y);
    void SetBitmapScanLine(const std::vector<unsigned char>& alpha, const unsigned char* line, int y);
    void CreateInputScanRectRow(int row);
    void ReadInputScanRectRow(int row);
    void FreeInputBitmap() noexcept;

    FilterState filterState;

private:
    static void* CreateInstance();
    void Renew(int width, int height, shr::ColorFormat format, int tileWidth, int tileHeight,
               ZScanRect::Content content);
    void TakeFittingTiles(ZScanRectRow& row, ZScanRectRow& former, ZScanRect::Content content);
    static bool ReadScanLine(void* context, unsigned line, void* buffer);
    LineSource InputLines() noexcept;
    template <class Steps>
    bool CreateBy(const Steps& steps);
    bool CopyTiles(ZBitmap& source, shr::IProgress* progress);
    bool FilterFrom(ZBitmap& source, const RECT& rect, zpixf::ZPixFilterBase& filter, shr::IProgress* progress);
    void MoveFrom(ZBasicMemBitmap& source) noexcept;
    void TakeDetails(const ZBitmap& source);
    void TakeResolution(const ZBitmap& source);
    bool StoreTiles(SerializeIO& io, shr::IProgress* progress);
    bool LoadTiles(SerializeIO& io, shr::IProgress* progress);
    bool LoadTile(SerializeIO& io, const TileGrid& grid, int row, int col);
    std::unique_ptr<ZScanRect>& PlaceOf(const TileGrid& grid, int row, int col);
};

}  // namespace zbm
