#pragma once
#include <cstdint>
#include <vector>

#include "palette/ColorHistogram.h"
#include "palette/PaletteMap.h"

namespace zpixf {

/// Points as pixels, to be looked up in palettes.
class PointMap {
public:
    /// `points` must outlive this.
    explicit PointMap(const std::vector<ColorPoint>& points);

    /// Looks up all points in the palette that the means of `palette` make.
    void Map(const std::vector<ColorPoint>& palette);
    /// Of the last palette looked up: which entry is nearest to point `i`.
    std::size_t Nearest(std::size_t i) const { return nearest[i]; }
    /// Of the last palette looked up: the squared distance of point `i` to its entry, times its weight.
    double Error(std::size_t i) const;
    /// The sum of all these.
    double TotalError() const;

private:
    const std::vector<ColorPoint>& points;
    std::vector<std::uint8_t> pixels, nearest;
    std::vector<RGBQUAD> entries;
    PaletteMap map;
};

/// Moves the entries of a palette, `rounds` times at most, to where the points nearest to them have their means
/// (S. P. Lloyd, Least Squares Quantization in PCM, 1982). An entry that is nearest to no point moves to one that lies
/// far from its own. No two entries are alike afterwards. There must be more points than entries, no two of them with
/// the same mean.
void RefinePalette(std::vector<ColorPoint>& palette, const std::vector<ColorPoint>& points, unsigned rounds);

}  // namespace zpixf
