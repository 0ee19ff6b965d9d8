#pragma once
#include <array>
#include <cstdint>
#include <optional>

#include "adjust/AdjustKernels.h"

namespace zpixf {

/// What each level becomes.
using LevelTable = std::array<std::uint8_t, 256>;

LevelTable BrightnessLevels(double amount);
LevelTable ContrastLevels(double amount);

/// The form that gives exactly these levels. Every line of BrightnessLevels and ContrastLevels has one; other tables
/// may have none.
std::optional<LevelForm> FindLevelForm(const LevelTable& levels);

}  // namespace zpixf
