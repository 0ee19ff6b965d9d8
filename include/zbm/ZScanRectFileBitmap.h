#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "shr/BufferedFile.h"
#include "zbm/ZBitmapCFileStore.h"
#include "zbm/ZFileBitmap.h"

namespace zbm {

class ToldTileReading;

class Check;
class ZPOTCFileBitmap;

/// A bitmap on a file of its own, larger than memory if need be: the tiles, and behind them reductions of the picture,
/// each half the size of the one before. docs/file-formats.md has the layout to the byte.
///
///     zbm::ZScanRectFileBitmap picture(L"", L"", false);
///     picture.CreateEmpty(name, width, height, shr::BGRA_32);
///     picture.StoreRegion(rows, stride, 0, 0, width, 512);
///     picture.CommitAll(progress);                          // builds the reductions
///     picture.Close();
///
/// New tiles are known to the file only after Save or Close, and so are reductions of the last CommitAll as current.
/// Memory in use is the tiles that are locked and, while filters run, one row of tiles of input and one of output.
/// Tiles of files made here are 512 x 512; files with other tiles are opened with their own. A closed bitmap is 0 x 0.
/// Broken preconditions raise internal errors of source file "ZBMScanRectFileBitmap".
class ZBM_API ZScanRectFileBitmap : public ZFileBitmap {
public:
    /// The folder for temporary files, with a separator at its end (empty: that of SetGlobalFileBitmapTempDir), the
    /// name of the temporary file there (empty: a new one each time), and what ZCachedBitmap does with it.
    ZScanRectFileBitmap(const std::wstring& temporaryFolder, const std::wstring& temporaryFile, bool keep);
    /// Closes; what goes wrong is logged.
    ~ZScanRectFileBitmap() override;
    ZScanRectFileBitmap(const ZScanRectFileBitmap&) = delete;
    ZScanRectFileBitmap& operator=(const ZScanRectFileBitmap&) = delete;
    const shr::CTypeInfo* GetTypeId() const override;

    /// Opens a file, which others may read meanwhile if it is opened `readOnly`. Raises ERR_SHR_FILE_OPEN (line 210),
    /// ERR_SHR_BADFILE (228, or ZBMBitmapCFileStore 353) for what is no such file or a damaged one, and an internal
    /// error (247) for one whose creation was interrupted; the bitmap is then closed. A file that was cut opens for
    /// reading: its missing tiles fail when they are read, and its missing reductions are not there.
    void Open(const ZString& name, bool readOnlyFile) override;

    // Each creation closes the bitmap and empties a file of that name at once; write to another name and rename where
    // the former picture must survive. Raises ERR_SHR_FILE_CREATE (line 869). A creation that fails or is cancelled
    // closes the bitmap and deletes the file that it made (ERR_SHR_FILE_DELETE, line 950, if that fails). False when
    // cancelled while tiles are written; while filters run that arrives as shr::AbortException.

    /// All pixels zero, masks opaque. Raises an internal error for a size below 1 (line 328).
    [[nodiscard]] bool Create(const ZString& name, int width, int height, shr::ColorFormat format,
                              shr::IProgress* progress) override;
    /// From a packed bottom-up DIB: header (of 40 bytes, if bit fields or colours follow), these, bits. Raises 878 of
    /// "zbmbitmap" for a top-down one, and ERR_ZBM_UNSUPPORTED_DIB_FORMAT for one without pixels or compressed (9003).
    [[nodiscard]] bool Create(const ZString& name, const BITMAPINFO& dib, shr::IProgress* progress) override;
    /// Bit fields follow the header: see ZScanRect::CopyFromDib. Raises internal errors without it (398) or bits (400).
    [[nodiscard]] bool Create(const ZString& name, const BITMAPINFOHEADER* header, const void* bits,
                              const RGBQUAD* colors, shr::IProgress* progress) override;
    /// An exact copy. Of itself: true, and nothing changes. Raises an internal error for a reduction of its own (490).
    [[nodiscard]] bool Create(const ZString& name, ZBitmap& source, shr::IProgress* progress) override;
    /// A copy in another format. Raises internal errors for itself or a reduction of its own (line 516), for no format
    /// (517), and, of another format than its own, for a source without rows ("ZBMFileBitmap", 413).
    [[nodiscard]] bool Create(const ZString& name, shr::ColorFormat format, ZBitmap& source, shr::IProgress* progress);
    /// A rectangle of the source at another size, in the source's format. Raises internal errors for itself or a
    /// reduction of its own (line 608), for a rectangle that reaches outside the source (left 610, right 611, top 612,
    /// bottom 613) or is empty (615, 616), and for a method that is none (764).
    [[nodiscard]] bool Create(const ZString& name, int width, int height, ZBitmap& source, const RECT& rect,
                              ResizeMethod method, shr::IProgress* progress) override;
    /// Without tiles: each reads as zero, its mask as opaque, until it is written. Raises an internal error for a size
    /// below 1 (line 805).
    void CreateEmpty(const ZString& name, int width, int height, shr::ColorFormat format);

