#pragma once
#include <array>
#include <cstdint>

#include "dither/DitherKernels.h"
#include "dither/DitherMixKernels.h"
#include "gdi/gdi.h"

namespace zpixf {

/// Finds the mixtures of palette entries that look like given colours from afar.
class Mixer {
public:
    /// Takes 1 to 256 entries.
    Mixer(const RGBQUAD* entries, unsigned numEntries);
    /// `start`, unless null, is the mixture of a colour nearby, which shortens the search.
    Mixture Mix(int blue, int green, int red, const Mixture* start) const;

private:
    bool IsDarker(unsigned a, unsigned b) const;
    void Sort(Shares& shares) const;

    const DitherMixKernels& kernels = ActiveDitherMixKernels();
    MixPalette palette{};
};

}  // namespace zpixf
