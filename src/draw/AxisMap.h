#pragma once
// Which pixels of a bitmap the pixels of a surface show, along one axis.
#include <cstdint>
#include <vector>

#include "draw/FineKernels.h"

namespace zbm {

/// How pixels that are not shown one by one are taken.
enum class AxisMethod { nearest, linear, average };

/// The picture along one axis: the corner of pixel i of the destination lies at start + i * scale in the bitmap's
/// pixels.
struct AxisScale {
    double start, scale;

    /// Whether each pixel of the destination is one of the bitmap's.
    bool IsOneToOne() const noexcept;
};

/// A pixel of the destination shows the bitmap if its middle lies in it. All that is said of pixel i follows from i,
/// not from where the map begins or ends; so a destination may be drawn in pieces.
class AxisMap {
public:
    /// For the pixels from `begin` to `end` of the destination, and a bitmap of `length` pixels.
    AxisMap(const AxisScale& axis, AxisMethod method, int length, std::int64_t begin, std::int64_t end);

    /// The destination's pixels that show the bitmap.
    std::int64_t Begin() const noexcept { return first; }
    int Count() const noexcept { return static_cast<int>(taps.size()); }

    /// By their place behind Begin.
    const Tap& operator[](int i) const noexcept { return taps[static_cast<std::size_t>(i)]; }
    /// The first of the bitmap's pixels that are shown by those from `i` on, and the end of those shown before `i`.
    int SourceBegin(int i) const noexcept { return (*this)[i].first; }
    int SourceEnd(int i) const noexcept { return (*this)[i - 1].first + (*this)[i - 1].count; }
    /// The first place that shows a pixel from `source` on, or one behind it.
    int FirstShowing(int source) const noexcept;
    /// The first place that shows no pixel before `source`, or one behind it.
    int FirstFrom(int source) const noexcept;

    /// Whether each place shows one pixel.
    bool ShowsSingles() const noexcept { return isSingle; }
    /// Whether these also follow each other as the bitmap's do.
    bool IsOneToOne() const noexcept { return isOneToOne; }
    /// Whether each place shows few pixels: these have weights that add up to kBlendUnit.
    bool IsBlended() const noexcept { return pairs != 0; }
    std::size_t Pairs() const noexcept { return pairs; }
    /// As many pairs for each place from `i` on. Those of a blended map only.
    const std::int16_t* Weights(int i) const noexcept {
        return weights.data() + 2 * pairs * static_cast<std::size_t>(i);
    }
    /// Whether the places show two pixels each, of one weight, that follow each other.
    bool IsHalving() const noexcept { return isHalving; }
    /// What a pixel that place `i` shows counts in a sum.
    std::uint32_t WeightOf(int i, int source) const noexcept;

    // Of maps that are not blended.
    std::uint32_t Unit() const noexcept { return unit; }
    Sums SummedAs() const noexcept { return sums; }

private:
    Tap Single(int pixel) const noexcept;
    Tap Linear(double middle, int length) const noexcept;
    Tap Averaged(const AxisScale& axis, std::int64_t i, int length) const noexcept;

    void Blend();
    bool Halves() const noexcept;

    std::int64_t first = 0;
    std::vector<Tap> taps;
    std::vector<std::int16_t> weights;
    std::size_t pairs = 0;
    std::uint32_t unit = 1;
    Sums sums = Sums::fine;
    bool isSingle, isOneToOne = false, isHalving = false;
};

}  // namespace zbm
