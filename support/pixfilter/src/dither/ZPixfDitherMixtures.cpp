#include "dither/ZPixfDitherMixtures.h"

#include <algorithm>

namespace zpixf {
namespace {

// Room for a photograph's mixtures. Only what is used of it costs memory.
constexpr std::size_t kMostMixtures = 1 << 21;
constexpr std::size_t kMostNumbers = 1 << 21;

constexpr std::uint32_t kCellMask = 0xF8F8F8;

/// The colour that the lattice has for a channel of a pixel.
std::uint32_t LatticeChannel(std::uint32_t channel, std::uint32_t cell, std::uint32_t raise) {
    const std::uint32_t level = LatticeLevel(channel, cell, raise) << (cell & 3);
    return std::min<std::uint32_t>(channel / kCellLevels * kCellLevels + level, 255);
}

std::uint32_t LatticeColor(std::uint32_t color, std::uint32_t cell, std::uint32_t raise) {
    return LatticeChannel(color & 255, cell, raise) | LatticeChannel(color >> 8 & 255, cell, raise) << 8 |
           LatticeChannel(color >> 16 & 255, cell, raise) << 16;
}

}  // namespace

Mixtures::Mixtures(const RGBQUAD* entries, unsigned numEntries, double strength)
    : mixer(entries, numEntries, strength),
      cells(kMixtureCells),
      mixtures(std::make_unique_for_overwrite<Mixture[]>(kMostMixtures)),
      nears(std::make_unique_for_overwrite<Near[]>(kMixtureCells)),
      numbers(std::make_unique_for_overwrite<std::uint8_t[]>(kMostNumbers)) {
    std::fill_n(mixtures.get(), kUnknownMixtures, Mixture{});
}

void Mixtures::Prepare(std::uint32_t color, std::uint32_t raise) {
    // Two cells may be opened, each with at most so many.
    if (numMixtures + 2 * kUnknownMixtures > kMostMixtures || numNumbers + 2 * MixEntries::kMost > kMostNumbers)
        Forget();
    const std::uint32_t cell = Opened(color);
    Mixture& mixture = mixtures[MixtureOf(color, cell, raise)];
    if ((mixture.limits & Mixture::kKnown) == 0) mixture = MixtureFor(LatticeColor(color, cell, raise));
}

void Mixtures::Forget() {
    std::fill(cells.begin(), cells.end(), 0u);
    numMixtures = kUnknownMixtures;
    numNumbers = 0;
}

std::uint32_t Mixtures::Opened(std::uint32_t color) {
    std::uint32_t& cell = cells[CellOf(color)];
    if (cell != 0) return cell;
    const std::uint32_t lowest = color & kCellMask;
    const unsigned shift = mixer.StepShift(lowest);
    const std::uint32_t side = LatticeSide(shift);
    const std::size_t count = std::size_t{side} * side * side;
    const unsigned numNear = mixer.FindNear(lowest, numbers.get() + numNumbers);
    nears[CellOf(color)] = {static_cast<std::uint32_t>(numNumbers), numNear};
    numNumbers += numNear;
    cell = static_cast<std::uint32_t>(numMixtures << 2 | shift);
    std::fill_n(mixtures.get() + numMixtures, count, Mixture{});
    numMixtures += count;
    return cell;
}

/// A colour of a cell's upper faces is the next cell's own; what has been made there need not be made again.
Mixture Mixtures::MixtureFor(std::uint32_t latticeColor) {
    const std::uint32_t cell = Opened(latticeColor);
    if (LatticeColor(latticeColor, cell, 0) != latticeColor) return Mix(latticeColor);  // its steps are larger
    Mixture& mixture = mixtures[MixtureOf(latticeColor, cell, 0)];
    if ((mixture.limits & Mixture::kKnown) == 0) mixture = Mix(latticeColor);
    return mixture;
}

Mixture Mixtures::Mix(std::uint32_t color) {
    const Near& found = nears[CellOf(color)];
    if (gatheredCell != CellOf(color)) Gather(found);
    gatheredCell = CellOf(color);
    return mixer.Mix({{blue.data(), green.data(), red.data(), found.count}, indices.data()}, color);
}

void Mixtures::Gather(const Near& found) {
    const auto [entries, allIndices] = mixer.All();
    for (unsigned i = 0; i < found.count; ++i) {
        const unsigned number = numbers[found.first + i];
        blue[i] = entries.blue[number];
        green[i] = entries.green[number];
        red[i] = entries.red[number];
        indices[i] = allIndices[number];
    }
}

}  // namespace zpixf
