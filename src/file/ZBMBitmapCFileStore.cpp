// A store in its host file, positions counted from the base offset:
//
//     0     signature and version
//     49    header
//     1313  a gap of a header's size
//     2577  the table of the tiles' positions
//     ...   the tiles, in the order in which they were first written
#include "zbm/ZBitmapCFileStore.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <optional>

#include "core/DummyBitmap.h"
#include "core/FitTile.h"
#include "core/LockedTile.h"
#include "core/PackedDib.h"
#include "core/TileGrid.h"
#include "core/checks/BitmapCFileStoreChecks.h"
#include "file/FileTiles.h"
#include "file/LittleEndian.h"
#include "file/PositionTable.h"
#include "file/SignatureBlock.h"
#include "shr/BufferedFile.h"
#include "shr/ScopeExit.h"

namespace zbm {

namespace {

constexpr std::int64_t kHeaderBytes = 1264;
constexpr std::int64_t kHeaderPosition = SignatureBlock::kBytes;
constexpr std::int64_t kHeaderEnd = kHeaderPosition + kHeaderBytes;
constexpr std::int64_t kTablePosition = kHeaderEnd + kHeaderBytes;
constexpr std::int64_t kLastPosition = std::numeric_limits<std::int64_t>::max() / 2;  // sums stay in 64 bits
constexpr const wchar_t* kCreating = L"Creating image...";

ZDummyBitmap LayoutOf(int width, int height, shr::ColorFormat format, int tileWidth, int tileHeight) {
    ZDummyBitmap layout;
    layout.Init(height, width, format, tileHeight, tileWidth);
    return layout;
}

}  // namespace

template <class Self, class Coder>
void ZBitmapCFileStore::Header::Fields(Self& self, Coder& coder) {
    coder.I32(self.pixelHeight);
    coder.I32(self.pixelWidth);
    coder.I32(self.scanRectHeight);
    coder.I32(self.scanRectWidth);
    coder.Enum(self.colorFormat);
    coder.U32(self.numColorTableItems);
    for (auto& color : self.colorTable) coder.Bytes(&color, sizeof color);
    coder.I32(self.xResolution);
    coder.I32(self.yResolution);
    coder.I64(self.tablePosition);
    coder.Bytes(self.reserved, sizeof self.reserved);
}

ZBitmapCFileStore::ZFileScanRectInfo::ZFileScanRectInfo() = default;
ZBitmapCFileStore::ZFileScanRectInfo::~ZFileScanRectInfo() = default;

ZBitmapCFileStore::ZBitmapCFileStore(const shr::ZString& storeName, shr::CBufferedFile& hostFile,
                                     std::int64_t baseOffset, bool open, bool readOnlyStore)
    : file(hostFile),
      base(baseOffset),
      readOnly(readOnlyStore),
      name(storeName.IsEmpty() ? shr::ZString(L"Unknown") : storeName) {
    require(base >= 0, BitmapCFileStoreCheck::baseOffset);
    require(open || !readOnly, BitmapCFileStoreCheck::blankStore);
    file.Seek(base);
    if (!open) return;
    fileEnd = file.GetLength() - base;
    if (fileEnd < kHeaderEnd || !kStoreSignature.Read(file)) RefuseFile();
    version = SignatureBlock::kVersion;
    ReadHeader();
    ReadTable();
    roomEnd = Table().end;
}

ZBitmapCFileStore::~ZBitmapCFileStore() = default;

void ZBitmapCFileStore::RefuseFile() const { require.Fail(BitmapCFileStoreCheck::badFile, name); }

/// What would do harm is refused here; colours and resolution are taken as they stand.
void ZBitmapCFileStore::ReadHeader() {
    std::uint8_t bytes[kHeaderBytes];
    file.ReadExactly(bytes, sizeof bytes);
    Decode(header, bytes);
    if (!header.IsValid()) RefuseFile();
}

TileGrid ZBitmapCFileStore::Header::Grid() const noexcept {
    return {pixelHeight, pixelWidth, scanRectHeight, scanRectWidth};
}

bool ZBitmapCFileStore::Header::IsValid() const noexcept {
    return pixelHeight >= 0 && pixelWidth >= 0 && scanRectHeight >= 1 && scanRectWidth >= 1 &&
           shr::IsColorFormat(colorFormat) &&
           numColorTableItems <= static_cast<unsigned>(shr::ColorFmtToTblSize[colorFormat]) &&
           tablePosition >= kHeaderEnd;
}

/// The table must be that of the header's grid, which the file's length bounds before anything is sized by it.
void ZBitmapCFileStore::ReadTable() {
    const TileGrid grid = header.Grid();
    if (!PositionTable(grid).FitsInto(fileEnd - header.tablePosition)) RefuseFile();
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(PositionTable(grid).Bytes()));
    file.Seek(base + header.tablePosition);
    file.ReadExactly(bytes.data(), bytes.size());
    LittleEndianReader reader(bytes.data());
    std::int32_t count;
    reader.I32(count);
    if (count != grid.down.Count()) RefuseFile();
    std::vector<std::vector<std::int64_t>> rows(static_cast<std::size_t>(count));
    for (auto& row : rows) {
        reader.I32(count);
        if (count != grid.across.Count()) RefuseFile();
        row.resize(static_cast<std::size_t>(count));
        for (std::int64_t& position : row) reader.I64(position);
    }
    tilePositions.rows.swap(rows);
    if (!HasSoundPositions()) RefuseFile();
}

