#pragma once
#include <array>
#include <cstdint>

#include "dither/DitherKernels.h"
#include "dither/DitherMixKernels.h"
#include "gdi/gdi.h"

namespace zpixf {

/// Entries of a palette in its order, with their indices.
struct MixList {
    MixEntries entries;
    const std::uint8_t* indices;
};

/// Finds the mixtures of palette entries that look like given colours (0x00RRGGBB) from afar.
class Mixer {
public:
    /// Takes 1 to 256 entries. With a strength below 1 the mixtures are drawn towards the nearest entry, which is all
    /// that is left of them at 0.
    Mixer(const RGBQUAD* entries, unsigned numEntries, double newStrength);

    /// All entries, a repeated one once.
    MixList All() const { return {{blue.data(), green.data(), red.data(), count}, indices.data()}; }
    /// Whether entries are so few that mixtures are coarse, and what is seen of them weighs more. Repeated ones, as
    /// those that fill a table up, do not count.
    bool HasFew() const { return count < 32; }
    /// The mixture of a colour. The list must have all entries that are within reach.
    Mixture Mix(const MixList& list, std::uint32_t color) const;

    /// The binary logarithm of the levels between the colours of a cell of which mixtures are made: 0, 1 or 2.
    unsigned StepShift(std::uint32_t lowest) const;
    /// Gives the numbers among All() of the entries that may have a share in mixtures of a cell's colours, room for
    /// MixEntries::kMost, and how many they are.
    unsigned FindNear(std::uint32_t lowest, std::uint8_t* numbers) const;

private:
    const DitherMixKernels& kernels = ActiveDitherMixKernels();
    const double strength;
    unsigned count = 0;
    std::array<float, MixEntries::kMost> blue{}, green{}, red{};
    std::array<std::uint8_t, MixEntries::kMost> indices{};
    MixWeights weights{};
    std::uint32_t forTwo = 0, forFour = 0;  ///< how far, squared, the fourth-nearest entry is where steps are larger
};

}  // namespace zpixf
