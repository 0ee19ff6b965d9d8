#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>

#include "zpixf/ZPixFilterBase.h"

namespace zpixf {

enum class ResampleKernel;

// Resampling: input and output are 4 channels of 8 bits (B, G, R, A) of any two sizes. Pixels are squares with
// half-pixel centres: output pixel x lies at (x + 0.5) * inputWidth / outputWidth - 0.5. In one pass down the picture
// each input line is pulled at most once, and only those that are needed.

/// A started filter each of whose output pixels is one of the input's, and all of a line of one line. Bitmaps then take
/// them from tile to tile, which is faster than lines.
class ZPIXF_API ZPixfPicking {
public:
    /// The input line of which that output line is made. It grows with the output's.
    virtual unsigned LineUnder(unsigned line) const noexcept = 0;
    /// The input column of each of the output, in ascending order.
    virtual const std::uint32_t* Columns() const noexcept = 0;
    /// Output pixels `first` to before `first + count` of a line, in `out`, made of the input line whose pixel of
    /// column `origin` is the first of `pixels`. Those that they are made of must be there; `origin` may lie before the
    /// line.
    virtual void Pick(unsigned first, std::size_t count, const std::uint8_t* pixels, int origin,
                      std::uint8_t* out) const noexcept = 0;

protected:
    ~ZPixfPicking() = default;
};

/// Each pixel is the nearest of the input.
class ZPIXF_API ZPixfResize : public ZPixFilterBase, private ZPixfPicking {
public:
    ZPixfResize();
    ~ZPixfResize() override;
    ZPixfType FilterType() const override;
    bool FilterScanline(unsigned line, void* buffer) override;
    bool PullsForward() const override { return true; }
    /// Not for what derives from it: that may have lines of its own.
    const ZPixfPicking* AsPicking() const noexcept override;
    void Stop() override;

protected:
    bool OnStart() override;

private:
    unsigned LineUnder(unsigned line) const noexcept override;
    const std::uint32_t* Columns() const noexcept override;
    void Pick(unsigned first, std::size_t count, const std::uint8_t* pixels, int origin,
              std::uint8_t* out) const noexcept override;

    struct ZPIXF_LOCAL State;
    std::unique_ptr<State> state;
};

/// What weighs several pixels: by a kernel that is stretched by the ratio when the picture shrinks, its weights made to
/// sum to 1 where it reaches beyond a border. Colours weigh by their alpha, so that nothing of a transparent pixel
/// shows in its neighbours; where all that is weighed is transparent, by the kernel alone. Rounded to nearest without
/// bias.
class ZPIXF_API ZPixfResample : public ZPixFilterBase {
public:
    ~ZPixfResample() override;
    bool FilterScanline(unsigned line, void* buffer) override;
    bool PullsForward() const override { return true; }
    void Stop() override;

protected:
    ZPixfResample();
    bool StartWith(ResampleKernel kernel);

private:
    struct ZPIXF_LOCAL State;
    struct ZPIXF_LOCAL Half;
    struct ZPIXF_LOCAL Weighted;
    std::unique_ptr<State> state;
};

/// A filter whose result is just half as wide and half as high as its input, each pixel made of the 2 x 2 of its place
/// alone. Bitmaps then go from tile to tile, which is faster than lines.
class ZPIXF_API ZPixfHalving {
public:
    /// A part of the result and where it lies, and what it is made of: 2 * height lines of 2 * width pixels. Strides
    /// are the ways in bytes from one line to that below.
    struct Part {
        unsigned column, line;  ///< of its first pixel in the result
        unsigned width, height;
        const std::uint8_t* from;
        std::ptrdiff_t fromStride;
        std::uint8_t* to;
        std::ptrdiff_t toStride;
        bool isFarAway;  ///< whether no cache holds what it is made of: lines that follow are then fetched meanwhile
    };
    /// Makes a part. Parts may come in any order.
    virtual void Halve(const Part& part) const noexcept = 0;

protected:
    ~ZPixfHalving() = default;
};

/// By the triangle: between the two nearest pixels each way when the picture grows. An exact half is the mean of 2 x 2.
class ZPIXF_API ZPixfResizeBilinear : public ZPixfResample, private ZPixfHalving {
public:
    ZPixfResizeBilinear();
    ~ZPixfResizeBilinear() override;
    ZPixfType FilterType() const override;
    /// Not for what derives from it: that may have lines of its own.
    const ZPixfHalving* AsHalving() const noexcept override;

protected:
    bool OnStart() override;

private:
    void Halve(const Part& part) const noexcept override;
};

/// By a cubic of the two-parameter family (D. Mitchell, A. Netravali, Reconstruction Filters in Computer Graphics,
/// 1988).
class ZPIXF_API ZPixfResizeBicubic : public ZPixfResample {
public:
    ZPixfResizeBicubic();
    ~ZPixfResizeBicubic() override;
    /// 0 (the default) Catmull-Rom (B = 0, C = 1/2), 1 Mitchell (1/3, 1/3), 2 B-spline (1, 0). Start fails for another.
    void SetMode(int newMode);
    ZPixfType FilterType() const override;

protected:
    bool OnStart() override;

private:
    int mode = 0;
};

}  // namespace zpixf
