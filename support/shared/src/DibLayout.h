#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>

#include "gdi/gdi.h"

namespace shr {

/// How a packed DIB lies in memory, in bytes: header, then masks or colour table, then the bits.
struct DibLayout {
    std::uint32_t colors;  ///< entries of the colour table; masks are not among them
    std::size_t tableBytes;
    std::size_t stride;
    std::size_t bitsOffset;
    std::size_t totalBytes;

    std::size_t BitsBytes() const noexcept { return totalBytes - bitsOffset; }
};

/// The most that a DIB may take: the format counts its bytes in 31 bits.
inline constexpr std::uint64_t kMostDibBytes = 0x7FFFFFFF;

/// The layout for a header that describes a bottom-up picture of the kinds that CDib holds, otherwise nothing.
std::optional<DibLayout> LayOutDib(const BITMAPINFOHEADER& header) noexcept;

/// `header` as it starts a block of that layout: with the fields filled in that follow from the others.
BITMAPINFOHEADER CompleteDibHeader(const BITMAPINFOHEADER& header, const DibLayout& layout) noexcept;

}  // namespace shr
