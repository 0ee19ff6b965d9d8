#include "zbm/ZBasicMemBitmap.h"

#include <algorithm>
#include <new>

#include "core/PackedDib.h"
#include "core/TileGrid.h"
#include "core/TilePlanes.h"
#include "core/TileReading.h"
#include "core/checks/BasicMemBitmapChecks.h"
#include "shr/ScopeExit.h"

namespace zbm {

namespace {

/// Whether some computer has that much memory; whether this one has shows when the tiles are made.
bool CanBeInMemory(const TileGrid& grid, shr::ColorFormat format) {
    constexpr double kAddressSpace = static_cast<double>(std::uint64_t{1} << 48);
    const double bytes = grid.Sum([&](int width, int height) {
        const TilePlanes planes(width, height, format);
        return static_cast<double>(planes.pixelBytes) + static_cast<double>(planes.alphaBytes);
    });
    return bytes <= kAddressSpace;
}

}  // namespace

const shr::CTypeInfo ZBasicMemBitmap::ClassTypeId("ZBasicMemBitmap", &ZBasicMemBitmap::CreateInstance,
                                                  &ZBitmap::ClassTypeId);

namespace {
const ToldTileReading toldTileReading(typeid(ZBasicMemBitmap), {.resident = &TileInMemory});
}

const ZScanRect& TileInMemory(const ZBitmap& bitmap, int row, int col) {
    return static_cast<const ZBasicMemBitmap&>(bitmap).ZBasicMemBitmap::LockScanRect(row, col);
}

void* ZBasicMemBitmap::CreateInstance() {
    return static_cast<shr::CTypedObject*>(new ZBasicMemBitmap(1, 1, shr::BGRA_32, 512, 512));
}

const shr::CTypeInfo* ZBasicMemBitmap::GetTypeId() const { return &ClassTypeId; }

ZBasicMemBitmap::ZBasicMemBitmap(int width, int height, shr::ColorFormat format, int tileWidth, int tileHeight) {
    require(height >= 1 && width >= 1, BasicMemBitmapCheck::size);
    require(tileHeight >= 1 && tileWidth >= 1, BasicMemBitmapCheck::tileSize);
    Create(width, height, format, tileWidth, tileHeight);
}

ZBasicMemBitmap::ZBasicMemBitmap(const ZBasicMemBitmap& source) : ZBitmap() {
    if (!source.IsEmpty()) CopyAll(source);
}

ZBasicMemBitmap& ZBasicMemBitmap::operator=(const ZBasicMemBitmap& source) {
    if (source.IsEmpty())
        CreateCleanup();
    else if (this != &source)
        CopyAll(source);
    return *this;
}

ZBasicMemBitmap::ZBasicMemBitmap(ZBasicMemBitmap&& source) noexcept : ZBitmap() { MoveFrom(source); }

ZBasicMemBitmap& ZBasicMemBitmap::operator=(ZBasicMemBitmap&& source) noexcept {
    if (this != &source) MoveFrom(source);
    return *this;
}

ZBasicMemBitmap::~ZBasicMemBitmap() = default;

void ZBasicMemBitmap::Create(int width, int height, shr::ColorFormat format, int tileWidth, int tileHeight) {
    shr::ScopeExit leaveEmpty([this] { CreateCleanup(); });
    Renew(width, height, format, tileWidth, tileHeight, ZScanRect::Content::zero);
    leaveEmpty.Release();
}

void ZBasicMemBitmap::Create(const BITMAPINFO& dib, int tileWidth, int tileHeight) {
    const PackedDib parts(dib);
    Create(parts.header, parts.bits, parts.colors, tileWidth, tileHeight);
}

void ZBasicMemBitmap::Create(const BITMAPINFOHEADER* header, const void*, const RGBQUAD*, int, int) {
    require(header != nullptr, BasicMemBitmapCheck::dibHeader);
    require.Fail(BasicMemBitmapCheck::dibCreation);
}

void ZBasicMemBitmap::Create(const ZBasicMemBitmap& source) {
    if (this != &source) CopyAll(source);
}

void ZBasicMemBitmap::Init(int newPixelHeight, int newPixelWidth, shr::ColorFormat newFormat, int tileHeight,
                           int tileWidth) {
    filterState.inputRowCopy.reset();
    InitWithoutLayout(newPixelHeight, newPixelWidth, newFormat, tileHeight, tileWidth);
    if (!CanBeInMemory(TileGrid(newPixelHeight, newPixelWidth, tileHeight, tileWidth), newFormat)) {
        Free();
        throw std::bad_alloc();
    }
    CreateScanRectLayout(tileHeight, tileWidth);
}

/// Pages that the system has yet to map cost several times what writing them does. So tiles that fit their place in the
/// new image stay; the others are freed before any is allocated.
void ZBasicMemBitmap::Renew(int width, int height, shr::ColorFormat format, int tileWidth, int tileHeight,
                            ZScanRect::Content content) {
    std::vector<ZScanRectRow> former;
    former.swap(scanRectRows);
    Init(height, width, format, tileHeight, tileWidth);
    for (std::size_t row = 0; row < std::min(former.size(), scanRectRows.size()); ++row)
        TakeFittingTiles(scanRectRows[row], former[row], content);
    former.clear();
    AllocateScanRects();
}

void ZBasicMemBitmap::TakeFittingTiles(ZScanRectRow& row, ZScanRectRow& former, ZScanRect::Content content) {
    for (std::size_t col = 0; col < std::min(former.tiles.size(), row.tiles.size()); ++col) {
        const RECT& box = row.boxes[col];
        const auto width = static_cast<int>(box.right - box.left), height = static_cast<int>(box.bottom - box.top);
        std::unique_ptr<ZScanRect>& tile = former.tiles[col];
        if (!tile || !tile->IsShapedAs(width, height, colorFormat)) continue;
        tile->Renew(content);
        row.tiles[col] = std::move(tile);
    }
}

void ZBasicMemBitmap::AllocateScanRects() {
    for (ZScanRectRow& row : scanRectRows)
        for (std::size_t col = 0; col < row.boxes.size(); ++col) {
            if (row.tiles[col]) continue;
            const RECT& box = row.boxes[col];
            row.tiles[col] = std::make_unique<ZScanRect>(static_cast<int>(box.right - box.left),
                                                         static_cast<int>(box.bottom - box.top), colorFormat);
        }
}

void ZBasicMemBitmap::CreateCleanup() noexcept {
    filterState.inputRowCopy.reset();
    Free();
}

/// Each tile is made as a copy, so that its memory is touched once.
void ZBasicMemBitmap::CopyAll(const ZBasicMemBitmap& source) {
    shr::ScopeExit leaveEmpty([this] { CreateCleanup(); });
    Init(source.pixelHeight, source.pixelWidth, source.colorFormat, source.scanRectHeight, source.scanRectWidth);
    for (std::size_t row = 0; row < scanRectRows.size(); ++row) {
        const auto& from = source.scanRectRows[row].tiles;
        for (std::size_t col = 0; col < from.size(); ++col)
            if (from[col]) scanRectRows[row].tiles[col] = std::make_unique<ZScanRect>(*from[col]);
    }
    TakeDetails(source);
    leaveEmpty.Release();
}

void ZBasicMemBitmap::MoveFrom(ZBasicMemBitmap& source) noexcept {
    CreateCleanup();
    TakeOver(source);
    source.CreateCleanup();
}

void ZBasicMemBitmap::TakeDetails(const ZBitmap& source) {
    CopyColorTable(source);
    TakeResolution(source);
}

void ZBasicMemBitmap::TakeResolution(const ZBitmap& source) {
    SetXResolution(source.GetXResolution());
    SetYResolution(source.GetYResolution());
}

void ZBasicMemBitmap::ChangeFrom(ZBasicMemBitmap& source) {
    if (this == &source) return;
    shr::ScopeExit leaveEmpty([this] { CreateCleanup(); });
    Init(source.pixelHeight, source.pixelWidth, source.colorFormat, source.scanRectHeight, source.scanRectWidth);
    TakeDetails(source);
    // All that can fail comes before the first tile moves: then neither bitmap would hold the picture.
    ZBasicMemBitmap onePixel(1, 1, shr::BGRA_32, 512, 512);
    onePixel.scanRectRows[0].tiles[0].reset();
    for (std::size_t row = 0; row < scanRectRows.size(); ++row)
        scanRectRows[row].tiles.swap(source.scanRectRows[row].tiles);
    source.filterState.inputRowCopy.reset();
    source.TakeOver(onePixel);
    leaveEmpty.Release();
}

ZScanRect& ZBasicMemBitmap::LockScanRect(int row, int col) const {
    const auto r = static_cast<std::size_t>(row), c = static_cast<std::size_t>(col);
    require(r < scanRectRows.size() && c < scanRectRows[r].tiles.size() && scanRectRows[r].tiles[c] != nullptr,
            BasicMemBitmapCheck::tile);
    return *scanRectRows[r].tiles[c];
}

void ZBasicMemBitmap::UnlockScanRect(int, int) const {}
void ZBasicMemBitmap::CommitScanRect(int, int) {}
bool ZBasicMemBitmap::CommitAll(shr::IProgress*) { return true; }
ZBitmap* ZBasicMemBitmap::GetPtrToPOTReduction(unsigned) { return nullptr; }

}  // namespace zbm
