// Rows of pixels into an indexed format whose colour table is fixed.
#include <algorithm>

#include "convert/MatcherKernels.h"
#include "convert/MatcherMaps.h"
#include "convert/ZBMColorFormat.h"

namespace zbm {

using shr::Color4b;
using shr::ColorFormat;

namespace {

constexpr std::size_t kLevels = 256;

const std::uint8_t* BytesOf(const Color4b* colors) { return reinterpret_cast<const std::uint8_t*>(colors); }

/// A matcher as the kernels take it.
class RowMatcher {
public:
    explicit RowMatcher(const ColorTableMatcher& matcher) noexcept : fields(matcher) {
        const TableBytes table{BytesOf(fields.table), fields.count};
        kernels.buildFilter(table, filter);
        const Color4b first = fields.table[0];
        const unsigned firstKey =
            first.red | static_cast<unsigned>(first.green) << 8 | static_cast<unsigned>(first.blue) << 16;
        maps = {fields.exactMap, fields.inverseMap, filter, firstKey};
    }
    RowMatcher(const RowMatcher&) = delete;
    RowMatcher& operator=(const RowMatcher&) = delete;

    void ConvertColors(const PixelRows& dst, IndexTarget target, const ConstPixelRows& src, ColorSource source,
                       std::uint32_t width, std::uint32_t height) const {
        MatchColorsFunction* const convertRow = kernels.matchColors[source][target];
        ForEachRow(dst, src, height,
                   [&](std::uint8_t* to, const std::uint8_t* from) { convertRow(maps, from, to, width); });
    }

    /// `colorOf` has 256 colours, each of which is matched once.
    void ConvertLevels(const PixelRows& dst, IndexTarget target, const ConstPixelRows& src, LevelSource source,
                       const Color4b* colorOf, std::uint32_t width, std::uint32_t height) const {
        std::uint8_t indexOf[kLevels];
        kernels.matchColors[fromRgba32][toBytes](maps, BytesOf(colorOf), indexOf, kLevels);
        MapLevelsFunction* const convertRow = kernels.mapLevels[source][target];
        ForEachRow(dst, src, height,
                   [&](std::uint8_t* to, const std::uint8_t* from) { convertRow(indexOf, from, to, width); });
    }

private:
    template <class Convert>
    static void ForEachRow(const PixelRows& dst, const ConstPixelRows& src, std::uint32_t height, Convert convert) {
        for (std::uint32_t y = 0; y < height; ++y)
            convert(dst.first + static_cast<std::ptrdiff_t>(dst.stride) * static_cast<std::ptrdiff_t>(y),
                    src.first + static_cast<std::ptrdiff_t>(src.stride) * static_cast<std::ptrdiff_t>(y));
    }

    const MatcherKernels& kernels = ActiveMatcherKernels();
    MatcherMaps fields;
    std::uint64_t filter[kFilterWords];
    RowMaps maps{};
};

/// The source's table as 256 colours: black where it has none.
struct SourceColors {
    SourceColors(const Color4b* table, std::uint32_t count) {
        if (table != nullptr) std::copy_n(table, std::min<std::size_t>(count, kLevels), colors);
    }
    Color4b colors[kLevels];
};

}  // namespace

void ConvertPixelsToColorTable(const PixelRows& dst, std::uint32_t, const ConstPixelRows& src, std::uint32_t srcColors,
                               std::uint32_t width, std::uint32_t height, const ColorTableMatcher& matcher) {
    if (shr::IsColorFormat(dst.format) == false || shr::ColorFmtToTblSize[dst.format] == 0) return;
    if (width == 0 || height == 0) return;
    const IndexTarget target = dst.format == shr::INDEXED_1   ? toBits
                               : dst.format == shr::INDEXED_4 ? toNibbles
                                                              : toBytes;
    const RowMatcher rows(matcher);
    const auto colors = [&](ColorSource source) { rows.ConvertColors(dst, target, src, source, width, height); };
    const auto grays = [&](LevelSource source) {
        rows.ConvertLevels(dst, target, src, source, shr::GRAYSCALE_8_Color4bTable, width, height);
    };
    const auto indices = [&](LevelSource source) {
        rows.ConvertLevels(dst, target, src, source, SourceColors(src.colorTable, srcColors).colors, width, height);
    };
    switch (src.format) {
        case shr::GRAYSCALE_8: return grays(fromBytes);
        case shr::GRAYSCALE_16: return grays(fromWords);
        case shr::GRAYSCALE_32: return grays(fromDoubleWords);
        case shr::INDEXED_1: return indices(fromBits);
        case shr::INDEXED_4: return indices(fromNibbles);
        case shr::INDEXED_8: return indices(fromBytes);
        case shr::BGR_24: return colors(fromBgr24);
        case shr::BGRA_32:
        case shr::BGRX_32: return colors(fromBgra32);
        case shr::RGBA_32: return colors(fromRgba32);
        case shr::FORMAT_NONE:
        case shr::GRAYSCALE_1:
        case shr::GRAYSCALE_4:
        case shr::PBGRA_32: return;
    }
}

}  // namespace zbm
