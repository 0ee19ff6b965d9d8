#pragma once
#include <memory>
#include <vector>

#include "zpixf/ZPixFilterBase.h"

namespace zpixf {

struct ColorPoint;
class ColorHistogram;

/// Chooses a palette for a picture and maps its pixels to it.
///
/// Input: 4 channels of 8 bits (B, G, R, A). Output: as many pixels, either one channel of 1, 4 or 8 bits, the packed
/// indices, or 4 channels of 8 bits, the palette's colours with the alpha of the input. Start reads every input line
/// once and sets the palette of the output format: never more entries than desired, and as many as are of use.
/// FilterScanline pulls exactly the line that it gives. Bits of a packed line's last byte beyond its pixels stay as
/// they were.
///
/// Start fails, and leaves the output format as it is, if the input is of another form or the output is of none of
/// these, if their sizes differ, or if more colours are desired than the output can tell apart: 2, 16 or 256 for
/// indices of 1, 4 or 8 bits, 256 for 32-bit pixels. What is set after Start counts from the next Start on.
///
/// A picture without pixels gets one black entry. A picture of at most as many colours as desired comes out exact.
/// Transparent pixels (alpha 0) have no say in the palette unless all are transparent. The result is the same on every
/// system and processor.
class ZPIXF_API ZPixfQuantize : public ZPixFilterBase {
public:
    ~ZPixfQuantize() override;
    /// 1 to 256; 256 if never set. Start fails for any other number.
    void SetDesiredColors(unsigned count);
    bool FilterScanline(unsigned line, void* buffer) final;
    bool PullsForward() const final { return true; }
    ZPixfQuantize* AsQuantize() noexcept final { return this; }
    void Stop() override;

    /// For a started filter: makes of `count` pixels what a line of the output has of them, from the first byte of
    /// `result` on, which may be `pixels` if that is colours. They may be of any place, in parts of any size, in any
    /// order. False, described, if that fails.
    bool MapPixels(const std::uint8_t* pixels, std::size_t count, std::uint8_t* result);

protected:
    ZPixfQuantize();
    bool OnStart() override;
    /// Chooses at most `desiredColors` for a picture of more.
    virtual std::vector<ColorPoint> ChooseColors(const ColorHistogram& histogram) const = 0;

    struct ZPIXF_LOCAL State;
    std::unique_ptr<State> state;  ///< what a started filter holds
    unsigned desiredColors = 256;

private:
    bool SuitsFormats();
};

/// Median cut (P. Heckbert, Color Image Quantization for Frame Buffer Display, 1982) on 5 bits a channel: the quick
/// one.
class ZPIXF_API ZPixfQuantizeMedian5 : public ZPixfQuantize {
public:
    ZPixfQuantizeMedian5();
    ~ZPixfQuantizeMedian5() override;
    ZPixfType FilterType() const override;

protected:
    std::vector<ColorPoint> ChooseColors(const ColorHistogram& histogram) const override;
};

/// Looks for the least squared error on full 8-bit colours: the good one. For greys it finds the least of all.
class ZPIXF_API ZPixfQuantizeMedian8 : public ZPixfQuantize {
public:
    ZPixfQuantizeMedian8();
    ~ZPixfQuantizeMedian8() override;
    ZPixfType FilterType() const override;

protected:
    std::vector<ColorPoint> ChooseColors(const ColorHistogram& histogram) const override;
};

/// The colours that occur most. What counts as one colour is a cell of as many bits a channel as suits the picture.
class ZPIXF_API ZPixfQuantizePopularity : public ZPixfQuantize {
public:
    ZPixfQuantizePopularity();
    ~ZPixfQuantizePopularity() override;
    ZPixfType FilterType() const override;

protected:
    std::vector<ColorPoint> ChooseColors(const ColorHistogram& histogram) const override;
};

}  // namespace zpixf