template <class Use>
void ZBitmapCFileStore::ForEachRecord(Use use) const {
    const TileGrid grid = header.Grid();
    for (std::size_t row = 0; row < tilePositions.rows.size(); ++row)
        for (std::size_t col = 0; col < tilePositions.rows[row].size(); ++col) {
            const std::int64_t position = tilePositions.rows[row][col];
            if (position == 0) continue;
            use(position, FileRecordBytes(grid.across.Length(static_cast<int>(col)),
                                          grid.down.Length(static_cast<int>(row)), header.colorFormat));
        }
}

/// No tile may lie over the header, the table or another tile, nor, where it could be written, outside the file.
bool ZBitmapCFileStore::HasSoundPositions() const {
    bool areSound = true;
    ForEachRecord([&](std::int64_t position, std::optional<std::int64_t> bytes) {
        areSound = areSound && bytes && position >= kHeaderEnd && position <= kLastPosition - *bytes &&
                   (readOnly || position + *bytes <= fileEnd);
    });
    if (!areSound) return false;
    std::vector<Range> ranges;
    AppendRanges(ranges);
    return AreDisjoint(ranges);
}

ZBitmapCFileStore::Range ZBitmapCFileStore::Table() const noexcept {
    const std::int64_t begin = base + header.tablePosition;
    return {begin, begin + PositionTable(header.Grid()).Bytes()};
}

void ZBitmapCFileStore::AppendRanges(std::vector<Range>& ranges) const {
    ranges.push_back({base, base + kHeaderEnd});
    ranges.push_back(Table());
    ForEachRecord([&](std::int64_t position, std::optional<std::int64_t> bytes) {
        ranges.push_back({base + position, base + position + bytes.value_or(0)});
    });
}

/// Most files hold them in order.
bool ZBitmapCFileStore::AreDisjoint(std::vector<Range>& ranges) {
    const auto beginsBefore = [](const Range& a, const Range& b) { return a.begin < b.begin; };
    if (!std::is_sorted(ranges.begin(), ranges.end(), beginsBefore))
        std::sort(ranges.begin(), ranges.end(), beginsBefore);
    const auto reachesInto = [](const Range& a, const Range& b) { return a.end > b.begin; };
    return std::adjacent_find(ranges.begin(), ranges.end(), reachesInto) == ranges.end();
}

std::int64_t ZBitmapCFileStore::DataEnd() const {
    std::int64_t end = Table().end;
    ForEachRecord([&](std::int64_t position, std::optional<std::int64_t> bytes) {
        end = std::max(end, base + position + bytes.value_or(0));
    });
    return end;
}

bool ZBitmapCFileStore::IsCutOff(shr::CBufferedFile& hostFile, std::int64_t offset) {
    std::uint8_t bytes[kHeaderBytes];
    const std::int64_t length = hostFile.GetLength();
    if (offset > length - kHeaderEnd) return true;
    hostFile.Seek(offset + kHeaderPosition);
    hostFile.ReadExactly(bytes, sizeof bytes);
    Header found;
    Decode(found, bytes);
    return found.IsValid() && !PositionTable(found.Grid()).FitsInto(length - offset - found.tablePosition);
}

void ZBitmapCFileStore::SeatHeader() noexcept { headerPosition = kHeaderPosition; }

