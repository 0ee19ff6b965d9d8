#pragma once
#include <cstdint>

#include "core/TileGrid.h"

namespace zbm {

/// The size of the table that says where each tile of a grid lies: the number of rows as 32 bits, and for each row the
/// number of its tiles as 32 bits and a position of 64 bits a tile.
class PositionTable {
public:
    explicit PositionTable(const TileGrid& grid) noexcept
        : rows(grid.down.Count()), rowBytes(4 + std::int64_t{8} * grid.across.Count()) {}

    /// Only of a table that fits a file.
    std::int64_t Bytes() const noexcept { return 4 + rows * rowBytes; }
    bool FitsInto(std::int64_t byteCount) const noexcept {
        return byteCount >= 4 && rows <= (byteCount - 4) / rowBytes;
    }

private:
    std::int64_t rows, rowBytes;
};

}  // namespace zbm
