#pragma once
#include <array>
#include <cstdint>
#include <vector>

#include "dither/DitherKernels.h"
#include "dither/DitherMixKernels.h"
#include "gdi/gdi.h"

namespace zpixf {

/// Finds the mixtures of palette entries that look like given colours from afar.
class Mixer {
public:
    /// Takes 1 to 256 entries. With a strength below 1 the mixtures are drawn towards the nearest entry, which is all
    /// that is left of them at 0. May raise std::bad_alloc; nothing else asks for memory.
    Mixer(const RGBQUAD* entries, unsigned numEntries, double newStrength);
    /// The mixture of a colour (0x00RRGGBB).
    Mixture Mix(std::uint32_t color);
    /// By how many levels, 1, 2 or 4, the colours about this one may lie apart of which mixtures are made.
    unsigned StepAround(std::uint32_t color) const;

private:
    AmongEntries AroundCell(std::uint32_t color);
    void FindAround(std::uint32_t cellColor);
    AmongEntries All() const { return {all.data(), palette.count}; }
    void DrawToNearest(Shares& shares, unsigned nearest) const;
    bool IsDarker(unsigned a, unsigned b) const;
    void Sort(Shares& shares) const;

    const DitherMixKernels& kernels = ActiveDitherMixKernels();
    const double strength;
    MixPalette palette{};
    double forTwo, forFour;  ///< how far, squared, the fourth-nearest entry is where steps are of 2 and 4 levels
    std::array<std::uint8_t, MixPalette::kMost> indices{};  ///< of the palette's colours among the entries given
    std::array<std::uint8_t, MixPalette::kMost> all{};      ///< 0, 1, 2 ...
    /// Those that can have a share in some mixture of a cell: where they begin, times kMost, and how many but one there
    /// are; 0 while that is not known. The first one is of no cell.
    std::vector<std::uint32_t> around;
    std::vector<std::uint8_t> numbers;
};

}  // namespace zpixf
