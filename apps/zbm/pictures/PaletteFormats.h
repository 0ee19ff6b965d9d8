#pragma once
// Palettes as the bytes of files that other programs read and write.
//
// A GIMP palette (.gpl) is text: a first line "GIMP Palette", lines "Name: ..." and "Columns: ..." that may be missing,
// comments after '#', and a line "RED GREEN BLUE name" for each colour.
//
// An Adobe colour table (.act) is 768 bytes, 256 colours of red, green and blue; 4 bytes more may say how many of them
// count, and which one stands for transparency, big-endian both.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "shr/Color4b.h"

namespace tool {

enum class PaletteFormat { gimp, adobe };

/// The colours, 1 to 256, in their order. Names, and which colour stands for transparency, are not kept. Raises
/// std::runtime_error for what is no such palette.
std::vector<shr::Color4b> DecodePalette(PaletteFormat format, std::string_view bytes);

/// The reverse, for 1 to 256 colours.
std::string EncodePalette(PaletteFormat format, const std::vector<shr::Color4b>& colors);

}  // namespace tool
