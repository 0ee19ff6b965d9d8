#pragma once
#include <memory>
#include <vector>

#include "shr/ZString.h"
#include "zbm/FilterState.h"
#include "zbm/ZBitmap.h"

namespace gcs {
struct GCSDef;  // a host's coordinate system; only ever named here
}

namespace zbm {

class CPixFilterContext;
class ZBitmapCFileStore;

/// A bitmap whose tiles live in a file: the base of all such classes. A tile is in memory from its lock to its unlock;
/// changes reach the file by CommitScanRect alone.
///
/// Locks do not nest: a tile that is locked raises an internal error when it is locked again. So do lock, unlock and
/// commit while no file is open and of a tile outside the grid. Errors are of source file "ZBMFileBitmap".
class ZBM_API ZFileBitmap : public ZBitmap {
public:
    ~ZFileBitmap() override;
    ZFileBitmap(const ZFileBitmap&) = delete;
    ZFileBitmap& operator=(const ZFileBitmap&) = delete;
    const shr::CTypeInfo* GetTypeId() const override;

    /// Reads the tile from the file. A tile that was never written reads as zero, its mask as opaque. Raises internal
    /// errors for a closed bitmap (line 236) and a tile that is locked (252); when reading fails the tile stays
    /// unlocked.
    ZScanRect& LockScanRect(int row, int col) const override;
    /// Drops the tile; what was not committed is lost. Raises internal errors for a closed bitmap (line 291) and a tile
    /// that is not locked (305).
    void UnlockScanRect(int row, int col) const override;
    /// Writes the tile, which stays locked, also when that fails. Raises internal errors for a closed bitmap (line 320)
    /// and a tile that is not locked (334), and ERR_SHR_FILE_READ_ONLY (341).
    void CommitScanRect(int row, int col) override;
    /// Drops all locked tiles, so that work can go on after an error in the middle of somebody's locks.
    void UnlockAllScanRects() const noexcept;
    [[nodiscard]] bool CommitAll(shr::IProgress* progress) override;
    /// Raises an internal error for a bitmap without rows (line 413). Cancelling arrives as shr::AbortException; the
    /// rows of tiles that were complete until then stay changed.
    [[nodiscard]] bool FilterScanLines(zpixf::ZPixFilterBase& filter, shr::IProgress* progress) override;
    [[nodiscard]] bool Serialize(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy) override = 0;

    // What a class of files adds; see there. The operations stand in the order of the virtual table.
    virtual void Open(const ZString& name, bool readOnlyFile) = 0;
    [[nodiscard]] virtual bool Create(const ZString& name, int width, int height, ZBitmap& source, const RECT& rect,
                                      ResizeMethod method, shr::IProgress* progress) = 0;
    [[nodiscard]] virtual bool Create(const ZString& name, ZBitmap& source, shr::IProgress* progress) = 0;
    [[nodiscard]] virtual bool Create(const ZString& name, const BITMAPINFOHEADER* header, const void* bits,
                                      const RGBQUAD* colors, shr::IProgress* progress) = 0;
    [[nodiscard]] virtual bool Create(const ZString& name, const BITMAPINFO& dib, shr::IProgress* progress) = 0;
    [[nodiscard]] virtual bool Create(const ZString& name, int width, int height, shr::ColorFormat format,
                                      shr::IProgress* progress) = 0;
    virtual void Close() = 0;
    /// Does nothing, and is true.
    [[nodiscard]] virtual bool Serialize(SerializeIO& io, shr::IProgress* progress, gcs::GCSDef* coordinates);

protected:
    virtual void ReadScanRect(ZScanRect& tile, int row, int col) const = 0;
    virtual void WriteScanRect(const ZScanRect& tile, int row, int col) = 0;
    virtual void CreateSkeleton(const ZString& name, int height, int width, shr::ColorFormat format, int tileHeight,
                                int tileWidth) = 0;

public:
    /// So that the two operations above can be told apart for a null pointer.
    [[nodiscard]] bool Serialize(SerializeIO& io, shr::IProgress* progress, decltype(nullptr)) {
        return Serialize(io, progress, static_cast<ISerializeLegacyGCS*>(nullptr));
    }
    /// The file that is open or was last; empty before the first.
    ZString GetFileName() const { return fileName; }
    bool IsFileOpen() const noexcept { return fileOpen; }

    static const shr::CTypeInfo* GetClassTypeId() noexcept { return &ClassTypeId; }
    static const shr::CTypeInfo ClassTypeId;

protected:
    ZFileBitmap();
    void Init(int newPixelHeight, int newPixelWidth, shr::ColorFormat newFormat, int newTileHeight, int newTileWidth);

    bool HasNoPixels() const noexcept { return pixelWidth == 0 || pixelHeight == 0; }

    // Filtering into this bitmap: the lines of the input rectangle of `input` go through the stage, and out of it into
    // an assembled row of tiles that reaches `output`, which is this bitmap, through WriteScanRect.
    bool FilterScanLines(const CPixFilterContext* context, ZBitmap* input, ZFileBitmap* output,
                         shr::IProgress* progress);
    void GetInputBitmapScanLine(CPixFilterContext* context, unsigned char* line, int y);
    void SetOutputBitmapScanLine(const std::vector<unsigned char>& alpha, const unsigned char* line, int y);
    void CreateInputScanRectRow(int row);
    void ReadInputScanRectRow(int row);
    void CreateOutputScanRectRow(int row);
    void WriteOutputScanRectRow(int row);
    void FreeInputBitmap() noexcept;
    void FreeOutputBitmap() noexcept;

    /// The lines of the rectangle of `source` go through the filter into this bitmap, all of it.
    bool FilterFrom(ZBitmap& source, const RECT& rect, zpixf::ZPixFilterBase& filter, shr::IProgress* progress);
    /// Layout, colours and resolution, past the virtual operations, which would write them back.
    void TakeStore(const ZBitmapCFileStore& opened);
    /// Takes the source's resolution, also where it is not known, and gives it with this bitmap's colours to the store,
    /// whose next CommitAll writes them.
    void TakeResolution(const ZBitmap& source, ZBitmapCFileStore& store);

    bool fileOpen = false;
    ZString fileName;
    bool readOnly = true;
    FilterState filterState;
    OutputRowState outputRowState;

protected:
    /// What derived classes tell of their tiles: a lock without reading.
    static ZScanRect& LockUnread(const ZBitmap& bitmap, int row, int col);

private:
    class FileSink;

    static bool ReadScanLine(void* context, unsigned line, void* buffer);
    std::unique_ptr<ZScanRect>& SlotOf(int row, int col) const;
    std::unique_ptr<ZScanRect>& SlotToLock(int row, int col) const;
    std::unique_ptr<ZScanRect> TakeSpareTile(const RECT& box) const;
    std::unique_ptr<ZScanRect> ReadTile(int row, int col) const;

    mutable std::unique_ptr<ZScanRect> spareTile;  ///< whose memory the next tile of its shape takes
};

}  // namespace zbm
