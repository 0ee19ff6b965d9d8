#pragma once
#include <limits>

#include "core/TilePlanes.h"
#include "zbm/ZScanRect.h"
#include "zcdl/Codec.h"

namespace zbm {

/// What a tile must be to fit its place in a bitmap's grid.
struct ZScanRect::Place {
    int width, height;
    shr::ColorFormat format;
    friend bool operator==(const Place&, const Place&) = default;
};

// A tile's record in an archive: u16 version, i32 width, height and format, then each plane as a block, which is its
// encoded length as 32 bits and the encoded bytes.

/// Whether the planes' blocks have lengths of 32 bits, however they are encoded.
inline bool CanBeFramed(const TilePlanes& planes) {
    constexpr std::uint64_t kLongest = std::numeric_limits<std::uint32_t>::max();
    const auto fits = [](std::uint64_t byteCount) {
        return byteCount <= kLongest && zcdl::MaxEncodedSize(byteCount) <= kLongest;
    };
    return fits(planes.pixelBytes) && fits(planes.alphaBytes);
}

/// The shortest record that such a tile can have.
inline std::uint64_t MinRecordBytes(const TilePlanes& planes) {
    constexpr std::uint64_t kHead = 2 + 3 * 4, kLength = 4;
    const std::uint64_t mask = planes.alphaBytes == 0 ? 0 : kLength + zcdl::MinEncodedSize(planes.alphaBytes);
    return kHead + kLength + zcdl::MinEncodedSize(planes.pixelBytes) + mask;
}

}  // namespace zbm
