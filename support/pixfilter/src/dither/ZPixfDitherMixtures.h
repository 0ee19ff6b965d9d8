#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "dither/DitherKernels.h"
#include "dither/ZPixfDitherMixer.h"

namespace zpixf {

/// The mixtures of a palette, made as they are needed. What a mixture is depends on its colour alone; where there is no
/// more room, all are forgotten.
class Mixtures {
public:
    /// As Mixer does. May raise std::bad_alloc; nothing else asks for memory.
    Mixtures(const RGBQUAD* entries, unsigned numEntries, double strength);

    bool AreOfFew() const { return mixer.HasFew(); }
    const std::uint32_t* Cells() const { return cells.data(); }
    const Mixture* All() const { return mixtures.get(); }
    /// Makes what is not known yet of a pixel's mixture.
    void Prepare(std::uint32_t color, std::uint32_t raise);

private:
    /// The numbers of the entries that can have a share in a cell's mixtures.
    struct Near {
        std::uint32_t first;
        unsigned count;
    };
    std::uint32_t Opened(std::uint32_t color);
    void Forget();
    Mixture MixtureFor(std::uint32_t latticeColor);
    Mixture Mix(std::uint32_t color);
    void Gather(const Near& found);

    const Mixer mixer;
    std::vector<std::uint32_t> cells;  ///< as MixtureTables have them
    std::unique_ptr<Mixture[]> mixtures;
    std::unique_ptr<Near[]> nears;  ///< of each known cell
    std::unique_ptr<std::uint8_t[]> numbers;
    std::size_t numMixtures = kUnknownMixtures, numNumbers = 0;

    /// The entries near to the cell that was looked at last.
    std::uint32_t gatheredCell = kMixtureCells;
    std::array<float, MixEntries::kMost> blue{}, green{}, red{};
    std::array<std::uint8_t, MixEntries::kMost> indices{};
};

}  // namespace zpixf
