#pragma once
#include "PlainDithers.h"

namespace photographs {

/// The colours that libimagequant chooses at speed 4.
Palette ImageQuantPalette(const bench::Square& bgra, unsigned colors);

}  // namespace photographs
