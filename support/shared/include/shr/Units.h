#pragma once
namespace shr {
inline constexpr double METERS_PER_INCH = 0.0254;
inline constexpr double INCHES_PER_METER = 1 / 0.0254;
}  // namespace shr
