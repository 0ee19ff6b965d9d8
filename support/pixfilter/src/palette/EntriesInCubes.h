#pragma once
#include <array>
#include <cstdint>

#include "gdi/gdi.h"

namespace zpixf {

/// A cube of colours, from `low` to `low` + `width` in each channel, both included.
struct ColorCube {
    std::array<int, 3> low;  ///< blue, green, red
    int width;
};

/// Which entries of a palette can be nearest to the colours of a cube.
class EntriesInCubes {
public:
    /// Indices of entries, rising.
    struct List {
        unsigned count;
        std::array<std::uint8_t, 256> entries;
    };

    /// Takes 1 to 256 entries; colours are counted in `scale`ths of a level, 1 to 16.
    void Build(const RGBQUAD* entries, unsigned count, int scale);

    const std::array<int, 3>& Color(unsigned entry) const { return colors[entry]; }
    /// All entries, without those that repeat an earlier one.
    const List& All() const { return all; }
    /// Keeps of a list the entries that can be nearest to some colour of the cube. Exact for lists that have all those.
    void Prune(const ColorCube& cube, const List& from, List& kept) const;

private:
    std::array<std::array<int, 3>, 256> colors{};
    List all{};
};

}  // namespace zpixf
