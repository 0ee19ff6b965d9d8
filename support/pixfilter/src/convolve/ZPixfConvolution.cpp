#include "zpixf/ZPixfConvolution.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>

#include "adjust/ZPixfAdjustFormat.h"
#include "base/LineWindow.h"
#include "convolve/ZPixfConvolutionForm.h"
#include "convolve/ZPixfConvolutionModes.h"

namespace zpixf {
namespace {

/// Nothing but rounding keeps the sum of a kernel like 0.1 + 0.2 - 0.3 from 0.
double DivisorOrDefault(double divisor, const double* coefficients, unsigned count) {
    if (divisor != 0) return divisor;
    double sum = 0, magnitudes = 0;
    for (unsigned i = 0; i < count; ++i) {
        sum += coefficients[i];
        magnitudes += std::fabs(coefficients[i]);
    }
    constexpr double kRoundings = 0x1p-40;
    return std::fabs(sum) > magnitudes * kRoundings ? sum : 1;
}

bool AreFinite(const double* coefficients, unsigned count, double divisor, double bias) {
    double magnitudes = 0;
    for (unsigned i = 0; i < count; ++i) magnitudes += 255 * std::fabs(coefficients[i]);
    return std::isfinite(magnitudes) && std::isfinite(divisor) && std::isfinite(bias);
}

Convolve ConvolveBy(ConvolutionWay way) {
    const ConvolutionKernels& kernels = ActiveConvolutionKernels();
    switch (way) {
        case ConvolutionWay::separable: return kernels.separable;
        case ConvolutionWay::narrow: return kernels.narrow;
        case ConvolutionWay::wide: return kernels.wide;
        case ConvolutionWay::fraction: return kernels.fraction;
        case ConvolutionWay::plain: break;
    }
    return kernels.plain;
}

/// Repeats the border's pixels beyond both ends of a line, as far as a kernel reaches.
void FillMargins(std::uint8_t* pixels, std::size_t width) {
    constexpr std::size_t kReach = kMaxConvolutionSide / 2;
    if (width == 0) return;
    std::uint8_t* const end = pixels + 4 * width;
    for (std::size_t i = 0; i < kReach; ++i) {
        std::memcpy(pixels - 4 * (i + 1), pixels, 4);
        std::memcpy(end + 4 * i, end - 4, 4);
    }
}

using LayOut = decltype(ConvolutionKernels::layOut);

/// Lines of the window: pixels, and behind these, for kernels that want them, the same as floats. A float takes the
/// place of a pixel.
class LineLayout {
public:
    LineLayout(unsigned newWidth, LayOut newLayOut) : width(newWidth), layOut(newLayOut) {
        constexpr std::uint64_t kAlignment = 16;
        const auto aligned = [](std::uint64_t count) { return (count + kAlignment - 1) / kAlignment * kAlignment; };
        firstBlue = aligned(std::uint64_t{width} + kConvolutionMargin) + kPlaneMarginBefore;
        stride = aligned(std::uint64_t{width} + kPlaneMargin);
    }

    /// In pixels. Raises std::bad_alloc if that is too many.
    unsigned Length() const {
        if (layOut == nullptr) return width;
        const std::uint64_t length = firstBlue + kColors * stride;
        if (length > std::numeric_limits<unsigned>::max()) throw std::bad_alloc();
        return static_cast<unsigned>(length);
    }

    /// Has a line of pixels with its margins laid out.
    void Complete(std::uint8_t* pixels) const {
        if (layOut == nullptr) return;
        float* const blue = reinterpret_cast<float*>(pixels + sizeof(float) * static_cast<std::size_t>(firstBlue));
        layOut(pixels, width, {blue, static_cast<std::size_t>(stride)});
    }

