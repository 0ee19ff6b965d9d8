#include "commands/MemoryLimit.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

#include "Host.h"
#include "pictures/RowConversion.h"

namespace tool {

namespace {

constexpr double kBytesPerTile = 256;    // its record, its blocks' headers
constexpr double kBytesPerTileRow = 16;  // its row pointers

/// Bytes of one row of one tile.
double TileRowBytes(int tileWidth, shr::ColorFormat format) {
    const auto width = static_cast<std::uint64_t>(tileWidth);
    const std::uint64_t mask = HasMask(format) ? shr::RowBytes(width, shr::GRAYSCALE_1) : 0;
    return static_cast<double>(shr::RowBytes(width, format) + mask) + kBytesPerTileRow;
}

}  // namespace

double BytesOf(const BitmapShape& shape) {
    const int fullColumns = shape.width / shape.tileWidth, rest = shape.width % shape.tileWidth;
    const double rowBytes =
        fullColumns * TileRowBytes(shape.tileWidth, shape.format) + (rest == 0 ? 0 : TileRowBytes(rest, shape.format));
    const double columns = std::ceil(static_cast<double>(shape.width) / shape.tileWidth);
    const double rows = std::ceil(static_cast<double>(shape.height) / shape.tileHeight);
    return rowBytes * shape.height + columns * rows * kBytesPerTile;
}

void RefuseBeyondMemory(const BitmapShape& shape, std::uint64_t otherBytes) {
    const double needed = BytesOf(shape) + static_cast<double>(otherBytes);
    if (needed <= static_cast<double>(UsableMemory())) return;
    constexpr double kMebibyte = 1024.0 * 1024.0;
    throw std::runtime_error("a bitmap of " + std::to_string(shape.width) + " x " + std::to_string(shape.height) +
                             " pixels takes " + std::to_string(static_cast<std::uint64_t>(needed / kMebibyte)) +
                             " MiB, more than the memory that there is");
}

void RefuseBeyondMemoryOfARow(BitmapShape shape, std::uint64_t otherBytes) {
    shape.height = std::min(shape.height, shape.tileHeight);
    RefuseBeyondMemory(shape, otherBytes);
}

std::uint64_t MemoryForABitmap(std::optional<std::uint64_t> asked) {
    constexpr std::uint64_t kShare = 4;
    const std::uint64_t usable = UsableMemory();
    return asked ? std::min(*asked, usable) : usable / kShare;
}

}  // namespace tool
