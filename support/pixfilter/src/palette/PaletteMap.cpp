#include "palette/PaletteMap.h"

#include <algorithm>
#include <iterator>

namespace zpixf {
namespace {

constexpr unsigned kCellShift = 8 - kCellBits;
constexpr int kCellSide = 1 << kCellShift;

// Coarse cells of 32 x 32 x 32 spare the cells in them most of the palette.
constexpr unsigned kCoarseShift = 5;
constexpr unsigned kCoarseBits = 8 - kCoarseShift;
constexpr int kCoarseSide = 1 << kCoarseShift;

// A palette made to fill its cells with candidates would cost 100 MB; at this number all cells are forgotten.
constexpr std::size_t kMaxGroups = 1u << 16;
constexpr unsigned kMaxGroupsOfACell = 256 / CandidateGroup::kSize;
static_assert(kMaxGroupsOfACell == 1u << kMoreGroupsBits);

unsigned CellOf(unsigned blue, unsigned green, unsigned red) {
    return (blue >> kCellShift) << (2 * kCellBits) | (green >> kCellShift) << kCellBits | red >> kCellShift;
}

void SetCandidate(CandidateGroup& group, unsigned at, const std::array<int, 3>& color, unsigned index) {
    const int square = color[0] * color[0] + color[1] * color[1] + color[2] * color[2];
    group.base[at] = 256 * square + static_cast<int>(index);
    group.bg[2 * at] = static_cast<std::int16_t>(color[0]);
    group.bg[2 * at + 1] = static_cast<std::int16_t>(color[1]);
    group.red[2 * at] = static_cast<std::int16_t>(color[2]);
    group.red[2 * at + 1] = 0;
}

}  // namespace

PaletteMap::PaletteMap() = default;
PaletteMap::~PaletteMap() = default;

void PaletteMap::Build(const RGBQUAD* entries, unsigned count) {
    palette.Build(entries, count, 1);
    coarseCells.assign(1u << (3 * kCoarseBits), EntriesInCubes::List{});
    cells.assign(kCells, 0);
    CandidateGroup notBuilt = {};
    std::fill(std::begin(notBuilt.base), std::end(notBuilt.base), kNotBuilt);
    groups.assign(1, notBuilt);
}

unsigned PaletteMap::Nearest(unsigned blue, unsigned green, unsigned red) {
    const std::uint8_t pixel[4] = {static_cast<std::uint8_t>(blue), static_cast<std::uint8_t>(green),
                                   static_cast<std::uint8_t>(red), 0};
    std::uint8_t index;
    MapRow(pixel, 1, &index);
    return index;
}

void PaletteMap::MapRow(const std::uint8_t* pixels, std::size_t count, std::uint8_t* indices) {
    const auto mapRow = ActivePaletteMapKernels().mapRow;
    for (std::size_t done = 0;;) {
        done += mapRow(cells.data(), groups.data(), pixels + 4 * done, count - done, indices + done);
        if (done == count) return;
        const std::uint8_t* pixel = pixels + 4 * done;
        BuildCell(CellOf(pixel[0], pixel[1], pixel[2]));
    }
}

void PaletteMap::BuildCell(unsigned cell) {
    constexpr unsigned kMask = (1u << kCellBits) - 1;
    const auto lowest = [cell](unsigned channel) {
        return static_cast<int>((cell >> (channel * kCellBits) & kMask) << kCellShift);
    };
    const ColorCube cube = {{lowest(2), lowest(1), lowest(0)}, kCellSide - 1};
    EntriesInCubes::List candidates;
    palette.Prune(cube, CoarseCellAround(cube), candidates);

    const unsigned count = candidates.count;
    const unsigned numGroups = (count + CandidateGroup::kSize - 1) / CandidateGroup::kSize;
    if (groups.size() + numGroups > kMaxGroups) {
        std::fill(cells.begin(), cells.end(), 0);
        groups.resize(1);
    }
    const std::size_t first = groups.size();
    groups.resize(first + numGroups);
    for (unsigned i = 0; i < numGroups * CandidateGroup::kSize; ++i) {
        const unsigned index = candidates.entries[i < count ? i : 0];
        SetCandidate(groups[first + i / CandidateGroup::kSize], i % CandidateGroup::kSize, palette.Color(index), index);
    }
    cells[cell] = static_cast<std::uint32_t>(first << kMoreGroupsBits | (numGroups - 1));
}

const EntriesInCubes::List& PaletteMap::CoarseCellAround(const ColorCube& cell) {
    unsigned number = 0;
    ColorCube cube{{}, kCoarseSide - 1};
    for (unsigned c = 0; c < 3; ++c) {
        number = number << kCoarseBits | static_cast<unsigned>(cell.low[c]) >> kCoarseShift;
        cube.low[c] = cell.low[c] & ~(kCoarseSide - 1);
    }
    EntriesInCubes::List& coarse = coarseCells[number];
    if (coarse.count == 0) palette.Prune(cube, palette.All(), coarse);
    return coarse;
}

}  // namespace zpixf
