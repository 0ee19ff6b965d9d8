#pragma once
#include <cstdint>
#include <optional>
#include <vector>

#include "gdi/gdi.h"
#include "shr/Color4b.h"
#include "shr/ColorFormat.h"
#include "shr/IProgress.h"
#include "shr/ZString.h"
#include "zbm/Export.h"
#include "zbm/ZScanRect.h"

namespace shr {
class CBufferedFile;
}

namespace zbm {

class ISerializeLegacyGCS;
class SerializeIO;
class ZBitmap;
class ZDummyBitmap;
struct TileGrid;

/// The tiles of one bitmap inside a host file that somebody else owns and has opened, from a base offset on. Several
/// stores can lie in one host file, one behind the other. docs/file-formats.md has the layout to the byte.
///
///     shr::CBufferedFile file;
///     file.Open(name, shr::FileAccess::readWrite, shr::FileMode::create, shr::FileSharing::none);
///     zbm::ZBitmapCFileStore store(name, file, 0, false, false);
///     store.CreateEmpty(width, height, shr::BGRA_32, 512, 512);
///     store.WriteScanRect(tile, row, col);
///     store.CommitAll();
///
/// Where a tile lies is known to the file only after CommitAll: the destructor writes nothing. The host file must
/// outlive the store, which never closes or shortens it (but for what a tile that could not be written has left behind
/// its end). Broken preconditions raise internal errors of source file "ZBMBitmapCFileStore"; errors of the host file
/// pass on.
class ZBM_API ZBitmapCFileStore {
public:
    /// `open` reads the store that lies at `baseOffset`; without it the store is blank until it is created. `storeName`
    /// is for error texts. Raises internal errors for a negative offset (line 317) and for a blank store that may not
    /// be written (322), and ERR_SHR_BADFILE (353) for what is no such store, or one whose parts do not lie in the
    /// file. With `readOnlyStore` tiles may lie behind the end of a file that was cut; they fail when they are read.
    ZBitmapCFileStore(const shr::ZString& storeName, shr::CBufferedFile& hostFile, std::int64_t baseOffset, bool open,
                      bool readOnlyStore);
    ~ZBitmapCFileStore();
    ZBitmapCFileStore(const ZBitmapCFileStore&) = delete;
    ZBitmapCFileStore& operator=(const ZBitmapCFileStore&) = delete;

    // Each creation writes over what lies at the base offset and behind it, and raises an internal error for a store
    // that may not be written (line 754), and for one that was created before and now needs a longer table than any
    // before while its file goes on behind. False when cancelled; then, as after an exception, the host file stands at
    // the base offset, and what was written stays.

    /// All pixels zero, masks opaque.
    bool Create(int width, int height, shr::ColorFormat format, int tileWidth, int tileHeight,
                shr::IProgress* progress);
    /// From a packed bottom-up DIB: header, colours, bits. Tiles of 512 x 512.
    bool Create(const BITMAPINFO& dib, shr::IProgress* progress);
    /// `bits` are rows as in a DIB; `colors` are biClrUsed colours, or as many as the depth allows if that is 0. Raises
    /// internal errors without header (line 506), bits (508) or, for a DIB of 8 bits or fewer, colours (571).
    bool Create(const BITMAPINFOHEADER* header, const void* bits, const RGBQUAD* colors, shr::IProgress* progress);
    /// A copy: tiles, colours and resolution.
    bool Create(ZBitmap& source, shr::IProgress* progress);
    /// Without tiles: each reads as it was before ReadScanRect until it is written. Always true.
    bool CreateEmpty(int width, int height, shr::ColorFormat format, int tileWidth, int tileHeight);

    /// Also blackens the new format's colour table. Raises an internal error for no format (line 920).
    void SetColorFormat(shr::ColorFormat format);
    /// Replaces the colour table: `count` colours, the rest of the 256 black. Raises an internal error (line 872) for
    /// more colours than the format's table holds.
    virtual void FillColorTable(const shr::Color4b* colors, unsigned count);
    /// Raises an internal error without a table (line 906) or for an index past it (910).
    shr::Color4b GetColorTableItem(unsigned index) const;

    shr::ColorFormat GetColorFormat() const noexcept { return header.colorFormat; }
    unsigned GetNumColorTableItems() const noexcept { return header.numColorTableItems; }
    int GetPixelHeight() const noexcept { return header.pixelHeight; }
    int GetPixelWidth() const noexcept { return header.pixelWidth; }
    int GetScanRectHeight() const noexcept { return header.scanRectHeight; }
    int GetScanRectWidth() const noexcept { return header.scanRectWidth; }
    int GetXResolution() const noexcept { return header.xResolution; }
    int GetYResolution() const noexcept { return header.yResolution; }
    /// In pixels per metre. A value below 1, or the one that stands, changes and writes nothing.
    void SetXResolution(int pixelsPerMeter);
    void SetYResolution(int pixelsPerMeter);

    /// Fills the tile, which must have the size and format of its place. A tile that was never written is left as it
    /// is. Raises internal errors without a table (line 978) and for a place outside the grid or a tile of another
    /// shape, ERR_SHR_BADFILE (353) for a tile that was cut off.
    void ReadScanRect(ZScanRect& tile, int row, int col) const;
    /// Writes the tile over its former record, or at the end of the host file if it has none. Raises an internal error
    /// (line 1010) for a store that may not be written or was not created, and for a place outside the grid or a tile
    /// of another shape. When a tile's first record cannot be written it stays without one, and the host file gets back
    /// its former length.
    void WriteScanRect(const ZScanRect& tile, int row, int col);
    /// Writes header and table of positions; nothing in a store that may not be written. The header of a store that was
    /// opened by itself goes to its base offset, over its signature: stores are changed through the bitmaps that own
    /// them, or right after they were created.
    void CommitAll();

