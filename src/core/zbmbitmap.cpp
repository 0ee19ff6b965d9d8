// The bitmap's layout, colour table and resolution.
#include <algorithm>

#include "core/TileGrid.h"
#include "core/checks/BitmapChecks.h"
#include "shr/Units.h"
#include "zbm/ZBitmap.h"

namespace zbm {

using shr::Color4b;
using shr::ColorFormat;

namespace {

/// Half away from zero. What no int holds becomes the nearest that does.
int Round(double value) {
    const double rounded = value >= 0 ? value + 0.5 : value - 0.5;
    return static_cast<int>(std::clamp(rounded, -2147483648.0, 2147483647.0));
}

}  // namespace

// The destructors and copies of a row stand here, where a tile is a complete type.
ZBitmap::ZScanRectRow::ZScanRectRow() = default;
ZBitmap::ZScanRectRow::~ZScanRectRow() = default;
ZBitmap::ZScanRectRow::ZScanRectRow(ZScanRectRow&&) noexcept = default;
ZBitmap::ZScanRectRow& ZBitmap::ZScanRectRow::operator=(ZScanRectRow&&) noexcept = default;

ZBitmap::ZScanRectRow::ZScanRectRow(const ZScanRectRow& source) : boxes(source.boxes) {
    tiles.reserve(source.tiles.size());
    for (const auto& tile : source.tiles) tiles.push_back(tile ? std::make_unique<ZScanRect>(*tile) : nullptr);
}

ZBitmap::ZScanRectRow& ZBitmap::ZScanRectRow::operator=(const ZScanRectRow& source) {
    if (this != &source) *this = ZScanRectRow(source);
    return *this;
}

const shr::CTypeInfo ZBitmap::ClassTypeId("ZBitmap", nullptr, &shr::CTypedObject::ClassTypeId);

const shr::CTypeInfo* ZBitmap::GetTypeId() const { return &ClassTypeId; }

ZBitmap::ZBitmap() = default;
ZBitmap::~ZBitmap() = default;
ZBitmap::ZBitmap(const ZBitmap& source) = default;

ZBitmap& ZBitmap::operator=(const ZBitmap& source) {
    if (this == &source) return *this;
    std::vector<ZScanRectRow> newRows = source.scanRectRows;  // all that can fail
    CopyFields(source);
    scanRectRows.swap(newRows);
    return *this;
}

void ZBitmap::TakeOver(ZBitmap& source) noexcept {
    CopyFields(source);
    scanRectRows.swap(source.scanRectRows);
}

void ZBitmap::CopyFields(const ZBitmap& source) noexcept {
    pixelHeight = source.pixelHeight;
    pixelWidth = source.pixelWidth;
    scanRectHeight = source.scanRectHeight;
    scanRectWidth = source.scanRectWidth;
    xResolution = source.xResolution;
    yResolution = source.yResolution;
    colorFormat = source.colorFormat;
    numColorTableItems = source.numColorTableItems;
    std::copy_n(source.colorTable, 256, colorTable);
}

void ZBitmap::Init(int newPixelHeight, int newPixelWidth, ColorFormat newFormat, int newScanRectHeight,
                   int newScanRectWidth) {
    InitWithoutLayout(newPixelHeight, newPixelWidth, newFormat, newScanRectHeight, newScanRectWidth);
    CreateScanRectLayout(scanRectHeight, scanRectWidth);
}

void ZBitmap::InitWithoutLayout(int newPixelHeight, int newPixelWidth, ColorFormat newFormat, int newScanRectHeight,
                                int newScanRectWidth) {
    Free();
    require(newPixelHeight >= 0 && newPixelWidth >= 0, BitmapCheck::pixelSize);
    require(newScanRectHeight >= 1 && newScanRectWidth >= 1, BitmapCheck::tileSize);
    pixelHeight = newPixelHeight;
    pixelWidth = newPixelWidth;
    scanRectHeight = newScanRectHeight;
    scanRectWidth = newScanRectWidth;
    SetColorFormat(newFormat);
    ZBitmap::FillColorTable(nullptr, 0);
    numColorTableItems = static_cast<std::uint32_t>(shr::ColorFmtToTblSize[colorFormat]);
    // A picture of unknown size is taken for 6 inches along its longer side.
    xResolution = yResolution = Round(std::max(pixelWidth, pixelHeight) / 6.0 * shr::INCHES_PER_METER);
}

void ZBitmap::SetColorFormat(ColorFormat newFormat) {
    require(colorFormat == shr::FORMAT_NONE, BitmapCheck::formatIsSetOnce);
    require(shr::IsColorFormat(newFormat), BitmapCheck::formatRange);
    colorFormat = newFormat;
}

void ZBitmap::Free() noexcept {
    scanRectRows.clear();
    colorFormat = shr::FORMAT_NONE;
    numColorTableItems = 0;
}

void ZBitmap::Copy(const ZBitmap& source) {
    pixelHeight = source.pixelHeight;
    pixelWidth = source.pixelWidth;
    SetColorFormat(source.colorFormat);
    CopyColorTable(source);
    scanRectHeight = source.scanRectHeight;
    scanRectWidth = source.scanRectWidth;
    scanRectRows = source.scanRectRows;
}

void ZBitmap::CreateScanRectLayout(int tileHeight, int tileWidth) {
    const TileSide down(pixelHeight, tileHeight);
    scanRectRows.reserve(scanRectRows.size() + static_cast<std::size_t>(down.Count()));
    for (int i = 0; i < down.Count(); ++i)
        SetScanRectRowInfo(scanRectRows.emplace_back(), down.Begin(i), down.Length(i), tileWidth);
}

void ZBitmap::SetScanRectRowInfo(ZScanRectRow& row, int top, int rowHeight, int tileWidth) const {
    const TileSide across(pixelWidth, tileWidth);
    const auto added = static_cast<std::size_t>(across.Count());
    row.boxes.reserve(row.boxes.size() + added);
    for (int j = 0; j < across.Count(); ++j)
        row.boxes.push_back(RECT{across.Begin(j), top, across.End(j), top + rowHeight});
    row.tiles.resize(row.tiles.size() + added);
}

void ZBitmap::FillColorTable(const Color4b* colors, unsigned count) {
    require(count <= static_cast<unsigned>(shr::ColorFmtToTblSize[colorFormat]), BitmapCheck::colorCount);
    std::copy_n(colors, count, colorTable);
    std::fill(colorTable + count, colorTable + 256, Color4b::Black);
    numColorTableItems = count;
}

Color4b ZBitmap::GetColorTableItem(unsigned index) const {
    require(numColorTableItems > 0, BitmapCheck::colorTable);
    require(index < numColorTableItems, BitmapCheck::colorIndex);
    return colorTable[index];
}

void ZBitmap::CopyColorTable(const ZBitmap& source) {
    // An archive may have given the source more colours than its format's table holds.
    const unsigned capacity = static_cast<unsigned>(shr::ColorFmtToTblSize[source.colorFormat]);
    const unsigned count = std::min(source.numColorTableItems, capacity);
    Color4b colors[256];
    for (unsigned i = 0; i < count; ++i) colors[i] = source.GetColorTableItem(i);
    FillColorTable(count == 0 ? nullptr : colors, count);
}

int ZBitmap::GetNumScanRects(int row) const noexcept {
    return static_cast<int>(scanRectRows[static_cast<std::size_t>(row)].boxes.size());
}

RECT ZBitmap::GetScanRectBBox(int row, int col) const noexcept {
    return scanRectRows[static_cast<std::size_t>(row)].boxes[static_cast<std::size_t>(col)];
}

void ZBitmap::SetXResolution(int pixelsPerMeter) { xResolution = pixelsPerMeter; }
void ZBitmap::SetYResolution(int pixelsPerMeter) { yResolution = pixelsPerMeter; }
void ZBitmap::SetXDPIResolution(int dotsPerInch) { SetXResolution(Round(dotsPerInch * shr::INCHES_PER_METER)); }
void ZBitmap::SetYDPIResolution(int dotsPerInch) { SetYResolution(Round(dotsPerInch * shr::INCHES_PER_METER)); }
int ZBitmap::GetXDPIResolution() const noexcept { return Round(xResolution * shr::METERS_PER_INCH); }
int ZBitmap::GetYDPIResolution() const noexcept { return Round(yResolution * shr::METERS_PER_INCH); }

}  // namespace zbm
