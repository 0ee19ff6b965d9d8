#include "DibLayout.h"

namespace shr {
namespace {

constexpr std::uint32_t kMaskBytes = 3 * sizeof(DWORD);

bool HasMasks(const BITMAPINFOHEADER& header) noexcept { return header.biCompression == BI_BITFIELDS; }

bool IsOfAKindWeHold(const BITMAPINFOHEADER& header) noexcept {
    if (header.biWidth < 1 || header.biHeight < 1) return false;
    switch (header.biBitCount) {
        case 1:
        case 4:
        case 8:
        case 24: return header.biCompression == BI_RGB;
        case 16:
        case 32: return header.biCompression == BI_RGB || HasMasks(header);
        default: return false;
    }
}

std::uint32_t CountColors(const BITMAPINFOHEADER& header) noexcept {
    if (HasMasks(header)) return 0;  // colours besides the masks would be a mere hint for displays with a palette
    if (header.biClrUsed != 0 || header.biBitCount > 8) return header.biClrUsed;
    return 1u << header.biBitCount;
}

}  // namespace

std::optional<DibLayout> LayOutDib(const BITMAPINFOHEADER& header) noexcept {
    if (!IsOfAKindWeHold(header)) return std::nullopt;
    if (header.biBitCount <= 8 && header.biClrUsed > 1u << header.biBitCount) return std::nullopt;

    const std::uint32_t colors = CountColors(header);
    const std::uint64_t tableBytes = (HasMasks(header) ? kMaskBytes : 0) + std::uint64_t{colors} * sizeof(RGBQUAD);
    const std::uint64_t rowBits = static_cast<std::uint64_t>(header.biWidth) * header.biBitCount;
    const std::uint64_t stride = (rowBits + 31) / 32 * 4;
    const std::uint64_t bitsOffset = sizeof(BITMAPINFOHEADER) + tableBytes;
    if (stride > kMostDibBytes || bitsOffset > kMostDibBytes) return std::nullopt;
    const std::uint64_t totalBytes = bitsOffset + stride * static_cast<std::uint64_t>(header.biHeight);
    if (totalBytes > kMostDibBytes) return std::nullopt;
    return DibLayout{colors, static_cast<std::size_t>(tableBytes), static_cast<std::size_t>(stride),
                     static_cast<std::size_t>(bitsOffset), static_cast<std::size_t>(totalBytes)};
}

BITMAPINFOHEADER CompleteDibHeader(const BITMAPINFOHEADER& header, const DibLayout& layout) noexcept {
    BITMAPINFOHEADER complete = header;
    complete.biSize = sizeof(BITMAPINFOHEADER);
    complete.biPlanes = 1;
    complete.biSizeImage = static_cast<DWORD>(layout.BitsBytes());
    if (HasMasks(header)) complete.biClrUsed = 0;
    return complete;
}

}  // namespace shr
