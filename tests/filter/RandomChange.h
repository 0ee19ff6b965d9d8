#pragma once
// What can be done to a whole bitmap in place, thrown with dice, each with the filter that it stands for.
#include <functional>
#include <memory>
#include <type_traits>
#include <vector>

#include "filter/RandomPicture.h"
#include "zpixf/ZPixfAdjust.h"
#include "zpixf/ZPixfConvolution.h"
#include "zpixf/ZPixfDither.h"
#include "zpixf/ZPixfMedian.h"
#include "zpixf/ZPixfNull.h"
#include "zpixf/ZPixfQuantize.h"
#include "zpixf/ZPixfResize.h"

namespace testkit {

struct Change {
    std::function<bool(zbm::ZBitmap& bitmap, shr::IProgress* progress)> apply;
    std::unique_ptr<zpixf::ZPixFilterBase> filter;
    std::shared_ptr<std::vector<RGBQUAD>> palette{};  ///< of a choice of colours: what it gave
};

namespace changes {

using zbm::ZBitmap;
using namespace zpixf;  // its filters, by the dozen

/// -1.00 to 1.00, but not the amount that changes nothing.
inline double RandomAmount(Dice& dice, double neutral) {
    const double amount = dice.Between(-100, 100) / 100.0;
    return amount == neutral ? 0.37 : amount;
}

template <class Filter>
using Setter = void (Filter::*)(double);

template <class Filter, Setter<Filter> kSet, bool (ZBitmap::*kApply)(double, shr::IProgress*)>
Change MakeByAmount(Dice& dice) {
    const double amount = RandomAmount(dice, std::is_same_v<Filter, ZPixfSaturation> ? 1 : 0);
    auto filter = std::make_unique<Filter>();
    (filter.get()->*kSet)(amount);
    return {[amount](auto& bitmap, auto* progress) { return (bitmap.*kApply)(amount, progress); }, std::move(filter)};
}

inline Change MakeGray(Dice&) {
    return {[](auto& bitmap, auto* progress) { return bitmap.ConvertToGrayScale(progress); },
            std::make_unique<ZPixfDesaturate>()};
}

inline std::vector<double> RandomKernel(Dice& dice, std::size_t size) {
    std::vector<double> kernel(size);
    const double unit = dice.OneIn(2) ? 1 : 0.3;
    for (double& coefficient : kernel) coefficient = unit * dice.Between(-4, 6);
    return kernel;
}

template <class Filter, std::size_t kSize, bool (ZBitmap::*kApply)(double* const, double, double, shr::IProgress*)>
Change MakeByKernel(Dice& dice) {
    auto kernel = RandomKernel(dice, kSize);
    const double divisor = dice.Between(0, 20), bias = dice.Between(-100, 100);
    auto filter = std::make_unique<Filter>();
    filter->SetUserConvolution(kernel.data(), divisor, bias);
    const auto apply = [=](auto& bitmap, auto* progress) mutable {
        return (bitmap.*kApply)(kernel.data(), divisor, bias, progress);
    };
    return {apply, std::move(filter)};
}

template <class Filter, class Mode, bool (ZBitmap::*kApply)(Mode, shr::IProgress*)>
Change MakeByMode(Dice& dice) {
    const auto mode = static_cast<Mode>(dice.Between(2, 8));
    auto filter = std::make_unique<Filter>();
    filter->SetConvolution(mode);
    return {[mode](auto& bitmap, auto* progress) { return (bitmap.*kApply)(mode, progress); }, std::move(filter)};
}

inline Change MakeMedian(Dice& dice) {
    constexpr unsigned kSpans[] = {1, 2, 3, 5, 7, 15, 64, 255};
    const unsigned span = kSpans[dice.Below(dice.OneIn(4) ? 8 : 6)];
    auto filter = std::make_unique<ZPixfMedian>();
    filter->SetSpan(span);
    return {[span](auto& bitmap, auto* progress) { return bitmap.MedianFilter(span, progress); }, std::move(filter)};
}

template <class Filter, zbm::QuantMethod kMethod>
Change MakeQuantize(Dice& dice) {
    const int colors = dice.OneIn(3) ? 256 : dice.Between(1, 20);
    auto filter = std::make_unique<Filter>();
    filter->SetDesiredColors(static_cast<unsigned>(colors));
    const auto palette = std::make_shared<std::vector<RGBQUAD>>();
    const auto apply = [colors, palette](auto& bitmap, auto* progress) {
        return bitmap.QuantizeColors(kMethod, colors, *palette, progress) && !palette->empty();
    };
    return {apply, std::move(filter), palette};
}

/// For filters that no adjustment runs in place.
template <class Filter>
Change MakeOf(Dice&) {
    const auto apply = [](auto& bitmap, auto* progress) {
        Filter filter;
        return bitmap.FilterScanLines(filter, progress);
    };
    return {apply, std::make_unique<Filter>()};
}

}  // namespace changes

struct ChangeKind {
    const char* name;
    Change (*make)(Dice& dice);
};

inline constexpr ChangeKind kChanges[] = {
    {"Brightness", &changes::MakeByAmount<zpixf::ZPixfBrightness, &zpixf::ZPixfBrightness::SetBrightness,
                                          &zbm::ZBitmap::ChangeBrightness>},
    {"Contrast",
     &changes::MakeByAmount<zpixf::ZPixfContrast, &zpixf::ZPixfContrast::SetContrast, &zbm::ZBitmap::ChangeContrast>},
    {"Saturation", &changes::MakeByAmount<zpixf::ZPixfSaturation, &zpixf::ZPixfSaturation::SetSaturation,
                                          &zbm::ZBitmap::ChangeSaturation>},
    {"GrayScale", &changes::MakeGray},
    {"Kernel3x3", &changes::MakeByKernel<zpixf::ZPixfConvolution3, 9, &zbm::ZBitmap::Convolute3x3>},
    {"Mode3x3", &changes::MakeByMode<zpixf::ZPixfConvolution3, zpixf::ZPixf3x3Mode, &zbm::ZBitmap::Convolute3x3>},
    {"Kernel5x5", &changes::MakeByKernel<zpixf::ZPixfConvolution5, 25, &zbm::ZBitmap::Convolute5x5>},
    {"Mode5x5", &changes::MakeByMode<zpixf::ZPixfConvolution5, zpixf::ZPixf5x5Mode, &zbm::ZBitmap::Convolute5x5>},
    {"Median", &changes::MakeMedian},
    {"Sharpen", &changes::MakeByAmount<zpixf::ZPixfConvolution3, &zpixf::ZPixfConvolution3::SetSharpeningConvolution,
                                       &zbm::ZBitmap::Sharpen>},
    {"QuantizeMedian5", &changes::MakeQuantize<zpixf::ZPixfQuantizeMedian5, zbm::QuantMedian5>},
    {"QuantizeMedian8", &changes::MakeQuantize<zpixf::ZPixfQuantizeMedian8, zbm::QuantMedian8>},
    {"QuantizePopularity", &changes::MakeQuantize<zpixf::ZPixfQuantizePopularity, zbm::QuantPopularity>},
    {"DitherOrdered", &changes::MakeOf<zpixf::ZPixfDitherOrdered>},
    {"DitherBlueNoise", &changes::MakeOf<zpixf::ZPixfDitherBlueNoise>},
    {"DitherDiffuse", &changes::MakeOf<zpixf::ZPixfDitherDiffuse>},
    {"Null", &changes::MakeOf<zpixf::ZPixfNull>},
    {"Nearest", &changes::MakeOf<zpixf::ZPixfResize>},
    {"Bilinear", &changes::MakeOf<zpixf::ZPixfResizeBilinear>},
    {"Bicubic", &changes::MakeOf<zpixf::ZPixfResizeBicubic>},
};

inline std::unique_ptr<zpixf::ZPixFilterBase> MakeResizing(int method) {
    if (method == zbm::ResizePlain) return std::make_unique<zpixf::ZPixfResize>();
    if (method == zbm::ResizeBilinear) return std::make_unique<zpixf::ZPixfResizeBilinear>();
    auto filter = std::make_unique<zpixf::ZPixfResizeBicubic>();
    filter->SetMode(method - zbm::ResizeBicubic0);
    return filter;
}

}  // namespace testkit
