#pragma once
#include <cstdint>

#include "zbm/ZBitmapCFileStore.h"
#include "zbm/ZFileBitmap.h"

namespace zbm {

class ToldTileReading;

/// One reduction of a ZScanRectFileBitmap: a bitmap in a store inside a host file that another object owns. It is made
/// as a resized copy, and refilled later; every other way to make or open one raises an internal error of source file
/// "ZBMPOTCFileBitmap". Its file counts as open for as long as it lives.
class ZBM_API ZPOTCFileBitmap : public ZFileBitmap {
public:
    /// As the store's constructor. What is opened has the store's layout, colours and resolution.
    ZPOTCFileBitmap(const ZString& name, shr::CBufferedFile& hostFile, std::int64_t offset, bool open,
                    bool readOnlyLevel);
    /// Writes nothing.
    ~ZPOTCFileBitmap() override;

    /// Makes this level, in tiles of 512 x 512 and with the source's format and resolution. Raises internal errors for
    /// itself as source (line 162) and for a name that is not the level's own (163), and those of FillFromOther; after
    /// an exception the level is closed. False when a filter could not be started; cancelling arrives as
    /// shr::AbortException.
    [[nodiscard]] bool Create(const ZString& name, int width, int height, ZBitmap& source, const RECT& rect,
                              ResizeMethod method, shr::IProgress* progress) override;
    /// Fills the tiles anew. Raises internal errors for itself as source (line 275), for a rectangle that reaches
    /// outside the source (left 277, right 278, top 279, bottom 280) or is empty (282, 283), and for a method that is
    /// none (415).
    [[nodiscard]] bool FillFromOther(ZBitmap& source, RECT rect, ResizeMethod method, shr::IProgress* progress);
    /// 0 x 0 from now on; the store stays as it is.
    void Close() override;

    /// Also in the file. Raise internal errors for a level that may not be written (lines 520 and 533).
    void SetXResolution(int pixelsPerMeter) override;
    void SetYResolution(int pixelsPerMeter) override;

    /// Stores into the archive or loads from it, as its direction is. Loading creates the store anew, in the archive's
    /// tiles; cancelling gives false, and leaves the level closed, as an exception does. `legacy` is for loading only
    /// (line 204). Raises ERR_ZBM_READ_ARCHIVE for a record of another version (224) and what the store raises, and
    /// ERR_ZBM_WRITE_ARCHIVE for a level that was not made yet.
    [[nodiscard]] bool Serialize(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy) override;
    using ZFileBitmap::Serialize;

    // None of these is for a level: each raises an internal error.
    void Open(const ZString& name, bool readOnlyFile) override;  // line 99
    [[nodiscard]] bool Create(const ZString& name, int width, int height, shr::ColorFormat format,
                              shr::IProgress* progress) override;                                              // 112
    [[nodiscard]] bool Create(const ZString& name, const BITMAPINFO& dib, shr::IProgress* progress) override;  // 124
    [[nodiscard]] bool Create(const ZString& name, const BITMAPINFOHEADER* header, const void* bits,
                              const RGBQUAD* colors, shr::IProgress* progress) override;                 // 137
    [[nodiscard]] bool Create(const ZString& name, ZBitmap& source, shr::IProgress* progress) override;  // 149
    ZBitmap* GetPtrToPOTReduction(unsigned level) override;                                              // 264

protected:
    void ReadScanRect(ZScanRect& tile, int row, int col) const override;
    void WriteScanRect(const ZScanRect& tile, int row, int col) override;
    void CreateSkeleton(const ZString& name, int height, int width, shr::ColorFormat format, int tileHeight,
                        int tileWidth) override;
    void CreateCleanUp();
    void CleanUp();

private:
    friend class ZScanRectFileBitmap;

    /// Not known, in the file as well. A store that is loaded passes such values over.
    void ForgetResolution();
    bool StoreArchive(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy);
    bool LoadArchive(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy);

    static const ToldTileReading toldTileReading;
    static void LoadTile(const ZBitmap& bitmap, int row, int col, ZScanRect& tile);
    static void LoadRows(const ZBitmap& bitmap, int row, int col, ZScanRect& tile, int begin, int end);

    ZBitmapCFileStore store;
};

}  // namespace zbm
