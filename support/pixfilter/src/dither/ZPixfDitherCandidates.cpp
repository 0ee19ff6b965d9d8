#include "dither/ZPixfDitherCandidates.h"

#include <algorithm>
#include <bit>
#include <cstdlib>

namespace zpixf {
namespace {

constexpr std::size_t kMostCandidates = 1 << 16;
constexpr int kCellWidth = (1 << DiffuseCells::kShift) - 1;  ///< from a cell's least colour to its greatest

}  // namespace

CandidateCells::CandidateCells(const RGBQUAD* entries, unsigned numEntries, int margin)
    : origin(margin * kSixteenths),
      bits(static_cast<unsigned>(
          std::bit_width(static_cast<unsigned>((255 + 2 * margin) * kSixteenths) >> DiffuseCells::kShift))),
      cells(std::size_t{1} << (3 * bits)) {
    candidates.reserve(kMostCandidates);
    candidates.resize(1);
    for (unsigned i = 0; i < numEntries; ++i) {
        colors[i] = {entries[i].rgbBlue * kSixteenths, entries[i].rgbGreen * kSixteenths,
                     entries[i].rgbRed * kSixteenths};
        const auto isSame = [&](std::uint8_t earlier) { return colors[earlier] == colors[i]; };
        if (std::none_of(distinct.begin(), distinct.begin() + numDistinct, isSame))
            distinct[numDistinct++] = static_cast<std::uint8_t>(i);
    }
}

void CandidateCells::Find(unsigned cell) {
    std::array<std::uint8_t, 256> kept;
    const unsigned count = Prune(cell, kept.data());
    const unsigned groups = (count + DiffuseCandidates::kCount - 1) / DiffuseCandidates::kCount;
    if (candidates.size() + groups > kMostCandidates) {
        std::fill(cells.begin(), cells.end(), 0);
        candidates.resize(1);
    }
    const std::size_t first = candidates.size();
    candidates.resize(first + groups);
    for (unsigned i = 0; i < groups * DiffuseCandidates::kCount; ++i) {
        const std::uint8_t entry = kept[std::min(i, count - 1)];
        DiffuseCandidates& group = candidates[first + i / DiffuseCandidates::kCount];
        const unsigned place = i % DiffuseCandidates::kCount;
        for (unsigned c = 0; c < 3; ++c) group.colors[place][c] = static_cast<std::int16_t>(colors[entry][c]);
        group.entries[place] = entry;
    }
    for (unsigned i = 0; i < groups; ++i) candidates[first + i].more = static_cast<std::uint8_t>(groups - 1 - i);
    candidates[first].isSingle = count == 1 ? 1 : 0;
    cells[cell] = static_cast<std::uint16_t>(first);
}

/// Keeps the entries that can be nearest to some colour of the cell, as PaletteMap::Prune does: the squared distance to
/// entry i less that to entry j is linear in the colour, and least at a corner.
unsigned CandidateCells::Prune(unsigned cell, std::uint8_t* kept) const {
    int low[3];
    for (int& least : low) {
        least = static_cast<int>((cell & ((1u << bits) - 1)) << DiffuseCells::kShift) - origin;
        cell >>= bits;
    }
    std::array<int, 256> distances;  // four times the squared ones to the middle
    unsigned nearest = 0;
    for (unsigned i = 0; i < numDistinct; ++i) {
        distances[i] = 0;
        for (unsigned c = 0; c < 3; ++c) {
            const int difference = 2 * (colors[distinct[i]][c] - low[c]) - kCellWidth;
            distances[i] += difference * difference;
        }
        if (distances[i] < distances[nearest]) nearest = i;
    }
    const std::array<int, 3>& best = colors[distinct[nearest]];
    unsigned count = 0;
    for (unsigned i = 0; i < numDistinct; ++i) {
        const std::array<int, 3>& color = colors[distinct[i]];
        const int apart = std::abs(color[0] - best[0]) + std::abs(color[1] - best[1]) + std::abs(color[2] - best[2]);
        if (distances[i] - distances[nearest] <= 4 * kCellWidth * apart) kept[count++] = distinct[i];
    }
    return count;
}

}  // namespace zpixf
