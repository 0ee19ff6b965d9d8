#include "dither/ZPixfDitherCandidates.h"

#include <algorithm>
#include <bit>

namespace zpixf {
namespace {

constexpr std::size_t kMostCandidates = 1 << 16;
constexpr unsigned kMostCoarseBits = 4;                      ///< of a coarse cell's number along a channel
constexpr int kCellWidth = (1 << DiffuseCells::kShift) - 1;  ///< from a cell's least colour to its greatest

}  // namespace

CandidateCells::CandidateCells(const RGBQUAD* entries, unsigned numEntries, int margin)
    : origin(margin * kSixteenths),
      bits(static_cast<unsigned>(
          std::bit_width(static_cast<unsigned>((255 + 2 * margin) * kSixteenths) >> DiffuseCells::kShift))),
      coarseBits(std::min(bits - 2, kMostCoarseBits)),
      coarseCells(std::size_t{1} << (3 * coarseBits)),
      cells(std::size_t{1} << (3 * bits)) {
    palette.Build(entries, numEntries, kSixteenths);
    candidates.reserve(kMostCandidates);
    candidates.resize(1);
}

void CandidateCells::Find(unsigned cell) {
    EntriesInCubes::List kept;
    palette.Prune(CubeOf(cell), CoarseCellAround(cell), kept);
    const unsigned count = kept.count;
    const unsigned groups = (count + DiffuseCandidates::kCount - 1) / DiffuseCandidates::kCount;
    if (candidates.size() + groups > kMostCandidates) {
        std::fill(cells.begin(), cells.end(), 0);
        candidates.resize(1);
    }
    const std::size_t first = candidates.size();
    candidates.resize(first + groups);
    for (unsigned i = 0; i < groups * DiffuseCandidates::kCount; ++i) {
        const std::uint8_t entry = kept.entries[std::min(i, count - 1)];
        DiffuseCandidates& group = candidates[first + i / DiffuseCandidates::kCount];
        const unsigned place = i % DiffuseCandidates::kCount;
        for (unsigned c = 0; c < 3; ++c) group.colors[place][c] = static_cast<std::int16_t>(palette.Color(entry)[c]);
        group.entries[place] = entry;
    }
    for (unsigned i = 0; i < groups; ++i) candidates[first + i].more = static_cast<std::uint8_t>(groups - 1 - i);
    cells[cell] = static_cast<std::uint16_t>(first);
}

ColorCube CandidateCells::CubeOf(unsigned cell) const {
    const auto lowest = [&](unsigned channel) {
        return static_cast<int>((cell >> (channel * bits) & ((1u << bits) - 1)) << DiffuseCells::kShift) - origin;
    };
    return {{lowest(0), lowest(1), lowest(2)}, kCellWidth};
}

/// What can be nearest somewhere in a cube of many cells spares these most of the palette.
const EntriesInCubes::List& CandidateCells::CoarseCellAround(unsigned cell) {
    const unsigned shift = bits - coarseBits;
    const unsigned mask = (1u << bits) - 1;
    unsigned number = 0, first = 0;
    for (unsigned channel = 0; channel < 3; ++channel) {
        const unsigned place = (cell >> (channel * bits) & mask) >> shift;
        number |= place << (channel * coarseBits);
        first |= place << shift << (channel * bits);
    }
    EntriesInCubes::List& coarse = coarseCells[number];
    if (coarse.count == 0)
        palette.Prune({CubeOf(first).low, (1 << (DiffuseCells::kShift + shift)) - 1}, palette.All(), coarse);
    return coarse;
}

}  // namespace zpixf