    /// What was not yet written is; a file opened read-only is not touched. Raises the file's errors, and is closed all
    /// the same.
    void Close() override;
    void Close(bool keep);
    /// A checkpoint: what was written until now survives a loss of power. Tile data reaches the device before the
    /// tables that tell of it. Nothing for a file opened read-only; an internal error when closed.
    void Save();

    /// Level 0 is the bitmap itself, and so is every level of a bitmap whose smaller side is below 16. Null when fewer
    /// levels are held; none is ever built here. Owned by this bitmap, valid until it is closed or CommitAll builds.
    ZBitmap* GetPtrToPOTReduction(unsigned level) override;
    /// Builds the reductions, or refreshes them, when something changed since. A file without reductions does not tell
    /// whether it changed since: once such a file was opened they are built after the next change, or by `rebuild`.
    /// False when a palette bitmap's copy in true colours could not be started; cancelling arrives as
    /// shr::AbortException. Reductions of a build that fails are dropped; of a refresh, all stay stale. Raises
    /// ERR_SHR_FILE_READ_ONLY for a file opened read-only, but only if there is something to build.
    [[nodiscard]] bool CommitAll(shr::IProgress* progress) override;
    /// The same; with `rebuild` also when nothing is known to have changed, and anew where the file has other
    /// reductions than ours would be.
    [[nodiscard]] bool CommitAll(shr::IProgress* progress, bool rebuild);

    /// Stores into the archive or loads from it, as its direction is. Where the stream is set so, the reductions are
    /// stored as they are held, stale ones too, and count as current when they are loaded. Records of this class and of
    /// ZCachedBitmap are one; those of bitmaps in memory are others, and refused.
    ///
    /// Loading closes the bitmap and makes its file anew, in tiles of 512 x 512. The former file is replaced in one
    /// step by the whole picture, which is laid out beside it ("zv*.tmp" in its folder, which needs the room): after an
    /// exception or a cancelled load (false) the bitmap is closed, and the file is what it was. Errors of the device
    /// name the file beside. Into a closed bitmap, which goes by the name of its last file, nothing is loaded where a
    /// file of that name exists (ERR_SHR_FILE_CREATE, line 869), and into a file opened read-only nothing at all
    /// (ERR_SHR_FILE_READ_ONLY): both before the archive is read. Where there was no file, an exception leaves none; a
    /// cancelled load leaves one pixel in it, or the picture if only reductions were still to come.
    /// SerializeIO::DamagedBlocks tells whether pixels are lost.
    ///
    /// `legacy` is for loading only (line 1261). Raises ERR_ZBM_READ_ARCHIVE for a record of another version (1314),
    /// one whose parts do not agree, and what the store raises; ERR_ZBM_WRITE_ARCHIVE when closed. Forged sizes and
    /// formats are internal errors, as ZBitmap says.
    [[nodiscard]] bool Serialize(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy) override;
    using ZFileBitmap::Serialize;

    /// Also in the file. Raise internal errors, and change nothing, when closed (line 1483 for resolutions) or opened
    /// read-only (1484 for resolutions, ZBMBitmapCFileStore 829 for colours).
    void FillColorTable(const shr::Color4b* colors, unsigned count) override;
    void SetXResolution(int pixelsPerMeter) override;
    void SetYResolution(int pixelsPerMeter) override;
    /// Makes both resolutions 0, which says that they are not known. Raises as their setters do.
    void ForgetResolution();

    /// Whether reductions that are held are older than the picture.
    bool AreReductionsStale() const noexcept { return reductionsStale && !reductions.empty(); }

    void SetTempDir(const std::wstring& folder);
    void SetTempFile(const std::wstring& fileName);
    /// The temporary file's name, like GetTempFile: callers that need the folder keep it themselves.
    std::wstring GetTempDir() const { return tempFile; }
    std::wstring GetTempFile() const { return tempFile; }
    void KeepTempFile(bool keep) { keepTempFile = keep; }
    bool KeepingTempFile() const { return keepTempFile; }

