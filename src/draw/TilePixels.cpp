#include "draw/TilePixels.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "convert/ConvertRows.h"
#include "core/FitTile.h"
#include "core/MaskRows.h"
#include "draw/DrawKernels.h"
#include "shr/CopyPixelRows.h"
#include "shr/Fetch.h"

namespace zbm {

namespace {

// Tiles are too small for a processor to see that they are read row by row; as many rows are on their way.
constexpr int kRowsAhead = 4;
constexpr int kBlockPixels = 4096;  // 16 KiB: half a cache of the first level

bool AreBgra(shr::ColorFormat format) { return format == shr::BGRA_32 || format == shr::PBGRA_32; }
bool HasMask(shr::ColorFormat format) { return !shr::ColorFmtHasAlphaChannel[format]; }

}  // namespace

TilePixels::TilePixels(const ZBitmap& source)
    : bitmap(source), format(source.GetColorFormat()), reading(FindTileReading(source)) {
    const int colors = shr::ColorFmtToTblSize[format];
    for (int i = 0; i < colors; ++i) {
        const shr::Color4b color = source.GetConstColorTablePtr()[i];
        opaqueColors[i] = {color.red, color.green, color.blue};
    }
    if (colors != 0) colorTable = opaqueColors;
}

TilePixels::~TilePixels() = default;

void TilePixels::Begin(int row, int col, const RECT& partOfBitmap) {
    box = bitmap.GetScanRectBBox(row, col);
    part = partOfBitmap;
    blockBegin = blockEnd = 0;
    if (reading == nullptr) {
        locked.reset();
        tile = &*locked.emplace(bitmap, row, col);
    } else if (reading->resident != nullptr) {
        tile = &reading->resident(bitmap, row, col);
    } else {
        ZScanRect& copy = FitTile(loaded, box, format);
        reading->loadRows(bitmap, row, col, copy, static_cast<int>(part.top - box.top),
                          static_cast<int>(part.bottom - box.top));
        tile = &copy;
    }
}

int TilePixels::Lead() const noexcept {
    return shr::ColorFmtToBPP[format] % 8 == 0 ? 0 : static_cast<int>(part.left - box.left) % 8;
}

const std::uint8_t* TilePixels::RowAt(int y) const {
    const int x = static_cast<int>(part.left - box.left) - Lead();
    return tile->GetRowPtr(static_cast<int>(y - box.top)) + std::ptrdiff_t{x} * shr::ColorFmtToBPP[format] / 8;
}

/// Looks at up to 7 pixels more in front, which may turn an answer of yes into no.
bool TilePixels::IsMaskOpaque(int y) const {
    const auto x = static_cast<std::size_t>(part.left - box.left);
    const auto width = static_cast<std::size_t>(part.right - part.left);
    const std::uint8_t* const mask = tile->GetAlphaRowPtr(static_cast<int>(y - box.top));
    return mask == nullptr || IsMaskRowOpaque(mask + x / 8, x % 8 + width);
}

int TilePixels::CountOpaque(int y, int end) const {
    if (!HasMask(format)) return 0;
    const int begin = y;
    while (y < end && IsMaskOpaque(y)) ++y;
    return y - begin;
}

std::optional<TilePixels::StoredPixels> TilePixels::Stored() const {
    const int top = static_cast<int>(part.top);
    if (AreBgra(format)) return StoredPixels{RowAt(top), tile->GetStride(), 0};
    if (format == shr::BGRX_32) return StoredPixels{RowAt(top), tile->GetStride(), 0xFF000000u};
    return std::nullopt;
}

TilePixels::Row TilePixels::Read(int y) {
    const std::uint8_t* const pixels = AreBgra(format) ? RowAt(y) : ReadFromBlock(y);
    return {pixels, ActiveDrawKernels().isOpaque(pixels, static_cast<std::size_t>(part.right - part.left))};
}

/// Where the format or the mask says that all is opaque, nothing is multiplied and no pixel is looked at.
void TilePixels::Refine(int y, std::uint16_t* fine) {
    const FineKernels& kernels = ActiveDrawKernels().fine;
    const auto width = static_cast<std::size_t>(part.right - part.left);
    FetchAhead(y);
    if (AreBgra(format))
        return (ArePremultiplied() ? kernels.refinePremultiplied : kernels.refine)(fine, RowAt(y), width);
    const bool isOpaque = HasMask(format) && IsMaskOpaque(y);
    const std::uint8_t* const pixels = format == shr::BGRX_32 && isOpaque ? RowAt(y) : ReadFromBlock(y);
    (isOpaque ? kernels.refineOpaque : kernels.refine)(fine, pixels, width);
}

const std::uint8_t* TilePixels::FindOpaque(int y) const {
    if (format == shr::BGRX_32) {
        if (!IsMaskOpaque(y)) return nullptr;
    } else if (format != shr::BGRA_32 ||
               !ActiveDrawKernels().isOpaque(RowAt(y), static_cast<std::size_t>(part.right - part.left))) {
        return nullptr;
    }
    FetchAhead(y);
    return RowAt(y);
}

void TilePixels::FetchAhead(int y) const {
    const auto width = static_cast<std::size_t>(part.right - part.left);
    shr::FetchForReading(RowAt(std::min(y + kRowsAhead, static_cast<int>(part.bottom) - 1)),
                         width * static_cast<std::size_t>(shr::ColorFmtToBPP[format]) / 8);
}

const std::uint8_t* TilePixels::ReadFromBlock(int y) {
    if (y < blockBegin || y >= blockEnd) ReadBlock(y);
    const auto lead = static_cast<std::size_t>(Lead()), width = static_cast<std::size_t>(part.right - part.left);
    return block.Data() + 4 * (lead + width) * static_cast<std::size_t>(y - blockBegin) + 4 * lead;
}

/// As many rows as are worth a start of the converter.
void TilePixels::ReadBlock(int y) {
    const int lead = Lead(), width = static_cast<int>(part.right - part.left) + lead;
    const int rows = std::min(std::max(1, kBlockPixels / width), static_cast<int>(part.bottom) - y);
    const std::size_t rowBytes = 4 * static_cast<std::size_t>(width);
    const std::size_t most = std::max(std::size_t{4} * kBlockPixels, rowBytes);
    if (block.Size() < most) block = shr::ByteBuffer::Uninitialized(most);
    ConvertRows({block.Data(), shr::BGRA_32, 4 * width}, {RowAt(y), format, tile->GetStride(), colorTable},
                static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(rows));
    blockBegin = y;
    blockEnd = y + rows;
    if (!HasMask(format)) return;
    const auto x = static_cast<std::size_t>(part.left - box.left) - static_cast<std::size_t>(lead);
    for (int r = y; r < blockEnd; ++r)
        if (!IsMaskOpaque(r))
            ExpandMaskRow(block.Data() + rowBytes * static_cast<std::size_t>(r - y) + 3, 4,
                          tile->GetAlphaRowPtr(static_cast<int>(r - box.top)), x, static_cast<std::size_t>(width));
}

void TilePixels::Convert(int y, int rows, std::uint8_t* dst, std::ptrdiff_t stride) {
    const auto width = static_cast<std::uint32_t>(part.right - part.left);
    const bool isTaken = stride == static_cast<std::int32_t>(stride);
    for (int next = y + rows; next < std::min(y + 2 * rows, static_cast<int>(part.bottom)); ++next)
        shr::FetchForReading(RowAt(next), shr::PixelBytes(width, format));
    if (Lead() == 0 && isTaken)
        return ConvertRows({dst, shr::BGRA_32, static_cast<std::int32_t>(stride)},
                           {RowAt(y), format, tile->GetStride(), colorTable}, width, static_cast<std::uint32_t>(rows));
    for (int r = 0; r < rows; ++r, dst += stride) std::memcpy(dst, Read(y + r).pixels, std::size_t{4} * width);
}

}  // namespace zbm
