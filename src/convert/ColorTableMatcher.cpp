#include "zbm/ColorTableMatcher.h"

#include "convert/MatcherKernels.h"
#include "core/checks/ColorTableMatcherChecks.h"

namespace zbm {

using shr::Color4b;

namespace {

constexpr unsigned kMaxColors = 256;
constexpr std::size_t kKeys = std::size_t{1} << 24;
constexpr std::size_t kCells = std::size_t{1} << 15;

unsigned KeyOf(Color4b color) {
    return color.red | static_cast<unsigned>(color.green) << 8 | static_cast<unsigned>(color.blue) << 16;
}

unsigned CellOf(Color4b color) {
    return static_cast<unsigned>(color.red >> 3) << 10 | static_cast<unsigned>(color.green >> 3) << 5 |
           static_cast<unsigned>(color.blue >> 3);
}

const std::uint8_t* BytesOf(const Color4b* colors) { return reinterpret_cast<const std::uint8_t*>(colors); }

TableBytes BytesOf(const std::vector<Color4b>& table) {
    return {BytesOf(table.data()), static_cast<unsigned>(table.size())};
}

}  // namespace

ColorTableMatcher::ColorTableMatcher(const Color4b* colors, unsigned count) {
    require(colors != nullptr, ColorTableMatcherCheck::table);
    require(count >= 1 && count <= kMaxColors, ColorTableMatcherCheck::colorCount);
    table.assign(colors, colors + count);
    InitInverseColorMap();
    InitRGBToColorTabMap();
}

ColorTableMatcher::~ColorTableMatcher() = default;

void ColorTableMatcher::InitInverseColorMap() {
    const std::unique_ptr<std::int32_t[]> work(new std::int32_t[kInverseMapWork]);
    inverseMap.reset(new std::uint8_t[kCells]);
    ActiveMatcherKernels().buildInverseMap(BytesOf(table), work.get(), inverseMap.get());
}

void ColorTableMatcher::InitRGBToColorTabMap() {
    exactMap.resize(kKeys);
    for (std::size_t i = 0; i < table.size(); ++i) exactMap[KeyOf(table[i])] = static_cast<std::uint8_t>(i);
}

std::uint8_t ColorTableMatcher::MatchExactOrApproximate(Color4b color) const {
    const std::uint8_t exact = exactMap[KeyOf(color)];
    if (exact != 0) return exact;
    if (KeyOf(table[0]) == KeyOf(color)) return 0;  // 0 in the map says both this and that there is no entry
    return inverseMap[CellOf(color)];
}

std::uint8_t ColorTableMatcher::MatchNearest(Color4b color) const {
    const std::uint8_t exact = exactMap[KeyOf(color)];
    if (exact != 0) return exact;
    if (KeyOf(table[0]) == KeyOf(color)) return 0;
    return static_cast<std::uint8_t>(ActiveMatcherKernels().nearest(BytesOf(table), BytesOf(&color)));
}

}  // namespace zbm
