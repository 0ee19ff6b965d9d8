#pragma once
#include <memory>

#include "zpixf/ZPixFilterBase.h"

namespace zpixf {

/// Chooses a palette for a picture and maps its pixels to it.
///
/// Input: 4 channels of 8 bits (B, G, R, A). Output: as many pixels, either one channel of 1, 4 or 8 bits, the packed
/// indices, or 4 channels of 8 bits, the palette's colours with the alpha of the input. Start reads every input line
/// once and sets the palette of the output format: never more entries than desired, and as many as are of use.
/// FilterScanline pulls exactly the line that it gives. Bits of a packed line's last byte beyond its pixels stay as
/// they were.
///
/// A picture of at most as many colours as desired comes out exact. Transparent pixels (alpha 0) have no say in the
/// palette unless all are transparent. The result is the same on every system and processor.
class ZPIXF_API ZPixfQuantize : public ZPixFilterBase {
public:
    ~ZPixfQuantize() override;
    /// 1 to 256; 256 if never set. Start fails for any other number, or for more than the output's index can tell
    /// apart.
    void SetDesiredColors(unsigned count);
    bool FilterScanline(unsigned line, void* buffer) override;
    void Stop() override;

protected:
    ZPixfQuantize();
    bool OnStart() override;

    struct State;
    std::unique_ptr<State> state;  ///< what a started filter holds
    unsigned desiredColors = 256;
};

/// Median cut (P. Heckbert, Color Image Quantization for Frame Buffer Display, 1982) on 5 bits a channel: the quick
/// one.
class ZPIXF_API ZPixfQuantizeMedian5 : public ZPixfQuantize {
public:
    ZPixfQuantizeMedian5();
    ~ZPixfQuantizeMedian5() override;
    ZPixfType FilterType() const override;
};

/// Splits by variance on full 8-bit colours, and refines: the good one.
class ZPIXF_API ZPixfQuantizeMedian8 : public ZPixfQuantize {
public:
    ZPixfQuantizeMedian8();
    ~ZPixfQuantizeMedian8() override;
    ZPixfType FilterType() const override;
};

/// The colours that occur most.
class ZPIXF_API ZPixfQuantizePopularity : public ZPixfQuantize {
public:
    ZPixfQuantizePopularity();
    ~ZPixfQuantizePopularity() override;
    ZPixfType FilterType() const override;
};

}  // namespace zpixf
