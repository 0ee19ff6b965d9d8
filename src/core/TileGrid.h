#pragma once
#include "gdi/gdi.h"

namespace zbm {

/// The tiles along one side of a picture: all of one length but the last, which may be shorter.
class TileSide {
public:
    /// `sidePixels` 0 or more, `tilePixels` 1 or more.
    TileSide(int sidePixels, int tilePixels) noexcept
        : tile(tilePixels), full(sidePixels / tilePixels), rest(sidePixels % tilePixels) {}

    int Count() const noexcept { return full + (rest > 0 ? 1 : 0); }
    int Full() const noexcept { return full; }
    /// The length of the last tile if it is shorter, else 0.
    int Rest() const noexcept { return rest; }
    int Tile() const noexcept { return tile; }
    int Begin(int index) const noexcept { return index * tile; }
    int Length(int index) const noexcept { return index < full ? tile : rest; }
    int End(int index) const noexcept { return Begin(index) + Length(index); }

private:
    int tile, full, rest;
};

/// How a picture is laid out in tiles. It takes no memory, however many they are.
struct TileGrid {
    TileSide down, across;

    TileGrid(int pixelHeight, int pixelWidth, int tileHeight, int tileWidth) noexcept
        : down(pixelHeight, tileHeight), across(pixelWidth, tileWidth) {}

    double Tiles() const noexcept { return static_cast<double>(down.Count()) * across.Count(); }

    RECT Box(int row, int col) const noexcept {
        return RECT{across.Begin(col), down.Begin(row), across.End(col), down.End(row)};
    }

    /// The sum of `of(width, height)` over all tiles, which are of four shapes at most. Large sums are rounded.
    template <class Of>
    double Sum(Of of) const {
        const auto column = [&](int width, int count) {
            if (width == 0 || count == 0) return 0.0;
            const double full = down.Full() == 0 ? 0 : static_cast<double>(of(width, down.Tile())) * down.Full();
            const double rest = down.Rest() == 0 ? 0 : static_cast<double>(of(width, down.Rest()));
            return (full + rest) * count;
        };
        return column(across.Tile(), across.Full()) + column(across.Rest(), 1);
    }
};

}  // namespace zbm
