#pragma once
#include <memory>

#include "zpixf/ZPixFilterBase.h"

namespace zpixf {

enum class ResampleKernel;

// Resampling: input and output are 4 channels of 8 bits (B, G, R, A) of any two sizes. Pixels are squares with
// half-pixel centres: output pixel x lies at (x + 0.5) * inputWidth / outputWidth - 0.5. In one pass down the picture
// each input line is pulled at most once, and only those that are needed.

/// Each pixel is the nearest of the input.
class ZPIXF_API ZPixfResize : public ZPixFilterBase {
public:
    ZPixfResize();
    ~ZPixfResize() override;
    ZPixfType FilterType() const override;
    bool FilterScanline(unsigned line, void* buffer) override;
    bool PullsForward() const override { return true; }
    void Stop() override;

protected:
    bool OnStart() override;

private:
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
    std::unique_ptr<State> state;
};

/// By the triangle: between the two nearest pixels each way when the picture grows. An exact half is the mean of 2 x 2.
class ZPIXF_API ZPixfResizeBilinear : public ZPixfResample {
public:
    ZPixfResizeBilinear();
    ~ZPixfResizeBilinear() override;
    ZPixfType FilterType() const override;

protected:
    bool OnStart() override;
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
