#pragma once
#include <cstdint>
#include <limits>
#include <optional>

#include "core/TilePlanes.h"

namespace zbm {

/// The sides in pixels of all tiles in files that are made here.
inline constexpr int kFileTileSide = 512;

/// The bytes of a tile's record in a file: its pixel rows, then its mask rows if the format has a mask. Nothing for a
/// tile that no file could hold.
inline std::optional<std::int64_t> FileRecordBytes(int width, int height, shr::ColorFormat format) {
    const TilePlanes row(width, 1, format);
    if (row.stride > std::numeric_limits<std::int32_t>::max()) return std::nullopt;
    return static_cast<std::int64_t>((row.stride + row.alphaStride) * static_cast<std::uint64_t>(height));
}

}  // namespace zbm
