#include "palette/EntriesInCubes.h"

#include <algorithm>
#include <cstdlib>

namespace zpixf {

void EntriesInCubes::Build(const RGBQUAD* entries, unsigned count, int scale) {
    all.count = 0;
    for (unsigned i = 0; i < count; ++i) {
        colors[i] = {entries[i].rgbBlue * scale, entries[i].rgbGreen * scale, entries[i].rgbRed * scale};
        const auto isSame = [&](std::uint8_t earlier) { return colors[earlier] == colors[i]; };
        if (std::none_of(all.entries.begin(), all.entries.begin() + all.count, isSame))
            all.entries[all.count++] = static_cast<std::uint8_t>(i);
    }
}

/// Let D be four times the squared distance to the cube's middle, and w its width. Over the cube, the squared distance
/// to entry i less that to entry j is linear in the colour; its least value, at a corner, is
/// (D(i) - D(j)) / 4 - w |i - j|, where |i - j| sums the differences of the channels. If that is above 0, j beats i
/// everywhere. Nearly all entries fall to the one nearest to the middle.
void EntriesInCubes::Prune(const ColorCube& cube, const List& from, List& kept) const {
    std::array<int, 256> distances;
    unsigned nearest = 0;
    for (unsigned i = 0; i < from.count; ++i) {
        const std::array<int, 3>& color = colors[from.entries[i]];
        distances[i] = 0;
        for (unsigned c = 0; c < 3; ++c) {
            const int difference = 2 * (color[c] - cube.low[c]) - cube.width;
            distances[i] += difference * difference;
        }
        if (distances[i] < distances[nearest]) nearest = i;
    }
    const std::array<int, 3>& best = colors[from.entries[nearest]];
    kept.count = 0;
    for (unsigned i = 0; i < from.count; ++i) {
        const std::array<int, 3>& color = colors[from.entries[i]];
        const int apart = std::abs(color[0] - best[0]) + std::abs(color[1] - best[1]) + std::abs(color[2] - best[2]);
        if (distances[i] - distances[nearest] <= 4 * cube.width * apart) kept.entries[kept.count++] = from.entries[i];
    }
}

}  // namespace zpixf
