#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

namespace zpixf {

/// A set of pixels of like colour: how many they are, and the sums of their B, G and R. Enough for a picture of 2^56
/// pixels.
struct ColorPoint {
    std::uint64_t weight = 0;
    std::uint64_t sum[3] = {};
    std::uint8_t mean[3] = {};  ///< of the pixels, rounded to the nearest, halves up
};

inline void Add(ColorPoint& to, const ColorPoint& point) noexcept {
    to.weight += point.weight;
    for (unsigned c = 0; c < 3; ++c) to.sum[c] += point.sum[c];
}

/// Sets the mean of pixels that are not none.
void SetMean(ColorPoint& point) noexcept;

/// Puts together the points whose means agree in the upper `bits` of each channel.
std::vector<ColorPoint> Merge(const std::vector<ColorPoint>& points, unsigned bits);

/// Counts the colours of a picture in bounded memory: every colour for itself while there are few, and in cells of
/// 6 bits a channel from then on, which keep the sums of the full 8 bits.
///
/// Pixels of alpha 0 count only as long as there are no others.
class ColorHistogram {
public:
    /// May raise std::bad_alloc, as all else here.
    ColorHistogram();

    /// Takes a row of pixels: B, G, R, A.
    void AddRow(const std::uint8_t* pixels, std::size_t count);

    /// Whether every colour has been counted for itself. If not, there are more than 2^14.
    bool HasAllColors() const noexcept { return cells.empty(); }
    /// What was counted, with no two means alike: colours, or cells of 6 bits (then more than 256).
    std::vector<ColorPoint> Points() const;

private:
    struct Spilled {
        std::uint64_t count = 0, low[3] = {};
    };

    /// Which pixels of a row count.
    enum class Counted { all, visible };

    void Clear();
    template <Counted counted>
    void Add(const std::uint8_t* pixels, std::size_t count);
    template <Counted counted>
    std::size_t AddToColors(const std::uint8_t* pixels, std::size_t count);
    template <Counted counted>
    void AddToCells(const std::uint8_t* pixels, std::size_t count);
    bool AddColor(std::uint32_t color, std::uint64_t count);
    void Spill(std::size_t cell, std::uint64_t packed);
    void TurnColorsToCells();
    std::vector<ColorPoint> ColorPoints() const;
    std::vector<ColorPoint> CellPoints() const;

    bool seenVisible = false;
    std::vector<std::uint32_t> slots;   ///< a hash table of places in `colors`, counted from 1
    std::vector<std::uint32_t> colors;  ///< in the order in which they came; B is in the lowest bits
    std::vector<std::uint64_t> counts;  ///< of the colours
    std::vector<std::uint64_t> cells;   ///< empty while colours are counted
    std::vector<Spilled> spilled;       ///< what the cells could not hold; empty while they can
};

}  // namespace zpixf