    void SetRow(ConvolutionLines& lines, unsigned row, const std::uint8_t* pixels) const {
        lines.rows[row] = pixels;
        if (layOut == nullptr) return;
        lines.planeStride = static_cast<std::size_t>(stride);
        lines.blues[row] = reinterpret_cast<const float*>(pixels + sizeof(float) * static_cast<std::size_t>(firstBlue));
    }

private:
    unsigned width;
    LayOut layOut;
    std::uint64_t firstBlue, stride;
};

LayOut LayOutFor(ConvolutionWay way) {
    return way >= ConvolutionWay::wide ? ActiveConvolutionKernels().layOut : nullptr;
}

}  // namespace

struct ZPixfConvolution::State {
    ConvolutionForm form;
    Convolve convolve;
    LineWindow window;
    LineLayout layout{0, nullptr};
};

ZPixfConvolution::ZPixfConvolution() = default;
ZPixfConvolution::~ZPixfConvolution() = default;

void ZPixfConvolution::Stop() {
    state.reset();
    ZPixFilterBase::Stop();
}

bool ZPixfConvolution::StartWith(unsigned side, const double* coefficients, double divisor, double bias) {
    if (const wchar_t* why = WhyNotAdjusted(inputFormat, outputFormat)) return Fail("ZPixfConvolution", __LINE__, why);
    if (!AreFinite(coefficients, side * side, divisor, bias))
        return Fail("ZPixfConvolution", __LINE__, L"A number of the convolution is none, or too large.");
    auto ready = std::make_unique<State>();
    const double usedDivisor = DivisorOrDefault(divisor, coefficients, side * side);
    const ConvolutionWay way = FindConvolutionForm(side, coefficients, usedDivisor, bias, ready->form);
    ready->convolve = ConvolveBy(way);
    ready->layout = LineLayout(inputFormat.GetWidth(), LayOutFor(way));
    ready->window.Prepare(side, ready->layout.Length(), kConvolutionMargin);
    state = std::move(ready);
    return true;
}

bool ZPixfConvolution::FilterScanline(unsigned line, void* buffer) {
    if (!IsReadyFor(line)) return false;
    const unsigned side = state->form.side, reach = side / 2, lastLine = inputFormat.GetHeight() - 1;
    const unsigned width = inputFormat.GetWidth();
    LineWindow& window = state->window;
    if (line == 0) window.Forget();
    const unsigned first = line - std::min(line, reach), last = line + std::min(lastLine - line, reach);
    const bool isThere = window.MoveTo(first, last, [&](unsigned wanted, std::uint8_t* pixels) {
        if (!PullLine(wanted, pixels)) return false;
        FillMargins(pixels, width);
        state->layout.Complete(pixels);
        return true;
    });
    if (!isThere) return false;
    ConvolutionLines lines = {};
    for (unsigned row = 0; row < side; ++row) {
        const unsigned offset = line + row;  // from `reach` lines above the picture
        const unsigned there = std::clamp(offset, first + reach, last + reach) - reach;
        state->layout.SetRow(lines, row, window.Line(there));
    }
    lines.result = static_cast<std::uint8_t*>(buffer);
    lines.count = width;
    state->convolve(state->form, lines);
    return true;
}

ZPixfConvolution3::ZPixfConvolution3() = default;
ZPixfConvolution3::~ZPixfConvolution3() = default;
ZPixfType ZPixfConvolution3::FilterType() const { return ZPixfType::Convolution3; }

void ZPixfConvolution3::SetConvolution(ZPixf3x3Mode newMode) { mode = newMode; }

void ZPixfConvolution3::SetUserConvolution(const double* coefficients, double newDivisor, double newBias) {
    std::copy_n(coefficients, std::size(kernel), kernel);
    divisor = newDivisor;
    bias = newBias;
}

void ZPixfConvolution3::SetSharpeningConvolution(double amount) {
    const double limited = std::isnan(amount) ? 0 : std::clamp(amount, -1.0, 1.0);
    const double a = std::fabs(limited);
    const double sharpening[] = {0, -a, 0, -a, 1 + 4 * a, -a, 0, -a, 0};
    const double blurring[] = {a, a, a, a, 9 - 8 * a, a, a, a, a};
    mode = ZPixf3x3Mode::user;
    SetUserConvolution(limited < 0 ? blurring : sharpening, limited < 0 ? 9 : 1, 0);
}

bool ZPixfConvolution3::OnStart() {
    if (mode == ZPixf3x3Mode::user) return StartWith(3, kernel, divisor, bias);
    const ConvolutionKernel3* const known = KernelOf(mode);
    if (known == nullptr) return Fail("ZPixfConvolution", __LINE__, L"There is no such convolution.");
    return StartWith(3, known->coefficients, known->divisor, known->bias);
}

ZPixfConvolution5::ZPixfConvolution5() = default;
ZPixfConvolution5::~ZPixfConvolution5() = default;
ZPixfType ZPixfConvolution5::FilterType() const { return ZPixfType::Convolution5; }

void ZPixfConvolution5::SetConvolution(ZPixf5x5Mode newMode) { mode = newMode; }

void ZPixfConvolution5::SetUserConvolution(const double* coefficients, double newDivisor, double newBias) {
    std::copy_n(coefficients, std::size(kernel), kernel);
    divisor = newDivisor;
    bias = newBias;
}

bool ZPixfConvolution5::OnStart() {
    if (mode == ZPixf5x5Mode::user) return StartWith(5, kernel, divisor, bias);
    const ConvolutionKernel5* const known = KernelOf(mode);
    if (known == nullptr) return Fail("ZPixfConvolution", __LINE__, L"There is no such convolution.");
    return StartWith(5, known->coefficients, known->divisor, known->bias);
}

}  // namespace zpixf
