// Rows of any width, at any address, by kernels that convert whole blocks of 32 pixels.
//
//     | few | block | block | ... | few |
//
// The pixels that do not fill a block are converted in a block of their own, off to the side. Where the destination is
// larger than what caches hold, blocks go past them, for which a few pixels at the front may be needed as well.
#include "convert/ConvertRows.h"

#include <cstring>

#include "convert/RowKernels.h"
#include "shr/Fetch.h"

namespace zbm {
namespace {

/// Destinations from this size on are written past the caches, as memcpy does.
constexpr std::uint64_t kStreamedBytes = std::uint64_t{16} << 20;
/// Smaller ones stay near the processor from one conversion to the next.
constexpr std::uint64_t kNearBytes = std::uint64_t{128} << 10;

std::size_t BitsPerPixel(shr::ColorFormat format) { return static_cast<std::size_t>(shr::ColorFmtToBPP[format]); }

template <class Rows>
auto* RowOf(const Rows& rows, std::uint32_t y) {
    return rows.first + static_cast<std::ptrdiff_t>(y) * rows.stride;
}

/// What each index of the source becomes. A table is a row of pixels too, and the kernels convert it.
void MakeIndexMap(const RowKernels& kernels, shr::ColorFormat dst, shr::ColorFormat src, const shr::Color4b* srcTable,
                  IndexMap& map) {
    const auto colors = static_cast<std::size_t>(shr::ColorFmtToTblSize[src]);
    const std::size_t blocks = (colors + kBlockPixels - 1) / kBlockPixels;
    std::uint8_t table[sizeof map.bytes];
    std::memcpy(table, srcTable, colors * sizeof *srcTable);
    std::memset(table + colors * sizeof *srcTable, 0, (blocks * kBlockPixels - colors) * sizeof *srcTable);
    if (dst == shr::GRAYSCALE_1 || dst == shr::GRAYSCALE_4) {
        std::uint8_t packed[IndexMap::kEntries / 2];
        kernels.convert[dst][shr::RGBA_32](packed, table, blocks, nullptr);
        kernels.convert[shr::GRAYSCALE_8][dst](map.bytes, packed, blocks, nullptr);
    } else {
        kernels.convert[dst == shr::BGR_24 ? shr::BGRX_32 : dst][shr::RGBA_32](map.bytes, table, blocks, nullptr);
    }
}

/// One pair of formats.
class RunConverter {
public:
    RunConverter(shr::ColorFormat dst, shr::ColorFormat src, const IndexMap* indexMap, bool pastCaches)
        : convert(ActiveRowKernels().convert[dst][src]),
          stream(pastCaches ? ActiveRowKernels().stream[dst][src] : nullptr),
          map(indexMap),
          dstBits(BitsPerPixel(dst)),
          srcBits(BitsPerPixel(src)) {}

    void Convert(std::uint8_t* dst, const std::uint8_t* src, std::size_t pixels) const {
        if (stream != nullptr) {
            const std::size_t front = PixelsBeforeAlignment(dst);
            if (front + kBlockPixels <= pixels) {
                ConvertFew(dst, src, front);
                return ConvertBlocks(stream, dst + front * dstBits / 8, src + front * srcBits / 8, pixels - front);
            }
        }
        ConvertBlocks(convert, dst, src, pixels);
    }

private:
    void ConvertBlocks(BlockKernel* kernel, std::uint8_t* dst, const std::uint8_t* src, std::size_t pixels) const {
        const std::size_t blocks = pixels / kBlockPixels, rest = pixels % kBlockPixels;
        if (blocks != 0) kernel(dst, src, blocks, map);
        if (rest != 0) ConvertFew(dst + blocks * 4 * dstBits, src + blocks * 4 * srcBits, rest);
    }

