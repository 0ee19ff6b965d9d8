#include "zpixf/ZPixfAdjust.h"

#include <algorithm>
#include <cmath>

#include "adjust/AdjustKernels.h"
#include "adjust/ZPixfAdjustFormat.h"
#include "adjust/ZPixfAdjustLevels.h"

namespace zpixf {
namespace {

double Limited(double amount) { return std::isnan(amount) ? 0 : std::clamp(amount, -1.0, 1.0); }

/// For tables that no form gives.
void LookUpLevels(const LevelTable& levels, std::uint8_t* pixels, std::size_t count) {
    for (std::size_t x = 0; x < count; ++x, pixels += 4)
        for (unsigned channel = 0; channel < 3; ++channel) pixels[channel] = levels[pixels[channel]];
}

}  // namespace

struct ZPixfLevels::State {
    LevelTable levels;
    std::optional<LevelForm> form;
};

ZPixfLevels::ZPixfLevels() = default;
ZPixfLevels::~ZPixfLevels() = default;

bool ZPixfLevels::OnStart() {
    if (const wchar_t* why = WhyNotAdjusted(inputFormat, outputFormat)) return Fail("ZPixfAdjust", __LINE__, why);
    const LevelTable levels = Levels();
    state = std::make_unique<State>(State{levels, FindLevelForm(levels)});
    return true;
}

void ZPixfLevels::Stop() {
    state.reset();
    ZPixFilterBase::Stop();
}

bool ZPixfLevels::ChangePixels(std::uint8_t* pixels, std::size_t count) {
    if (state->form)
        ActiveAdjustKernels().mapLevels(*state->form, pixels, count);
    else
        LookUpLevels(state->levels, pixels, count);
    return true;
}

ZPixfBrightness::ZPixfBrightness() = default;
ZPixfBrightness::~ZPixfBrightness() = default;
ZPixfType ZPixfBrightness::FilterType() const { return ZPixfType::Brightness; }
void ZPixfBrightness::SetBrightness(double amount) { brightness = Limited(amount); }
LevelTable ZPixfBrightness::Levels() const { return BrightnessLevels(brightness); }

ZPixfContrast::ZPixfContrast() = default;
ZPixfContrast::~ZPixfContrast() = default;
ZPixfType ZPixfContrast::FilterType() const { return ZPixfType::Contrast; }
void ZPixfContrast::SetContrast(double amount) { contrast = Limited(amount); }
LevelTable ZPixfContrast::Levels() const { return ContrastLevels(contrast); }

ZPixfSaturation::ZPixfSaturation() = default;
ZPixfSaturation::~ZPixfSaturation() = default;
ZPixfType ZPixfSaturation::FilterType() const { return ZPixfType::Saturation; }
void ZPixfSaturation::SetSaturation(double amount) { saturation = Limited(amount); }

bool ZPixfSaturation::OnStart() {
    if (const wchar_t* why = WhyNotAdjusted(inputFormat, outputFormat)) return Fail("ZPixfAdjust", __LINE__, why);
    factor = static_cast<int>(std::floor(saturation * kSaturationOne + 0.5));
    return true;
}

bool ZPixfSaturation::ChangePixels(std::uint8_t* pixels, std::size_t count) {
    ActiveAdjustKernels().saturate(factor, pixels, count);
    return true;
}

ZPixfDesaturate::ZPixfDesaturate() = default;
ZPixfDesaturate::~ZPixfDesaturate() = default;
ZPixfType ZPixfDesaturate::FilterType() const { return ZPixfType::Desaturate; }

bool ZPixfDesaturate::OnStart() {
    const wchar_t* why = WhyNotAdjusted(inputFormat, outputFormat);
    return why == nullptr || Fail("ZPixfAdjust", __LINE__, why);
}

bool ZPixfDesaturate::ChangePixels(std::uint8_t* pixels, std::size_t count) {
    ActiveAdjustKernels().desaturate(pixels, count);
    return true;
}

}  // namespace zpixf
