#pragma once
#include <memory>

#include "zpixf/ZPixFilterBase.h"

namespace zpixf {

/// What a convolution does. `user` takes the kernel that the caller sets; the others have theirs, which docs/filters.md
/// gives. Those of Sobel (which find horizontal and vertical edges) and the relief stand on mid-grey.
enum class ZPixf3x3Mode : int {
    user = 1,
    blur = 2,
    gaussian = 3,
    sharpen = 4,
    edge = 5,
    sobelHorizontal = 6,
    sobelVertical = 7,
    emboss = 8,
};
enum class ZPixf5x5Mode : int {
    user = 1,
    blur = 2,
    gaussian = 3,
    sharpen = 4,
    edge = 5,
    sobelHorizontal = 6,
    sobelVertical = 7,
    emboss = 8,
};

/// Each channel but alpha becomes the sum of its neighbourhood, weighted by the kernel, over the divisor, plus the
/// bias; rounded to nearest, halves up, and clamped. Beyond a border lies the border's pixel again. Alpha is handed
/// through.
///
/// Input and output are 4 channels of 8 bits (B, G, R, A) of the same size. In one pass down the picture each input
/// line is pulled once.
class ZPIXF_API ZPixfConvolution : public ZPixFilterBase {
public:
    ~ZPixfConvolution() override;
    bool FilterScanline(unsigned line, void* buffer) override;
    bool PullsForward() const override { return true; }
    void Stop() override;

protected:
    ZPixfConvolution();
    bool StartWith(unsigned side, const double* coefficients, double divisor, double bias);

private:
    struct ZPIXF_LOCAL State;
    std::unique_ptr<State> state;
};

class ZPIXF_API ZPixfConvolution3 : public ZPixfConvolution {
public:
    ZPixfConvolution3();
    ~ZPixfConvolution3() override;
    /// `user` if never set, with a kernel that changes nothing. Start fails for a mode that is none.
    void SetConvolution(ZPixf3x3Mode newMode);
    /// 9 coefficients, row by row from the top, each for the pixel of its place. A divisor of 0 stands for the sum of
    /// the kernel, or 1 if that is 0. Copied. Start fails if any number is not finite, or 255 times the sum of the
    /// coefficients' magnitudes is not.
    void SetUserConvolution(const double* coefficients, double newDivisor, double newBias);
    /// Sharpens for an amount above 0 (at 1: 5 in the centre of a cross of -1), blurs for one below (at -1: the mean of
    /// 3 x 3); 0 changes nothing. What is beyond -1 .. 1 counts as -1 or 1, no number as 0. Sets mode, kernel, divisor
    /// and bias.
    void SetSharpeningConvolution(double amount);
    ZPixfType FilterType() const override;

protected:
    bool OnStart() override;

private:
    ZPixf3x3Mode mode = ZPixf3x3Mode::user;
    double kernel[9] = {0, 0, 0, 0, 1, 0, 0, 0, 0};
    double divisor = 1, bias = 0;
};

class ZPIXF_API ZPixfConvolution5 : public ZPixfConvolution {
public:
    ZPixfConvolution5();
    ~ZPixfConvolution5() override;
    void SetConvolution(ZPixf5x5Mode newMode);
    /// 25 coefficients, otherwise as for 3 x 3.
    void SetUserConvolution(const double* coefficients, double newDivisor, double newBias);
    ZPixfType FilterType() const override;

protected:
    bool OnStart() override;

private:
    ZPixf5x5Mode mode = ZPixf5x5Mode::user;
    double kernel[25] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    double divisor = 1, bias = 0;
};

}  // namespace zpixf
