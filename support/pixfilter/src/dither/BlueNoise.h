#pragma once
#include <cstdint>

namespace zpixf {

/// Ranks of the places of a square that repeats, each of 0 to 4095 once: of any lowest ranks the places are spread
/// evenly, but without regularity.
constexpr unsigned kBlueNoiseSide = 64;
extern const std::uint16_t kBlueNoise[kBlueNoiseSide][kBlueNoiseSide];

}  // namespace zpixf