    /// Less than a block.
    void ConvertFew(std::uint8_t* dst, const std::uint8_t* src, std::size_t pixels) const {
        std::uint8_t from[kMaxBlockBytes] = {}, to[kMaxBlockBytes];
        std::memcpy(from, src, (pixels * srcBits + 7) / 8);
        convert(to, from, 1, map);
        const std::size_t bytes = pixels * dstBits / 8, bits = pixels * dstBits % 8;
        std::memcpy(dst, to, bytes);
        if (bits == 0) return;
        const unsigned kept = 0xFFu >> bits;
        dst[bytes] = static_cast<std::uint8_t>((dst[bytes] & kept) | (to[bytes] & ~kept));
    }

    /// How many pixels lie before the first that a streaming kernel may begin with; a great number if there is none.
    std::size_t PixelsBeforeAlignment(const std::uint8_t* dst) const {
        const auto address = reinterpret_cast<std::uintptr_t>(dst);
        for (std::size_t pixels = 0; pixels < kBlockPixels; ++pixels)
            if ((address + pixels * dstBits / 8) % kStreamAlignment == 0 && pixels * srcBits % 8 == 0) return pixels;
        return SIZE_MAX / 2;
    }

    BlockKernel* convert;
    BlockKernel* stream;
    const IndexMap* map;
    std::size_t dstBits, srcBits;
};

/// Whether each row begins in the byte after the row before.
bool HaveNoGaps(shr::ColorFormat format, std::int64_t stride, std::uint32_t width) {
    const std::uint64_t bits = std::uint64_t{width} * BitsPerPixel(format);
    return bits % 8 == 0 && stride >= 0 && static_cast<std::uint64_t>(stride) == bits / 8;
}

/// Calls use(dst, src, pixels) for each row, or once if the rows are one.
template <class Use>
void ForEachRun(const PixelRows& dst, const ConstPixelRows& src, std::uint32_t width, std::uint32_t height, Use use) {
    if (width == 0 || height == 0) return;
    if (HaveNoGaps(dst.format, dst.stride, width) && HaveNoGaps(src.format, src.stride, width))
        return use(dst.first, src.first, std::size_t{width} * height);
    for (std::uint32_t y = 0; y < height; ++y) use(RowOf(dst, y), RowOf(src, y), std::size_t{width});
}

}  // namespace

void ConvertRows(const PixelRows& dst, const ConstPixelRows& src, std::uint32_t width, std::uint32_t height) {
    const bool pastCaches = shr::PixelBytes(width, dst.format) * height >= kStreamedBytes;
    ConvertRows(dst, src, width, height, pastCaches ? shr::CopyWrites::streamed : shr::CopyWrites::cached);
    if (pastCaches) shr::FinishCopyWrites();
}

void ConvertRows(const PixelRows& dst, const ConstPixelRows& src, std::uint32_t width, std::uint32_t height,
                 shr::CopyWrites writes) {
    if (width == 0 || height == 0) return;
    const RowKernels& kernels = ActiveRowKernels();
    IndexMap map;
    const bool isMapped = shr::ColorFmtToTblSize[src.format] != 0 && shr::ColorFmtToTblSize[dst.format] == 0;
    if (isMapped) MakeIndexMap(kernels, dst.format, src.format, src.colorTable, map);
    const bool pastCaches = writes == shr::CopyWrites::streamed;
    const RunConverter converter(dst.format, src.format, &map, pastCaches);
    const std::uint64_t rowBytes = shr::PixelBytes(width, dst.format);
    const bool isNextFetched = !pastCaches && rowBytes * height > kNearBytes;
    const std::uint8_t* const last = RowOf(dst, height - 1);
    ForEachRun(dst, src, width, height, [&](std::uint8_t* to, const std::uint8_t* from, std::size_t pixels) {
        if (isNextFetched && to != last) {
            shr::FetchForReading(from + src.stride, shr::PixelBytes(width, src.format));
            shr::FetchForWriting(to + dst.stride, rowBytes);
        }
        converter.Convert(to, from, pixels);
    });
}

void CopyRows(const PixelRows& dst, const ConstPixelRows& src, std::uint32_t width, std::uint32_t height) {
    ForEachRun(dst, src, width, height, [&](std::uint8_t* to, const std::uint8_t* from, std::size_t pixels) {
        std::memcpy(to, from, shr::PixelBytes(pixels, dst.format));
    });
}

}  // namespace zbm