/// A table may not grow over what lies behind the longest that the store had.
void ZBitmapCFileStore::TakeRoom(const ZBitmap& bitmap) {
    const TileGrid grid(bitmap.GetPixelHeight(), bitmap.GetPixelWidth(), bitmap.GetScanRectHeight(),
                        bitmap.GetScanRectWidth());
    const std::int64_t end = base + kTablePosition + PositionTable(grid).Bytes();
    require(roomEnd == 0 || end <= roomEnd || file.GetLength() <= roomEnd, BitmapCFileStoreCheck::room);
    roomEnd = std::max(roomEnd, end);
}

void ZBitmapCFileStore::CreateSkeleton(const ZBitmap& bitmap) {
    require(!readOnly, BitmapCFileStoreCheck::skeletonOfReadOnly);
    require(shr::IsColorFormat(bitmap.GetColorFormat()), BitmapCFileStoreCheck::formatRange);
    TakeRoom(bitmap);
    file.Seek(base);
    std::vector<std::vector<std::int64_t>> rows(static_cast<std::size_t>(bitmap.GetNumScanRectRows()));
    for (std::size_t row = 0; row < rows.size(); ++row)
        rows[row].resize(static_cast<std::size_t>(bitmap.GetNumScanRects(static_cast<int>(row))));
    tilePositions.rows.swap(rows);

    kStoreSignature.Write(file);
    version = SignatureBlock::kVersion;
    headerPosition = file.GetPosition() - base;
    header.pixelHeight = bitmap.GetPixelHeight();
    header.pixelWidth = bitmap.GetPixelWidth();
    header.scanRectHeight = bitmap.GetScanRectHeight();
    header.scanRectWidth = bitmap.GetScanRectWidth();
    header.colorFormat = bitmap.GetColorFormat();
    const unsigned colors = bitmap.GetNumColorTableItems();
    FillColorTable(colors == 0 ? nullptr : bitmap.GetConstColorTablePtr(), colors);
    header.xResolution = bitmap.GetXResolution();
    header.yResolution = bitmap.GetYResolution();
    // The header stands in the file by now, and its size is added once more: files have had this gap from the first.
    header.tablePosition = file.GetPosition() + kHeaderBytes - base;
    SaveInfoTable();
    SaveSRInfo();
    SaveInfoTable();
}

void ZBitmapCFileStore::SaveInfoTable() {
    require(!readOnly, BitmapCFileStoreCheck::headerOfReadOnly);
    file.Seek(base + headerPosition);
    file.Write(Encode(header, kHeaderBytes).data(), kHeaderBytes);
}

void ZBitmapCFileStore::SaveSRInfo() {
    require(!readOnly, BitmapCFileStoreCheck::tableOfReadOnly);
    const auto& rows = tilePositions.rows;
    LittleEndianWriter table(4 + rows.size() * (4 + 8 * (rows.empty() ? 0 : rows[0].size())));
    table.I32(static_cast<std::int32_t>(rows.size()));
    for (const auto& row : rows) {
        table.I32(static_cast<std::int32_t>(row.size()));
        for (const std::int64_t position : row) table.I64(position);
    }
    file.Seek(base + header.tablePosition);
    file.Write(table.Result().data(), table.Result().size());
}

void ZBitmapCFileStore::CommitAll() {
    if (readOnly) return;
    SaveInfoTable();
    SaveSRInfo();
}

void ZBitmapCFileStore::CreateCleanUp() {
    try {
        file.Seek(base);
    } catch (const shr::Exception&) {
        // The creation has failed already; where the host file stands is all that is lost.
    }
}

void ZBitmapCFileStore::SetColorFormat(shr::ColorFormat format) {
    require(shr::IsColorFormat(format), BitmapCFileStoreCheck::formatRange);
    require(!readOnly, BitmapCFileStoreCheck::headerOfReadOnly);
    header.colorFormat = format;
    header.numColorTableItems = static_cast<std::uint32_t>(shr::ColorFmtToTblSize[format]);
    std::fill_n(header.colorTable, header.numColorTableItems, shr::Color4b::Black);
    SaveInfoTable();
}

void ZBitmapCFileStore::FillColorTable(const shr::Color4b* colors, unsigned count) {
    require(count <= static_cast<unsigned>(shr::ColorFmtToTblSize[header.colorFormat]),
            BitmapCFileStoreCheck::colorCount);
    require(!readOnly, BitmapCFileStoreCheck::headerOfReadOnly);
    std::copy_n(colors, count, header.colorTable);
    std::fill(header.colorTable + count, std::end(header.colorTable), shr::Color4b::Black);
    header.numColorTableItems = count;
    SaveInfoTable();
}