    static const shr::CTypeInfo* GetClassTypeId() noexcept { return &ClassTypeId; }
    static const shr::CTypeInfo ClassTypeId;

protected:
    void ReadScanRect(ZScanRect& tile, int row, int col) const override;
    void WriteScanRect(const ZScanRect& tile, int row, int col) override;
    void CreateSkeleton(const ZString& name, int height, int width, shr::ColorFormat format, int tileHeight,
                        int tileWidth) override;

    void CommonCreate(const ZString& name, int height, int width, shr::ColorFormat format, int tileHeight,
                      int tileWidth);
    void CopyColorTable(const ZBitmapCFileStore& source);
    void InitFileInfoTable() noexcept { fileInfoTable = {}; }
    void SaveFileInfoTable();
    void CreateCleanUp();
    void CleanUp();
    bool CreatePOTReductions(shr::IProgress* progress);
    bool RegenPOTReductions(shr::IProgress* progress);
    void FreeAllPOTReductions() noexcept;
    ZString BuildCurrentTempFilename();

    /// The level count, then where each level lies; as it stands in the file.
    struct FileInfoTable {
        static constexpr unsigned kLevels = 32;
        static constexpr std::int64_t kPosition = 49, kBytes = 460, kFirstStore = kPosition + kBytes;

        std::uint32_t levelCount = 0;
        std::int64_t slots[kLevels] = {};
        std::uint8_t reserved[200] = {};

        template <class Self, class Coder>
        static void Fields(Self& self, Coder& coder);
    };

    /// Of which we are the only owner, whatever its destructor is to those who derive from it.
    class OwnStore final : public ZBitmapCFileStore {
    public:
        using ZBitmapCFileStore::ZBitmapCFileStore;
    };

    std::wstring tempDir;
    std::wstring tempFile;
    std::wstring currentTempFilename;
    bool keepTempFile;
    shr::CBufferedFile file;
    std::int32_t version = 0;
    std::int64_t infoTablePosition = 0;
    FileInfoTable fileInfoTable;
    std::unique_ptr<OwnStore> store;
    bool reductionsStale = false;
    std::vector<std::unique_ptr<ZPOTCFileBitmap>> reductions;

private:
    friend class ZCachedBitmap;

    static void* CreateInstance();
    static const ToldTileReading toldTileReading;
    static void LoadTile(const ZBitmap& bitmap, int row, int col, ZScanRect& tile);
    static void LoadRows(const ZBitmap& bitmap, int row, int col, ZScanRect& tile, int begin, int end);
    static const ZBitmap* CurrentLevel(const ZBitmap& bitmap, unsigned level);
    [[noreturn]] void RefuseFile() const;
    void OpenFile(const ZString& path, ZString name, shr::FileMode mode, bool readOnlyFile = false);
    void LayOutFile();
    void ReadFileInfoTable();
    void OpenLevels();
    void CheckSlots() const;
    void CheckRanges() const;
    void MarkStaleLevels();
    void WriteStaleMark();
    void BecomeStale();
    void CutBack(std::int64_t end) noexcept;
    void BecomeClosed();
    void WriteTables();
    void CloseWithoutWriting();
    static void CheckDib(const BITMAPINFOHEADER* header, const void* bits, const RGBQUAD* colors);
    void WriteLevelCount(std::uint32_t count);
    template <class LayOut, class Fill>
    bool CreateBy(const LayOut& layOut, const Fill& fill, Check levelCount);
    bool IsOwnReduction(const ZBitmap& bitmap) const;
    bool CopyTiles(ZBitmap& source, shr::IProgress* progress);
    std::unique_ptr<ZBasicMemBitmap> AssembleRow(const ZBitmap& source, int row) const;
    bool FillFrom(ZBitmap& source, const RECT& rect, zpixf::ZPixFilterBase& filter, shr::IProgress* progress);
    bool HasUsualLevels() const;
    void DropLevels();
    bool StoreArchive(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy);
    bool LoadArchive(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy);
    bool LoadReplacement(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy);
    template <class MakeFile>
    bool LoadPicture(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy, const MakeFile& makeFile);
    bool LoadLevels(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy);
    bool BuildLevels(ZBitmap& first, shr::IProgress* progress);
    void AppendLevel(std::unique_ptr<ZPOTCFileBitmap> level);
    std::int64_t PlaceOfNextLevel();
    template <class Build>
    bool FromLevelSource(shr::IProgress* progress, const Build& build);
    ZString TemporaryFolder() const;
    ZString MakeUniqueTempFile() const;

    bool isBeingMade = false;        ///< whether the file says so, from its first bytes on
    bool tempFileIsForeign = false;  ///< whether the current temporary file was opened read-only, and is to stay
    ZString scratchFilename;         ///< of the true colours that a palette bitmap's reductions were made from last
};

}  // namespace zbm
