#pragma once
#include <memory>

#include "zpixf/ZPixFilterBase.h"

namespace zpixf {

/// Maps a picture to a palette so that the mean colour of an area is kept.
///
/// Input: 4 channels of 8 bits (B, G, R, A). Output: as many pixels, either one channel of 1, 4 or 8 bits, the packed
/// indices, or 4 channels of 8 bits, the palette's colours with the alpha of the input. The palette is that of the
/// output format; if it has none, Start sets a fixed one: of 2, 16 or 256 entries for 1, 4 or 8 bits (256 for colours).
/// FilterScanline pulls exactly the line that it gives; bits of a packed line's last byte beyond its pixels stay.
class ZPIXF_API ZPixfDither : public ZPixFilterBase {
public:
    ~ZPixfDither() override;
    void Stop() override;

protected:
    ZPixfDither();

    struct State;
    std::unique_ptr<State> state;  ///< what a started filter holds
};

/// Ordered dither (B. E. Bayer, An Optimum Method for Two-Level Rendition of Continuous-Tone Pictures, 1973).
class ZPIXF_API ZPixfDitherOrdered : public ZPixfDither {
public:
    ZPixfDitherOrdered();
    ~ZPixfDitherOrdered() override;
    ZPixfType FilterType() const override;
    bool FilterScanline(unsigned line, void* buffer) override;

protected:
    bool OnStart() override;
};

/// Error diffusion (R. W. Floyd, L. Steinberg, An Adaptive Algorithm for Spatial Greyscale, 1976), alternate lines
/// running right to left. Line 0 begins without error.
class ZPIXF_API ZPixfDitherDiffuse : public ZPixfDither {
public:
    ZPixfDitherDiffuse();
    ~ZPixfDitherDiffuse() override;
    ZPixfType FilterType() const override;
    bool FilterScanline(unsigned line, void* buffer) override;

protected:
    bool OnStart() override;
};

}  // namespace zpixf
