#include "filter/TileBlock.h"

#include "convert/ConvertRows.h"
#include "convert/ZBMColorFormat.h"
#include "core/MaskRows.h"

namespace zbm {

namespace {

bool IsOpaque(shr::ColorFormat format) {
    return shr::ColorFmtToTblSize[format] == 0 && !shr::ColorFmtHasAlphaChannel[format];
}

/// Rows without gaps are converted as one.
template <class Tile>
void Convert(const TileBlock<Tile>& block, const PixelRows& to, const ConstPixelRows& from) {
    const auto width = static_cast<std::uint32_t>(block.width), height = static_cast<std::uint32_t>(block.height);
    const auto isOneRun = [&](int stride, shr::ColorFormat format) {
        return std::int64_t{8} * stride == std::int64_t{block.width} * shr::ColorFmtToBPP[format];
    };
    if (isOneRun(to.stride, to.format) && isOneRun(from.stride, from.format))
        return ConvertPixels(to, from, width * height, 1);
    ConvertPixels(to, from, width, height);
}

template <class Tile, class Use>
void ForEachMaskRow(const TileBlock<Tile>& block, Use use) {
    for (int y = block.y + block.height - 1; y >= block.y; --y) use(MaskRowOf(block.tile, y) + block.x / 8);
}

/// The block's mask becomes the alpha of `bgra`, which has the block's pixels; those of opaque formats are opaque so
/// far.
void TakeMasks(const TileBlock<const ZScanRect>& block, std::uint8_t* bgra, std::ptrdiff_t stride) {
    const auto width = static_cast<std::size_t>(block.width);
    const bool isOpaque = IsOpaque(block.tile.GetColorFormat());
    ForEachMaskRow(block, [&](const std::uint8_t* mask) {
        if (!isOpaque || !IsMaskRowOpaque(mask, width)) ExpandMaskRow(bgra + 3, 4, mask, 0, width);
        bgra += stride;
    });
}

}  // namespace

void ReadBlock(const TileBlock<const ZScanRect>& block, const shr::Color4b* colorTable, bool takesMasks,
               std::uint8_t* bgra) {
    const shr::ColorFormat format = block.tile.GetColorFormat();
    Convert(block, {bgra, shr::BGRA_32, 4 * block.width}, {block.First(), format, block.Stride(), colorTable});
    if (takesMasks && block.tile.GetAlphaStride() != 0) TakeMasks(block, bgra, std::ptrdiff_t{4} * block.width);
}

void MakeMasks(const TileBlock<ZScanRect>& block, const std::uint8_t* bgra, std::ptrdiff_t stride) {
    ForEachMaskRow(block, [&](std::uint8_t* mask) {
        PackMaskRow(mask, 0, bgra, static_cast<std::size_t>(block.width));
        bgra += stride;
    });
}

void ConvertBlock(const TileBlock<const ZScanRect>& from, const TileBlock<ZScanRect>& to,
                  const shr::Color4b* colorTable, shr::CopyWrites writes) {
    ConvertRows({to.First(), to.tile.GetColorFormat(), to.Stride()},
                {from.First(), from.tile.GetColorFormat(), from.Stride(), colorTable},
                static_cast<std::uint32_t>(to.width), static_cast<std::uint32_t>(to.height), writes);
    if (to.tile.GetAlphaStride() != 0) MakeMasks(to, from.First(), from.Stride());
    if (from.tile.GetAlphaStride() != 0) TakeMasks(from, to.First(), to.Stride());
}

/// What is written past the caches is converted within them first.
void BlockWriter::Write(const TileBlock<ZScanRect>& block, const std::uint8_t* bgra, bool makesMasks) {
    if (makesMasks) MakeMasks(block, bgra, std::ptrdiff_t{4} * block.width);
    const shr::ColorFormat format = block.tile.GetColorFormat();
    const PixelRows destination{block.First(), format, block.Stride()};
    ConstPixelRows pixels{bgra, shr::BGRA_32, 4 * block.width};
    if (writes == shr::CopyWrites::cached) return Convert(block, destination, pixels);
    if (format != shr::BGRA_32) {
        const auto stride = static_cast<int>(shr::RowBytes(static_cast<std::uint32_t>(block.width), format));
        converted.resize(static_cast<std::size_t>(stride) * static_cast<std::size_t>(block.height));
        Convert(block, {converted.data(), format, stride}, pixels);
        pixels = {converted.data(), format, stride};
    }
    for (int y = 0; y < block.height; ++y)
        shr::CopyPixelLine({destination.first + std::ptrdiff_t{destination.stride} * y, 0, 0},
                           {pixels.first + std::ptrdiff_t{pixels.stride} * y, 0, 0}, block.width, format, writes);
}

}  // namespace zbm
