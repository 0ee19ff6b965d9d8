#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace zpixf {

/// A set of pixels of like colour: how many they are, and the sums of their B, G and R. Enough for a picture of 2^40
/// pixels, whatever is done with it here.
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

/// Counts the colours of a picture, every colour for itself. Takes 1 KB for each block of 8 x 8 x 8 colours that it has
/// some of, so 33 MB at most.
///
/// Pixels of alpha 0 count only as long as there are no others.
class ColorHistogram {
public:
    /// May raise std::bad_alloc, as all else here.
    ColorHistogram();

    /// Takes a row of pixels: B, G, R, A.
    void AddRow(const std::uint8_t* pixels, std::size_t count);

    /// Whether there are at most 2^14 colours.
    bool HasAllColors() const noexcept { return blocks.empty(); }
    /// Whether there are no more than so many colours, at most 2^14.
    bool HasAtMost(std::size_t count) const noexcept { return HasAllColors() && colors.size() <= count; }
    /// What was counted, with no two means alike: colours in the order in which they came, or cells of 6 bits a channel
    /// (then more than 256) where they are more than 2^14.
    std::vector<ColorPoint> Points() const;
    /// The same, but in cells of 8 bits as long as there are at most 2^18 colours, and of 7 up to 2^19.
    std::vector<ColorPoint> FinestPoints() const;

private:
    using Block = std::array<std::uint16_t, 512>;  ///< counts, B slowest and R fastest

    /// Which pixels of a row count.
    enum class Counted { all, visible };

    void Clear();
    template <Counted counted>
    void Add(const std::uint8_t* pixels, std::size_t count);
    template <Counted counted>
    std::size_t AddToColors(const std::uint8_t* pixels, std::size_t count);
    template <Counted counted>
    void AddToBlocks(const std::uint8_t* pixels, std::size_t count);
    bool AddColor(std::uint32_t color, std::uint64_t count);
    Block& MakeBlock(std::uint32_t color);
    void CountFirstOrOverflow(std::uint32_t color, std::uint16_t& inBlock);
    void TurnColorsToBlocks();
    std::vector<ColorPoint> ColorPoints() const;
    std::vector<ColorPoint> Cells(unsigned bits) const;
    ColorPoint Cell(unsigned blue, unsigned green, unsigned red, unsigned side) const;
    std::uint64_t CountOf(std::uint32_t color, const Block& block) const;

    bool seenVisible = false;
    std::vector<std::uint32_t> slots;                  ///< a hash table of places in `colors`, counted from 1
    std::vector<std::uint32_t> colors;                 ///< in the order in which they came; B is in the lowest bits
    std::vector<std::uint64_t> counts;                 ///< of the colours
    std::vector<std::unique_ptr<Block>> blocks;        ///< none while colours are few
    std::size_t numColors = 0;                         ///< in the blocks
    std::map<std::uint32_t, std::uint64_t> overflows;  ///< of colours: what their counts in blocks could not hold
};

}  // namespace zpixf
