#include "palette/PaletteMap.h"

#include <algorithm>
#include <cstdlib>
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

/// A cube of colours, from `low` to `low` + `width` in each channel, both included.
struct PaletteMap::Box {
    int low[3];
    int width;
};

PaletteMap::PaletteMap() = default;
PaletteMap::~PaletteMap() = default;

void PaletteMap::Build(const RGBQUAD* entries, unsigned count) {
    coarseCells.assign(1u << (3 * kCoarseBits), CoarseCell{});
    cells.assign(kCells, 0);
    CandidateGroup notBuilt = {};
    std::fill(std::begin(notBuilt.base), std::end(notBuilt.base), kNotBuilt);
    groups.assign(1, notBuilt);
    numDistinct = 0;
    for (unsigned i = 0; i < count; ++i) {
        colors[i] = {entries[i].rgbBlue, entries[i].rgbGreen, entries[i].rgbRed};
        const auto isSame = [&](std::uint8_t earlier) { return colors[earlier] == colors[i]; };
        if (std::none_of(distinct.begin(), distinct.begin() + numDistinct, isSame))
            distinct[numDistinct++] = static_cast<std::uint8_t>(i);
    }
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
    const unsigned blue = (cell >> (2 * kCellBits)) << kCellShift;
    const unsigned green = (cell >> kCellBits & kMask) << kCellShift;
    const unsigned red = (cell & kMask) << kCellShift;
    const CoarseCell& coarse = CoarseCellAround(blue, green, red);
    const Box box = {{static_cast<int>(blue), static_cast<int>(green), static_cast<int>(red)}, kCellSide - 1};
    Entries candidates;
    const unsigned count = Prune(box, coarse.candidates.data(), coarse.count, candidates.data());

    const unsigned numGroups = (count + CandidateGroup::kSize - 1) / CandidateGroup::kSize;
    if (groups.size() + numGroups > kMaxGroups) {
        std::fill(cells.begin(), cells.end(), 0);
        groups.resize(1);
    }
    const std::size_t first = groups.size();
    groups.resize(first + numGroups);
    for (unsigned i = 0; i < numGroups * CandidateGroup::kSize; ++i) {
        const unsigned index = candidates[i < count ? i : 0];
        SetCandidate(groups[first + i / CandidateGroup::kSize], i % CandidateGroup::kSize, colors[index], index);
    }
    cells[cell] = static_cast<std::uint32_t>(first << kMoreGroupsBits | (numGroups - 1));
}

const PaletteMap::CoarseCell& PaletteMap::CoarseCellAround(unsigned blue, unsigned green, unsigned red) {
    const unsigned b = blue >> kCoarseShift, g = green >> kCoarseShift, r = red >> kCoarseShift;
    CoarseCell& coarse = coarseCells[b << (2 * kCoarseBits) | g << kCoarseBits | r];
    if (coarse.count == 0) {
        const auto low = [](unsigned at) { return static_cast<int>(at << kCoarseShift); };
        const Box box = {{low(b), low(g), low(r)}, kCoarseSide - 1};
        coarse.count = Prune(box, distinct.data(), numDistinct, coarse.candidates.data());
    }
    return coarse;
}

/// Keeps the entries that can be nearest to some colour of the box.
///
/// Let D be four times the squared distance to the box's middle, and w its width. Over the box, the squared distance
/// to entry i less that to entry j is linear in the colour; its least value, at a corner, is
/// (D(i) - D(j)) / 4 - w |i - j|, where |i - j| sums the differences of the channels. If that is above 0, j beats i
/// everywhere. Nearly all entries fall to the one nearest to the middle.
unsigned PaletteMap::Prune(const Box& box, const std::uint8_t* from, unsigned count, std::uint8_t* to) const {
    std::array<int, 256> distance;
    unsigned nearest = 0;
    for (unsigned i = 0; i < count; ++i) {
        const std::array<int, 3>& color = colors[from[i]];
        distance[i] = 0;
        for (unsigned c = 0; c < 3; ++c) {
            const int difference = 2 * (color[c] - box.low[c]) - box.width;
            distance[i] += difference * difference;
        }
        if (distance[i] < distance[nearest]) nearest = i;
    }
    const std::array<int, 3>& best = colors[from[nearest]];
    unsigned kept = 0;
    for (unsigned i = 0; i < count; ++i) {
        const std::array<int, 3>& color = colors[from[i]];
        const int apart = std::abs(color[0] - best[0]) + std::abs(color[1] - best[1]) + std::abs(color[2] - best[2]);
        if (distance[i] - distance[nearest] <= 4 * box.width * apart) to[kept++] = from[i];
    }
    return kept;
}

}  // namespace zpixf
