#pragma once
#include <cstdint>

#include "shr/ColorFormat.h"
#include "zbm/SerializeIO.h"
#include "zbm/ZScanRect.h"

namespace zbm {

/// What a tile must be to fit its place in a bitmap's grid.
struct ZScanRect::Place {
    int width, height;
    shr::ColorFormat format;
    friend bool operator==(const Place&, const Place&) = default;
};

/// The bytes of a tile's pixels and mask (0 without mask) before compression. In 64 bits; for sizes of 1 and more.
struct TilePlanes {
    std::uint64_t pixelBytes, maskBytes;
    TilePlanes(int width, int height, shr::ColorFormat format);
    /// The shortest record that such a tile can have in an archive.
    std::uint64_t MinRecordBytes() const;
};

}  // namespace zbm