shr::Color4b ZBitmapCFileStore::GetColorTableItem(unsigned index) const {
    require(header.numColorTableItems > 0, BitmapCFileStoreCheck::colorTable);
    require(index < header.numColorTableItems, BitmapCFileStoreCheck::colorIndex);
    return header.colorTable[index];
}

void ZBitmapCFileStore::SetXResolution(int pixelsPerMeter) {
    if (pixelsPerMeter < 1 || pixelsPerMeter == header.xResolution) return;
    require(!readOnly, BitmapCFileStoreCheck::headerOfReadOnly);
    header.xResolution = pixelsPerMeter;
    SaveInfoTable();
}

void ZBitmapCFileStore::SetYResolution(int pixelsPerMeter) {
    if (pixelsPerMeter < 1 || pixelsPerMeter == header.yResolution) return;
    require(!readOnly, BitmapCFileStoreCheck::headerOfReadOnly);
    header.yResolution = pixelsPerMeter;
    SaveInfoTable();
}

/// The place of a tile in the table. A tile of another shape would run into its neighbour's record.
std::int64_t ZBitmapCFileStore::PositionOf(const ZScanRect& tile, int row, int col) const {
    const auto& rows = tilePositions.rows;
    const auto r = static_cast<std::size_t>(row), c = static_cast<std::size_t>(col);
    require(r < rows.size() && c < rows[r].size(), BitmapCFileStoreCheck::tile);
    const TileGrid grid = header.Grid();
    require(tile.IsShapedAs(grid.across.Length(col), grid.down.Length(row), header.colorFormat),
            BitmapCFileStoreCheck::tileShape);
    return rows[r][c];
}

std::optional<std::int64_t> ZBitmapCFileStore::RecordOf(const ZScanRect& tile, int row, int col) const {
    require(header.tablePosition >= 1, BitmapCFileStoreCheck::readBlank);
    const std::int64_t position = PositionOf(tile, row, col);
    if (position < 1) return std::nullopt;
    const auto bytes = FileRecordBytes(tile.GetWidth(), tile.GetHeight(), tile.GetColorFormat()).value_or(0);
    if (readOnly && position > fileEnd - bytes) RefuseFile();
    return base + position;
}

void ZBitmapCFileStore::ReadScanRect(ZScanRect& tile, int row, int col) const {
    const std::optional<std::int64_t> record = RecordOf(tile, row, col);
    if (!record) return;
    file.Seek(*record);
    tile.Read(file);
}

void ZBitmapCFileStore::LoadTile(ZScanRect& tile, int row, int col) const {
    if (PositionOf(tile, row, col) < 1) return tile.Renew(ZScanRect::Content::zero);
    ReadScanRect(tile, row, col);
}

void ZBitmapCFileStore::LoadRows(ZScanRect& tile, int row, int col, int begin, int end) const {
    const std::optional<std::int64_t> record = RecordOf(tile, row, col);
    if (!record) return tile.Renew(ZScanRect::Content::zero);
    tile.ReadRows(file, *record, begin, end);
}

/// A write is done when the system has it: what stays in the host file's buffer could be lost with a later error.
void ZBitmapCFileStore::WriteScanRect(const ZScanRect& tile, int row, int col) {
    require(!readOnly && header.tablePosition >= 1, BitmapCFileStoreCheck::writable);
    const std::int64_t position = PositionOf(tile, row, col);
    if (position < 1)
        return WriteFirst(tile, tilePositions.rows[static_cast<std::size_t>(row)][static_cast<std::size_t>(col)]);
    file.Seek(base + position);
    tile.Write(file);
    file.Flush();
}

void ZBitmapCFileStore::WriteFirst(const ZScanRect& tile, std::int64_t& position) {
    const std::int64_t end = file.GetLength();
    shr::ScopeExit cutBack([&] {
        try {
            file.SetLength(end);
        } catch (const shr::Exception&) {
            // The error on its way is the one to report; the bytes behind the end belong to no tile.
        }
    });
    file.Seek(end);
    tile.Write(file);
    file.Flush();
    position = end - base;
    cutBack.Release();
}

/// Lays the store out, and lets `fillAndWrite` write each tile of the layout.
template <class FillAndWrite>
bool ZBitmapCFileStore::CreateTiles(const ZBitmap& layout, shr::IProgress* progress, const FillAndWrite& fillAndWrite) {
    CreateSkeleton(layout);
    const shr::CScopedIProgressTask task(progress, kCreating);
    const int rows = layout.GetNumScanRectRows();
    for (int row = 0; row < rows; ++row) {
        const int cols = layout.GetNumScanRects(row);
        for (int col = 0; col < cols; ++col) {
            fillAndWrite(row, col);
            if (!SRProgress(progress, row, col, rows, cols)) return false;
        }
    }
    SaveSRInfo();
    return true;
}

