#pragma once
#include <memory>
#include <vector>

#include "zbm/ZBasicMemBitmap.h"

namespace zbm {

class ToldTileReading;

/// A bitmap in memory that also keeps reductions of itself, each half the size of the one before, for quick display at
/// small scales. Every change makes them stale; CommitAll builds them again.
///
/// Reductions that come with a picture count as current, whatever they are: those of a copy even when the source held
/// old ones or none, and those of an archive that was stored with its reductions even when none were held then.
/// CommitAll leaves them as they are; CommitAll (progress, true) builds them:
///
///     ZMemBitmap copy(changed);                // `changed` was not committed
///     bool done = copy.CommitAll(nullptr);     // true, and the copy still has what `changed` had
///     done = copy.CommitAll(nullptr, true);    // its own
class ZBM_API ZMemBitmap : public ZBasicMemBitmap {
public:
    ZMemBitmap(int width, int height, shr::ColorFormat format, int tileWidth = 512, int tileHeight = 512);
    /// Takes the source's reductions too, and for current (see above), as assignment and Create from a ZMemBitmap do.
    ZMemBitmap(const ZMemBitmap& source);
    ZMemBitmap& operator=(const ZMemBitmap& source);
    /// As the base class's. The reductions go with the picture, current or not; the source has none.
    ZMemBitmap(ZMemBitmap&& source) noexcept;
    ZMemBitmap& operator=(ZMemBitmap&& source) noexcept;
    ~ZMemBitmap() override;
    const shr::CTypeInfo* GetTypeId() const override;

    // As the base class's. The reductions become stale, also when it fails; old ones may be answered until the next
    // CommitAll.
    void Create(int width, int height, shr::ColorFormat format, int tileWidth = 512, int tileHeight = 512);
    void Create(const BITMAPINFO& dib, int tileWidth, int tileHeight);
    void Create(const BITMAPINFOHEADER* header, const void* bits, const RGBQUAD* colors, int tileWidth, int tileHeight);
    void Create(const ZBasicMemBitmap& source);
    void Create(const ZMemBitmap& source);
    // As the base's. The source may be one of this bitmap's own reductions.
    [[nodiscard]] bool Create(ZBitmap& source, shr::IProgress* progress);
    [[nodiscard]] bool Create(shr::ColorFormat format, ZBitmap& source, shr::IProgress* progress);
    [[nodiscard]] bool Create(int width, int height, ZBitmap& source, RECT rect, ResizeMethod method,
                              shr::IProgress* progress);
    /// Takes over the source's tiles and its reductions, current or not.
    void ChangeFrom(ZMemBitmap& source);

    void FillColorTable(const shr::Color4b* colors, unsigned count) override;
    void CommitScanRect(int row, int col) override;
    /// Builds the reductions unless they are current. Cancelling arrives as shr::AbortException and leaves none.
    [[nodiscard]] bool CommitAll(shr::IProgress* progress) override;
    /// The same; with `rebuild` the reductions are built again even when they are current.
    [[nodiscard]] bool CommitAll(shr::IProgress* progress, bool rebuild);
    /// Level 0 is the bitmap itself, and so is every level of a bitmap whose smaller side is below 16. Null when fewer
    /// levels are held. Owned by this bitmap, valid until the next change.
    ZBitmap* GetPtrToPOTReduction(unsigned level) override;
    /// Stores the reductions, as they are held, when the stream is set so; what is loaded counts as current (see above)
    /// if it was. `legacy` must be null (line 323). Forged sizes and formats are internal errors, as ZBitmap says.
    [[nodiscard]] bool Serialize(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy) override;

    static const shr::CTypeInfo* GetClassTypeId() noexcept { return &ClassTypeId; }
    static const shr::CTypeInfo ClassTypeId;

protected:
    void CopyAll(const ZMemBitmap& source);
    void CopyPOTReductions(const ZMemBitmap& source);
    [[nodiscard]] bool CreatePOTReductions(shr::IProgress* progress);
    void FreeAllPOTReductions() noexcept;

    bool needsRebuild = true;
    std::vector<std::unique_ptr<ZBasicMemBitmap>> reductions;

private:
    static void* CreateInstance();
    static const ZBitmap* CurrentLevel(const ZBitmap& bitmap, unsigned level);
    static const ToldTileReading toldTileReading;
    void MoveReductionsFrom(ZMemBitmap& source) noexcept;
    template <class CreateBase>
    bool CreateFrom(const ZBitmap& source, const CreateBase& create);
    bool BuildLevels(std::vector<std::unique_ptr<ZBasicMemBitmap>>& former, shr::IProgress* progress);
    bool StoreWithReductions(SerializeIO& io, shr::IProgress* progress);
    unsigned short ReadVersion(SerializeIO& io);
    bool LoadReductions(SerializeIO& io, shr::IProgress* progress);
    bool LoadWithReductions(SerializeIO& io, shr::IProgress* progress);
};

}  // namespace zbm
