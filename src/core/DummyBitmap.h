#pragma once
#include "core/checks/DummyBitmapChecks.h"
#include "zbm/ZBitmap.h"

namespace zbm {

/// A bitmap without pixels, for what needs no more than a bitmap's layout, or one to belong to. Its tiles cannot be
/// locked.
class ZDummyBitmap : public ZBitmap {
public:
    ZDummyBitmap() = default;
    /// Of the layout, the colours and the resolution of another.
    explicit ZDummyBitmap(const ZBitmap& described) : ZBitmap(described) {}
    using ZBitmap::Init, ZBitmap::SerializeFormatInfo, ZBitmap::LoadFormatValues, ZBitmap::UnprovenGrid;

    ZScanRect& LockScanRect(int, int) const override { Refuse(); }
    void UnlockScanRect(int, int) const override { Refuse(); }
    void CommitScanRect(int, int) override { Refuse(); }
    bool CommitAll(shr::IProgress*) override { return true; }
    ZBitmap* GetPtrToPOTReduction(unsigned) override { return nullptr; }
    bool Serialize(SerializeIO&, shr::IProgress*, ISerializeLegacyGCS*) override { Refuse(); }
    bool FilterScanLines(zpixf::ZPixFilterBase&, shr::IProgress*) override { Refuse(); }

private:
    [[noreturn]] static void Refuse() { require.Fail(DummyBitmapCheck::pixels); }
};

}  // namespace zbm
