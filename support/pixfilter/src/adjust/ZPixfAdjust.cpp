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
void LookUpLevels(const LevelTable& levels, const AdjustedPixels& pixels) {
    for (std::size_t i = 0; i < 4 * pixels.count; i += 4) {
        for (std::size_t channel = 0; channel < 3; ++channel) pixels.to[i + channel] = levels[pixels.from[i + channel]];
        pixels.to[i + 3] = pixels.from[i + 3];
    }
}

}  // namespace

ZPixfAdjust::ZPixfAdjust() = default;
ZPixfAdjust::~ZPixfAdjust() = default;

bool ZPixfAdjust::OnStart() {
    const wchar_t* why = WhyNotAdjusted(inputFormat, outputFormat);
    return why == nullptr || Fail("ZPixfAdjust", __LINE__, why);
}

bool ZPixfAdjust::ChangePixels(std::uint8_t* pixels, std::size_t count) {
    Adjust({pixels, pixels, count, false});
    return true;
}

bool ZPixfAdjust::CopyChanged(const std::uint8_t* from, std::uint8_t* to, std::size_t count,
                              shr::CopyWrites writes) noexcept {
    Adjust({from, to, count, writes == shr::CopyWrites::streamed});
    return true;
}

struct ZPixfLevels::State {
    LevelTable levels;
    std::optional<LevelForm> form;
};

ZPixfLevels::ZPixfLevels() = default;
ZPixfLevels::~ZPixfLevels() = default;

bool ZPixfLevels::OnStart() {
    if (!ZPixfAdjust::OnStart()) return false;
    const LevelTable levels = Levels();
    state = std::make_unique<State>(State{levels, FindLevelForm(levels)});
    return true;
}

void ZPixfLevels::Stop() {
    state.reset();
    ZPixFilterBase::Stop();
}

void ZPixfLevels::Adjust(const AdjustedPixels& pixels) const noexcept {
    if (state->form)
        ActiveAdjustKernels().mapLevels(*state->form, pixels);
    else
        LookUpLevels(state->levels, pixels);
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
    if (!ZPixfAdjust::OnStart()) return false;
    factor = static_cast<int>(std::floor(saturation * kSaturationOne + 0.5));
    return true;
}

void ZPixfSaturation::Adjust(const AdjustedPixels& pixels) const noexcept {
    ActiveAdjustKernels().saturate(factor, pixels);
}

ZPixfDesaturate::ZPixfDesaturate() = default;
ZPixfDesaturate::~ZPixfDesaturate() = default;
ZPixfType ZPixfDesaturate::FilterType() const { return ZPixfType::Desaturate; }

void ZPixfDesaturate::Adjust(const AdjustedPixels& pixels) const noexcept { ActiveAdjustKernels().desaturate(pixels); }

}  // namespace zpixf
