#pragma once
#include "zbm/ZScanRectFileBitmap.h"

namespace zbm {

/// A bitmap larger than memory whose file nobody need name: each creation makes a new temporary file, and the next one
/// deletes it, as the destructor does, unless it is to be kept.
///
///     zbm::ZCachedBitmap picture(L"", L"", false);
///     if (!picture.Create(width, height, shr::BGRA_32, progress)) ...
///     picture.StoreRegion(rows, stride, 0, 0, width, 512);
///
/// The file lies in the folder of the constructor or of SetTempDir, else in that of SetGlobalFileBitmapTempDir. To keep
/// one of many, set KeepTempFile and take GetCurrentTempFilename before the bitmap ends. Close () closes the file and
/// leaves it for the destructor to delete. The creations with a name, which are those of the base class, make files
/// that are never deleted. Broken preconditions raise internal errors of source files "ZBMCachedBitmap" and
/// "ZBMScanRectFileBitmap".
class ZBM_API ZCachedBitmap : public ZScanRectFileBitmap {
public:
    /// The folder, and the name of the file there (empty: a new one each time).
    ZCachedBitmap(const ZString& temporaryFolder, const ZString& temporaryFile, bool keep);
    /// Closes, and deletes the temporary file unless it is to be kept; what goes wrong is logged.
    ~ZCachedBitmap() override;
    const shr::CTypeInfo* GetTypeId() const override;

    /// As the base class's. The file is the temporary file from then on, and deleted like one, unless it was opened
    /// read-only. The former one is deleted, unless it is to be kept, also when this one cannot be opened.
    void Open(const ZString& name, bool readOnlyFile) override;

    // Each creation first lets go of the former temporary file, so that its room is free, then does what the base
    // class's does under a new name. One that fails or is cancelled leaves no file. What a DIB's header shows, and a
    // source that is this bitmap or one of its reductions, is refused while the former picture is there.
    using ZScanRectFileBitmap::Create;
    [[nodiscard]] bool Create(int width, int height, shr::ColorFormat format, shr::IProgress* progress);
    [[nodiscard]] bool Create(const BITMAPINFO& dib, shr::IProgress* progress);
    [[nodiscard]] bool Create(const BITMAPINFOHEADER* header, const void* bits, const RGBQUAD* colors,
                              shr::IProgress* progress);
    /// Of itself: true, and nothing changes.
    [[nodiscard]] bool Create(ZBitmap& source, shr::IProgress* progress);
    [[nodiscard]] bool Create(shr::ColorFormat format, ZBitmap& source, shr::IProgress* progress);
    [[nodiscard]] bool Create(int width, int height, ZBitmap& source, const RECT& rect, ResizeMethod method,
                              shr::IProgress* progress);
    using ZScanRectFileBitmap::CreateEmpty;
    void CreateEmpty(int width, int height, shr::ColorFormat format);

    /// Takes over the other's picture with its file, folder, name and whether it is kept; the other is then 1 x 1 of
    /// BGRA_32 on a new file. When the file cannot be opened here the other has it as before; when the other's new file
    /// cannot be made, the picture is here, and the other closed.
    void ChangeFrom(ZCachedBitmap& other);

    /// As the base class's, whose records these are. Loading makes a new temporary file first; cancelling and failing
    /// leave a bitmap of 1 x 1. `legacy` is for loading only (line 241).
    [[nodiscard]] bool Serialize(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy) override;
    using ZFileBitmap::Serialize;

    using ZScanRectFileBitmap::Close;
    /// The file that was created or opened last; empty when there is none.
    ZString GetCurrentTempFilename() const { return ZString(currentTempFilename); }

    static const shr::CTypeInfo* GetClassTypeId() noexcept { return &ClassTypeId; }
    static const shr::CTypeInfo ClassTypeId;

protected:
    /// Closes the bitmap and deletes its temporary file; with `keep` neither. There is no temporary file any more.
    void Close(bool keep);

private:
    static void* CreateInstance();
    static const ToldTileReading toldTileReading;
    bool MayDeleteTempFile() const noexcept { return !currentTempFilename.empty() && !tempFileIsForeign; }
    void CloseForDeletion(const ZString& temporary);
    template <class CreateNamed>
    bool CreateAnew(const CreateNamed& create);
    void BecomeStaleWithoutReductions() noexcept;
    void BecomeOnePixel();
    void OpenAgain(const ZString& name, bool readOnlyFile, bool stale) noexcept;
};

}  // namespace zbm
