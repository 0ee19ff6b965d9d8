#include "pictures/TileRows.h"

#include <algorithm>
#include <cstring>

#include "shr/ColorFormat.h"
#include "shr/Exception.h"

namespace tool {

/// The part of a row that lies in one tile: `count` pixels from pixel (x, y) of the tile on, the row's pixels from
/// `done` on.
struct TileRows::Part {
    zbm::ZScanRect& tile;
    int x, y, done, count;
    Orientation orientation;

    PixelLine Pixels() const { return Line(tile.GetRowPtr(y), tile.GetStride()); }
    PixelLine Mask() const { return Line(tile.GetAlphaRowPtr(y), tile.GetAlphaStride()); }
    bool HasMask() const { return tile.GetAlphaRowPtr(y) != nullptr; }

private:
    PixelLine Line(std::uint8_t* row, int stride) const {
        const int step = orientation.mirrored ? -1 : 1;
        return orientation.transposed ? PixelLine{row, std::ptrdiff_t{step} * stride, x, 0}
                                      : PixelLine{row, 0, x, step};
    }
};

TileRows::TileRows(zbm::ZBitmap& source, Orientation fileOrientation) : bitmap(source), orientation(fileOrientation) {
    tiles.reserve(TileCount());
}

TileRows::~TileRows() {
    try {
        changed = false;
        Leave();
    } catch (...) {  // NOLINT(bugprone-empty-catch): an unlock that fails has nothing left to undo
    }
}

std::size_t TileRows::TileCount() const {
    const int rows = bitmap.GetNumScanRectRows();
    if (rows == 0 || orientation.transposed) return static_cast<std::size_t>(rows);
    return static_cast<std::size_t>(bitmap.GetNumScanRects(0));
}

zbm::ZScanRect& TileRows::TileAt(int index) {
    zbm::ZScanRect*& tile = tiles[static_cast<std::size_t>(index)];
    if (tile == nullptr)
        tile =
            &(orientation.transposed ? bitmap.LockScanRect(index, lockedLine) : bitmap.LockScanRect(lockedLine, index));
    return *tile;
}

void TileRows::Unlock(int index) {
    const int row = orientation.transposed ? index : lockedLine, column = orientation.transposed ? lockedLine : index;
    if (changed) bitmap.CommitScanRect(row, column);
    bitmap.UnlockScanRect(row, column);
}

void TileRows::Enter(int line) {
    if (line == lockedLine) return;
    Leave();
    lockedLine = line;
    tiles.assign(TileCount(), nullptr);
}

void TileRows::Leave() {
    for (; !tiles.empty(); tiles.pop_back())
        if (tiles.back() != nullptr) Unlock(static_cast<int>(tiles.size()) - 1);
    lockedLine = -1;
    changed = false;
}

template <class Copy>
void TileRows::ForEachPart(int x, int y, int count, const Copy& copy) {
    const int line = LineOf(y);
    const int start = orientation.mirrored ? Width() - 1 - x : x, step = orientation.mirrored ? -1 : 1;
    Enter(line / TileDepth());
    const int across = line % TileDepth();
    for (int done = 0; done < count;) {
        const int place = start + step * done;
        zbm::ZScanRect& tile = TileAt(place / TileLength());
        const int along = place % TileLength();
        const int length = orientation.transposed ? tile.GetHeight() : tile.GetWidth();
        const int part = std::min(count - done, orientation.mirrored ? along + 1 : length - along);
        copy(orientation.transposed ? Part{tile, across, along, done, part, orientation}
                                    : Part{tile, along, across, done, part, orientation});
        done += part;
    }
}

void TileRows::Finish() {
    StoreBand();
    Leave();
}

void TileRows::Store(int x, int y, int count, const std::uint8_t* pixels, const std::uint8_t* mask) {
    if (orientation.transposed) return AddToBand(x, y, count, pixels, mask);
    if (orientation.mirrored) return StoreRows(x, y, count, {pixels, 0, 1}, {mask, 0, 1});
    ForEachPart(x, y, count, [&](const Part& part) {
        shr::CopyPixels(part.tile.GetRowPtr(part.y), part.x, pixels, part.done, part.count, Format());
        if (mask == nullptr || !part.HasMask()) return;
        shr::CopyPixels(part.tile.GetAlphaRowPtr(part.y), part.x, mask, part.done, part.count, shr::GRAYSCALE_1);
    });
    changed = true;
}

/// The rows lie in the same tiles.
void TileRows::StoreRows(int x, int y, int count, const PixelRun& pixels, const PixelRun& masks) {
    const int bits = shr::ColorFmtToBPP[Format()], across = orientation.flipped ? -1 : 1;
    ForEachPart(x, y, count, [&](const Part& part) {
        PutPixels(part.Pixels(), across, pixels, part.done, part.count, bits);
        if (masks.rows != nullptr && part.HasMask()) {
            PutPixels(part.Mask(), across, masks, part.done, part.count, 1);
        }
    });
    changed = true;
}

bool TileRows::BandTakes(int x, int y, int count, bool masked) const {
    return band.rows < Band::kMostRows && x == band.x && y == band.y + band.rows && count == band.count &&
           masked == band.masked && LineOf(y) / TileDepth() == LineOf(band.y) / TileDepth();
}

void TileRows::AddToBand(int x, int y, int count, const std::uint8_t* pixels, const std::uint8_t* mask) {
    if (band.rows > 0 && !BandTakes(x, y, count, mask != nullptr)) StoreBand();
    if (band.rows == 0) {
        const auto size = static_cast<std::uint64_t>(count);
        band.x = x;
        band.y = y;
        band.count = count;
        band.masked = mask != nullptr;
        band.rowBytes = shr::PixelBytes(size, Format());
        band.maskRowBytes = shr::PixelBytes(size, shr::GRAYSCALE_1);
        band.pixels.resize(band.rowBytes * Band::kMostRows);
        band.masks.resize(band.maskRowBytes * Band::kMostRows);
    }
    const auto row = static_cast<std::size_t>(band.rows++);
    std::memcpy(&band.pixels[row * band.rowBytes], pixels, band.rowBytes);
    if (mask != nullptr) std::memcpy(&band.masks[row * band.maskRowBytes], mask, band.maskRowBytes);
}

void TileRows::StoreBand() {
    if (band.rows == 0) return;
    const PixelRun pixels{band.pixels.data(), band.rowBytes, band.rows};
    const PixelRun masks{band.masked ? band.masks.data() : nullptr, band.maskRowBytes, band.rows};
    StoreRows(band.x, band.y, band.count, pixels, masks);
    band.rows = 0;
}

void TileRows::Fetch(int x, int y, int count, std::uint8_t* pixels, std::uint8_t* mask) {
    StoreBand();
    const bool straight = !orientation.transposed && !orientation.mirrored;
    const int bits = shr::ColorFmtToBPP[Format()];
    ForEachPart(x, y, count, [&](const Part& part) {
        const bool masked = mask != nullptr && part.HasMask();
        if (straight) {
            shr::CopyPixels(pixels, part.done, part.tile.GetRowPtr(part.y), part.x, part.count, Format());
            if (!masked) return;
            shr::CopyPixels(mask, part.done, part.tile.GetAlphaRowPtr(part.y), part.x, part.count, shr::GRAYSCALE_1);
        } else {
            GetPixels(part.Pixels(), pixels, part.done, part.count, bits);
            if (masked) GetPixels(part.Mask(), mask, part.done, part.count, 1);
        }
    });
}

}  // namespace tool
