// Compiled without RTTI.
#include "filter/BitmapWithoutTypeRecord.h"

#include <cstring>

#include "zbm/RunFilters.h"

namespace testkit {

namespace {

class HostBitmap final : public zbm::ZBitmap {
public:
    HostBitmap() {
        Init(3, 5, shr::BGRA_32, 8, 8);
        for (int y = 0; y < 3; ++y) std::memset(tile.GetRowPtr(y), 100, 4 * 5);
    }
    zbm::ZScanRect& LockScanRect(int, int) const override { return tile; }
    void UnlockScanRect(int, int) const override {}
    void CommitScanRect(int, int) override {}
    bool CommitAll(shr::IProgress*) override { return true; }
    ZBitmap* GetPtrToPOTReduction(unsigned) override { return nullptr; }
    bool Serialize(zbm::SerializeIO&, shr::IProgress*, zbm::ISerializeLegacyGCS*) override { return false; }
    bool FilterScanLines(zpixf::ZPixFilterBase& filter, shr::IProgress* progress) override {
        return zbm::RunFilters(*this, {&filter}, progress);
    }

private:
    mutable zbm::ZScanRect tile{5, 3, shr::BGRA_32};
};

}  // namespace

std::unique_ptr<zbm::ZBitmap> MakeBitmapWithoutTypeRecord() { return std::make_unique<HostBitmap>(); }

}  // namespace testkit
