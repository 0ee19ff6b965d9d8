// The adjustments of a whole picture: each configures one filter and runs it through the virtual FilterScanLines.
#include <memory>

#include "convert/Quantize.h"
#include "core/checks/BitmapChecks.h"
#include "zbm/ZBitmap.h"
#include "zpixf/MakeQuantizer.h"
#include "zpixf/ZPixfAdjust.h"
#include "zpixf/ZPixfConvolution.h"
#include "zpixf/ZPixfMedian.h"

namespace zbm {

namespace {

constexpr const wchar_t* kFiltering = L"Filtering image...";

/// False for what is no number, too.
bool IsAmount(double amount) { return amount >= -1.0 && amount <= 1.0; }

}  // namespace

bool ZBitmap::FilterAsTask(zpixf::ZPixFilterBase& filter, const wchar_t* taskText, shr::IProgress* progress) {
    const shr::CScopedIProgressTask task(progress, taskText);
    return FilterScanLines(filter, progress);
}

bool ZBitmap::ChangeBrightness(double amount, shr::IProgress* progress) {
    require(IsAmount(amount), BitmapCheck::brightnessRange);
    if (amount == 0.0) return true;
    zpixf::ZPixfBrightness filter;
    filter.SetBrightness(amount);
    return FilterAsTask(filter, L"Changing image brightness...", progress);
}

bool ZBitmap::ChangeContrast(double amount, shr::IProgress* progress) {
    require(IsAmount(amount), BitmapCheck::contrastRange);
    if (amount == 0.0) return true;
    zpixf::ZPixfContrast filter;
    filter.SetContrast(amount);
    return FilterAsTask(filter, L"Changing image constrast...", progress);  // the text is known by this spelling
}

bool ZBitmap::ChangeSaturation(double amount, shr::IProgress* progress) {
    require(IsAmount(amount), BitmapCheck::saturationRange);
    if (amount == 1.0) return true;  // neutral, unlike above
    zpixf::ZPixfSaturation filter;
    filter.SetSaturation(amount);
    return FilterAsTask(filter, L"Changing image saturation...", progress);
}

bool ZBitmap::ConvertToGrayScale(shr::IProgress* progress) {
    zpixf::ZPixfDesaturate filter;
    return FilterAsTask(filter, L"Converting image to grayscale...", progress);
}

bool ZBitmap::Convolute3x3(double* const kernel, double divisor, double bias, shr::IProgress* progress) {
    zpixf::ZPixfConvolution3 filter;
    filter.SetConvolution(zpixf::ZPixf3x3Mode::user);
    filter.SetUserConvolution(kernel, divisor, bias);
    return FilterAsTask(filter, kFiltering, progress);
}

bool ZBitmap::Convolute3x3(zpixf::ZPixf3x3Mode mode, shr::IProgress* progress) {
    zpixf::ZPixfConvolution3 filter;
    filter.SetConvolution(mode);
    return FilterAsTask(filter, kFiltering, progress);
}

bool ZBitmap::Convolute5x5(double* const kernel, double divisor, double bias, shr::IProgress* progress) {
    zpixf::ZPixfConvolution5 filter;
    filter.SetConvolution(zpixf::ZPixf5x5Mode::user);
    filter.SetUserConvolution(kernel, divisor, bias);
    return FilterAsTask(filter, kFiltering, progress);
}

bool ZBitmap::Convolute5x5(zpixf::ZPixf5x5Mode mode, shr::IProgress* progress) {
    zpixf::ZPixfConvolution5 filter;
    filter.SetConvolution(mode);
    return FilterAsTask(filter, kFiltering, progress);
}

bool ZBitmap::MedianFilter(unsigned span, shr::IProgress* progress) {
    zpixf::ZPixfMedian filter;
    filter.SetSpan(span);
    return FilterAsTask(filter, kFiltering, progress);
}

bool ZBitmap::Sharpen(double amount, shr::IProgress* progress) {
    require(IsAmount(amount), BitmapCheck::sharpeningRange);
    zpixf::ZPixfConvolution3 filter;
    filter.SetSharpeningConvolution(amount);
    return FilterAsTask(filter, L"Sharpening image...", progress);
}

bool ZBitmap::QuantizeColors(QuantMethod method, int numColors, std::vector<RGBQUAD>& palette,
                             shr::IProgress* progress) {
    const shr::CScopedIProgressTask task(progress, L"Converting image color format...");
    palette.clear();
    const auto quantizer =
        zpixf::MakeQuantizer(QuantizerOf(method, BitmapCheck::quantMethod), static_cast<unsigned>(numColors));
    if (!FilterScanLines(*quantizer, progress)) return false;
    const zpixf::ZPixFormat& format = quantizer->GetOutputFormat();
    for (unsigned i = 0; i < format.GetNumColors(); ++i) {
        const RGBQUAD& color = format.GetColors()[i];
        palette.push_back({color.rgbBlue, color.rgbGreen, color.rgbRed, 0});
    }
    return true;
}

}  // namespace zbm
