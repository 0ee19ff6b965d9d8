#pragma once
#include <algorithm>
#include <cstdint>
#include <limits>

namespace gdi {

/// How coordinates of one axis are mapped: the window (origin, extent) in logical units onto the viewport in those of
/// the device. A negative extent mirrors.
struct AxisMapping {
    std::int32_t windowOrg = 0, windowExt = 1, viewportOrg = 0, viewportExt = 1;

    /// Rounded to the nearest, halves up; what no 32 bits hold becomes the nearest that they do. An extent of 0 maps
    /// everything to the other side's origin.
    constexpr std::int32_t ToDevice(std::int32_t logical) const noexcept {
        return Map(logical, windowOrg, windowExt, viewportOrg, viewportExt);
    }
    constexpr std::int32_t ToLogical(std::int32_t device) const noexcept {
        return Map(device, viewportOrg, viewportExt, windowOrg, windowExt);
    }

    friend constexpr bool operator==(const AxisMapping&, const AxisMapping&) noexcept = default;

private:
    /// The product takes less than 33 + 31 bits.
    static constexpr std::int32_t Map(std::int64_t value, std::int64_t fromOrg, std::int64_t fromExt,
                                      std::int64_t toOrg, std::int64_t toExt) noexcept {
        if (fromExt == 0) return static_cast<std::int32_t>(toOrg);
        const std::int64_t sign = fromExt < 0 ? -1 : 1;
        const std::int64_t product = sign * (value - fromOrg) * toExt, divisor = sign * fromExt;
        std::int64_t quotient = product / divisor, rest = product % divisor;
        if (rest < 0) {
            rest += divisor;
            --quotient;
        }
        const std::int64_t rounded = quotient + (2 * rest >= divisor ? 1 : 0) + toOrg;
        return static_cast<std::int32_t>(std::clamp<std::int64_t>(rounded, std::numeric_limits<std::int32_t>::min(),
                                                                  std::numeric_limits<std::int32_t>::max()));
    }
};

}  // namespace gdi
