#pragma once
// The tiles of the bitmap that a run of filters reads, where the run goes from tile to tile.
#include <optional>

#include "core/FitTile.h"
#include "core/TileReading.h"
#include "filter/LineSink.h"

namespace zbm {

/// Whether a run can go from tile to tile: the input's class tells how its tiles are reached, and the sink takes tiles.
/// Those of an input that is not in memory are read once each, so the sink must take them as wholes.
inline bool ReachesTiles(const ZBitmap& input, const LineSink& sink) {
    const TileReading* const reading = FindTileReading(input);
    if (reading == nullptr) return false;
    return sink.TakenTiles() == LineSink::Tiles::whole ||
           (sink.TakenTiles() == LineSink::Tiles::inBands && reading->resident != nullptr);
}

inline bool IsWhole(const RECT& rect, const ZBitmap& bitmap) {
    return rect.left == 0 && rect.top == 0 && rect.right == bitmap.GetPixelWidth() &&
           rect.bottom == bitmap.GetPixelHeight();
}

/// Of a bitmap whose class tells how its tiles are reached. One at a time.
class InputTiles {
public:
    explicit InputTiles(const ZBitmap& input) : bitmap(input), reading(*FindTileReading(input)) {}

    bool AreInMemory() const noexcept { return reading.resident != nullptr; }
    /// Until the next one is asked for.
    const ZScanRect& At(int row, int col) {
        if (AreInMemory()) return reading.resident(bitmap, row, col);
        ZScanRect& tile = FitTile(loaded, bitmap.GetScanRectBBox(row, col), bitmap.GetColorFormat());
        reading.load(bitmap, row, col, tile);
        return tile;
    }

private:
    const ZBitmap& bitmap;
    const TileReading& reading;
    std::optional<ZScanRect> loaded;
};

}  // namespace zbm