bool ZBitmapCFileStore::Create(int width, int height, shr::ColorFormat format, int tileWidth, int tileHeight,
                               shr::IProgress* progress) {
    const ZDummyBitmap layout = LayoutOf(width, height, format, tileWidth, tileHeight);
    shr::ScopeExit cleanUp([this] { CreateCleanUp(); });
    std::optional<ZScanRect> tile;
    const auto writeZeros = [&](int row, int col) {
        WriteScanRect(FitTile(tile, layout.GetScanRectBBox(row, col), format), row, col);
    };
    if (!CreateTiles(layout, progress, writeZeros)) return false;
    SaveInfoTable();
    cleanUp.Release();
    return true;
}

bool ZBitmapCFileStore::Create(ZBitmap& source, shr::IProgress* progress) {
    shr::ScopeExit cleanUp([this] { CreateCleanUp(); });
    const auto copyTile = [&](int row, int col) { WriteScanRect(*LockedTile(source, row, col), row, col); };
    if (!CreateTiles(source, progress, copyTile)) return false;
    header.xResolution = source.GetXResolution();
    header.yResolution = source.GetYResolution();
    SaveInfoTable();
    cleanUp.Release();
    return true;
}

bool ZBitmapCFileStore::Create(const BITMAPINFO& dib, shr::IProgress* progress) {
    const PackedDib packed(dib);
    return Create(&dib.bmiHeader, packed.bits, packed.colors, progress);
}

bool ZBitmapCFileStore::Create(const BITMAPINFOHEADER* dibHeader, const void* bits, const RGBQUAD* colors,
                               shr::IProgress* progress) {
    require(dibHeader != nullptr, BitmapCFileStoreCheck::dibHeader);
    require(bits != nullptr, BitmapCFileStoreCheck::dibBits);
    require(!readOnly, BitmapCFileStoreCheck::dibIntoReadOnly);
    const shr::ColorFormat format = shr::ColorFormatClosestToDIB(*dibHeader);
    const ZDummyBitmap layout = LayoutOf(dibHeader->biWidth, dibHeader->biHeight, format, kFileTileSide, kFileTileSide);
    shr::ScopeExit cleanUp([this] { CreateCleanUp(); });
    std::optional<ZScanRect> tile;
    const auto copyFromDib = [&](int row, int col) {
        const RECT box = layout.GetScanRectBBox(row, col);
        FitTile(tile, box, format).CopyFromDib(dibHeader, bits, box.left, box.top);
        WriteScanRect(*tile, row, col);
    };
    if (!CreateTiles(layout, progress, copyFromDib)) return false;
    TakeDibColors(*dibHeader, colors);
    SaveInfoTable();
    cleanUp.Release();
    return true;
}

/// Colours of a DIB without a table are a hint for displays with a palette, and passed over.
void ZBitmapCFileStore::CheckDibColors(const BITMAPINFOHEADER& dibHeader, const RGBQUAD* colors) {
    const int most = shr::ColorFmtToTblSize[shr::ColorFormatClosestToDIB(dibHeader)];
    const std::size_t count = PackedDib::CountColors(dibHeader);
    if (count == 0 || most == 0) return;
    require(colors != nullptr, BitmapCFileStoreCheck::dibColors);
    require(count <= static_cast<std::size_t>(most), BitmapCFileStoreCheck::colorCount);
}

void ZBitmapCFileStore::TakeDibColors(const BITMAPINFOHEADER& dibHeader, const RGBQUAD* colors) {
    CheckDibColors(dibHeader, colors);
    const auto count = static_cast<unsigned>(PackedDib::CountColors(dibHeader));
    if (count == 0 || shr::ColorFmtToTblSize[header.colorFormat] == 0) return;
    shr::Color4b table[256];
    shr::CopyRGBQUADToColor4b(table, colors, count, false);
    FillColorTable(table, count);
}

bool ZBitmapCFileStore::CreateEmpty(int width, int height, shr::ColorFormat format, int tileWidth, int tileHeight) {
    CreateSkeleton(LayoutOf(width, height, format, tileWidth, tileHeight));
    return true;
}

}  // namespace zbm
