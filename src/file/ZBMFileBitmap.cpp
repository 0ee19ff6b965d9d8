#include "zbm/ZFileBitmap.h"

#include <algorithm>
#include <iterator>

#include "core/TileReading.h"
#include "core/checks/FileBitmapChecks.h"
#include "zbm/ZBitmapCFileStore.h"

namespace zbm {

const shr::CTypeInfo ZFileBitmap::ClassTypeId("ZFileBitmap", nullptr, &ZBitmap::ClassTypeId);

const shr::CTypeInfo* ZFileBitmap::GetTypeId() const { return &ClassTypeId; }

ZFileBitmap::ZFileBitmap() = default;
ZFileBitmap::~ZFileBitmap() = default;

void ZFileBitmap::Init(int newPixelHeight, int newPixelWidth, shr::ColorFormat newFormat, int newTileHeight,
                       int newTileWidth) {
    spareTile.reset();
    ZBitmap::Init(newPixelHeight, newPixelWidth, newFormat, newTileHeight, newTileWidth);
}

void ZFileBitmap::TakeStore(const ZBitmapCFileStore& opened) {
    Init(opened.GetPixelHeight(), opened.GetPixelWidth(), opened.GetColorFormat(), opened.GetScanRectHeight(),
         opened.GetScanRectWidth());
    std::copy(std::begin(opened.header.colorTable), std::end(opened.header.colorTable), colorTable);
    numColorTableItems = opened.header.numColorTableItems;
    xResolution = opened.header.xResolution;
    yResolution = opened.header.yResolution;
}

void ZFileBitmap::TakeResolution(const ZBitmap& source, ZBitmapCFileStore& store) {
    xResolution = store.header.xResolution = source.GetXResolution();
    yResolution = store.header.yResolution = source.GetYResolution();
    store.header.numColorTableItems = numColorTableItems;
    std::copy(std::begin(colorTable), std::end(colorTable), store.header.colorTable);
}

std::unique_ptr<ZScanRect>& ZFileBitmap::SlotOf(int row, int col) const {
    const auto r = static_cast<std::size_t>(row), c = static_cast<std::size_t>(col);
    require(r < scanRectRows.size() && c < scanRectRows[r].tiles.size(), FileBitmapCheck::tile);
    return scanRectRows[r].tiles[c];
}

std::unique_ptr<ZScanRect>& ZFileBitmap::SlotToLock(int row, int col) const {
    require(fileOpen, FileBitmapCheck::lockClosed);
    std::unique_ptr<ZScanRect>& slot = SlotOf(row, col);
    require(slot == nullptr, FileBitmapCheck::lockLocked);
    return slot;
}

ZScanRect& ZFileBitmap::LockScanRect(int row, int col) const {
    std::unique_ptr<ZScanRect>& slot = SlotToLock(row, col);
    slot = ReadTile(row, col);
    return *slot;
}

ZScanRect& ZFileBitmap::LockUnread(const ZBitmap& bitmap, int row, int col) {
    const auto& self = static_cast<const ZFileBitmap&>(bitmap);
    std::unique_ptr<ZScanRect>& slot = self.SlotToLock(row, col);
    slot = self.TakeSpareTile(self.GetScanRectBBox(row, col));
    return *slot;
}

/// With the memory of the tile that was freed last, if it has the shape.
std::unique_ptr<ZScanRect> ZFileBitmap::TakeSpareTile(const RECT& box) const {
    const int width = static_cast<int>(box.right - box.left), height = static_cast<int>(box.bottom - box.top);
    if (spareTile != nullptr && spareTile->IsShapedAs(width, height, colorFormat)) return std::move(spareTile);
    spareTile.reset();
    auto tile = std::make_unique<ZScanRect>();
    tile->CreateWith(width, height, colorFormat, ZScanRect::Content::overwritten);
    return tile;
}

/// Nothing is cleared that is read over; a class that tells nothing of its tiles may leave what it does not read.
std::unique_ptr<ZScanRect> ZFileBitmap::ReadTile(int row, int col) const {
    std::unique_ptr<ZScanRect> tile = TakeSpareTile(GetScanRectBBox(row, col));
    const TileReading* const reading = FindTileReading(*this);
    if (reading != nullptr && reading->load != nullptr) {
        reading->load(*this, row, col, *tile);
    } else {
        tile->Renew(ZScanRect::Content::zero);
        ReadScanRect(*tile, row, col);
    }
    return tile;
}

void ZFileBitmap::UnlockScanRect(int row, int col) const {
    require(fileOpen, FileBitmapCheck::unlockClosed);
    std::unique_ptr<ZScanRect>& slot = SlotOf(row, col);
    require(slot != nullptr, FileBitmapCheck::unlockUnlocked);
    spareTile = std::move(slot);
}

void ZFileBitmap::CommitScanRect(int row, int col) {
    require(fileOpen, FileBitmapCheck::commitClosed);
    const std::unique_ptr<ZScanRect>& slot = SlotOf(row, col);
    require(slot != nullptr, FileBitmapCheck::commitUnlocked);
    require(!readOnly, FileBitmapCheck::commitReadOnly, fileName);
    WriteScanRect(*slot, row, col);
}

void ZFileBitmap::UnlockAllScanRects() const noexcept {
    for (ZScanRectRow& row : scanRectRows)
        for (std::unique_ptr<ZScanRect>& tile : row.tiles) tile.reset();
}

bool ZFileBitmap::CommitAll(shr::IProgress*) { return true; }
void ZFileBitmap::Close() {}
bool ZFileBitmap::Serialize(SerializeIO&, shr::IProgress*, gcs::GCSDef*) { return true; }

}  // namespace zbm
