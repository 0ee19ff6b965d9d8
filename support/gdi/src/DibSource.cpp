#include "DibSource.h"

#include <algorithm>
#include <cstring>

namespace gdi {
namespace {

bool IsDrawn(const BITMAPINFOHEADER& header) noexcept {
    if (header.biSize < sizeof header || header.biPlanes != 1 || header.biCompression != BI_RGB) return false;
    if (header.biWidth < 1 || header.biHeight == 0) return false;
    return GathererFor(header.biBitCount) != nullptr;
}

void ReadPalette(const BITMAPINFO& info, std::uint32_t (&palette)[256]) noexcept {
    const BITMAPINFOHEADER& header = info.bmiHeader;
    const DWORD most = DWORD{1} << header.biBitCount;
    const DWORD colors = header.biClrUsed == 0 ? most : std::min(header.biClrUsed, most);
    const auto* table = reinterpret_cast<const std::uint8_t*>(&info) + header.biSize;
    for (DWORD i = 0; i < colors; ++i, table += sizeof(RGBQUAD)) {
        const std::uint8_t bgrx[4] = {table[0], table[1], table[2], 0};
        std::memcpy(&palette[i], bgrx, sizeof bgrx);
    }
}

template <int Bits>
void Gather(std::uint8_t* pixels, const std::uint8_t* row, const std::int32_t* columns, std::size_t count,
            const std::uint32_t* palette) {
    for (std::size_t i = 0; i < count; ++i, pixels += 4) {
        const auto x = static_cast<std::size_t>(columns[i]);
        if constexpr (Bits == 32) {
            std::memcpy(pixels, row + 4 * x, 4);
        } else if constexpr (Bits == 24) {
            const std::uint8_t bgrx[4] = {row[3 * x], row[3 * x + 1], row[3 * x + 2], 0};
            std::memcpy(pixels, bgrx, 4);
        } else {
            constexpr std::size_t kPerByte = 8 / Bits;
            const std::size_t shift = (kPerByte - 1 - x % kPerByte) * Bits;
            std::memcpy(pixels, &palette[row[x / kPerByte] >> shift & ((1 << Bits) - 1)], 4);
        }
    }
}

}  // namespace

GatherPixels GathererFor(int bitCount) noexcept {
    switch (bitCount) {
        case 1: return Gather<1>;
        case 4: return Gather<4>;
        case 8: return Gather<8>;
        case 24: return Gather<24>;
        case 32: return Gather<32>;
        default: return nullptr;
    }
}

std::optional<DibSource> DescribeDib(const BITMAPINFO* info, UINT usage) noexcept {
    if (info == nullptr || usage != DIB_RGB_COLORS || !IsDrawn(info->bmiHeader)) return std::nullopt;
    const BITMAPINFOHEADER& header = info->bmiHeader;
    DibSource source{};
    source.width = header.biWidth;
    source.height = header.biHeight < 0 ? -std::int64_t{header.biHeight} : header.biHeight;
    source.bitCount = header.biBitCount;
    source.isTopDown = header.biHeight < 0;
    source.stride = static_cast<std::size_t>((source.width * header.biBitCount + 31) / 32 * 4);
    if (header.biBitCount <= 8) ReadPalette(*info, source.palette);
    return source;
}

}  // namespace gdi