    /// Stores into the archive or loads from it, as its direction is. Tiles that were never written are stored as zero.
    ///
    /// Loading creates the store anew, in the archive's tiles; a resolution below 1 is passed over. Cancelling gives
    /// false, and leaves a store of one pixel of BGR_24. After an exception the host file stands at the base offset,
    /// and tiles are missing.
    ///
    /// `legacy` is for loading only (line 1047). Raises ERR_ZBM_READ_ARCHIVE for a record of another version (1143),
    /// with more colours than its format has or with tiles that do not fit their places, ERR_ZBM_WRITE_ARCHIVE for a
    /// blank store, and the errors of a creation; a forged size or format is an internal error ("zbmbitmap", lines 878,
    /// 879 and 122; "ZBMScanRect", 342 and 343).
    [[nodiscard]] bool Serialize(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy);

protected:
    /// Signature, header and an empty table of positions, for the layout, colours and resolution of `bitmap`.
    void CreateSkeleton(const ZBitmap& bitmap);
    void SaveInfoTable();
    void SaveSRInfo();
    void CreateCleanUp();

private:
    friend class ZFileBitmap;
    friend class ZPOTCFileBitmap;
    friend class ZScanRectFileBitmap;

    /// The header block as it lies in the file.
    struct Header {
        std::int32_t pixelHeight = 0;
        std::int32_t pixelWidth = 0;
        std::int32_t scanRectHeight = 0;
        std::int32_t scanRectWidth = 0;
        shr::ColorFormat colorFormat = shr::FORMAT_NONE;
        std::uint32_t numColorTableItems = 0;
        shr::Color4b colorTable[256];
        std::int32_t xResolution = 0;
        std::int32_t yResolution = 0;
        std::int64_t tablePosition = 0;
        std::uint8_t reserved[200] = {};

        template <class Self, class Coder>
        static void Fields(Self& self, Coder& coder);
        /// Whether it describes a bitmap, and tells of a table behind itself.
        bool IsValid() const noexcept;
        TileGrid Grid() const noexcept;
    };

    /// Where each tile lies, from the base offset on; 0 for one that was never written.
    class ZBM_API ZFileScanRectInfo {
    public:
        ZFileScanRectInfo();
        virtual ~ZFileScanRectInfo();
        ZFileScanRectInfo(const ZFileScanRectInfo&) = delete;
        ZFileScanRectInfo& operator=(const ZFileScanRectInfo&) = delete;

        std::vector<std::vector<std::int64_t>> rows;
    };

    /// Bytes of the host file.
    struct Range {
        std::int64_t begin, end;
    };

    void ReadHeader();
    void ReadTable();
    /// `use` (position, its bytes unless no file could hold them) for each tile that was written.
    template <class Use>
    void ForEachRecord(Use use) const;
    bool HasSoundPositions() const;
    [[noreturn]] void RefuseFile() const;
    std::int64_t PositionOf(const ZScanRect& tile, int row, int col) const;
    /// Reads the tile, or makes it zero and opaque where none was written.
    void LoadTile(ZScanRect& tile, int row, int col) const;
    /// The same of some rows; the others then hold anything.
    void LoadRows(ZScanRect& tile, int row, int col, int begin, int end) const;
    /// Where the record of a tile begins in the file; nothing where none was written.
    std::optional<std::int64_t> RecordOf(const ZScanRect& tile, int row, int col) const;
    void WriteFirst(const ZScanRect& tile, std::int64_t& position);
    template <class FillAndWrite>
    bool CreateTiles(const ZBitmap& layout, shr::IProgress* progress, const FillAndWrite& fillAndWrite);
    void TakeRoom(const ZBitmap& bitmap);
    ZDummyBitmap Described() const;
    bool StoreArchive(SerializeIO& io, shr::IProgress* progress) const;
    /// For a bitmap that was `described` before, which the record must agree with, the picture is laid out in tiles of
    /// 512 x 512, whatever the archive's are.
    bool LoadArchive(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy, const ZBitmap* described);
    bool LoadTiles(SerializeIO& io, shr::IProgress* progress, const ZBitmap& archived);
    static void CheckDibColors(const BITMAPINFOHEADER& dibHeader, const RGBQUAD* colors);
    void TakeDibColors(const BITMAPINFOHEADER& dibHeader, const RGBQUAD* colors);
    /// An opened store keeps 0 for the header's position, so that by itself it writes at its base; the bitmaps that own
    /// a whole store seat it where it lies.
    void SeatHeader() noexcept;
    Range Table() const noexcept;
    /// Signature and header, table, tiles.
    void AppendRanges(std::vector<Range>& ranges) const;
    /// Sorts them, if need be.
    static bool AreDisjoint(std::vector<Range>& ranges);
    /// Where the last of table and tiles ends in the host file.
    std::int64_t DataEnd() const;
    /// Whether the header or the table of the store that begins at `offset` reaches past the host file's end.
    static bool IsCutOff(shr::CBufferedFile& hostFile, std::int64_t offset);

    shr::CBufferedFile& file;
    std::int64_t base;
    bool readOnly;
    shr::ZString name;
    std::int32_t version = 0;
    std::int64_t headerPosition = 0;
    Header header;
    ZFileScanRectInfo tilePositions;
    std::int64_t roomEnd = 0;  ///< of the longest table that the store had in the host file; 0 for a blank store
    std::int64_t fileEnd = 0;  ///< of the host file, from the base on, when the store was opened
};

}  // namespace zbm
