// Taking a rectangle of a device-independent bitmap into a tile.
#include <cstring>
#include <limits>

#include "core/checks/ScanRectChecks.h"
#include "zbm/ZBMLib2.h"
#include "zbm/ZScanRect.h"

namespace zbm {

namespace {

/// Reads one row of 16-bit DIB pixels into B, G, R bytes; low bits are left zero.
using ExpandRow = void (*)(std::uint8_t* bgr, const std::uint8_t* source, std::size_t count);

template <int GreenShift, int GreenMask, int RedShift>
void ExpandRow16(std::uint8_t* bgr, const std::uint8_t* source, std::size_t count) {
    for (std::size_t x = 0; x < count; ++x, bgr += 3, source += 2) {
        const unsigned value = source[0] | static_cast<unsigned>(source[1]) << 8;
        bgr[0] = static_cast<std::uint8_t>(value << 3);
        bgr[1] = static_cast<std::uint8_t>((value >> GreenShift) & GreenMask);
        bgr[2] = static_cast<std::uint8_t>((value >> RedShift) & 0xF8);
    }
}

/// 5-6-5 only for bit fields whose masks are not those of 5-5-5, whatever they are.
ExpandRow ExpanderFor(const BITMAPINFOHEADER& header) {
    if (header.biCompression == BI_BITFIELDS) {
        std::uint32_t masks[3];
        std::memcpy(masks, reinterpret_cast<const std::uint8_t*>(&header) + header.biSize, sizeof masks);
        if (masks[0] != 0x7C00 || masks[1] != 0x03E0 || masks[2] != 0x001F) return ExpandRow16<3, 0xFC, 8>;
    }
    return ExpandRow16<2, 0xF8, 7>;
}

bool IsSupportedDepth(int bitCount) {
    return bitCount == 1 || bitCount == 4 || bitCount == 8 || bitCount == 16 || bitCount == 24 || bitCount == 32;
}

void MakeOpaque(std::uint8_t* bgra, std::size_t count) {
    for (std::size_t x = 0; x < count; ++x) bgra[4 * x + 3] = shr::ALPHA_MAX;
}

}  // namespace

void ZScanRect::CopyFromDib(const BITMAPINFOHEADER* header, const void* bits, int x, int y) {
    require(x >= 0 && header->biWidth >= static_cast<std::int64_t>(width) + x, ScanRectCheck::dibWidth);
    require(y >= 0 && header->biHeight >= static_cast<std::int64_t>(height) + y, ScanRectCheck::dibHeight);
    require(IsSupportedDepth(header->biBitCount), ScanRectCheck::dibDepth);
    require(header->biCompression == BI_RGB || header->biCompression == BI_BITFIELDS, ScanRectCheck::dibCompression);

    const shr::ColorFormat format = shr::ColorFormatClosestToDIB(*header);
    if (IsShapedAs(width, height, format))
        SetAlphaToMax();
    else
        Create(width, height, format);

    const std::uint64_t bitsPerRow = std::uint64_t{header->biBitCount} * static_cast<std::uint64_t>(header->biWidth);
    const auto dibStride = static_cast<std::size_t>(((bitsPerRow + 31) >> 3) & ~std::uint64_t{3});
    const auto* topRow =
        static_cast<const std::uint8_t*>(bits) + static_cast<std::size_t>(header->biHeight - y - 1) * dibStride;
    const ExpandRow expand = header->biBitCount == 16 ? ExpanderFor(*header) : nullptr;
    const auto count = static_cast<std::size_t>(width);
    for (int row = 0; row < height; ++row) {
        const std::uint8_t* source = topRow - static_cast<std::size_t>(row) * dibStride;
        std::uint8_t* target = GetRowPtr(row);
        if (expand != nullptr)
            expand(target, source + 2 * static_cast<std::size_t>(x), count);
        else
            shr::CopyPixels(target, 0, source, x, width, format);
        if (format == shr::BGRA_32) MakeOpaque(target, count);
    }
}

}  // namespace zbm
