#pragma once
#include <cmath>

#include "shr/Units.h"

namespace tool {

/// Units of length in which picture files give their resolution; the values are those of TIFF and EXIF.
enum class ResolutionUnit : int { none = 1, inch = 2, centimeter = 3 };

/// Rounded to whole pixels per metre; 0, which stands for not known, for a unit or a value that means nothing.
inline int PixelsPerMeter(double pixelsPerUnit, ResolutionUnit unit) {
    if (unit != ResolutionUnit::inch && unit != ResolutionUnit::centimeter) return 0;
    const double value = pixelsPerUnit * (unit == ResolutionUnit::inch ? shr::INCHES_PER_METER : 100);
    return value > 0 && value < 2147483647.0 ? static_cast<int>(std::lround(value)) : 0;
}

}  // namespace tool
