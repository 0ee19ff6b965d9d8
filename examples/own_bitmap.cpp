// A bitmap class of one's own, whose tiles stay compressed in memory: a tile is unpacked while it is locked, and packed
// again when a change of it is committed. All that bitmaps can do works on it.
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "shr/Archive.h"
#include "zbm/RunFilters.h"
#include "zbm/SerializeIO.h"
#include "zbm/ZMemBitmap.h"

class PackedBitmap : public zbm::ZBitmap {
public:
    PackedBitmap(int width, int height, shr::ColorFormat format) { Init(height, width, format, 256, 256); }

    zbm::ZScanRect& LockScanRect(int row, int col) const override {
        const RECT box = GetScanRectBBox(row, col);
        auto tile = std::make_unique<zbm::ZScanRect>(box.right - box.left, box.bottom - box.top, GetColorFormat());
        if (const auto found = packed.find({row, col}); found != packed.end()) {
            shr::MemoryArchive archive(found->second);
            zbm::SerializeIO io(archive, false);
            tile->Serialize(io);
        }
        return *(unpacked[{row, col}] = std::move(tile));
    }
    void UnlockScanRect(int row, int col) const override { unpacked.erase({row, col}); }
    void CommitScanRect(int row, int col) override {
        shr::MemoryArchive archive;
        zbm::SerializeIO io(archive, false);
        unpacked.at({row, col})->Serialize(io);
        packed[{row, col}] = archive.Bytes();
    }

    bool CommitAll(shr::IProgress*) override { return true; }
    zbm::ZBitmap* GetPtrToPOTReduction(unsigned) override { return nullptr; }
    bool FilterScanLines(zpixf::ZPixFilterBase& filter, shr::IProgress* progress) override {
        return zbm::RunFilters(*this, {&filter}, progress);
    }
    /// Stores as a bitmap in memory does.
    bool Serialize(zbm::SerializeIO& io, shr::IProgress* progress, zbm::ISerializeLegacyGCS* legacy) override {
        zbm::ZBasicMemBitmap whole(1, 1, shr::BGRA_32);
        return whole.Create(*this, progress) && whole.Serialize(io, progress, legacy);
    }

    std::size_t PackedBytes() const {
        std::size_t sum = 0;
        for (const auto& [place, bytes] : packed) sum += bytes.size();
        return sum;
    }

private:
    using Place = std::pair<int, int>;
    std::map<Place, std::vector<std::uint8_t>> packed;
    mutable std::map<Place, std::unique_ptr<zbm::ZScanRect>> unpacked;  // the locked ones
};

int main() {
    constexpr int kWidth = 1000, kHeight = 700;
    PackedBitmap picture(kWidth, kHeight, shr::BGRA_32);
    std::vector<std::uint8_t> row(4 * kWidth, 255);
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) row.data()[4 * x + 1] = static_cast<std::uint8_t>((x / 50 + y / 50) % 2 * 90);
        picture.StoreRegion(row.data(), 4 * kWidth, 0, y, kWidth, 1);
    }
    if (!picture.ChangeBrightness(0.5, nullptr)) return 1;

    zbm::ZMemBitmap small(1, 1, shr::BGRA_32);
    if (!small.Create(20, 14, picture, {0, 0, kWidth, kHeight}, zbm::ResizeBilinear, nullptr)) return 1;
    std::uint8_t pixel[4];
    small.FetchRegion(pixel, 4, 1, 0, 1, 1);
    std::printf("%d x %d pixels in less than a twentieth of their size: %s; green is %d\n", kWidth, kHeight,
                picture.PackedBytes() < std::size_t{4} * kWidth * kHeight / 20 ? "yes" : "no", pixel[1]);
}
