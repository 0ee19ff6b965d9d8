#pragma once
#include "gdi/gdi.h"

namespace zpixf {

/// Whether all entries are greys.
bool AreGreys(const RGBQUAD* entries, unsigned count);

/// Whether all eight corners of the cube of colours are among the entries, each channel 0 or 255.
bool HaveAllCorners(const RGBQUAD* entries, unsigned count);

/// Whether black and white are among the entries.
bool HaveBlackAndWhite(const RGBQUAD* entries, unsigned count);

}  // namespace zpixf
