#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>

#include "gdi/gdi_types.h"

namespace gdi {

/// Rows of a DIB that are drawn from, counted from the uppermost that is there.
struct DibSource {
    std::int64_t width, height;  ///< of the whole DIB
    int bitCount;
    bool isTopDown;
    std::size_t stride;
    const std::uint8_t* bits = nullptr;
    std::int64_t lines = 0;           ///< that `bits` holds
    std::uint32_t palette[256] = {};  ///< each colour as a pixel; black past the table

    const std::uint8_t* Row(std::int64_t line) const noexcept {
        return bits + static_cast<std::size_t>(isTopDown ? line : lines - 1 - line) * stride;
    }
};

/// The DIB that the record describes, without bits; nothing for one that is not drawn.
std::optional<DibSource> DescribeDib(const BITMAPINFO* info, UINT usage) noexcept;

/// Gives pixels of 4 bytes: those of a row at `columns[0]` .. `columns[count - 1]`.
using GatherPixels = void (*)(std::uint8_t* pixels, const std::uint8_t* row, const std::int32_t* columns,
                              std::size_t count, const std::uint32_t* palette);
GatherPixels GathererFor(int bitCount) noexcept;

}  // namespace gdi
